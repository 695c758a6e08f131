// Joint keyframes and joint key lists, in what the sampling oracle does not
// reach: the 208-byte body, local controls, modes without neighbours, Scale
// and Transform, what an interpolated output keeps, a single key, keys of
// another class, and sampling into a key. Rotations are checked against
// Eigen, which the library does not use.
#include <zoactor/animation/ZoJointKeyList.h>
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/animation/ZoKeyList.h>

#include "ZoAnimationTestSupport.h"

using namespace zoanimationtest;

namespace {

ZoJointKeyframe* JointKey(uint32_t t, ZoVector3 position, ZoRotation3 rotation = ZoRotation3()) {
  auto* kf = new ZoJointKeyframe;
  kf->setTime(t);
  kf->localTransform = ZoTransform3(position * 0.5f, rotation);
  kf->actorTransform = ZoTransform3(position, rotation);
  kf->point = position * 2.0f;
  return kf;
}

// The six transforms of a key, in body order.
ZoTransform3 ZoJointKeyframe::* const kTransforms[] = {&ZoJointKeyframe::localTransform, &ZoJointKeyframe::localIn,
                                                      &ZoJointKeyframe::localOut,       &ZoJointKeyframe::actorTransform,
                                                      &ZoJointKeyframe::actorIn,        &ZoJointKeyframe::actorOut};

// A key with a distinct value in every field.
ZoJointKeyframe DistinctKey() {
  ZoJointKeyframe kf;
  kf.setTime(0x11223344u);
  kf.tag = -7;
  kf.flags = 0x0A0B0C0D;
  float v = 1.0f;
  for (auto field : kTransforms) {
    kf.*field = ZoTransform3({v, v + 0.25f, v + 0.5f}, {v + 0.125f, -v, v * 2, -v * 3});
    v += 1.0f;
  }
  kf.point = {-1.5f, 2.5f, -3.5f};
  kf.marker = 0x55AA;
  kf.easeIn = 0.875f;
  kf.easeOut = 0.0625f;
  kf.blendMode = 2;
  return kf;
}

// Every field of the two keys alike, bit for bit: the body holds them all.
bool SameFields(ZoJointKeyframe const& a, ZoJointKeyframe const& b) { return zotest::Body(a) == zotest::Body(b); }

}  // namespace

TEST(ZoJointKeyframeStream, BodyIs208BytesInFieldOrder) {
  ZoJointKeyframe kf = DistinctKey();
  ByteBuilder b;
  b.raw({0x4A, 0x4B, 0x65, 0x79}).u32(0x11223344u).i32(-7).i32(0x0A0B0C0D);  // "JKey", time, tag, flags
  for (auto field : kTransforms) zotest::AddTransform(b, kf.*field);
  b.f32(-1.5f).f32(2.5f).f32(-3.5f).i32(0x55AA).f32(0.875f).f32(0.0625f).i32(2);
  ASSERT_EQ(b.get().size(), 4u + 208u);
  zotest::ExpectFramedLayout(kf, b);
}

TEST(ZoJointKeyframeBlends, LinearControlsLieAThirdOfTheWayToTheNeighbours) {
  // The actor controls are checked by the sampling oracle; here the local
  // ones, which sampling never reads.
  ZoJointKeyframe prev, cur, next;
  prev.localTransform = ZoTransform3({1, 1, 1}, About(0.3f, {1, 0, 0}));
  cur.localTransform = ZoTransform3({4, 1, 1}, About(0.9f, {1, 0, 0}));
  next.localTransform = ZoTransform3({4, 7, 1}, About(1.5f, {1, 0, 0}));
  cur.blendMode = 1;

  cur.ComputeBlends(&prev, &next, 0);
  EXPECT_EQ(cur.blendMode, 0);
  ExpectClose(cur.localIn, ZoTransform3({3, 1, 1}, About(0.7f, {1, 0, 0})), 1e-5f);
  ExpectClose(cur.localOut, ZoTransform3({4, 3, 1}, About(1.1f, {1, 0, 0})), 1e-5f);

  // A missing neighbour gives the key's own transform on that side.
  cur.ComputeBlends(nullptr, &next, 0);
  EXPECT_EQ(cur.localIn, cur.localTransform);
  cur.ComputeBlends(&prev, nullptr, 0);
  EXPECT_EQ(cur.localOut, cur.localTransform);
}

