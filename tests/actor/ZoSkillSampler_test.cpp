// The pose sampler against the key list it was compiled from, each joint of
// SamplePose bit for bit equal to ZoJointKeyList::SampleAtTime (hold on):
// random skills of every kind of key, played forwards, backwards and at
// random times; skills whose Bézier controls are arbitrary rotations, so
// that every pair of the cubic blend (a segment's keys and controls, and the
// later pairs of de Casteljau's construction) takes every angle up to a
// right angle, of either sign, and near-parallel ones; skills of 1 to 17
// joints, so that every loop (eight lanes, four lanes, and a last group of
// four lanes or fewer) runs. CTest runs these tests a second time with
// ZOACTOR_LANES=sse2, so a CPU that takes the eight-lane AVX2 loop checks
// the four-lane baseline loop too. Then the revision counter, which every
// edit through the skill raises.
#include "support/ZoTestRandom.h"
#include "ZoActorTestSupport.h"

#include <zoactor/actor/ZoSkillSampler.h>
#include <zoactor/skeleton/ZoPermutation.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <random>
#include <vector>

namespace {

using namespace zoacttest;

// A value no sample produces: what an entry that was not filled keeps.
ZoTransform3 const kUntouched(ZoVector3(-77, -77, -77), ZoRotation3(-7, -7, -7, -7));

enum class Keys { Linear, Smooth, Step, Eased, Mixed };

struct SkillCase {
  char const* name;
  Keys keys;
  unsigned seed;
};

using zotest::Random;

int ModeOf(Keys keys, Random& rng) {
  switch (keys) {
    case Keys::Linear: return ZoJointKeyframe::Linear;
    case Keys::Smooth: return ZoJointKeyframe::Smooth;
    case Keys::Step: return rng.Below(2) == 0 ? ZoJointKeyframe::Step : ZoJointKeyframe::Linear;
    case Keys::Eased: return static_cast<int>(rng.Below(2));
    case Keys::Mixed: break;
  }
  return static_cast<int>(rng.Below(4));  // 3: an unknown mode, blended as smooth
}

// `n` keys from `start` with gaps of 1 to `gap`; rotations turn up to 1.5
// radians between keys, now and then by nearly nothing (the linear blend's
// range). Easing handles leave the defaults for Eased and Mixed keys, far
// enough for the eased parameter to leave [0, 1].
void AddKeys(ZoJointKeyList& list, Random& rng, Keys keys, int n, uint32_t start, uint32_t gap) {
  ZoRotation3 actor = rng.Turn(3.0f), local = rng.Turn(3.0f);
  std::vector<ZoJointKeyframe*> made;
  uint32_t t = start;
  for (int i = 0; i < n; ++i) {
    auto* kf = new ZoJointKeyframe;
    kf->setTime(t);
    float turn = rng.Below(5) == 0 ? 0.01f : 1.5f;
    actor = rng.Turn(turn) * actor;
    local = rng.Turn(turn) * local;
    kf->actorTransform = ZoTransform3(rng.Vector(10.0f), actor);
    kf->localTransform = ZoTransform3(rng.Vector(10.0f), local);
    if (keys == Keys::Eased || (keys == Keys::Mixed && rng.Below(2) == 0)) {
      kf->easeIn = rng.Uniform(-0.5f, 1.5f);
      kf->easeOut = rng.Uniform(-0.5f, 1.5f);
    }
    list.Insert(kf, 0);
    made.push_back(kf);
    t += 1 + rng.Below(gap);
  }
  for (int i = 0; i < n; ++i)
    made[i]->ComputeBlends(i > 0 ? made[i - 1] : nullptr, i + 1 < n ? made[i + 1] : nullptr, ModeOf(keys, rng));
}

// 23 joints (five full groups of four and three lanes of padding): joints
// without keys, with one key, with many; one whose keys start late, one
// with a segment longer than 2^31 − 1, one holding a key that is not a
// joint keyframe.
ZoProtoSkill* RandomSkill(SkillCase const& c) {
  Random rng(c.seed);
  ZoProtoSkill* skill = FlatSkill(23);
  for (int j = 0; j < skill->NumJoints(); ++j) {
    if (j % 7 == 3) continue;  // no keys
    ZoJointKeyList& list = *skill->InitJoint(j);
    if (j % 7 == 5) {
      AddKeys(list, rng, c.keys, 1, 300 + rng.Below(500), 1);
    } else if (j == 8) {
      AddKeys(list, rng, c.keys, 2, 100, 1);
      ZoKeyListNode* p = nullptr;
      auto* far = new ZoJointKeyframe(*list.GetFirst(p));
      far->setTime(0x90000000u);
      list.Insert(far, 0);
    } else if (j == 9) {
      AddKeys(list, rng, c.keys, 6, 0, 400);
      auto* plain = new ZoKeyframe;
      plain->setTime(list.LastTime() + 50);
      list.Insert(plain);
      AddKeys(list, rng, c.keys, 3, list.LastTime() + 60, 200);
    } else {
      AddKeys(list, rng, c.keys, 2 + static_cast<int>(rng.Below(30)), j == 2 ? 900 : rng.Below(60), 300);
    }
  }
  skill->KeysChanged();
  return skill;
}

bool SameBits(ZoTransform3 const& a, ZoTransform3 const& b) { return std::memcmp(&a, &b, sizeof(ZoTransform3)) == 0; }

// Samples `skill` at every time of `times` both ways and returns the number
// of joint samples compared. A joint filled by one and not the other (or by
// Covers), a sample of other bits, an entry that was not filled but
// changed, or a wrong count fails the test at the first such time.
int CompareWithKeyLists(ZoProtoSkill& skill, ZoSkillSampler& sampler, std::vector<uint32_t> const& times) {
  size_t const n = static_cast<size_t>(skill.NumJoints());
  std::vector<ZoTransform3> local(n), actor(n);
  int compared = 0;
  for (uint32_t time : times) {
    std::fill(local.begin(), local.end(), kUntouched);
    std::fill(actor.begin(), actor.end(), kUntouched);
    int filled = sampler.SamplePose(time, local.data(), actor.data());
    std::string want, got;  // per joint: 1 sampled, 0 not (and untouched), 2 neither, 3 other bits
    for (size_t j = 0; j < n; ++j) {
      ZoJointKeyframe reference;
      ZoJointKeyList* keys = skill.Joint(static_cast<int>(j));
      bool sampled = keys != nullptr && keys->SampleAtTime(time, reference, 1) == 1;
      want += sampled ? '1' : '0';
      bool untouched = local[j] == kUntouched && actor[j] == kUntouched;
      bool same = SameBits(local[j], reference.localTransform) && SameBits(actor[j], reference.actorTransform);
      char const mark = sampled ? (same ? '1' : '3') : (untouched ? '0' : '2');
      got += sampler.Covers(static_cast<int>(j), time) == sampled ? mark : '2';
    }
    int const count = static_cast<int>(std::count(want.begin(), want.end(), '1'));
    compared += count;
    EXPECT_EQ(filled, count) << "at time " << time;
    EXPECT_EQ(got, want) << "at time " << time;
    if (::testing::Test::HasFailure()) break;
  }
  return compared;
}

// Times on, between, before and after keys: every key time of the skill
// and one either side, stepped through at 7, beyond the last key, and the
// top of the range.
std::vector<uint32_t> Forward(ZoProtoSkill const& skill) {
  std::vector<uint32_t> times = {0x7FFFFFFFu, 0x90000000u, 0xA0000000u, 0xFFFFFFFFu};
  for (uint32_t t = 0; t < 12000; t += 7) times.push_back(t);
  for (int j = 0; j < skill.NumJoints(); ++j) {
    ZoKeyListNode* p = nullptr;
    for (ZoJointKeyframe* k = skill.Joint(j) ? skill.Joint(j)->GetFirst(p) : nullptr; k; k = skill.Joint(j)->GetNext(p))
      for (uint32_t t : {k->time() - 1, k->time(), k->time() + 1}) times.push_back(t);
  }
  std::sort(times.begin(), times.end());
  return times;
}

class ZoSkillSamplerRandom : public ::testing::TestWithParam<SkillCase> {};

TEST_P(ZoSkillSamplerRandom, EveryJointEqualsTheKeyListForwardsBackwardsAndAtRandom) {
  SkillRef skill(RandomSkill(GetParam()));
  ZoSkillSampler sampler(skill.get());
  ASSERT_EQ(sampler.NumJoints(), 23);
  std::vector<uint32_t> forward = Forward(*skill);
  std::vector<uint32_t> backward(forward.rbegin(), forward.rend());
  std::vector<uint32_t> shuffled = forward;
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(GetParam().seed));
  for (auto const* times : {&forward, &backward, &shuffled}) CompareWithKeyLists(*skill, sampler, *times);
}

