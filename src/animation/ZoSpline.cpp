#include <zoactor/animation/ZoSpline.h>

#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoStreamIo.h"

#include <cmath>
#include <cstring>
#include <new>

namespace {

// The arc-length table's parameter step 1/11 and the closest-approach
// search's step 1/99, as the float constants the tables were made with.
float FloatFromBits(uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, sizeof value);
  return value;
}
float ArcStep() { return FloatFromBits(0x3DBA2E8Cu); }
float ApproachStep() { return FloatFromBits(0x3C257EB5u); }

// The curve parameter of time t in the segment p0..p1: the unsigned time
// since p0 over the segment's duration, in double, stored as float. A
// segment without duration is taken at its end.
float SegmentParameter(uint32_t t, ZoSplineControlPoint const& p0, ZoSplineControlPoint const& p1) {
  uint32_t span = p1.time - p0.time;
  if (span == 0) return 1.0f;
  return static_cast<float>(static_cast<double>(t - p0.time) / static_cast<double>(span));
}

void SegmentAt(ZoSplineControlPoint const& p0, ZoSplineControlPoint const& p1, float u, ZoTransform3& out) {
  out.interpolate(p0.transform, p0.outControl, p1.inControl, p1.transform, u);
}

// A time from a floating-point value: truncated, and clamped to the range of
// a time (NaN gives 0).
uint32_t TimeFromReal(double value) {
  if (!(value > 0.0)) return 0;
  if (value >= 4294967295.0) return 0xFFFFFFFFu;
  return static_cast<uint32_t>(value);
}

ZoVector3 const kAxes[6] = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};

}  // namespace

ZoSpline::ZoSpline() : length(0.0f), alignAxis(None) {}

ZoSpline::ZoSpline(ZoSpline const& other) : length(other.length), alignAxis(other.alignAxis) { CopyPointsFrom(other); }

ZoSpline& ZoSpline::operator=(ZoSpline const& other) {
  if (this != &other) {
    DeleteControlPoints();
    CopyPointsFrom(other);
    length = other.length;
  }
  return *this;
}

ZoSpline::~ZoSpline() = default;

void ZoSpline::CopyPointsFrom(ZoSpline const& other) {
  for (auto const& point : other.points) AppendControlPoint(*point);
}

bool ZoSpline::Store(std::unique_ptr<ZoSplineControlPoint> point, size_t at) {
  if (point == nullptr) return false;
  try {
    points.insert(points.begin() + static_cast<std::ptrdiff_t>(at), std::move(point));
  } catch (std::bad_alloc const&) {
    return false;
  }
  return true;
}

void ZoSpline::DeleteControlPoints() { points.clear(); }

ZoSplineControlPoint* ZoSpline::ControlPoint(int i) {
  return i >= 0 && static_cast<size_t>(i) < points.size() ? points[static_cast<size_t>(i)].get() : nullptr;
}

ZoSplineControlPoint const* ZoSpline::ControlPoint(int i) const {
  return i >= 0 && static_cast<size_t>(i) < points.size() ? points[static_cast<size_t>(i)].get() : nullptr;
}

ZoSplineControlPoint* ZoSpline::AppendControlPoint(ZoSplineControlPoint const& point) {
  if (!points.empty() && point.time < points.back()->time) return nullptr;
  std::unique_ptr<ZoSplineControlPoint> copy(new (std::nothrow) ZoSplineControlPoint(point));
  ZoSplineControlPoint* stored = copy.get();
  return Store(std::move(copy), points.size()) ? stored : nullptr;
}

// --- Building ---------------------------------------------------------------------

void ZoSpline::SetLinear(ZoTransform3 const& a, ZoTransform3 const& b, uint32_t duration) {
  ZoTransform3 const from = a;  // a or b may belong to a point destroyed below
  ZoTransform3 const to = b;
  DeleteControlPoints();
  ZoSplineControlPoint start;
  start.time = 0;
  start.transform = from;
  start.inControl = from;
  start.outControl.interpolate(from, to, 1.0f / 3.0f);
  ZoSplineControlPoint end;
  end.time = duration;
  end.transform = to;
  end.outControl = to;
  end.inControl.interpolate(from, to, 2.0f / 3.0f);
  AppendControlPoint(start);
  AppendControlPoint(end);
}

