// ZoSpline: a piecewise cubic Bézier curve of rigid transforms over time.
// It is sampled at a time or (after Integrate has tabulated arc lengths) at
// a distance along the curve, searched for the time at which it passes
// closest to a given distance from a point, subdivided at a time without
// change of shape, moved, scaled in space and time, and streamed.
//
// Segment i runs from control point i to point i + 1 with the Bézier
// points P0 = point i's transform, P1 = its outControl, P2 = point i+1's
// inControl, P3 = point i+1's transform. Translations follow the cubic
// Bézier; rotations follow the same de Casteljau pattern of spherical
// interpolations. Times are unsigned 32-bit values, compared unsigned, and
// ascend along the points.
//
// Body on the stream (type code ZoTypeCode::Spline, "ilpS" in the file):
//   number of points int32, each point as its 136 raw bytes (the layout of
//   ZoSplineControlPoint below), then length float32. alignAxis is not
//   stored; a spline read back has alignAxis 6.
//
// Edge cases:
//   - A segment whose two points have the same time is sampled at its end
//     (parameter 1) instead of dividing by zero.
//   - InsertControlPoint refuses (null) a time before the first point's
//     time, which would put the new point out of order; at the first point's
//     time (when that is not 0) it returns the first point.
//   - InterpolateAtDistance refuses a negative or NaN distance, and a chord
//     of zero length within the table resolves to its start.
//   - Times made from floating-point products (ScaleDuration,
//     ClosestApproach) are clamped to 0 .. 2^32 − 1 rather than converted out
//     of range; ScaleDuration forms its product in double precision.
//   - alignAxis values outside 0..6 align nothing, as 6 does.
#ifndef ZOACTOR_ANIMATION_ZOSPLINE_H
#define ZOACTOR_ANIMATION_ZOSPLINE_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

// One control point, stored on the stream byte for byte (136 bytes).
struct ZOACTOR_API ZoSplineControlPoint {
  // Offset 0: the time of the point.
  uint32_t time = 0;
  // Offset 4: the point on the curve.
  ZoTransform3 transform;
  // Offset 32: the Bézier control before the point (second control of the
  // segment that ends here).
  ZoTransform3 inControl;
  // Offset 60: the Bézier control after the point (first control of the
  // segment that starts here).
  ZoTransform3 outControl;
  // Offset 88: the arc length of the segment from this point to the next,
  // set by Integrate.
  float segmentLength = 0.0f;
  // Offset 92: the cumulative arc length of that segment at the parameters
  // 1/11, 2/11, ..., 10/11, set by Integrate.
  float arcSamples[10] = {};
  // Offset 132: copied and stored, never set or read by the library.
  int32_t reserved = 0;
};

static_assert(sizeof(ZoSplineControlPoint) == 136, "a spline control point streams as its 136 bytes");
static_assert(std::is_standard_layout<ZoSplineControlPoint>::value &&
                  std::is_trivially_copyable<ZoSplineControlPoint>::value,
              "spline control points are streamed as raw bytes");

