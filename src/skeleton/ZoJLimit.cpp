#include <zoactor/skeleton/ZoJLimit.h>

#include <zoactor/foundation/ZoXformMatrix3.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoFormatVersions.h"
#include "skeleton/ZoSkeletonIo.h"

#include <cmath>
#include <new>

using zoactorio::ReadBlock;
using zoactorio::ReadValue;
using zoactorio::WriteBlock;
using zoactorio::WriteValue;

namespace {

// π and 2π as the limits compute with them.
constexpr float kPi = 3.1415927f;
constexpr float kTwoPi = 6.2831855f;

ZoRotation3 About(float angle, ZoVector3 const& axis) {
  ZoRotation3 q;
  q.setValue(angle, axis);
  return q;
}

// Rz(z) · Ry(y) · Rx(x), composed from the three axis rotations.
ZoRotation3 FromEuler(float z, float y, float x) {
  return About(z, ZoVector3(0, 0, 1)) * About(y, ZoVector3(0, 1, 0)) * About(x, ZoVector3(1, 0, 0));
}

// The Euler angles of `q` (Rz · Ry · Rx) through the rotation matrix.
void ToEuler(ZoRotation3 const& q, ZoVector3 const& translation, float& z, float& y, float& x) {
  ZoXformMatrix3 matrix;
  matrix.setValue(q, translation);
  matrix.getEuler(x, y, z);
}

}  // namespace

// --- ZoJLimit -----------------------------------------------------------------

ZoJLimit::~ZoJLimit() = default;

ZoStreamError ZoJLimit::ReadFromStream(ZoStream& stream) { return stream.Status(); }

ZoStreamError ZoJLimit::WriteToStream(ZoStream& stream) const { return stream.Status(); }

ZoJLimit* ZoJLimit::Duplicate() const { return new (std::nothrow) ZoJLimit(*this); }

int ZoJLimit::FixTransform(ZoTransform3&) const { return 0; }

void ZoJLimit::PivotLimit(ZoRotation3 const&) {}

ZoStreamObject* ZoJLimit::Create() { return new (std::nothrow) ZoJLimit; }

// --- ZoJLHinge ----------------------------------------------------------------

ZoJLHinge::ZoJLHinge() : longArc(0), coefA(1.0f), coefB(0.0f) {
  SetValue(ZoRotation3(1, 0, 0, 0), ZoRotation3(0, 1, 0, 0), 0);
}

ZoJLHinge::~ZoJLHinge() = default;

void ZoJLHinge::SetValue(ZoRotation3 const& minimum, ZoRotation3 const& maximum, int arc) {
  minRot = minimum;
  maxRot = maximum;
  longArc = arc;
  float d = minRot.dot(maxRot);
  float denominator = 1.0f - d * d;
  coefA = 1.0f / denominator;
  coefB = -d / denominator;
}

void ZoJLHinge::GetValue(ZoRotation3& minimum, ZoRotation3& maximum, int& arc) const {
  minimum = minRot;
  maximum = maxRot;
  arc = longArc;
}

int ZoJLHinge::FixTransform(ZoTransform3& t) const {
  ZoRotation3& q = t.rotation;
  float a = minRot.dot(q);
  float b = maxRot.dot(q);
  // α·minRot + β·maxRot is the projection of q onto the plane of the ends.
  float alpha = a * coefA + b * coefB;
  float beta = a * coefB + b * coefA;
  bool inside = (alpha >= 0.0f && beta >= 0.0f) || (alpha <= 0.0f && beta <= 0.0f);
  if (longArc != 0) inside = !inside;

  if (inside) {
    ZoRotation3 p = minRot * alpha + maxRot * beta;
    float sum = p.dot(p);
    // A rotation perpendicular to both ends has no projection; it is taken
    // as outside with equal weights, which goes to maxRot.
    if (sum > 0.0f) {
      // Divided by the length rather than scaled by its inverse: a
      // projection onto one end then lands on that end exactly.
      float norm = std::sqrt(sum);
      p = ZoRotation3(p.w / norm, p.x / norm, p.y / norm, p.z / norm);
      if (p == q) return 0;
      q = p;
      return 1;
    }
    q = maxRot;
    return 1;
  }
  q = std::fabs(alpha) > std::fabs(beta) ? minRot : maxRot;
  return 1;
}

void ZoJLHinge::PivotLimit(ZoRotation3 const& r) {
  minRot = r * minRot;
  maxRot = r * maxRot;
}

ZoStreamError ZoJLHinge::ReadFromStream(ZoStream& stream) {
  ReadBlock(stream, minRot);
  ReadBlock(stream, maxRot);
  ReadValue(stream, coefA);
  ReadValue(stream, coefB);
  if (stream.version >= zoversion::kLimitLongArc) {
    ReadValue(stream, longArc);
  } else {
    longArc = 0;
  }
  return stream.Status();
}

