// The pose sampler's trig-free slerp (the later levels of a cubic blend)
// against the arc-based slerp of the key lists, pair by pair over the whole
// range of arcs; then whole skills whose Bézier controls are arbitrary
// rotations, so that those later pairs take every angle up to a right
// angle, of either sign, and near-parallel ones, joint by joint against
// ZoJointKeyList::SampleAtTime.
#include "support/ZoTestRandom.h"
#include "ZoActorTestSupport.h"

#include "actor/ZoPoseLanes.h"

#include <zoactor/actor/ZoSkillSampler.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace zoacttest;
using zo_motion::Quats;
using zolanes::Lanes;

// Per component of a unit rotation.
constexpr double kSlerpTolerance = 5e-7;
// Per component, translations within ±10 (as the sampler's header states).
constexpr double kPoseTolerance = 1e-6;

Quats Splat4(ZoRotation3 const (&q)[4]) {
  return {Lanes{q[0].w, q[1].w, q[2].w, q[3].w}, Lanes{q[0].x, q[1].x, q[2].x, q[3].x},
          Lanes{q[0].y, q[1].y, q[2].y, q[3].y}, Lanes{q[0].z, q[1].z, q[2].z, q[3].z}};
}

double WorstComponent(Quats const& a, Quats const& b) {
  double worst = 0;
  for (int lane = 0; lane < 4; ++lane)
    for (Lanes Quats::*c : {&Quats::w, &Quats::x, &Quats::y, &Quats::z})
      worst = std::max(worst, std::fabs(static_cast<double>((a.*c)[lane]) - static_cast<double>((b.*c)[lane])));
  return worst;
}

struct ArcCase {
  char const* name;
  float minTurn, maxTurn;  // the rotation angle between the pair (twice the arc)
  bool opposite;           // b negated: the shorter arc needs the sign
};

class ZoSlerpNow : public ::testing::TestWithParam<ArcCase> {};

TEST_P(ZoSlerpNow, MatchesTheArcBasedSlerp) {
  ArcCase const& c = GetParam();
  zotest::Random rng(7);
  double worst = 0;
  for (int pair = 0; pair < 400; ++pair) {
    ZoRotation3 a[4], b[4];
    for (int lane = 0; lane < 4; ++lane) {
      a[lane] = rng.Turn(3.1f);
      ZoVector3 axis = rng.Vector(1.0f);
      if (axis.lengthSquared() < 1e-4f) axis = {0, 0, 1};
      ZoRotation3 turn;
      turn.setValue(rng.Uniform(c.minTurn, c.maxTurn), axis.unit());
      b[lane] = turn * a[lane];
      if (c.opposite) b[lane] = ZoRotation3(-b[lane].w, -b[lane].x, -b[lane].y, -b[lane].z);
    }
    Quats const qa = Splat4(a), qb = Splat4(b);
    for (int step = 0; step <= 64; ++step) {
      float const s = static_cast<float>(step) / 64.0f;
      Lanes const u{s, 1.0f - s, s * 0.5f, 0.5f + s * 0.5f};
      Lanes const v = 1.0f - u;
      Quats const fast = zopose::SlerpNow(qa, qb, zolanes::SlerpBasisOf(u), zolanes::SlerpBasisOf(v), u, v);
      worst = std::max(worst, WorstComponent(fast, zo_motion::Slerp(qa, qb, u)));
    }
  }
  std::printf("[ %s ] worst component difference %.3g (tolerance %.0e)\n", c.name, worst, kSlerpTolerance);
  EXPECT_LE(worst, kSlerpTolerance);
}

