#include <zoactor/animation/ZoJointKeyframe.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "animation/ZoJointSampling.h"

#include <cstring>
#include <new>

namespace {

// The value block, field by field in stream order. Packing and unpacking
// through a byte buffer keeps the block one transfer without relying on the
// class's member layout, and leaves the fields untouched by a failed read.
template <class Key, class F>
void ForEachBlockField(Key& kf, F&& visit) {
  visit(&kf.flags, 4);
  visit(&kf.localTransform, 28);
  visit(&kf.localIn, 28);
  visit(&kf.localOut, 28);
  visit(&kf.actorTransform, 28);
  visit(&kf.actorIn, 28);
  visit(&kf.actorOut, 28);
  visit(&kf.point, 12);
  visit(&kf.marker, 4);
  visit(&kf.easeIn, 4);
  visit(&kf.easeOut, 4);
  visit(&kf.blendMode, 4);
}

// The mode-0 controls of `cur`: two thirds of the way from prev, a third of
// the way towards next, or cur itself where a neighbour is missing.
void LinearControls(ZoTransform3 const* prev, ZoTransform3 const& cur, ZoTransform3 const* next, ZoTransform3& in,
                    ZoTransform3& out) {
  if (prev != nullptr) {
    in.interpolate(*prev, cur, 2.0f / 3.0f);
  } else {
    in = cur;
  }
  if (next != nullptr) {
    out.interpolate(cur, *next, 1.0f / 3.0f);
  } else {
    out = cur;
  }
}

void SmoothControls(ZoTransform3 const* prev, ZoTransform3 const& cur, ZoTransform3 const* next, ZoTransform3& in,
                    ZoTransform3& out) {
  ZoRotation3 inRotation, outRotation;
  ZoVector3 tangent(0.0f, 0.0f, 0.0f);
  ZoJointKeyframe::ComputeControlPoint(prev, &cur, next, inRotation, outRotation, tangent);
  in = ZoTransform3(cur.translation - tangent, inRotation);
  out = ZoTransform3(cur.translation + tangent, outRotation);
}

}  // namespace

static_assert(4 + 6 * sizeof(ZoTransform3) + sizeof(ZoVector3) + 4 * 4 == ZoJointKeyframe::kBlockSize,
              "the joint keyframe's value block is 200 bytes");

ZoJointKeyframe::~ZoJointKeyframe() = default;

ZoKeyframe* ZoJointKeyframe::CreateCopy() const { return new (std::nothrow) ZoJointKeyframe(*this); }

void ZoJointKeyframe::ComputeControlPoint(ZoTransform3 const* prev, ZoTransform3 const* cur, ZoTransform3 const* next,
                                          ZoRotation3& inRotation, ZoRotation3& outRotation, ZoVector3& tangent) {
  if (cur == nullptr) return;
  float const third = 1.0f / 3.0f;
  if (prev != nullptr && next != nullptr) {
    tangent = (next->translation - prev->translation) / 6.0f;
    ZoRotation3 a, b;
    a.leap(prev->rotation, cur->rotation);
    b.bisect(a, next->rotation);
    outRotation.interpolate(cur->rotation, b, third, 0);
    inRotation.leap(outRotation, cur->rotation);
  } else if (next != nullptr) {
    tangent = (next->translation - cur->translation) / 3.0f;
    outRotation.interpolate(cur->rotation, next->rotation, third, 0);
    inRotation.leap(outRotation, cur->rotation);
  } else if (prev != nullptr) {
    tangent = (cur->translation - prev->translation) / 3.0f;
    inRotation.interpolate(cur->rotation, prev->rotation, third, 0);
    outRotation.leap(inRotation, cur->rotation);
  }
}

