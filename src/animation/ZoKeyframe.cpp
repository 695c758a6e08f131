#include <zoactor/animation/ZoKeyframe.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include <new>

ZoKeyframe::~ZoKeyframe() = default;

ZoKeyframe* ZoKeyframe::CreateCopy() const { return new (std::nothrow) ZoKeyframe(*this); }

ZoStreamError ZoKeyframe::ReadFromStream(ZoStream& stream) {
  stream >> keyTime >> tag;
  return stream.Status();
}

ZoStreamError ZoKeyframe::WriteToStream(ZoStream& stream) const {
  stream << keyTime << tag;
  return stream.Status();
}

ZoStreamObject* ZoKeyframe::Create() { return new (std::nothrow) ZoKeyframe; }

static ZoStreamConstructorEntry const kRegisterKeyframe(ZoTypeCode::Keyframe, &ZoKeyframe::Create);