// Turn angles of the rotations (the arc between the unit quaternions is
// half of it): near-parallel pairs blend linearly below a turn of 0.0632.
INSTANTIATE_TEST_SUITE_P(Arcs, ZoSlerpNow,
                         ::testing::Values(ArcCase{"Near", 0.0f, 0.06f, false},
                                           ArcCase{"AtTheLinearLimit", 0.06f, 0.067f, false},
                                           ArcCase{"Moderate", 0.1f, 1.5f, false},
                                           ArcCase{"Wide", 1.5f, 3.14159f, false},
                                           ArcCase{"WideOpposite", 0.0f, 3.14159f, true}),
                         [](auto const& param) { return std::string(param.param.name); });

// A skill of `joints` joints with `keys` smooth keys each, 40 to 140 apart;
// the Bézier controls are any rotation at all for odd joints and close to
// their key for even ones (so the later pairs are near-parallel there).
ZoProtoSkill* ArbitraryControls(zotest::Random& rng, int joints, int keys) {
  auto* skill = new ZoProtoSkill;
  ActorRef actor(new ZoProtoActor);
  ZoProtoNode* root = Joint("j0", ZoProtoNode::Geometry, 0);
  for (int j = 1; j < joints; ++j) root->addChild(Joint(("j" + std::to_string(j)).c_str(), ZoProtoNode::Geometry, 0));
  actor->SetSkeleton(root);
  skill->SetupFromPrototype(actor.get());
  for (int j = 0; j < joints; ++j) {
    ZoJointKeyList& list = *skill->InitJoint(j);
    uint32_t time = rng.Below(50);
    float const spread = j % 2 == 1 ? 3.14159f : 0.02f;
    for (int k = 0; k < keys; ++k) {
      auto* kf = new ZoJointKeyframe;
      kf->setTime(time);
      time += 40 + rng.Below(100);
      kf->localTransform = ZoTransform3(rng.Vector(10.0f), rng.Turn(3.14159f));
      kf->actorTransform = ZoTransform3(rng.Vector(10.0f), rng.Turn(3.14159f));
      kf->actorOut = ZoTransform3(rng.Vector(10.0f), rng.Turn(spread) * kf->actorTransform.rotation);
      kf->actorIn = ZoTransform3(rng.Vector(10.0f), rng.Turn(spread) * kf->actorTransform.rotation);
      kf->blendMode = ZoJointKeyframe::Smooth;
      list.Insert(kf, 0);
    }
  }
  skill->KeysChanged();
  return skill;
}

TEST(ZoSkillSamplerLanes, CubicBlendsWithArbitraryControlsEqualTheKeyLists) {
  zotest::Random rng(21);
  SkillRef skill(ArbitraryControls(rng, 10, 24));
  ZoSkillSampler sampler(skill.get());
  sampler.SetPrecision(ZoSkillSampler::Precision::Fast);
  int const n = skill->NumJoints();
  std::vector<ZoTransform3> local(static_cast<size_t>(n)), actor(static_cast<size_t>(n));
  double worst = 0;
  int compared = 0;
  for (uint32_t time = 0; time < 3500; time += 3) {
    sampler.SamplePose(time, local.data(), actor.data());
    for (int j = 0; j < n; ++j) {
      ZoJointKeyframe reference;
      if (skill->Joint(j)->SampleAtTime(time, reference, 1) != 1) continue;
      ++compared;
      float const* x = &local[static_cast<size_t>(j)].translation.x;
      float const* y = &reference.localTransform.translation.x;
      float const* xa = &actor[static_cast<size_t>(j)].translation.x;
      float const* ya = &reference.actorTransform.translation.x;
      for (int i = 0; i < 7; ++i) {
        worst = std::max(worst, std::fabs(static_cast<double>(x[i]) - static_cast<double>(y[i])));
        worst = std::max(worst, std::fabs(static_cast<double>(xa[i]) - static_cast<double>(ya[i])));
      }
    }
  }
  std::printf("[ arbitrary controls ] worst difference %.3g over %d joint-samples (tolerance %.0e)\n", worst,
              compared, kPoseTolerance);
  EXPECT_GT(compared, 5000);
  EXPECT_LE(worst, kPoseTolerance);
}

}  // namespace