// The smooth controls of the actor transforms, with one neighbour or two,
// are checked against Eigen by the sampling oracle; here that the local
// transforms take their own neighbours, what a key without neighbours gets,
// and that other modes leave the controls as they were.
TEST(ZoJointKeyframeBlends, SmoothControlsWithAndWithoutNeighboursAndOtherModes) {
  ZoTransform3 p({0, 0, 0}, About(0.4f, {1, 2, 0}));
  ZoTransform3 q({6, 0, 0}, About(1.1f, {0, 1, 1}));
  ZoTransform3 r({6, 12, 6}, About(-0.7f, {1, 0, 1}));
  ZoRotation3 in(0, 1, 0, 0), out(0, 0, 1, 0);
  ZoVector3 tangent(7, 8, 9);
  ZoJointKeyframe::ComputeControlPoint(nullptr, &q, nullptr, in, out, tangent);
  EXPECT_EQ(std::make_tuple(in, out, tangent), std::make_tuple(ZoRotation3(0, 1, 0, 0), ZoRotation3(0, 0, 1, 0), ZoVector3(7, 8, 9)));

  ZoJointKeyframe kp, kq, kr;
  kp.actorTransform = kr.localTransform = p;
  kq.actorTransform = kq.localTransform = q;
  kr.actorTransform = kp.localTransform = r;
  kq.ComputeBlends(&kp, &kr, 1);
  EXPECT_EQ(kq.blendMode, 1);
  ExpectNear(kq.localOut.translation, ZoVector3(5, -2, -1));  // neighbours swapped

  // Without neighbours: the key's translations, no turn.
  ZoJointKeyframe kf;
  kf.actorTransform = ZoTransform3({1, 2, 3}, About(0.5f, {0, 1, 0}));
  kf.localTransform = ZoTransform3({4, 5, 6}, About(0.5f, {1, 0, 0}));
  kf.actorIn = kf.actorOut = kf.localIn = kf.localOut = ZoTransform3({9, 9, 9}, About(1.0f, {0, 0, 1}));
  kf.ComputeBlends(nullptr, nullptr, 1);
  ZoTransform3 const actor({1, 2, 3}, ZoRotation3()), local({4, 5, 6}, ZoRotation3());
  EXPECT_EQ(std::vector<ZoTransform3>({kf.actorIn, kf.actorOut, kf.localIn, kf.localOut}),
            std::vector<ZoTransform3>({actor, actor, local, local}));

  // Mode 2 (and any other) stores the mode and leaves the controls.
  ZoJointKeyframe neighbour;
  neighbour.actorTransform = ZoTransform3({10, 0, 0}, ZoRotation3());
  ZoJointKeyframe expected = kf;
  kf.ComputeBlends(&neighbour, nullptr, 9);
  expected.blendMode = 9;
  EXPECT_TRUE(SameFields(kf, expected));
}

TEST(ZoJointKeyframeEditing, ScaleAndTransformReachEveryField) {
  ZoJointKeyframe kf = DistinctKey();
  ZoJointKeyframe scaled = kf;
  scaled.Scale({2, -1, 0.5f});
  for (auto field : kTransforms) {
    ZoVector3 t = (kf.*field).translation;
    EXPECT_EQ((scaled.*field).translation, ZoVector3(t.x * 2, -t.y, t.z * 0.5f));
    EXPECT_EQ((scaled.*field).rotation, (kf.*field).rotation);
  }
  EXPECT_EQ(scaled.point, ZoVector3(-3.0f, -2.5f, -1.75f));

  ZoTransform3 x({1, -2, 3}, About(0.8f, {1, 1, 0}));
  ZoJointKeyframe moved = kf;
  moved.Transform(x);
  for (auto field : kTransforms) ExpectClose(moved.*field, x * (kf.*field), 1e-5f);
  ExpectNear(moved.point, x * kf.point);
  EXPECT_EQ(std::make_tuple(moved.marker, moved.time()), std::make_tuple(kf.marker, kf.time()));
}

// Easing, flags, markers and step keys are checked against the sampling
// oracle; here what the output keeps of its own.
TEST(ZoJointKeyframeInterpolate, TheOutputKeepsItsOwnTimeTagControlsAndEasing) {
  ZoJointKeyframe a, b;
  b.actorTransform = ZoTransform3({8, 0, 0}, ZoRotation3());
  a.flags = 0b011;
  b.flags = 0b110;
  ZoJointKeyframe out = DistinctKey();
  out.Interpolate(&a, &b, 0.25f);
  ExpectNear(out.actorTransform.translation, {2, 0, 0});
  ZoJointKeyframe expected = DistinctKey();  // all else as it was
  expected.actorTransform = out.actorTransform;
  expected.localTransform = a.localTransform;
  expected.point = a.point;
  expected.marker = a.marker;
  expected.flags = 0b010;
  EXPECT_TRUE(SameFields(out, expected));
}

