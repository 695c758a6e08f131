// Sampling against an independent oracle: random joint key lists (linear,
// smooth, and mixed with step keys and easing handles) are sampled forwards
// and at random times, and every sample is compared with the same
// interpolation computed in double precision through Eigen's quaternions,
// from key data the test keeps itself. Smooth controls are checked against
// the quaternion-spline construction done in Eigen as well.
//
// Tolerance 1e-5: translations stay within ±1 so the bound is absolute;
// rotations are compared as unit quaternions up to sign.
#include <zoactor/animation/ZoJointKeyList.h>
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/foundation/ZoTransform3.h>

#include "support/ZoTestRandom.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

namespace {

using Quat = Eigen::Quaterniond;
using Vec = Eigen::Vector3d;

constexpr double kTolerance = 1e-5;

Quat ToEigen(ZoRotation3 const& q) { return Quat(q.w, q.x, q.y, q.z); }
Vec ToEigen(ZoVector3 const& v) { return Vec(v.x, v.y, v.z); }

double RotationDistance(ZoRotation3 const& a, Quat const& b) {
  Quat qa = ToEigen(a);
  return std::min((qa.coeffs() - b.coeffs()).norm(), (qa.coeffs() + b.coeffs()).norm());
}

// An oracle transform.
struct Pose {
  Vec t = Vec::Zero();
  Quat q = Quat::Identity();
};

Pose ToPose(ZoTransform3 const& x) { return {ToEigen(x.translation), ToEigen(x.rotation)}; }

Pose Lerp(Pose const& a, Pose const& b, double s) { return {a.t + (b.t - a.t) * s, a.q.slerp(s, b.q)}; }

Pose Cubic(Pose const& a, Pose const& b, Pose const& c, Pose const& d, double s) {
  double r = 1 - s;
  Vec t = r * r * r * a.t + 3 * r * r * s * b.t + 3 * r * s * s * c.t + s * s * s * d.t;
  Quat ab = a.q.slerp(s, b.q), bc = b.q.slerp(s, c.q), cd = c.q.slerp(s, d.q);
  Quat abc = ab.slerp(s, bc), bcd = bc.slerp(s, cd);
  return {t, abc.slerp(s, bcd)};
}

// What the test remembers of each key, independently of the list.
struct KeyData {
  uint32_t time;
  int32_t flags, marker, mode;
  double easeIn, easeOut;
  Pose local, actor, actorIn, actorOut;
  Vec point = Vec::Zero();
};

using zotest::Random;

enum class Kind { Linear, Smooth, Mixed };

// The controls of a smooth key built in Eigen from its neighbours.
void SmoothOracle(KeyData const* prev, KeyData& cur, KeyData const* next) {
  auto leap = [](Quat const& a, Quat const& b) {
    return Quat(2.0 * a.coeffs().dot(b.coeffs()) * b.coeffs() - a.coeffs());
  };
  Vec tangent = Vec::Zero();
  Quat in = Quat::Identity(), out = Quat::Identity();
  if (prev != nullptr && next != nullptr) {
    tangent = (next->actor.t - prev->actor.t) / 6.0;
    Quat a = leap(prev->actor.q, cur.actor.q);
    Quat b(Eigen::Vector4d(a.coeffs() + next->actor.q.coeffs()).normalized());
    out = cur.actor.q.slerp(1.0 / 3.0, b);
    in = leap(out, cur.actor.q);
  } else if (next != nullptr) {
    tangent = (next->actor.t - cur.actor.t) / 3.0;
    out = cur.actor.q.slerp(1.0 / 3.0, next->actor.q);
    in = leap(out, cur.actor.q);
  } else if (prev != nullptr) {
    tangent = (cur.actor.t - prev->actor.t) / 3.0;
    in = cur.actor.q.slerp(1.0 / 3.0, prev->actor.q);
    out = leap(in, cur.actor.q);
  }
  cur.actorIn = {cur.actor.t - tangent, in};
  cur.actorOut = {cur.actor.t + tangent, out};
}

struct Track {
  ZoJointKeyList list;
  std::vector<KeyData> keys;
};

// A random track of `n` keys starting at `start`, whose rotations turn by at
// most 70 degrees from key to key (as a joint's do), so that the shorter arc
// is never in doubt.
void BuildTrack(Track& track, Random& rng, Kind kind, int n, uint32_t start) {
  uint32_t t = start;
  ZoRotation3 actorRotation = rng.Turn(3.0f), localRotation = rng.Turn(3.0f);
  std::vector<ZoJointKeyframe*> made;
  for (int i = 0; i < n; ++i) {
    auto* kf = new ZoJointKeyframe;
    kf->setTime(t);
    actorRotation = rng.Turn(1.2f) * actorRotation;
    localRotation = rng.Turn(1.2f) * localRotation;
    kf->actorTransform = ZoTransform3(rng.Vector(0.6f), actorRotation);
    kf->localTransform = ZoTransform3(rng.Vector(1.0f), localRotation);
    kf->point = rng.Vector(1.0f);
    kf->flags = static_cast<int32_t>(rng.Below(16));
    kf->marker = i;
    if (kind == Kind::Mixed) {
      kf->easeIn = rng.Uniform(-0.3f, 1.3f);
      kf->easeOut = rng.Uniform(-0.3f, 1.3f);
    }
    track.list.Insert(kf, kind == Kind::Linear ? 1 : 0);
    made.push_back(kf);
    t += 1 + rng.Below(400);
  }
  for (int i = 0; i < n; ++i) {
    int mode = kind == Kind::Linear ? 0 : kind == Kind::Smooth ? 1 : static_cast<int>(rng.Below(3));
    if (kind != Kind::Linear)
      made[i]->ComputeBlends(i > 0 ? made[i - 1] : nullptr, i + 1 < n ? made[i + 1] : nullptr, mode);
  }
  for (ZoJointKeyframe* kf : made) {
    KeyData d{};
    d.time = kf->time();
    d.flags = kf->flags;
    d.marker = kf->marker;
    d.mode = kf->blendMode;
    d.easeIn = kf->easeIn;
    d.easeOut = kf->easeOut;
    d.local = ToPose(kf->localTransform);
    d.actor = ToPose(kf->actorTransform);
    d.point = ToEigen(kf->point);
    track.keys.push_back(d);
  }
  // Controls: mode 0 from the thirds, mode 1 from the Eigen construction,
  // each checked against what the key holds.
  for (int i = 0; i < n; ++i) {
    KeyData& d = track.keys[i];
    KeyData const* prev = i > 0 ? &track.keys[i - 1] : nullptr;
    KeyData const* next = i + 1 < n ? &track.keys[i + 1] : nullptr;
    if (d.mode == 0) {
      d.actorIn = prev ? Lerp(prev->actor, d.actor, 2.0 / 3.0) : d.actor;
      d.actorOut = next ? Lerp(d.actor, next->actor, 1.0 / 3.0) : d.actor;
    } else if (d.mode == 1) {
      SmoothOracle(prev, d, next);
    } else {
      d.actorIn = ToPose(made[i]->actorIn);  // step keys keep whatever controls they had
      d.actorOut = ToPose(made[i]->actorOut);
    }
    EXPECT_LT((ToEigen(made[i]->actorIn.translation) - d.actorIn.t).norm(), kTolerance) << i;
    EXPECT_LT((ToEigen(made[i]->actorOut.translation) - d.actorOut.t).norm(), kTolerance) << i;
    EXPECT_LT(RotationDistance(made[i]->actorIn.rotation, d.actorIn.q), kTolerance) << i;
    EXPECT_LT(RotationDistance(made[i]->actorOut.rotation, d.actorOut.q), kTolerance) << i;
  }
}

struct Expected {
  bool ok = false;
  int32_t flags = 0, marker = 0;
  Pose local, actor;
  Vec point = Vec::Zero();
};

Expected Oracle(std::vector<KeyData> const& keys, uint32_t time, bool hold) {
  Expected e;
  if (keys.empty() || time < keys.front().time || (!hold && time > keys.back().time)) return e;
  size_t i = 0;
  while (i + 1 < keys.size() && keys[i + 1].time <= time) ++i;
  KeyData const& a = keys[i];
  e.ok = true;
  e.marker = a.marker;
  e.flags = a.flags;
  e.local = a.local;
  e.actor = a.actor;
  e.point = a.point;
  if (i + 1 == keys.size() || time == a.time || a.mode == 2) return e;
  KeyData const& b = keys[i + 1];
  double t = static_cast<double>(time - a.time) / static_cast<double>(b.time - a.time);
  double s = 3 * a.easeOut * (1 - t) * (1 - t) * t + 3 * b.easeIn * (1 - t) * t * t + t * t * t;
  e.flags = a.flags & b.flags;
  e.local = Lerp(a.local, b.local, s);
  e.actor = a.mode == 0 && b.mode == 0 ? Lerp(a.actor, b.actor, s) : Cubic(a.actor, a.actorOut, b.actorIn, b.actor, s);
  e.point = a.point + (b.point - a.point) * s;
  return e;
}

// Samples `track` at `time` and compares with the oracle; returns the
// largest deviation seen.
double CheckSample(Track& track, uint32_t time, bool hold) {
  ZoJointKeyframe out;
  int got = track.list.SampleAtTime(time, out, hold ? 1 : 0);
  Expected e = Oracle(track.keys, time, hold);
  EXPECT_EQ(got, e.ok ? 1 : 0) << time;
  if (!e.ok || got == 0) return 0.0;
  EXPECT_EQ(out.flags, e.flags) << time;
  EXPECT_EQ(out.marker, e.marker) << time;
  double worst = std::max({(ToEigen(out.localTransform.translation) - e.local.t).norm(),
                           (ToEigen(out.actorTransform.translation) - e.actor.t).norm(),
                           (ToEigen(out.point) - e.point).norm(),
                           RotationDistance(out.localTransform.rotation, e.local.q),
                           RotationDistance(out.actorTransform.rotation, e.actor.q)});
  EXPECT_LT(worst, kTolerance) << "time " << time;
  return worst;
}

void RunOracle(Kind kind, unsigned seed) {
  Random rng(seed);
  double worst = 0.0;
  for (int trial = 0; trial < 40; ++trial) {
    Track track;
    // Some tracks end near the top of the time range.
    uint32_t start = trial % 4 == 3 ? 0xFFFFFFFFu - 20000u : rng.Below(1000);
    int n = 2 + static_cast<int>(rng.Below(30));
    BuildTrack(track, rng, kind, n, start);
    uint32_t first = track.keys.front().time, last = track.keys.back().time;
    // Forward playback, through every key time and past the end.
    for (uint64_t t = first > 3 ? first - 3 : 0; t <= static_cast<uint64_t>(last) + 7 && t <= 0xFFFFFFFFu; t += 7)
      worst = std::max(worst, CheckSample(track, static_cast<uint32_t>(t), trial % 2 == 0));
    for (KeyData const& k : track.keys) worst = std::max(worst, CheckSample(track, k.time, false));
    // Random times, out of order.
    for (int i = 0; i < 200; ++i) {
      uint32_t span = last - first + 20;
      uint32_t t = first - 10 + rng.Below(span);
      worst = std::max(worst, CheckSample(track, t, rng.Below(2) == 0));
    }
    if (::testing::Test::HasFailure()) return;
  }
  ::testing::Test::RecordProperty("worst_deviation", std::to_string(worst));
}

}  // namespace