void ZoJointKeyframe::ComputeBlends(ZoJointKeyframe const* prev, ZoJointKeyframe const* next, int mode) {
  blendMode = mode;
  // Neighbours are read before this key's controls change, so a key may
  // name itself as a neighbour.
  ZoJointKeyframe const* p = prev;
  ZoJointKeyframe const* n = next;
  void (*controls)(ZoTransform3 const*, ZoTransform3 const&, ZoTransform3 const*, ZoTransform3&, ZoTransform3&) =
      mode == Linear ? LinearControls : mode == Smooth ? SmoothControls : nullptr;
  if (controls == nullptr) return;
  ZoTransform3 in, out;
  controls(p ? &p->actorTransform : nullptr, actorTransform, n ? &n->actorTransform : nullptr, in, out);
  ZoTransform3 localInNew, localOutNew;
  controls(p ? &p->localTransform : nullptr, localTransform, n ? &n->localTransform : nullptr, localInNew,
           localOutNew);
  actorIn = in;
  actorOut = out;
  localIn = localInNew;
  localOut = localOutNew;
}

void ZoJointKeyframe::Scale(ZoVector3 const& s) {
  actorTransform.translation *= s;
  actorIn.translation *= s;
  actorOut.translation *= s;
  localTransform.translation *= s;
  localIn.translation *= s;
  localOut.translation *= s;
  point *= s;
}

void ZoJointKeyframe::Transform(ZoTransform3 const& x) {
  ZoTransform3 const by = x;  // x may be one of this key's own fields
  localTransform = by * localTransform;
  localIn = by * localIn;
  localOut = by * localOut;
  actorTransform = by * actorTransform;
  actorIn = by * actorIn;
  actorOut = by * actorOut;
  point = by * point;
}

void ZoJointKeyframe::Interpolate(ZoJointKeyframe const* a, ZoJointKeyframe const* b, float t) {
  if (a == nullptr) return;
  if (a == this || b == this) {
    // The kernel writes as it goes: blend copies when this key is an input.
    ZoJointKeyframe const first(*a);
    ZoJointKeyframe const second(b != nullptr ? *b : *a);
    zo_motion::InterpolateKeys(*this, first, b != nullptr ? &second : nullptr, t);
    return;
  }
  zo_motion::InterpolateKeys(*this, *a, b, t);
}

void ZoJointKeyframe::UnpackBlock(void const* block) {
  auto const* from = static_cast<unsigned char const*>(block);
  ForEachBlockField(*this, [&from](void* field, size_t size) {
    std::memcpy(field, from, size);
    from += size;
  });
}

ZoStreamError ZoJointKeyframe::ReadFromStream(ZoStream& stream) {
  // A stream that holds the whole body in memory hands it over in one step
  // (what a skill's many keys are read from); any other reads it in parts.
  if (char const* body = stream.TakeFromWindow(kBodySize)) {
    uint32_t t = 0;
    std::memcpy(&t, body, sizeof t);
    std::memcpy(&tag, body + 4, sizeof tag);
    setTime(t);
    UnpackBlock(body + 8);
    return stream.Status();
  }
  if (ZoKeyframe::ReadFromStream(stream) != ZoStreamOk) return stream.Status();
  unsigned char block[kBlockSize];
  if (stream.ReadBytes(kBlockSize, block) != ZoStreamOk) return stream.Status();
  UnpackBlock(block);
  return stream.Status();
}

ZoStreamError ZoJointKeyframe::WriteToStream(ZoStream& stream) const {
  if (ZoKeyframe::WriteToStream(stream) != ZoStreamOk) return stream.Status();
  unsigned char block[kBlockSize];
  unsigned char* to = block;
  ForEachBlockField(*this, [&to](void const* field, size_t size) {
    std::memcpy(to, field, size);
    to += size;
  });
  return stream.WriteBytes(kBlockSize, block);
}

ZoStreamObject* ZoJointKeyframe::Create() { return new (std::nothrow) ZoJointKeyframe; }

static ZoStreamConstructorEntry const kRegisterJointKeyframe(ZoTypeCode::JointKeyframe, &ZoJointKeyframe::Create);