ZoSplineControlPoint* ZoSpline::InsertControlPoint(uint32_t t) {
  size_t const n = points.size();
  if (n < 2 || t == 0 || t >= points.back()->time) return nullptr;
  if (t < points.front()->time) return nullptr;
  if (t == points.front()->time) return points.front().get();

  size_t i = 1;
  while (t > points[i]->time) ++i;  // ends: t is before the last point's time
  if (t == points[i]->time) return points[i].get();

  ZoSplineControlPoint& p0 = *points[i - 1];
  ZoSplineControlPoint& p1 = *points[i];
  float const u = SegmentParameter(t, p0, p1);
  ZoTransform3 const& b0 = p0.transform;
  ZoTransform3 const& b1 = p0.outControl;
  ZoTransform3 const& b2 = p1.inControl;
  ZoTransform3 const& b3 = p1.transform;

  std::unique_ptr<ZoSplineControlPoint> fresh(new (std::nothrow) ZoSplineControlPoint);
  if (fresh == nullptr) return nullptr;
  ZoTransform3 q0, q1, q2;
  q0.interpolate(b0, b1, u);
  q1.interpolate(b1, b2, u);
  q2.interpolate(b2, b3, u);
  fresh->time = t;
  fresh->transform.interpolate(b0, b1, b2, b3, u);
  fresh->inControl.interpolate(q0, q1, u);
  fresh->outControl.interpolate(q1, q2, u);

  ZoSplineControlPoint* stored = fresh.get();
  if (!Store(std::move(fresh), i)) return nullptr;
  // The vector may have moved its pointers, not the points: p0 and p1 stand.
  p0.outControl = q0;
  p1.inControl = q2;
  return stored;
}

// --- Sampling ------------------------------------------------------------------------

uint32_t ZoSpline::LengthInTime() const { return points.empty() ? 0u : points.back()->time; }

int ZoSpline::InterpolateAtTime(uint32_t t, ZoTransform3& out) const {
  size_t const n = points.size();
  if (n < 2) return 0;
  size_t i = 1;
  while (i < n && points[i]->time < t) ++i;
  if (i == n) return 0;
  ZoSplineControlPoint const& p0 = *points[i - 1];
  ZoSplineControlPoint const& p1 = *points[i];
  float const u = SegmentParameter(t, p0, p1);
  ZoTransform3 sample;
  SegmentAt(p0, p1, u, sample);

  if (alignAxis >= PlusX && alignAxis <= MinusZ) {
    // Turn the chosen local axis, as the sample rotates it, onto the
    // direction of the curve's point.
    ZoVector3 direction;
    direction.interpolate(p0.transform.translation, p0.outControl.translation, p1.inControl.translation,
                          p1.transform.translation, u);
    ZoVector3 const turnedAxis = sample.rotation * kAxes[alignAxis];
    ZoRotation3 turn;
    turn.setValue(turnedAxis, direction);
    sample.rotation = turn * sample.rotation;
  }
  out = sample;
  return 1;
}

int ZoSpline::Integrate() {
  size_t const n = points.size();
  if (n < 2) return 0;
  length = 0.0f;
  for (size_t i = 0; i + 1 < n; ++i) {
    ZoSplineControlPoint& p0 = *points[i];
    ZoSplineControlPoint const& p1 = *points[i + 1];
    ZoVector3 const& a = p0.transform.translation;
    ZoVector3 const& b = p0.outControl.translation;
    ZoVector3 const& c = p1.inControl.translation;
    ZoVector3 const& d = p1.transform.translation;
    float total = 0.0f;
    ZoVector3 prev = a;
    for (int k = 1; k <= 10; ++k) {
      ZoVector3 q;
      q.interpolate(a, b, c, d, static_cast<float>(k) * ArcStep());
      total += (q - prev).length();
      p0.arcSamples[k - 1] = total;
      prev = q;
    }
    total += (d - prev).length();
    p0.segmentLength = total;
    length += total;
  }
  return 1;
}