TEST(ZoJointSamplingOracle, LinearKeysMatchEigen) { RunOracle(Kind::Linear, 101); }

TEST(ZoJointSamplingOracle, SmoothKeysMatchEigen) { RunOracle(Kind::Smooth, 202); }

TEST(ZoJointSamplingOracle, MixedModesStepsAndEasingMatchEigen) { RunOracle(Kind::Mixed, 303); }

// The sampler's arc evaluation against the library's own slerp over the
// whole range of angles, including nearly equal rotations (the linear-blend
// region), the edge of that region, and nearly opposite rotations.
TEST(ZoJointSamplingOracle, InterpolateAgreesWithTheTransformSlerpAtEveryAngle) {
  Random rng(404);
  double worst = 0.0;
  for (int i = 0; i < 4000; ++i) {
    ZoRotation3 from = rng.Turn(3.14f);
    float angle;
    switch (i % 5) {
      case 0: angle = rng.Uniform(0.0f, 1e-3f); break;
      case 1: angle = rng.Uniform(0.06f, 0.07f); break;  // around cos(θ/2) = 0.9995
      case 2: angle = rng.Uniform(3.1f, 3.14159f); break;
      default: angle = rng.Uniform(0.0f, 6.28f); break;
    }
    ZoVector3 axis = rng.Vector(1.0f);
    ZoRotation3 turn;
    turn.setValue(angle, axis.lengthSquared() > 1e-4f ? axis.unit() : ZoVector3(1, 0, 0));
    ZoJointKeyframe a, b, out;
    a.actorTransform.rotation = from;
    b.actorTransform.rotation = turn * from;
    float t = rng.Uniform(0.0f, 1.0f);
    out.Interpolate(&a, &b, t);
    ZoTransform3 expected;
    expected.interpolate(a.actorTransform, b.actorTransform, t);
    worst = std::max(worst, RotationDistance(out.actorTransform.rotation, ToEigen(expected.rotation)));
  }
  EXPECT_LT(worst, 1e-6);
}