ZoStreamError ZoJLHinge::WriteToStream(ZoStream& stream) const {
  WriteBlock(stream, minRot);
  WriteBlock(stream, maxRot);
  WriteValue(stream, coefA);
  WriteValue(stream, coefB);
  WriteValue(stream, longArc);
  return stream.Status();
}

ZoJLimit* ZoJLHinge::Duplicate() const { return new (std::nothrow) ZoJLHinge(*this); }

ZoStreamObject* ZoJLHinge::Create() { return new (std::nothrow) ZoJLHinge; }

// --- ZoJLEuler ----------------------------------------------------------------

ZoJLEuler::ZoJLEuler() : minAngle{-kPi, -kPi, -kPi}, maxAngle{kPi, kPi, kPi} {}

ZoJLEuler::~ZoJLEuler() = default;

void ZoJLEuler::SetValue(int axis, float minimum, float maximum) {
  minAngle[axis] = minimum;
  maxAngle[axis] = maximum;
}

void ZoJLEuler::GetValue(int axis, float& minimum, float& maximum) const {
  minimum = minAngle[axis];
  maximum = maxAngle[axis];
}

int ZoJLEuler::FixTransform(ZoTransform3& t) const {
  float angles[3];  // θz, θy, θx: the order of the limit's indices
  ToEuler(t.rotation, t.translation, angles[0], angles[1], angles[2]);
  bool changed = false;
  for (int k = 0; k < 3; ++k) {
    float& theta = angles[k];
    float lo = minAngle[k];
    float hi = maxAngle[k];
    float range = hi - lo;
    if (range < 0.0f) range += kTwoPi;
    // How far past the minimum, going round towards the maximum.
    float d = theta - lo;
    if (d < 0.0f) d += kTwoPi;
    if (d > kTwoPi) d -= kTwoPi;
    if (d <= range) continue;
    // Outside: e is how far past the maximum, d how far short of the
    // minimum going the other way; the nearer end wins, a tie the maximum.
    float e = theta - hi;
    if (e < 0.0f) e += kTwoPi;
    if (d > kPi) d = kTwoPi - d;
    theta = d >= e ? hi : lo;
    changed = true;
  }
  if (!changed) return 0;
  t.rotation = FromEuler(angles[0], angles[1], angles[2]);
  return 1;
}

int ZoJLEuler::CenterTransform(ZoTransform3& t) const {
  float c[3];
  for (int k = 0; k < 3; ++k) c[k] = (minAngle[k] + maxAngle[k]) * 0.5f;
  t.rotation = FromEuler(c[0], c[1], c[2]);
  return 1;
}

void ZoJLEuler::PivotLimit(ZoRotation3 const& r) {
  ZoVector3 const origin;
  ZoRotation3 lower = r * FromEuler(minAngle[0], minAngle[1], minAngle[2]);
  ToEuler(lower, origin, minAngle[0], minAngle[1], minAngle[2]);
  ZoRotation3 upper = r * FromEuler(maxAngle[0], maxAngle[1], maxAngle[2]);
  ToEuler(upper, origin, maxAngle[0], maxAngle[1], maxAngle[2]);
}

ZoStreamError ZoJLEuler::ReadFromStream(ZoStream& stream) {
  for (int k = 0; k < 3; ++k) {
    ReadValue(stream, minAngle[k]);
    ReadValue(stream, maxAngle[k]);
  }
  return stream.Status();
}

ZoStreamError ZoJLEuler::WriteToStream(ZoStream& stream) const {
  for (int k = 0; k < 3; ++k) {
    WriteValue(stream, minAngle[k]);
    WriteValue(stream, maxAngle[k]);
  }
  return stream.Status();
}

ZoJLimit* ZoJLEuler::Duplicate() const { return new (std::nothrow) ZoJLEuler(*this); }

ZoStreamObject* ZoJLEuler::Create() { return new (std::nothrow) ZoJLEuler; }

// --- ZoJLLinear ---------------------------------------------------------------

ZoJLLinear::ZoJLLinear() : length(0.0f) { SetValue(ZoVector3(0, -1, 0), ZoVector3(0, 1, 0)); }

ZoJLLinear::~ZoJLLinear() = default;

void ZoJLLinear::SetValue(ZoVector3 const& startPoint, ZoVector3 const& endPoint) {
  start = startPoint;
  end = endPoint;
  direction = end - start;
  length = direction.length();
  direction *= 1.0f / length;
}

void ZoJLLinear::GetValue(ZoVector3& startPoint, ZoVector3& endPoint) const {
  startPoint = start;
  endPoint = end;
}

