// The pose sampler on skills whose Bézier controls are arbitrary rotations,
// so that every pair of the cubic blend (a segment's keys and controls,
// and the later pairs of de Casteljau's construction) takes every
// angle up to a right angle, of either sign, and near-parallel ones: each
// joint must give ZoJointKeyList::SampleAtTime's bits; and skills of 1 to
// 17 joints of mixed keys, so that every loop (eight lanes, four lanes, and
// a last group of four lanes or fewer) gives those bits. CTest runs the
// sampler's tests a second time with ZOACTOR_LANES=sse2, so a CPU that takes
// the eight-lane AVX2 loop checks the four-lane baseline loop too: both
// equal to the key lists' bits, the two loops give the same bits.
#include "support/ZoTestRandom.h"
#include "ZoActorTestSupport.h"

#include <zoactor/actor/ZoSkillSampler.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace zoacttest;

// A key at `time` of random transforms whose Bézier controls turn at most
// `spread` away from the key's actor rotation.
ZoJointKeyframe* RandomKey(zotest::Random& rng, uint32_t time, float spread, int32_t blendMode) {
  auto* kf = new ZoJointKeyframe;
  kf->setTime(time);
  kf->localTransform = ZoTransform3(rng.Vector(10.0f), rng.Turn(3.14159f));
  kf->actorTransform = ZoTransform3(rng.Vector(10.0f), rng.Turn(3.14159f));
  kf->actorOut = ZoTransform3(rng.Vector(10.0f), rng.Turn(spread) * kf->actorTransform.rotation);
  kf->actorIn = ZoTransform3(rng.Vector(10.0f), rng.Turn(spread) * kf->actorTransform.rotation);
  kf->blendMode = blendMode;
  return kf;
}

// Samples the whole pose at `time` and counts the transforms whose bits
// differ from the key lists' own; `compared` counts the joints sampled.
int Differing(ZoProtoSkill* skill, ZoSkillSampler& sampler, uint32_t time, int& compared) {
  size_t const n = static_cast<size_t>(skill->NumJoints());
  std::vector<ZoTransform3> local(n), actor(n);
  sampler.SamplePose(time, local.data(), actor.data());
  int differing = 0;
  for (size_t j = 0; j < n; ++j) {
    ZoJointKeyframe reference;
    if (skill->Joint(static_cast<int>(j))->SampleAtTime(time, reference, 1) != 1) continue;
    ++compared;
    differing += std::memcmp(&local[j], &reference.localTransform, sizeof(ZoTransform3)) != 0;
    differing += std::memcmp(&actor[j], &reference.actorTransform, sizeof(ZoTransform3)) != 0;
  }
  return differing;
}

// Smooth keys 40 to 140 apart whose controls are any rotation at all for
// odd joints and close to their key for even ones (so the later pairs are
// near-parallel there).
TEST(ZoSkillSamplerLanes, CubicBlendsWithArbitraryControlsGiveTheKeyListsBits) {
  zotest::Random rng(21);
  SkillRef skill(FlatSkill(10));
  for (int j = 0; j < 10; ++j) {
    ZoJointKeyList& list = *skill->InitJoint(j);
    uint32_t time = rng.Below(50);
    for (int k = 0; k < 24; ++k, time += 40 + rng.Below(100))
      list.Insert(RandomKey(rng, time, j % 2 == 1 ? 3.14159f : 0.02f, ZoJointKeyframe::Smooth), 0);
  }
  skill->KeysChanged();
  ZoSkillSampler sampler(skill.get());
  int compared = 0, differing = 0;
  for (uint32_t time = 0; time < 3500; time += 3) differing += Differing(skill.get(), sampler, time, compared);
  EXPECT_GT(compared, 5000);
  EXPECT_EQ(differing, 0);
}

// Skills of 1 to 17 joints of 2 to 9 keys each, 30 to 229 apart, each key
// linear, smooth or a step at random, some with easing handles other than
// the defaults; joint 2 has no keys. Forward in steps of 5, then 300 times
// at random.
TEST(ZoSkillSamplerLanes, EveryJointCountGivesTheKeyListsBits) {
  zotest::Random rng(8);
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
    int compared = 0, differing = 0;
    for (int i = 0; i < 700; ++i)
      differing += Differing(skill.get(), sampler, i < 400 ? static_cast<uint32_t>(i) * 5 : rng.Below(2200), compared);
    EXPECT_GT(compared, 200 * (joints - (joints > 2 ? 1 : 0))) << joints << " joints";
    EXPECT_EQ(differing, 0) << joints << " joints";
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

}  // namespace