// The sampler remembers per segment what depends only on the two keys; a
// sample must still be, bit for bit, what interpolating its two keys gives,
// however the keys were edited in place between samples. Each edit is one
// named case; a stale memory shows as a changed bit.
TEST(ZoJointSamplingMemory, SamplesEqualInterpolateOfTheirKeysAfterInPlaceEdits) {
  Random rng(505);
  ZoJointKeyList list;
  std::vector<ZoJointKeyframe*> keys;
  ZoRotation3 turn = rng.Turn(3.0f);
  for (uint32_t k = 0; k < 6; ++k) {
    auto* kf = new ZoJointKeyframe;
    kf->setTime(k * 100);
    // Key 1 to 2 nearly parallel (the normalised linear blend), key 3 the
    // same rotation with the other sign (the shorter arc flips b).
    turn = (k == 2 ? rng.Turn(0.01f) : rng.Turn(1.0f)) * turn;
    kf->actorTransform = ZoTransform3(rng.Vector(1.0f), k == 3 ? turn * -1.0f : turn);
    kf->localTransform = ZoTransform3(rng.Vector(1.0f), rng.Turn(3.0f));
    kf->point = rng.Vector(1.0f);
    list.Insert(kf, 1);
    keys.push_back(kf);
  }
  auto sameBits = [](ZoJointKeyframe const& x, ZoJointKeyframe const& y) {
    return std::memcmp(&x.localTransform, &y.localTransform, sizeof(ZoTransform3)) == 0 &&
           std::memcmp(&x.actorTransform, &y.actorTransform, sizeof(ZoTransform3)) == 0 &&
           std::memcmp(&x.point, &y.point, sizeof(ZoVector3)) == 0 && x.flags == y.flags;
  };
  auto checkAll = [&](char const* edit) {
    for (uint32_t time = 0; time < 500; time += 7) {
      ZoJointKeyframe sampled, direct;
      ASSERT_EQ(list.SampleAtTime(time, sampled, 0), 1) << edit;
      ZoJointKeyframe const* a = keys[time / 100];
      float t = static_cast<float>(time % 100) / 100.0f;
      direct.Interpolate(a, time % 100 != 0 ? keys[time / 100 + 1] : nullptr, t);
      EXPECT_TRUE(sameBits(sampled, direct)) << edit << " at " << time;
    }
  };
  struct Edit {
    char const* name;
    std::function<void()> apply;
  };
  Edit const edits[] = {
      {"none (everything remembered)", [] {}},
      {"a rotation written", [&] { keys[1]->actorTransform.rotation = rng.Turn(3.0f); }},
      {"a local rotation negated", [&] { keys[2]->localTransform.rotation = keys[2]->localTransform.rotation * -1.0f; }},
      {"keys transformed", [&] { keys[3]->Transform(ZoTransform3(rng.Vector(1.0f), rng.Turn(2.0f))); }},
      {"a key made smooth", [&] { keys[2]->ComputeBlends(keys[1], keys[3], ZoJointKeyframe::Smooth); }},
      {"back to linear", [&] { keys[2]->ComputeBlends(keys[1], keys[3], ZoJointKeyframe::Linear); }},
  };
  for (Edit const& edit : edits) {
    edit.apply();
    checkAll(edit.name);
    checkAll(edit.name);  // the second pass runs on what the first remembered
  }
}
