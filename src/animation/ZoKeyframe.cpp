#include <zoactor/animation/ZoKeyframe.h>

#include <zoactor/animation/ZoKeyList.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "animation/ZoKeyBlock.h"

#include <new>

ZoKeyframe::~ZoKeyframe() = default;

ZoKeyframe& ZoKeyframe::operator=(ZoKeyframe const& other) {
  tag = other.tag;
  setTime(other.keyTime);
  return *this;
}

void ZoKeyframe::setTime(uint32_t t) {
  keyTime = t;
  if (listNode != nullptr) listNode->time = t;
}

ZoKeyframe* ZoKeyframe::CreateCopy() const { return new (std::nothrow) ZoKeyframe(*this); }

ZoStreamError ZoKeyframe::ReadFromStream(ZoStream& stream) {
  uint32_t t = keyTime;
  stream >> t >> tag;
  setTime(t);
  return stream.Status();
}

ZoStreamError ZoKeyframe::WriteToStream(ZoStream& stream) const {
  stream << keyTime << tag;
  return stream.Status();
}

void* ZoKeyframe::operator new(size_t size) {
  void* object = zokeyblock::AllocateAlone(size);
  if (object == nullptr) throw std::bad_alloc();
  return object;
}

void* ZoKeyframe::operator new(size_t size, std::nothrow_t const&) noexcept { return zokeyblock::AllocateAlone(size); }

void ZoKeyframe::operator delete(void* object) noexcept { zokeyblock::Release(object); }

void ZoKeyframe::operator delete(void* object, std::nothrow_t const&) noexcept { zokeyblock::Release(object); }

void* ZoKeyframe::operator new(size_t size, std::align_val_t align) { return ::operator new(size, align); }

void* ZoKeyframe::operator new(size_t size, std::align_val_t align, std::nothrow_t const&) noexcept {
  return ::operator new(size, align, std::nothrow);
}

void ZoKeyframe::operator delete(void* object, std::align_val_t align) noexcept { ::operator delete(object, align); }

void ZoKeyframe::operator delete(void* object, std::align_val_t align, std::nothrow_t const&) noexcept {
  ::operator delete(object, align);
}

ZoStreamObject* ZoKeyframe::Create() { return new (std::nothrow) ZoKeyframe; }

static ZoStreamConstructorEntry const kRegisterKeyframe(ZoTypeCode::Keyframe, &ZoKeyframe::Create);
