// Sampling against an independent oracle: random joint key lists (linear,
// smooth, and mixed with step keys and easing handles), their keys inserted
// in random order, are sampled forwards
// and at random times, and every sample is compared with the same
// interpolation computed in double precision through Eigen's quaternions,
// from key data the test keeps itself. Smooth controls are checked against
// the quaternion-spline construction done in Eigen as well.
//
// Tolerance 1e-5: translations stay within ±1 so the bound is absolute;
// rotations are compared as unit quaternions up to sign.
#include <zoactor/animation/ZoJointKeyList.h>
#include <zoactor/animation/ZoJointKeyframe.h>

#include "ZoAnimationTestSupport.h"
#include "support/ZoTestRandom.h"

#include <functional>
#include <string>

using namespace zoanimationtest;

namespace {

using Vec = Eigen::Vector3d;

constexpr double kTolerance = 1e-5;

// An oracle transform.
struct Pose {
  Vec t = Vec::Zero();
  Quat q = Quat::Identity();
};

// How far a library transform lies from an oracle one, in translation or
// rotation.
double Deviation(ZoTransform3 const& x, Pose const& p) {
  return std::max((ToEigen(x.translation) - p.t).norm(), RotationDistance(x.rotation, p.q));
}

Pose ToPose(ZoTransform3 const& x) { return {ToEigen(x.translation), ToEigen(x.rotation)}; }

Pose Lerp(Pose const& a, Pose const& b, double s) { return {a.t + (b.t - a.t) * s, a.q.slerp(s, b.q)}; }

Pose Cubic(Pose const& a, Pose const& b, Pose const& c, Pose const& d, double s) {
  double r = 1 - s;
  Vec t = r * r * r * a.t + 3 * r * r * s * b.t + 3 * r * s * s * c.t + s * s * s * d.t;
  Quat ab = a.q.slerp(s, b.q), bc = b.q.slerp(s, c.q), cd = c.q.slerp(s, d.q);
  Quat abc = ab.slerp(s, bc), bcd = bc.slerp(s, cd);
  return {t, abc.slerp(s, bcd)};
}

using zotest::Random;

enum class Kind { Linear, Smooth, Mixed };

// The controls of a smooth key built in Eigen from its neighbours' actor
// transforms.
std::pair<Pose, Pose> SmoothOracle(Pose const* prev, Pose const& cur, Pose const* next) {
  auto leap = [](Quat const& a, Quat const& b) {
    return Quat(2.0 * a.coeffs().dot(b.coeffs()) * b.coeffs() - a.coeffs());
  };
  Vec tangent = Vec::Zero();
  Quat in = Quat::Identity(), out = Quat::Identity();
  if (prev != nullptr && next != nullptr) {
    tangent = (next->t - prev->t) / 6.0;
    Quat b(Eigen::Vector4d(leap(prev->q, cur.q).coeffs() + next->q.coeffs()).normalized());
    out = cur.q.slerp(1.0 / 3.0, b);
    in = leap(out, cur.q);
  } else if (next != nullptr) {
    tangent = (next->t - cur.t) / 3.0;
    out = cur.q.slerp(1.0 / 3.0, next->q);
    in = leap(out, cur.q);
  } else if (prev != nullptr) {
    tangent = (cur.t - prev->t) / 3.0;
    in = cur.q.slerp(1.0 / 3.0, prev->q);
    out = leap(in, cur.q);
  }
  return {{cur.t - tangent, in}, {cur.t + tangent, out}};
}

// A random track: the list, copies of its keys kept by the test, and the
// actor controls the oracle expects of each key.
struct Track {
  ZoJointKeyList list;
  std::vector<ZoJointKeyframe> keys;
  std::vector<Pose> ins, outs;
};

// A random track of `n` keys starting at `start`, whose rotations turn by at
// most 70 degrees from key to key (as a joint's do), so that the shorter arc
// is never in doubt. Checks each key's controls against the oracle's.
void BuildTrack(Track& track, Random& rng, Kind kind, int n, uint32_t start) {
  uint32_t t = start;
  ZoRotation3 actorRotation = rng.Turn(3.0f), localRotation = rng.Turn(3.0f);
  std::vector<ZoJointKeyframe*> made;
  for (int i = 0; i < n; ++i, t += 1 + rng.Below(400)) {
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
    made.push_back(kf);
  }
  // Inserted in random order: a linear insert recomputes both neighbours.
  std::vector<ZoJointKeyframe*> order = made;
  for (size_t i = order.size(); i > 1; --i) std::swap(order[i - 1], order[rng.Below(static_cast<uint32_t>(i))]);
  for (ZoJointKeyframe* kf : order) track.list.Insert(kf, kind == Kind::Linear ? 1 : 0);
  for (int i = 0; i < n && kind != Kind::Linear; ++i) {
    int mode = kind == Kind::Smooth ? 1 : static_cast<int>(rng.Below(3));
    made[i]->ComputeBlends(i > 0 ? made[i - 1] : nullptr, i + 1 < n ? made[i + 1] : nullptr, mode);
  }
  for (ZoJointKeyframe* kf : made) track.keys.push_back(*kf);
  // Controls: mode 0 from the thirds, mode 1 from the Eigen construction;
  // step keys keep whatever controls they had.
  for (int i = 0; i < n; ++i) {
    ZoJointKeyframe const& k = track.keys[i];
    Pose const actor = ToPose(k.actorTransform);
    Pose const prev = i > 0 ? ToPose(track.keys[i - 1].actorTransform) : Pose();
    Pose const next = i + 1 < n ? ToPose(track.keys[i + 1].actorTransform) : Pose();
    std::pair<Pose, Pose> io{ToPose(k.actorIn), ToPose(k.actorOut)};
    if (k.blendMode == 0) {
      io = {i > 0 ? Lerp(prev, actor, 2.0 / 3.0) : actor, i + 1 < n ? Lerp(actor, next, 1.0 / 3.0) : actor};
    } else if (k.blendMode == 1) {
      io = SmoothOracle(i > 0 ? &prev : nullptr, actor, i + 1 < n ? &next : nullptr);
    }
    track.ins.push_back(io.first);
    track.outs.push_back(io.second);
    EXPECT_LT(Deviation(k.actorIn, io.first), kTolerance) << i;
    EXPECT_LT(Deviation(k.actorOut, io.second), kTolerance) << i;
  }
}

// What the sampler should give at `time`, in double precision: nothing
// (no key) before the first key or, unless holding, after the last.
struct Expected {
  ZoJointKeyframe const* key = nullptr;  // the segment's first key
  int32_t flags = 0;
  Pose local, actor;
  Vec point = Vec::Zero();
};

Expected Oracle(Track const& track, uint32_t time, bool hold) {
  std::vector<ZoJointKeyframe> const& keys = track.keys;
  Expected e;
  if (keys.empty() || time < keys.front().time() || (!hold && time > keys.back().time())) return e;
  size_t i = 0;
  while (i + 1 < keys.size() && keys[i + 1].time() <= time) ++i;
  ZoJointKeyframe const& a = keys[i];
  e = {&a, a.flags, ToPose(a.localTransform), ToPose(a.actorTransform), ToEigen(a.point)};
  if (i + 1 == keys.size() || time == a.time() || a.blendMode == 2) return e;
  ZoJointKeyframe const& b = keys[i + 1];
  double t = static_cast<double>(time - a.time()) / static_cast<double>(b.time() - a.time());
  double const in = static_cast<double>(b.easeIn), out = static_cast<double>(a.easeOut);
  double s = 3 * out * (1 - t) * (1 - t) * t + 3 * in * (1 - t) * t * t + t * t * t;
  Pose const bActor = ToPose(b.actorTransform);
  e.flags = a.flags & b.flags;
  e.local = Lerp(e.local, ToPose(b.localTransform), s);
  e.actor = a.blendMode == 0 && b.blendMode == 0 ? Lerp(e.actor, bActor, s)
                                                 : Cubic(e.actor, track.outs[i], track.ins[i + 1], bActor, s);
  e.point = e.point + (ToEigen(b.point) - e.point) * s;
  return e;
}

// Samples `track` at `time` and compares with the oracle.
void CheckSample(Track& track, uint32_t time, bool hold) {
  ZoJointKeyframe out;
  int got = track.list.SampleAtTime(time, out, hold ? 1 : 0);
  Expected e = Oracle(track, time, hold);
  EXPECT_EQ(got, e.key != nullptr ? 1 : 0) << time;
  if (e.key == nullptr || got == 0) return;
  EXPECT_EQ(std::make_pair(out.flags, out.marker), std::make_pair(e.flags, e.key->marker)) << time;
  EXPECT_LT(std::max({Deviation(out.localTransform, e.local), Deviation(out.actorTransform, e.actor),
                      (ToEigen(out.point) - e.point).norm()}),
            kTolerance)
      << "time " << time;
}

void RunOracle(Kind kind, unsigned seed) {
  Random rng(seed);
  for (int trial = 0; trial < 40; ++trial) {
    Track track;
    // Some tracks end near the top of the time range, some cross the sign bit.
    uint32_t start = trial % 4 == 3 ? 0xFFFFFFFFu - 20000u : trial % 4 == 1 ? 0x7FFFF000u : rng.Below(1000);
    BuildTrack(track, rng, kind, 2 + static_cast<int>(rng.Below(30)), start);
    uint32_t first = track.keys.front().time(), last = track.keys.back().time();
    // Forward playback, through every key time and past the end.
    for (uint64_t t = first > 3 ? first - 3 : 0; t <= static_cast<uint64_t>(last) + 7 && t <= 0xFFFFFFFFu; t += 7)
      CheckSample(track, static_cast<uint32_t>(t), trial % 2 == 0);
    for (ZoJointKeyframe const& k : track.keys) CheckSample(track, k.time(), false);
    // Random times, out of order.
    for (int i = 0; i < 200; ++i) CheckSample(track, first - 10 + rng.Below(last - first + 20), rng.Below(2) == 0);
    if (::testing::Test::HasFailure()) return;
  }
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
  // Angles near 0, around cos(θ/2) = 0.9995, near π, and anywhere.
  std::pair<float, float> const ranges[] = {{0.0f, 1e-3f}, {0.06f, 0.07f}, {3.1f, 3.14159f}, {0.0f, 6.28f}};
  for (int i = 0; i < 4000; ++i) {
    ZoJointKeyframe a, b, out;
    a.actorTransform.rotation = rng.Turn(3.14f);
    ZoVector3 axis = rng.Vector(1.0f);
    float angle = rng.Uniform(ranges[i % 4].first, ranges[i % 4].second);
    ZoRotation3 const turn = zotest::About(angle, axis.lengthSquared() > 1e-4f ? axis : ZoVector3(1, 0, 0));
    b.actorTransform.rotation = turn * a.actorTransform.rotation;
    float t = rng.Uniform(0.0f, 1.0f);
    out.Interpolate(&a, &b, t);
    ZoTransform3 expected;
    expected.interpolate(a.actorTransform, b.actorTransform, t);
    ASSERT_LT(RotationDistance(out.actorTransform.rotation, ToEigen(expected.rotation)), 1e-6) << i;
  }
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
  auto checkAll = [&](char const* edit) {
    for (uint32_t time = 0; time < 500; time += 7) {
      ZoJointKeyframe sampled, direct;
      ASSERT_EQ(list.SampleAtTime(time, sampled, 0), 1) << edit;
      ZoJointKeyframe const* a = keys[time / 100];
      float t = static_cast<float>(time % 100) / 100.0f;
      direct.Interpolate(a, time % 100 != 0 ? keys[time / 100 + 1] : nullptr, t);
      EXPECT_EQ(zotest::Body(sampled), zotest::Body(direct)) << edit << " at " << time;
    }
  };
  std::pair<char const*, std::function<void()>> const edits[] = {
      {"none (everything remembered)", [] {}},
      {"a rotation written", [&] { keys[1]->actorTransform.rotation = rng.Turn(3.0f); }},
      {"a local rotation negated", [&] { keys[2]->localTransform.rotation = keys[2]->localTransform.rotation * -1.0f; }},
      {"keys transformed", [&] { keys[3]->Transform(ZoTransform3(rng.Vector(1.0f), rng.Turn(2.0f))); }},
      {"a key made smooth", [&] { keys[2]->ComputeBlends(keys[1], keys[3], ZoJointKeyframe::Smooth); }},
      {"back to linear", [&] { keys[2]->ComputeBlends(keys[1], keys[3], ZoJointKeyframe::Linear); }},
  };
  for (auto const& [name, apply] : edits) {
    apply();
    checkAll(name);
    checkAll(name);  // the second pass runs on what the first remembered
  }
}