int ZoJLLinear::FixTransform(ZoTransform3& t) const {
  ZoVector3& p = t.translation;
  float s = (p - start).dot(direction);
  if (s < 0.0f) {
    p = start;
  } else if (s <= length) {
    p = start + direction * s;
  } else {
    p = end;
  }
  return 1;
}

int ZoJLLinear::CenterTransform(ZoTransform3& t) const {
  t.translation = (start + end) * 0.5f;
  return 1;
}

void ZoJLLinear::PivotLimit(ZoRotation3 const& r) {
  start = r * start;
  end = r * end;
}

ZoStreamError ZoJLLinear::ReadFromStream(ZoStream& stream) {
  ZoVector3 startPoint = start;
  ZoVector3 endPoint = end;
  if (ReadBlock(stream, startPoint) != ZoStreamOk) return stream.Status();
  if (ReadBlock(stream, endPoint) != ZoStreamOk) return stream.Status();
  SetValue(startPoint, endPoint);
  return stream.Status();
}

ZoStreamError ZoJLLinear::WriteToStream(ZoStream& stream) const {
  WriteBlock(stream, start);
  WriteBlock(stream, end);
  return stream.Status();
}

ZoJLimit* ZoJLLinear::Duplicate() const { return new (std::nothrow) ZoJLLinear(*this); }

ZoStreamObject* ZoJLLinear::Create() { return new (std::nothrow) ZoJLLinear; }

// --- ZoJLTranslate ------------------------------------------------------------

ZoVector3 const ZoJLTranslate::DEFAULT_EXTENT(0.1f, 0.1f, 0.1f);

// The constructor spells the extent out rather than reading DEFAULT_EXTENT,
// so that a limit made while other libraries initialise never sees it unset.
ZoJLTranslate::ZoJLTranslate() : minCorner(-0.1f, -0.1f, -0.1f), maxCorner(0.1f, 0.1f, 0.1f) {}

ZoJLTranslate::~ZoJLTranslate() = default;

void ZoJLTranslate::SetValue(ZoVector3 const& minimum, ZoVector3 const& maximum) {
  minCorner = minimum;
  maxCorner = maximum;
}

void ZoJLTranslate::GetValue(ZoVector3& minimum, ZoVector3& maximum) const {
  minimum = minCorner;
  maximum = maxCorner;
}

int ZoJLTranslate::FixTransform(ZoTransform3& t) const {
  float* p[3] = {&t.translation.x, &t.translation.y, &t.translation.z};
  float const lo[3] = {minCorner.x, minCorner.y, minCorner.z};
  float const hi[3] = {maxCorner.x, maxCorner.y, maxCorner.z};
  int changed = 0;
  for (int k = 0; k < 3; ++k) {
    if (*p[k] < lo[k]) {
      *p[k] = lo[k];
      changed = 1;
    }
  }
  for (int k = 0; k < 3; ++k) {
    if (*p[k] > hi[k]) {
      *p[k] = hi[k];
      changed = 1;
    }
  }
  return changed;
}

int ZoJLTranslate::CenterTransform(ZoTransform3& t) const {
  t.translation = (minCorner + maxCorner) * 0.5f;
  return 1;
}

void ZoJLTranslate::PivotLimit(ZoRotation3 const& r) {
  minCorner = r * minCorner;
  maxCorner = r * maxCorner;
}

ZoStreamError ZoJLTranslate::ReadFromStream(ZoStream& stream) {
  ReadBlock(stream, minCorner);
  ReadBlock(stream, maxCorner);
  return stream.Status();
}

ZoStreamError ZoJLTranslate::WriteToStream(ZoStream& stream) const {
  WriteBlock(stream, minCorner);
  WriteBlock(stream, maxCorner);
  return stream.Status();
}

ZoJLimit* ZoJLTranslate::Duplicate() const { return new (std::nothrow) ZoJLTranslate(*this); }

ZoStreamObject* ZoJLTranslate::Create() { return new (std::nothrow) ZoJLTranslate; }

static ZoStreamConstructorEntry const kRegisterJLimit(ZoTypeCode::JLimit, &ZoJLimit::Create);
static ZoStreamConstructorEntry const kRegisterJLHinge(ZoTypeCode::JLHinge, &ZoJLHinge::Create);
static ZoStreamConstructorEntry const kRegisterJLEuler(ZoTypeCode::JLEuler, &ZoJLEuler::Create);
static ZoStreamConstructorEntry const kRegisterJLLinear(ZoTypeCode::JLLinear, &ZoJLLinear::Create);
static ZoStreamConstructorEntry const kRegisterJLTranslate(ZoTypeCode::JLTranslate, &ZoJLTranslate::Create);
