// Splines: the straight spline, subdivision without change of shape, arc
// length tables and distance lookups, the closest-approach search, axis
// alignment, rigid and scaling edits, and the body against a layout built
// by hand, which copies and assignment carry.
#include <zoactor/animation/ZoSpline.h>

#include "ZoAnimationTestSupport.h"

#include <cmath>

using namespace zoanimationtest;

namespace {

std::vector<ZoTransform3> SampleEvery(ZoSpline const& spline, int samples) {
  std::vector<ZoTransform3> out(static_cast<size_t>(samples));
  for (int i = 0; i < samples; ++i) {
    uint64_t t = static_cast<uint64_t>(spline.LengthInTime()) * static_cast<uint64_t>(i) / static_cast<uint64_t>(samples - 1);
    EXPECT_EQ(spline.InterpolateAtTime(static_cast<uint32_t>(t), out[static_cast<size_t>(i)]), 1) << t;
  }
  return out;
}

ZoTransform3 Along(float x, float y = 0) { return ZoTransform3({x, y, 0}, ZoRotation3()); }

ZoTransform3 const kFrom({1, 2, 3}, ZoRotation3());
ZoTransform3 const kTo({5, -2, 7}, About(1.2f, {0, 1, 0}));
ZoTransform3 const kUnset({9, 9, 9}, ZoRotation3());

}  // namespace

TEST(ZoSplineLinear, StraightAtConstantSpeedAndKeptExactlyByInsertingPoints) {
  ZoSpline spline;
  EXPECT_EQ(spline.LengthInTime(), 0u);
  ZoTransform3 out = kUnset;
  EXPECT_EQ(std::make_pair(spline.InterpolateAtTime(0, out), spline.InsertControlPoint(5)),
            std::make_pair(0, static_cast<ZoSplineControlPoint*>(nullptr)));

  spline.SetLinear(kFrom, kTo, 100);
  ASSERT_EQ(spline.NumControlPoints(), 2);
  EXPECT_EQ(spline.LengthInTime(), 100u);
  ZoSplineControlPoint const* p0 = spline.ControlPoint(0);
  ZoSplineControlPoint const* p1 = spline.ControlPoint(1);
  EXPECT_EQ(std::make_tuple(p0->time, p0->inControl, p1->outControl), std::make_tuple(0u, kFrom, kTo));
  ExpectClose(p0->outControl, ZoTransform3({7.0f / 3, 2.0f / 3, 13.0f / 3}, About(0.4f, {0, 1, 0})));
  ExpectNear(p1->inControl.translation, {11.0f / 3, -2.0f / 3, 17.0f / 3});

  for (auto [t, want] : {std::pair<uint32_t, ZoTransform3>{50, {{3, 0, 5}, About(0.6f, {0, 1, 0})}},
                         {25, {{2, 1, 4}, About(0.3f, {0, 1, 0})}}, {100, kTo}}) {
    ASSERT_EQ(spline.InterpolateAtTime(t, out), 1);
    ExpectClose(out, want, 1e-5f);
  }
  ZoTransform3 kept = kUnset;
  EXPECT_EQ(spline.InterpolateAtTime(150, kept), 0);
  EXPECT_EQ(kept, kUnset);
  EXPECT_EQ(std::make_tuple(spline.ControlPoint(2), spline.ControlPoint(-1)), std::make_tuple(nullptr, nullptr));

  // Inserted points keep the shape.
  std::vector<ZoTransform3> before = SampleEvery(spline, 200);
  ZoTransform3 at50;
  ASSERT_EQ(spline.InterpolateAtTime(50, at50), 1);

  ZoSplineControlPoint* mid = spline.InsertControlPoint(50);
  ASSERT_NE(mid, nullptr);
  EXPECT_EQ(std::make_tuple(mid->time, spline.ControlPoint(1), mid->segmentLength), std::make_tuple(50u, mid, 0.0f));
  ExpectClose(mid->transform, at50);

  for (uint32_t t : {13u, 77u, 31u, 99u, 1u}) ASSERT_NE(spline.InsertControlPoint(t), nullptr) << t;
  EXPECT_EQ(spline.InsertControlPoint(50), mid);  // an existing time
  for (uint32_t outside : {100u, 0u, 0xFFFFFFFFu}) EXPECT_EQ(spline.InsertControlPoint(outside), nullptr) << outside;
  ASSERT_EQ(spline.NumControlPoints(), 8);
  for (int i = 1; i < spline.NumControlPoints(); ++i)
    EXPECT_LT(spline.ControlPoint(i - 1)->time, spline.ControlPoint(i)->time);
  std::vector<ZoTransform3> after = SampleEvery(spline, 200);
  for (size_t i = 0; i < before.size(); ++i) ExpectClose(after[i], before[i], 2e-6f);
}