TEST(ZoJointKeyListSample, SingleKeyHoldsOnlyWhenAskedAndKeysOfAnotherClassNeverReachTheSampler) {
  ZoJointKeyList list;
  ZoJointKeyframe out, untouched = DistinctKey();
  EXPECT_EQ(list.SampleAtTime(0, out, 1), 0);  // empty
  list.Insert(JointKey(100, {1, 0, 0}), 1);
  // Before the key never, after it only when holding; a refused sample
  // leaves its output alone.
  std::vector<int> const single{list.SampleAtTime(100, out, 0), list.SampleAtTime(150, untouched, 0),
                                list.SampleAtTime(50, untouched, 0), list.SampleAtTime(50, untouched, 1)};
  EXPECT_EQ(single, std::vector<int>({1, 0, 0, 0}));
  EXPECT_EQ(out.point, ZoVector3(2, 0, 0));
  EXPECT_TRUE(SameFields(untouched, DistinctKey()));
  EXPECT_EQ(list.SampleAtTime(150, untouched, 1) + list.SampleAtTime(0xFFFFFFFFu, out, 1), 2);
  EXPECT_EQ(untouched.actorTransform.translation, ZoVector3(1, 0, 0));

  list.Insert(JointKey(0, {0, 0, 0}), 1);
  auto* plain = new ZoKeyframe;
  plain->setTime(200);
  static_cast<ZoKeyList&>(list).Insert(plain);
  list.Insert(JointKey(300, {3, 0, 0}), 1);  // blends skip the plain neighbour
  list.Insert(JointKey(400, {4, 0, 0}), 0);
  untouched = DistinctKey();

  // At 150 and 250 one end of the segment is not a joint key, at 200 its start.
  std::vector<int> const sampled{list.SampleAtTime(50, out, 0),         list.SampleAtTime(150, untouched, 0),
                                 list.SampleAtTime(200, untouched, 0), list.SampleAtTime(250, untouched, 0),
                                 list.SampleAtTime(100, out, 0),        list.SampleAtTime(350, out, 0)};
  EXPECT_EQ(sampled, std::vector<int>({1, 0, 0, 0, 1, 1}));
  EXPECT_TRUE(SameFields(untouched, DistinctKey()));
  ExpectNear(out.actorTransform.translation, {3.5f, 0, 0});

  ZoKeyListNode* p = nullptr;
  int joints = 0;
  for (ZoJointKeyframe* kf = list.GetFirst(p); kf != nullptr; kf = list.GetNext(p)) ++joints;
  EXPECT_EQ(std::make_pair(joints, list.NumKeyframes()), std::make_pair(4, 5));

  // Replacing the plain key by a joint key makes the segment sample again.
  ZoKeyListNode* node = list.Insert(JointKey(200, {2, 0, 0}), 1);
  EXPECT_NE(node->joint, nullptr);
  EXPECT_EQ(list.SampleAtTime(250, out, 0), 1);
  ExpectNear(out.actorTransform.translation, {2.5f, 0, 0});
}

TEST(ZoJointKeyListStream, WrittenUnderTheKeyListCodeAndReadBackAsAKeyList) {
  ZoJointKeyList list;
  list.Insert(JointKey(10, {1, 0, 0}), 1);
  list.Insert(JointKey(20, {2, 0, 0}), 1);
  // Written under the key list's code (the skill body layouts check the
  // bytes), it reads back as a plain key list.
  zotest::Reader in(zotest::Framed(&list));
  std::unique_ptr<ZoStreamObject> back(in->ReadObject(nullptr));
  EXPECT_EQ(dynamic_cast<ZoJointKeyList*>(back.get()), nullptr);
  auto* plain = dynamic_cast<ZoKeyList*>(back.get());
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(plain->NumKeyframes(), 2);
}

TEST(ZoJointKeyListSample, SamplingIntoOneOfTheListsOwnKeys) {
  ZoJointKeyList list;
  ZoJointKeyframe* k0 = JointKey(0, {0, 0, 0}, About(0.2f, {0, 0, 1}));
  ZoJointKeyframe* k1 = JointKey(100, {4, 0, 0}, About(1.4f, {0, 0, 1}));
  list.Insert(k0, 1);
  list.Insert(k1, 1);
  ZoJointKeyframe separate;
  ASSERT_EQ(list.SampleAtTime(25, separate, 0), 1);
  ZoJointKeyframe const before1 = *k1;
  ASSERT_EQ(list.SampleAtTime(25, *k1, 0), 1);  // the segment's own end key as output
  // The sample lands in the key; its controls are its own.
  EXPECT_EQ(std::tie(k1->actorTransform, k1->localTransform, k1->point, k1->actorIn),
            std::tie(separate.actorTransform, separate.localTransform, separate.point, before1.actorIn));

  // This key as the first input, then as the second.
  ZoJointKeyframe a = *k0, b = before1, c = *k0, expected;
  expected.Interpolate(&a, &b, 0.5f);
  a.Interpolate(&a, &b, 0.5f);
  b.Interpolate(&c, &b, 0.5f);
  EXPECT_EQ(std::make_pair(a.actorTransform, b.actorTransform),
            std::make_pair(expected.actorTransform, expected.actorTransform));
}