INSTANTIATE_TEST_SUITE_P(Keys, ZoSkillSamplerRandom,
                         ::testing::Values(SkillCase{"Linear", Keys::Linear, 11}, SkillCase{"Smooth", Keys::Smooth, 12},
                                           SkillCase{"Step", Keys::Step, 13}, SkillCase{"Eased", Keys::Eased, 14},
                                           SkillCase{"Mixed", Keys::Mixed, 15}, SkillCase{"Mixed2", Keys::Mixed, 16}),
                         [](auto const& param) { return std::string(param.param.name); });

// A key at `time` of random transforms whose Bézier controls turn at most
// `spread` away from the key's actor rotation.
ZoJointKeyframe* RandomKey(Random& rng, uint32_t time, float spread, int32_t blendMode) {
  auto* kf = new ZoJointKeyframe;
  kf->setTime(time);
  kf->localTransform = ZoTransform3(rng.Vector(10.0f), rng.Turn(3.14159f));
  kf->actorTransform = ZoTransform3(rng.Vector(10.0f), rng.Turn(3.14159f));
  kf->actorOut = ZoTransform3(rng.Vector(10.0f), rng.Turn(spread) * kf->actorTransform.rotation);
  kf->actorIn = ZoTransform3(rng.Vector(10.0f), rng.Turn(spread) * kf->actorTransform.rotation);
  kf->blendMode = blendMode;
  return kf;
}