TEST(ZoSplineArcLength, TablesAndDistanceLookups) {
  ZoSpline spline;
  ZoTransform3 out = kUnset;
  EXPECT_EQ(spline.Integrate(), 0);
  EXPECT_EQ(spline.InterpolateAtDistance(0.0f, out), 0);

  spline.SetLinear(Along(0), Along(11), 100);
  ASSERT_EQ(spline.Integrate(), 1);
  EXPECT_NEAR(spline.Length(), 11.0f, 1e-5f);
  ZoSplineControlPoint const* p0 = spline.ControlPoint(0);
  EXPECT_NEAR(p0->segmentLength, 11.0f, 1e-5f);
  for (int i = 0; i < 10; ++i) EXPECT_NEAR(p0->arcSamples[i], static_cast<float>(i + 1), 1e-5f) << i;
  for (float d : {5.5f, 0.0f, 10.5f}) {  // 10.5: within the eleventh chord
    ASSERT_EQ(spline.InterpolateAtDistance(d, out), 1);
    ExpectNear(out.translation, {d, 0, 0});
  }
  ZoTransform3 kept = kUnset;
  for (float d : {12.0f, -1.0f, std::nanf("")}) EXPECT_EQ(spline.InterpolateAtDistance(d, kept), 0);
  EXPECT_EQ(kept, kUnset);

  // Two segments: distances carry over, and a new point waits for Integrate.
  ZoSplineControlPoint* mid = spline.InsertControlPoint(50);
  ASSERT_NE(mid, nullptr);
  EXPECT_EQ(mid->segmentLength, 0.0f);
  ASSERT_EQ(spline.Integrate(), 1);
  EXPECT_NEAR(spline.Length(), 11.0f, 1e-5f);
  EXPECT_NEAR(mid->segmentLength, 5.5f, 1e-5f);
  ASSERT_EQ(spline.InterpolateAtDistance(8.0f, out), 1);
  ExpectNear(out.translation, {8.0f, 0, 0}, 2e-5f);

  // A quarter circle: the table's length approaches the true arc length
  // from below.
  ZoSpline arc;
  arc.AppendControlPoint({0, Along(1), Along(0), Along(1, 0.5523f)});  // time, point, in and out controls
  arc.AppendControlPoint({10, Along(0, 1), Along(0.5523f, 1), Along(0)});
  ASSERT_EQ(arc.Integrate(), 1);
  EXPECT_NEAR(arc.Length(), 1.5708f, 2e-3f);
  EXPECT_LT(arc.Length(), 1.5708f);
}

TEST(ZoSplineSampling, ClosestApproachSamplesAHundredTimesAndAxesAlign) {
  ZoSpline spline, still, longest;
  spline.SetLinear(Along(0), Along(990), 990);
  // With every sample equally near the earliest wins.
  still.SetLinear(Along(0), ZoTransform3({0, 0, 0}, About(2, {0, 0, 1})), 990);
  std::vector<uint32_t> const found{spline.ClosestApproach({503, 0, 0}, 0.0f), spline.ClosestApproach({503, 40, 0}, 0.0f),
                                    spline.ClosestApproach({0, 0, 0}, 250.0f), spline.ClosestApproach({2000, 0, 0}, 0.0f),
                                    still.ClosestApproach({1, 0, 0}, 0.0f)};
  EXPECT_EQ(found, std::vector<uint32_t>({500, 500, 250, 990, 0}));
  // At the top of the time range the sample times stay in range.
  longest.SetLinear(Along(0), Along(99), 0xFFFFFFFFu);
  EXPECT_GT(longest.ClosestApproach({98.9f, 0, 0}, 0.0f), 0xF0000000u);

  // Aligned, the chosen axis points along the curve point; 6 and others
  // outside 0 to 5 leave the sample as it is.
  spline.SetLinear(ZoTransform3({1, 0, 0}, About(0.3f, {1, 1, 1})),
                   ZoTransform3({1, 4, 2}, About(-0.8f, {0, 1, 1})), 60);
  ZoVector3 const axes[] = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
  ZoTransform3 plain, aligned;
  ASSERT_EQ(spline.InterpolateAtTime(20, plain), 1);
  for (int32_t axis = 0; axis < 6; ++axis) {
    spline.SetAlignAxis(axis);
    ASSERT_EQ(spline.InterpolateAtTime(20, aligned), 1);
    ExpectNear(aligned.translation, plain.translation);
    EXPECT_NEAR((aligned.rotation * axes[axis]).dot(aligned.translation.unit()), 1.0f, 1e-5f) << axis;
    EXPECT_NEAR(aligned.rotation.dot(aligned.rotation), 1.0f, 1e-5f);
  }
  for (int32_t none : {6, 7, -1}) {
    spline.SetAlignAxis(none);
    ASSERT_EQ(spline.InterpolateAtTime(20, aligned), 1);
    EXPECT_EQ(aligned, plain);
  }
}