int ZoSpline::InterpolateAtDistance(float d, ZoTransform3& out) const {
  size_t const n = points.size();
  if (n < 2 || !(d >= 0.0f)) return 0;
  size_t i = 0;
  while (d > points[i]->segmentLength) {
    d -= points[i]->segmentLength;
    ++i;
    if (i + 1 >= n) return 0;
  }
  ZoSplineControlPoint const& p0 = *points[i];
  ZoSplineControlPoint const& p1 = *points[i + 1];
  int k = 0;
  while (k < 10 && p0.arcSamples[k] < d) ++k;
  float const lo = k == 0 ? 0.0f : p0.arcSamples[k - 1];
  float const hi = k == 10 ? p0.segmentLength : p0.arcSamples[k];
  float const fraction = hi > lo ? (d - lo) / (hi - lo) : 0.0f;
  float const u = (static_cast<float>(k) + fraction) / 11.0f;
  SegmentAt(p0, p1, u, out);
  return 1;
}

uint32_t ZoSpline::ClosestApproach(ZoVector3 const& p, float r) const {
  float const step = static_cast<float>(LengthInTime()) * ApproachStep();
  ZoTransform3 sample;
  InterpolateAtTime(0, sample);
  float best = std::fabs((sample.translation - p).length() - r);
  uint32_t bestTime = 0;
  for (int i = 1; i <= 99; ++i) {
    uint32_t const t = TimeFromReal(static_cast<double>(static_cast<float>(i) * step));
    InterpolateAtTime(t, sample);
    float const distance = std::fabs((sample.translation - p).length() - r);
    if (distance < best) {
      best = distance;
      bestTime = t;
    }
  }
  return bestTime;
}

// --- Editing -----------------------------------------------------------------------

void ZoSpline::Transform(ZoTransform3 const& x) {
  ZoTransform3 const by = x;  // x may be one of the points' own fields
  for (auto& point : points) {
    point->transform = by * point->transform;
    point->inControl = by * point->inControl;
    point->outControl = by * point->outControl;
  }
}

void ZoSpline::Scale(ZoVector3 const& s) {
  ZoVector3 const by = s;
  for (auto& point : points) {
    point->transform.translation *= by;
    point->inControl.translation *= by;
    point->outControl.translation *= by;
  }
}

void ZoSpline::ScaleDuration(float f) {
  for (auto& point : points) point->time = TimeFromReal(static_cast<double>(point->time) * static_cast<double>(f));
}

// --- Stream ------------------------------------------------------------------------

ZoStreamError ZoSpline::ReadFromStream(ZoStream& stream) {
  int32_t n = 0;
  if (!stream.ReadLoopCount(n, sizeof(ZoSplineControlPoint), sizeof(ZoSplineControlPoint))) return stream.Status();
  for (int32_t i = 0; i < n; ++i) {
    std::unique_ptr<ZoSplineControlPoint> point(new (std::nothrow) ZoSplineControlPoint);
    if (point == nullptr) return zostreamio::OutOfMemory(stream);
    if (stream.ReadBytes(sizeof(ZoSplineControlPoint), point.get()) != ZoStreamOk) return stream.Status();
    if (!Store(std::move(point), points.size())) {
      return zostreamio::OutOfMemory(stream);
    }
  }
  float total = 0.0f;
  if ((stream >> total).Status() == ZoStreamOk) length = total;
  return stream.Status();
}

ZoStreamError ZoSpline::WriteToStream(ZoStream& stream) const {
  stream << static_cast<int32_t>(points.size());
  for (auto const& point : points) {
    if (stream.Status() != ZoStreamOk) return stream.Status();
    stream.WriteBytes(sizeof(ZoSplineControlPoint), point.get());
  }
  stream << length;
  return stream.Status();
}

ZoStreamObject* ZoSpline::Create() { return new (std::nothrow) ZoSpline; }

static ZoStreamConstructorEntry const kRegisterSpline(ZoTypeCode::Spline, &ZoSpline::Create);