// Smooth keys 40 to 140 apart whose controls are any rotation at all for
// odd joints and close to their key for even ones (so the later pairs are
// near-parallel there).
TEST(ZoSkillSamplerLanes, CubicBlendsWithArbitraryControlsGiveTheKeyListsBits) {
  Random rng(21);
  SkillRef skill(FlatSkill(10));
  for (int j = 0; j < 10; ++j) {
    ZoJointKeyList& list = *skill->InitJoint(j);
    uint32_t time = rng.Below(50);
    for (int k = 0; k < 24; ++k, time += 40 + rng.Below(100))
      list.Insert(RandomKey(rng, time, j % 2 == 1 ? 3.14159f : 0.02f, ZoJointKeyframe::Smooth), 0);
  }
  skill->KeysChanged();
  ZoSkillSampler sampler(skill.get());
  std::vector<uint32_t> times;
  for (uint32_t time = 0; time < 3500; time += 3) times.push_back(time);
  EXPECT_GT(CompareWithKeyLists(*skill, sampler, times), 5000);
}

// Skills of 1 to 17 joints of 2 to 9 keys each, 30 to 229 apart, each key
// linear, smooth or a step at random, some with easing handles other than
// the defaults; joint 2 has no keys. Forward in steps of 5, then 300 times
// at random.
TEST(ZoSkillSamplerLanes, EveryJointCountGivesTheKeyListsBits) {
  Random rng(8);
  int32_t const modes[] = {ZoJointKeyframe::Linear, ZoJointKeyframe::Smooth, ZoJointKeyframe::Step};
  for (int joints = 1; joints <= 17; ++joints) {
    SkillRef skill(FlatSkill(joints));
    for (int j = 0; j < joints; ++j) {
      ZoJointKeyList& list = *skill->InitJoint(j);
      uint32_t time = rng.Below(200);
      int const keys = j == 2 ? 0 : 2 + static_cast<int>(rng.Below(8));
      for (int k = 0; k < keys; ++k, time += 30 + rng.Below(200)) {
        ZoJointKeyframe* kf = RandomKey(rng, time, 0.5f, modes[rng.Below(3)]);
        if (rng.Below(4) == 0) {
          kf->easeIn = 0.1f * static_cast<float>(rng.Below(10));
          kf->easeOut = 0.1f * static_cast<float>(rng.Below(10));
        }
        list.Insert(kf, 0);
      }
    }
    skill->KeysChanged();
    ZoSkillSampler sampler(skill.get());
    std::vector<uint32_t> times;
    for (int i = 0; i < 700; ++i) times.push_back(i < 400 ? static_cast<uint32_t>(i) * 5 : rng.Below(2200));
    EXPECT_GT(CompareWithKeyLists(*skill, sampler, times), 200 * (joints - (joints > 2 ? 1 : 0))) << joints << " joints";
  }
}