TEST(ZoSplineEditing, TransformScaleAndDuration) {
  ZoSpline spline, scaled, ordered;
  spline.SetLinear(kFrom, kTo, 101);
  spline.InsertControlPoint(40);
  ASSERT_EQ(spline.Integrate(), 1);
  float length = spline.Length();
  std::vector<ZoTransform3> before = SampleEvery(spline, 20);
  ZoTransform3 x({3, -1, 2}, About(0.9f, {1, 0, 1}));
  spline.Transform(x);
  std::vector<ZoTransform3> moved = SampleEvery(spline, 20);
  for (size_t i = 0; i < before.size(); ++i) ExpectClose(moved[i], x * before[i], 2e-5f);
  ASSERT_EQ(spline.Integrate(), 1);
  EXPECT_NEAR(spline.Length(), length, 1e-4f);

  scaled.SetLinear(kFrom, kTo, 101);
  scaled.Scale({2, 0.5f, -1});
  EXPECT_EQ(std::make_pair(scaled.ControlPoint(0)->transform.translation, scaled.ControlPoint(1)->outControl),
            std::make_pair(ZoVector3(2, 1, -3), ZoTransform3({10, -1, -7}, kTo.rotation)));

  // Durations scale with truncation (16.5, 50.5), clamp at the top of the
  // range, and go to 0 for negative or NaN factors.
  scaled.InsertControlPoint(33);
  std::vector<uint32_t> times;
  for (float factor : {0.5f, 1e20f, -2.0f, std::nanf("")}) {
    scaled.ControlPoint(2)->time += factor != factor ? 7 : 0;
    scaled.ScaleDuration(factor);
    for (int i = 0; i < 3; ++i) times.push_back(scaled.ControlPoint(i)->time);
  }
  EXPECT_EQ(times, std::vector<uint32_t>({0, 16, 50, 0, 0xFFFFFFFFu, 0xFFFFFFFFu, 0, 0, 0, 0, 0, 0}));

  // Appending keeps times in order.
  ordered.SetLinear(kFrom, kTo, 10);
  std::vector<bool> const appended{ordered.AppendControlPoint(ZoSplineControlPoint{5, {}, {}, {}}) != nullptr,
                                   ordered.AppendControlPoint(ZoSplineControlPoint{10, {}, {}, {}}) != nullptr};
  EXPECT_EQ(appended, std::vector<bool>({false, true}));
}

TEST(ZoSplineStream, BodyIsCountRawPointsAndLength) {
  ZoSpline spline;
  spline.SetLinear(kFrom, kTo, 300);
  spline.Integrate();
  spline.ControlPoint(1)->reserved = 0x12345678;
  spline.SetAlignAxis(3);

  ByteBuilder b;
  b.raw({0x69, 0x6C, 0x70, 0x53}).i32(2);  // "ilpS", two points
  for (int i = 0; i < 2; ++i) {
    ZoSplineControlPoint const& p = *spline.ControlPoint(i);
    b.u32(p.time);
    for (ZoTransform3 const* t : {&p.transform, &p.inControl, &p.outControl}) zotest::AddTransform(b, *t);
    b.f32(p.segmentLength);
    for (float sample : p.arcSamples) b.f32(sample);
    b.i32(p.reserved);
  }
  b.f32(spline.Length());
  ASSERT_EQ(b.get().size(), 4u + 4u + 2u * 136u + 4u);
  std::unique_ptr<ZoSpline> back = zotest::ExpectFramedLayout(spline, b);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->GetAlignAxis(), 6);

  // A copy takes the points, the length and the align axis; an assigned
  // spline takes the points and the length and keeps its own axis.
  ZoSpline copy(spline), assigned;
  assigned.SetAlignAxis(4);
  assigned.SetLinear(kTo, kFrom, 5);
  assigned.InsertControlPoint(2);
  assigned = spline;
  assigned = assigned;  // NOLINT: self-assignment keeps the points
  EXPECT_EQ(std::make_pair(copy.GetAlignAxis(), assigned.GetAlignAxis()), std::make_pair(3, 4));
  EXPECT_EQ(std::make_pair(zotest::Framed(&copy), zotest::Framed(&assigned)), std::make_pair(b.get(), b.get()));

  // Reading into a spline that has points appends to them.
  zotest::Reader body(Bytes(b.get().begin() + 4, b.get().end()));
  ASSERT_EQ(back->ReadFromStream(*body), ZoStreamOk);
  EXPECT_EQ(back->NumControlPoints(), 4);
}
