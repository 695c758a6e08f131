// The pose sampler against the key list it was compiled from: random skills
// of every kind of key, played forwards, backwards and at random times, each
// joint of SamplePose compared with ZoJointKeyList::SampleAtTime (hold on);
// then the revision counter, which every edit through the skill raises.
#include "support/ZoTestRandom.h"
#include "ZoActorTestSupport.h"

#include <zoactor/actor/ZoSkillSampler.h>
#include <zoactor/skeleton/ZoPermutation.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <random>
#include <vector>

namespace {

using namespace zoacttest;

// Per component, translations within ±10.
constexpr double kTolerance = 1e-6;

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

double Difference(ZoTransform3 const& a, ZoTransform3 const& b) {
  float const* x = &a.translation.x;
  float const* y = &b.translation.x;
  double worst = 0;
  for (int i = 0; i < 7; ++i) worst = std::max(worst, std::fabs(static_cast<double>(x[i]) - static_cast<double>(y[i])));
  return worst;
}

// Samples `skill` at every time of `times` both ways and returns the worst
// difference of the joints both filled. A joint filled by one and not the
// other (or by Covers), an entry that was not filled but changed, or a wrong
// count fails the test at the first such time.
double WorstAgainstKeyLists(ZoProtoSkill& skill, ZoSkillSampler& sampler, std::vector<uint32_t> const& times) {
  size_t const n = static_cast<size_t>(skill.NumJoints());
  std::vector<ZoTransform3> local(n), actor(n);
  double worst = 0;
  for (uint32_t time : times) {
    std::fill(local.begin(), local.end(), kUntouched);
    std::fill(actor.begin(), actor.end(), kUntouched);
    int filled = sampler.SamplePose(time, local.data(), actor.data());
    std::string want, got;  // per joint: 1 sampled, 0 not (and untouched), 2 neither
    for (size_t j = 0; j < n; ++j) {
      ZoJointKeyframe reference;
      ZoJointKeyList* keys = skill.Joint(static_cast<int>(j));
      bool sampled = keys != nullptr && keys->SampleAtTime(time, reference, 1) == 1;
      want += sampled ? '1' : '0';
      bool untouched = local[j] == kUntouched && actor[j] == kUntouched;
      got += sampler.Covers(static_cast<int>(j), time) != sampled ? '2' : sampled ? '1' : untouched ? '0' : '2';
      if (sampled)
        worst = std::max({worst, Difference(local[j], reference.localTransform), Difference(actor[j], reference.actorTransform)});
    }
    EXPECT_EQ(filled, static_cast<int>(std::count(want.begin(), want.end(), '1'))) << "at time " << time;
    EXPECT_EQ(got, want) << "at time " << time;
    EXPECT_LE(worst, kTolerance) << "by time " << time;
    if (::testing::Test::HasFailure()) break;
  }
  return worst;
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
  for (auto const* times : {&forward, &backward, &shuffled}) WorstAgainstKeyLists(*skill, sampler, *times);
}

INSTANTIATE_TEST_SUITE_P(Keys, ZoSkillSamplerRandom,
                         ::testing::Values(SkillCase{"Linear", Keys::Linear, 11}, SkillCase{"Smooth", Keys::Smooth, 12},
                                           SkillCase{"Step", Keys::Step, 13}, SkillCase{"Eased", Keys::Eased, 14},
                                           SkillCase{"Mixed", Keys::Mixed, 15}, SkillCase{"Mixed2", Keys::Mixed, 16}),
                         [](auto const& param) { return std::string(param.param.name); });

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
    EXPECT_EQ(WorstAgainstKeyLists(*skill, sampler, times), 0.0);
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