// The loop this process runs: eight lanes where the CPU has AVX2, unless
// ZOACTOR_LANES=sse2 asks for the baseline's four.
TEST(ZoSkillSamplerLanes, LanesFollowTheCpuAndTheEnvironment) {
  char const* asked = std::getenv("ZOACTOR_LANES");
  bool const baseline = asked != nullptr && std::strcmp(asked, "sse2") == 0;
  bool wide = !baseline;
#if defined(__x86_64__) && defined(__GNUC__) && !defined(ZOACTOR_LANES_SCALAR)
  __builtin_cpu_init();
  wide = wide && __builtin_cpu_supports("avx2");
#else
  wide = false;
#endif
  EXPECT_EQ(ZoSkillSampler::LanesPerStep(), wide ? 8 : 4);
}

TEST(ZoSkillSampler, WithoutSkillOrJointsSamplesNothing) {
  ZoTransform3 pose = kUntouched;
  ZoSkillSampler none;
  EXPECT_EQ(none.SamplePose(10, &pose, &pose), 0);
  EXPECT_FALSE(none.Covers(0, 10));
  SkillRef empty(new ZoProtoSkill);
  ZoSkillSampler sampler(empty.get());
  EXPECT_EQ(sampler.NumJoints(), 0);
  EXPECT_EQ(sampler.SamplePose(10, nullptr, nullptr), 0);
  EXPECT_TRUE(pose == kUntouched);
}

// Each edit made through the skill's operations is seen at the next sample;
// a direct edit of a key list is seen once KeysChanged says so.
TEST(ZoSkillSamplerRevision, EditsThroughTheSkillAreSampledAtOnce) {
  ActorRef actor = FigureActor("Dog");
  SkillRef skill(FigureSkill(actor.get(), "Walk"));
  ZoSkillSampler sampler(skill.get());
  struct Edit {
    char const* name;
    std::function<void()> apply;
  } const edits[] = {
      {"InitJoint and Insert", [&] { skill->InitJoint(1)->Insert(Key(20, 5.0f), 1); }},
      {"TransformJoint", [&] { skill->TransformJoint(0, Turned(0.5f, 0.3f), 1); }},
      {"ScaleJoint", [&] { skill->ScaleJoint(0, ZoVector3(2, 3, 4)); }},
      {"PermuteJoints",
       [&] {
         ZoProtoTraversal before(actor->RootNode(), ZoProtoNode::Geometry);
         actor->GeomTraversal()->Node(1)->insertChild(Joint("Arm", ZoProtoNode::Geometry, 1), 0);
         actor->SetSkeleton(actor->RootNode());
         ZoPermutation permutation(&before, actor->GeomTraversal());
         skill->PermuteJoints(actor.get(), &permutation);
       }},
      {"assignment", [&] { *skill = *SkillRef(FigureSkill(actor.get(), "Other")); }},
      {"reading a body", [&] { ReadBody(*skill, Body(*SkillRef(FigureSkill(actor.get(), "Read")))); }},
      {"direct edit and KeysChanged",
       [&] {
         skill->Joint(0)->Insert(Key(60, 8.0f), 1);
         skill->KeysChanged();
       }},
  };
  for (Edit const& edit : edits) {
    SCOPED_TRACE(edit.name);
    uint32_t before = skill->Revision();
    edit.apply();
    EXPECT_NE(skill->Revision(), before);
    std::vector<uint32_t> times = {0, 20, 40, 50, 60, 80, 100, 130};
    CompareWithKeyLists(*skill, sampler, times);
    EXPECT_EQ(sampler.NumJoints(), skill->NumJoints());
  }
}

// Moving a key's time directly: the sampler keeps its copy until told.
TEST(ZoSkillSamplerRevision, DirectEditsOfAKeyWaitForRebuild) {
  ActorRef actor = FigureActor("Dog");
  SkillRef skill(FigureSkill(actor.get(), "Walk"));
  ZoSkillSampler sampler(skill.get());
  ZoTransform3 pose[4];
  FirstKey(*skill, 2).setTime(70);
  EXPECT_EQ(sampler.SamplePose(50, pose, nullptr), 2);
  EXPECT_FALSE(ZoSkillSampler(skill.get()).Covers(2, 50));
  sampler.Rebuild();
  EXPECT_EQ(sampler.SamplePose(50, pose, nullptr), 1);
}

}  // namespace