class ZOACTOR_API ZoSpline : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::Spline;

  // The local axis InterpolateAtTime turns towards the curve.
  enum AlignAxis : int32_t { PlusX = 0, MinusX = 1, PlusY = 2, MinusY = 3, PlusZ = 4, MinusZ = 5, None = 6 };

  // No points, length 0, alignAxis 6 (none).
  ZoSpline();
  // Deep copy of the points; copies length and alignAxis.
  ZoSpline(ZoSpline const& other);
  // Destroys its points, deep-copies `other`'s and copies length; alignAxis
  // keeps its own value. A point that cannot be allocated is left out.
  ZoSpline& operator=(ZoSpline const& other);
  ~ZoSpline() override;

  // Replaces the points by two: time 0 at `a` (inControl a, outControl a
  // third of the way to b) and time `duration` at `b` (inControl two thirds
  // of the way from a, outControl b), a straight line at constant speed.
  // length is not changed.
  void SetLinear(ZoTransform3 const& a, ZoTransform3 const& b, uint32_t duration);

  // Subdivides the segment holding `t` at `t` (de Casteljau), so that the
  // curve keeps its shape, and returns the new point (owned by the spline;
  // its segmentLength and arcSamples stay 0 until the next Integrate, and
  // length is not updated). Returns the existing point when one lies at
  // `t`, and null with fewer than 2 points, for t 0, for t at or after the
  // last point's time and for t before the first point's time, or when no
  // point can be allocated.
  ZoSplineControlPoint* InsertControlPoint(uint32_t t);

  // The last point's time; 0 for an empty spline.
  uint32_t LengthInTime() const;

  // Sets `out` to the curve at time `t` and returns 1; returns 0 with `out`
  // unchanged when there are fewer than 2 points or `t` is after the last
  // point's time. Times before the first point's time extrapolate from an
  // unsigned difference (far outside the first segment); keep `t` at or
  // after the first point. With alignAxis 0..5 the rotation is then turned
  // (on the left) by the rotation that carries the chosen local axis, as
  // rotated, onto the direction of the curve's point seen from the origin.
  int InterpolateAtTime(uint32_t t, ZoTransform3& out) const;

  // Builds the arc-length tables: each segment is measured by eleven chords
  // at the parameters 0, 1/11, ..., 1; sets every segment's segmentLength and
  // arcSamples and the total length. Returns 1, or 0 with fewer than 2 points.
  int Integrate();

  // Sets `out` to the curve at arc length `d` (by the tables of the last
  // Integrate, linear within each chord) and returns 1; returns 0 with `out`
  // unchanged when there are fewer than 2 points, `d` is negative or NaN, or
  // `d` lies beyond the end. No axis alignment is applied. The walk
  // subtracts segment lengths from `d`, and Length() is their float sum, so
  // Length() itself may land a rounding step beyond the end of a spline of
  // several segments; ask for a hair less to reach the end.
  int InterpolateAtDistance(float d, ZoTransform3& out) const;

  // The time, among 100 samples from 0 to LengthInTime() (i × L/99
  // truncated), at which the curve's distance from `p` is closest to `r`;
  // ties keep the earlier time. A sample that fails keeps the previous
  // transform.
  uint32_t ClosestApproach(ZoVector3 const& p, float r) const;

  // Every point's transform and controls become x · field. The tables stay
  // valid (the motion is rigid).
  void Transform(ZoTransform3 const& x);
  // Multiplies the translations of every point's transform and controls
  // component by component by `s`. The tables are not recomputed.
  void Scale(ZoVector3 const& s);
  // Every point's time becomes time × f, truncated (clamped to 0 .. 2^32 − 1;
  // NaN gives 0).
  void ScaleDuration(float f);

  // Points, in ascending time. Index outside 0 .. NumControlPoints() − 1: null.
  int NumControlPoints() const { return static_cast<int>(points.size()); }
  ZoSplineControlPoint* ControlPoint(int i);
  ZoSplineControlPoint const* ControlPoint(int i) const;
  // Appends a copy of `point` and returns it (owned by the spline); null
  // when its time is before the last point's time or it cannot be allocated.
  ZoSplineControlPoint* AppendControlPoint(ZoSplineControlPoint const& point);
  // Destroys every point (length is kept).
  void DeleteControlPoints();

  // The total arc length of the last Integrate (or as read).
  float Length() const { return length; }
  int32_t GetAlignAxis() const { return alignAxis; }
  void SetAlignAxis(int32_t axis) { alignAxis = axis; }

  int32_t StreamType() const override { return STREAM_TYPE; }
  // Reads the count, appends that many points (keeping the points already
  // held) and reads length. Fails with ZoStreamFormatError for a negative
  // count, and without allocating when the count is larger than the stream
  // can hold; a point that cannot be read whole is not appended and ends the
  // read. Returns the stream's status.
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  // Writes the count, every point's 136 bytes and length. Returns the
  // stream's status.
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // The registry's creation function: a default spline, or null.
  static ZoStreamObject* Create();

 private:
  // Appends or inserts (before `at`) an owned point; false when storage
  // cannot grow (the point is then destroyed).
  bool Store(std::unique_ptr<ZoSplineControlPoint> point, size_t at);
  void CopyPointsFrom(ZoSpline const& other);

  std::vector<std::unique_ptr<ZoSplineControlPoint>> points;
  float length;
  int32_t alignAxis;
};

#endif
