#include <zoactor/actor/ZoSkillSampler.h>

#include <zoactor/animation/ZoJointKeyList.h>
#include <zoactor/animation/ZoJointKeyframe.h>

#include "actor/ZoPoseLanes.h"
#include "animation/ZoJointSampling.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

// The sampling loop has a clone for x86-64 CPUs with AVX2, chosen once at
// run time; the scalar path of the lanes has none. The clone blends eight
// joints per step where the baseline blends four, each lane running the
// same operations in the same order without fused multiply-adds, so both
// give the same bits.
#if defined(ZOACTOR_LANES_WIDE)
#define ZO_SAMPLER_WIDE ZO_LANES_WIDE_TARGET
#endif

using zopose::kHalf;
using zopose::kLanes;
using zopose::Lanes;
using zopose::Mask;

namespace {

#if defined(ZO_SAMPLER_WIDE)
// True when this CPU runs the AVX2 clone of the sampling loop and the
// environment does not ask for the baseline (ZOACTOR_LANES=sse2, which the
// tests use to run the baseline on such a CPU too).
bool WideLanesWanted() {
  char const* asked = std::getenv("ZOACTOR_LANES");
  if (asked != nullptr && std::strcmp(asked, "sse2") == 0) return false;
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
}
#endif

// A span that covers every time from its start on.
constexpr uint64_t kAllTimes = uint64_t{1} << 32;
constexpr int32_t kNoKey = -1;

// What a joint's current segment gives.
enum class SegmentKind : uint8_t {
  None,         // nothing: no keys, before the first key, or a key that is no joint keyframe
  Hold,         // the first key as it is: after the last key, or a step segment
  HoldAtStart,  // the first key at its own time, nothing later (the second key is no joint keyframe)
  Blend         // the blend of the two keys (the first key at its own time)
};

// The transforms a sample reads from a key.
struct KeyPose {
  ZoTransform3 local;
  ZoTransform3 actor;
};

// The controls a cubic segment reads.
struct KeyControls {
  ZoTransform3 actorOut;
  ZoTransform3 actorIn;
};

// The eight-lane load reads a pose or a pair of controls as 14 floats.
static_assert(sizeof(KeyPose) == 14 * sizeof(float) && sizeof(KeyControls) == 14 * sizeof(float),
              "a key's transforms follow one another without padding");

struct KeyTiming {
  float easeIn = 0.0f;
  float easeOut = 0.0f;
  int32_t blendMode = 0;
  // False for a key of another class than ZoJointKeyframe.
  bool joint = false;
};

// A joint's keys and its cursor. The state holds while the unsigned
// difference time − start stays below span.
struct JointState {
  uint32_t start = 0;
  int32_t key = kNoKey;  // the key at or before start (an index into the key arrays)
  uint64_t span = kAllTimes;
  int32_t first = 0;  // the joint's keys in the key arrays
  int32_t count = 0;
  SegmentKind kind = SegmentKind::None;
  bool cubic = false;
};

// What sampling reads of the cursors of a group's joints, lane by lane
// (-1 for true), and the times [from, from + width) for which every lane
// keeps its segment (width 0: the group must be looked at lane by lane).
struct alignas(32) CursorRows {
  uint32_t start[kLanes];
  int32_t blend[kLanes];        // the segment blends its keys after its start
  int32_t none[kLanes];         // the joint gives nothing
  int32_t atStartOnly[kLanes];  // the joint gives its key only at the key's time
  uint32_t from = 0;
  uint64_t width = 0;
};

}  // namespace

struct ZoSkillSampler::Compiled {
  uint32_t revision = 0;
  int32_t numJoints = 0;
  std::vector<uint32_t> times;
  std::vector<KeyPose> poses;
  std::vector<KeyControls> controls;
  std::vector<KeyTiming> timing;
  // One per lane: joints past the last one are padding without keys.
  std::vector<JointState> joints;
  std::vector<CursorRows> cursors;
  std::vector<zopose::LinearGroup> linear;
  std::vector<zopose::CubicGroup> cubic;

  bool Build(ZoProtoSkill const& source);
  void AddKeys(ZoJointKeyList const& list);
  void Reset(int32_t joints);
  int32_t LastKeyUntil(JointState const& state, uint32_t time) const;
  void Seek(int32_t joint, uint32_t time, bool load = true);
  void SeekLanes(int32_t group, int at, int width, uint32_t time);
  void Refresh(int32_t group);
  void SetSegment(int32_t joint, int32_t a, bool load);
  void SetTiming(int32_t joint, float length, float easeOut, float easeIn);
  void LoadLanes(int32_t joint, int32_t a, int32_t b);
#if defined(ZO_SAMPLER_WIDE)
  ZO_SAMPLER_WIDE void LoadGroup(int32_t group);
#endif
  template <class L>
  int SampleGroup(int32_t group, int at, uint32_t time, ZoTransform3* local, ZoTransform3* actor);
  int SampleAll(uint32_t time, ZoTransform3* local, ZoTransform3* actor);
#if defined(ZO_SAMPLER_WIDE)
  ZO_SAMPLER_WIDE int SampleAllWide(uint32_t time, ZoTransform3* local, ZoTransform3* actor);
#endif
  void SampleOutside(int32_t joint, float s, ZoTransform3* local, ZoTransform3* actor) const;
};

// --- Compiling ---------------------------------------------------------------------

void ZoSkillSampler::Compiled::Reset(int32_t count) {
  numJoints = count;
  int32_t const groups = (count + kLanes - 1) / kLanes;
  times.clear();
  poses.clear();
  controls.clear();
  timing.clear();
  joints.assign(static_cast<size_t>(groups) * kLanes, JointState{});
  cursors.assign(static_cast<size_t>(groups), CursorRows{});
  linear.assign(static_cast<size_t>(groups), zopose::LinearGroup{});
  cubic.assign(static_cast<size_t>(groups), zopose::CubicGroup{});
  // Identity rotations everywhere, so lanes without keys blend finite numbers.
  for (zopose::LinearGroup& group : linear) {
    for (int lane = 0; lane < kLanes; ++lane) {
      for (zopose::QuatRows* rows : {&group.localA, &group.localB, &group.actorA, &group.actorB})
        zopose::SetLane(*rows, lane, ZoRotation3());
      group.length[lane] = 1.0f;
      group.easeOut[lane] = zo_motion::kDefaultEaseOut;
      group.easeIn[lane] = zo_motion::kDefaultEaseIn;
    }
    group.stale = 3;
  }
  for (zopose::CubicGroup& group : cubic) {
    for (int lane = 0; lane < kLanes; ++lane) {
      zopose::SetLane(group.out, lane, ZoRotation3());
      zopose::SetLane(group.in, lane, ZoRotation3());
    }
  }
}

void ZoSkillSampler::Compiled::AddKeys(ZoJointKeyList const& list) {
  ZoKeyListNode* p = nullptr;
  ZoKeyList const& keys = list;
  for (ZoKeyframe* kf = keys.GetFirst(p); kf != nullptr; kf = keys.GetNext(p)) {
    auto const* joint = dynamic_cast<ZoJointKeyframe const*>(kf);
    times.push_back(kf->time());
    KeyTiming timed;
    if (joint != nullptr) {
      poses.push_back({joint->localTransform, joint->actorTransform});
      controls.push_back({joint->actorOut, joint->actorIn});
      timed = KeyTiming{joint->easeIn, joint->easeOut, joint->blendMode, true};
    } else {
      poses.push_back({});
      controls.push_back({});
    }
    timing.push_back(timed);
  }
}

bool ZoSkillSampler::Compiled::Build(ZoProtoSkill const& source) {
  revision = source.Revision();
  try {
    Reset(source.NumJoints());
    for (int32_t j = 0; j < numJoints; ++j) {
      JointState& state = joints[static_cast<size_t>(j)];
      state.first = static_cast<int32_t>(times.size());
      if (source.Joint(j) != nullptr) AddKeys(*source.Joint(j));
      state.count = static_cast<int32_t>(times.size()) - state.first;
      // Before the first key (or with none) the joint gives nothing.
      state.span = state.count > 0 ? times[static_cast<size_t>(state.first)] : kAllTimes;
    }
  } catch (std::bad_alloc const&) {
    Reset(0);
    return false;
  }
  return true;
}

// --- Cursors -----------------------------------------------------------------------

// The index of the joint's last key at or before `time`, or kNoKey. Tries
// one key on and one key back from the cursor before searching.
int32_t ZoSkillSampler::Compiled::LastKeyUntil(JointState const& state, uint32_t time) const {
  uint32_t const* keys = times.data() + state.first;
  int32_t const n = state.count;
  if (n == 0 || time < keys[0]) return kNoKey;
  int32_t k = state.key != kNoKey ? state.key - state.first : -1;
  auto holds = [&](int32_t i) { return keys[i] <= time && (i + 1 == n || time < keys[i + 1]); };
  if (k + 1 < n && holds(k + 1)) return state.first + k + 1;
  if (k >= 1 && holds(k - 1)) return state.first + k - 1;
  int32_t const found = static_cast<int32_t>(std::upper_bound(keys, keys + n, time) - keys) - 1;
  return state.first + found;
}

// Moves the joint's cursor to `time`; with `load` false the lanes are left
// for the caller to load.
void ZoSkillSampler::Compiled::Seek(int32_t joint, uint32_t time, bool load) {
  JointState& state = joints[static_cast<size_t>(joint)];
  int32_t const a = LastKeyUntil(state, time);
  if (a == kNoKey) {
    state.kind = SegmentKind::None;
    state.cubic = false;
    linear[static_cast<size_t>(joint / kLanes)].cubic[joint % kLanes] = 0;
    state.key = kNoKey;
    state.start = 0;
    state.span = state.count > 0 ? times[static_cast<size_t>(state.first)] : kAllTimes;
    return;
  }
  SetSegment(joint, a, load);
}

// Moves the cursors of the `width` lanes from `at` on in `group` that do
// not hold `time`, then refreshes the group's rows.
// When all eight lanes move at once into segments that load keys (keys at
// the same times, as in a clip sampled at a fixed rate), the AVX2 loop
// loads the group's rows by transposing the keys instead of lane by lane.
void ZoSkillSampler::Compiled::SeekLanes(int32_t group, int at, int width, uint32_t time) {
  int32_t const base = group * kLanes + at;
  int moving = 0;
  for (int lane = 0; lane < width; ++lane) {
    JointState const& state = joints[static_cast<size_t>(base + lane)];
    if (uint64_t{time - state.start} >= state.span) moving |= 1 << lane;
  }
#if defined(ZO_SAMPLER_WIDE)
  if (moving == (1 << kLanes) - 1) {
    bool loads = true;
    for (int lane = 0; lane < kLanes; ++lane) {
      Seek(base + lane, time, false);
      loads = loads && joints[static_cast<size_t>(base + lane)].kind != SegmentKind::None;
    }
    if (loads) {
      LoadGroup(group);
    } else {
      for (int32_t joint = base; joint < base + kLanes; ++joint) {
        JointState const& state = joints[static_cast<size_t>(joint)];
        if (state.kind != SegmentKind::None) LoadLanes(joint, state.key, state.key + (state.kind == SegmentKind::Blend));
      }
    }
    Refresh(group);
    return;
  }
#endif
  for (int lane = 0; lane < width; ++lane)
    if ((moving & (1 << lane)) != 0) Seek(base + lane, time);
  Refresh(group);
}

// Copies the group's cursors into its rows, with the times all of them hold.
void ZoSkillSampler::Compiled::Refresh(int32_t group) {
  CursorRows& rows = cursors[static_cast<size_t>(group)];
  uint64_t from = 0, until = kAllTimes;
  for (int lane = 0; lane < kLanes; ++lane) {
    JointState const& state = joints[static_cast<size_t>(group * kLanes + lane)];
    rows.start[lane] = state.start;
    rows.blend[lane] = state.kind == SegmentKind::Blend ? -1 : 0;
    rows.none[lane] = state.kind == SegmentKind::None ? -1 : 0;
    rows.atStartOnly[lane] = state.kind == SegmentKind::HoldAtStart ? -1 : 0;
    from = std::max<uint64_t>(from, state.start);
    until = std::min(until, state.start + state.span);
  }
  rows.from = static_cast<uint32_t>(from);
  rows.width = until > from ? until - from : 0;
}

// Enters the segment that starts at key a (which the joint has).
inline void ZoSkillSampler::Compiled::SetSegment(int32_t joint, int32_t a, bool load) {
  JointState& state = joints[static_cast<size_t>(joint)];
  KeyTiming const& first = timing[static_cast<size_t>(a)];
  bool const last = a + 1 == state.first + state.count;
  state.key = a;
  state.start = times[static_cast<size_t>(a)];
  state.span = last ? kAllTimes - state.start : uint64_t{times[static_cast<size_t>(a) + 1] - state.start};
  state.cubic = false;
  if (!first.joint) {
    state.kind = SegmentKind::None;
    return;
  }
  if (last) {
    state.kind = SegmentKind::Hold;
  } else if (!timing[static_cast<size_t>(a) + 1].joint) {
    state.kind = SegmentKind::HoldAtStart;
  } else if (first.blendMode == ZoJointKeyframe::Step) {
    state.kind = SegmentKind::Hold;
  } else {
    KeyTiming const& second = timing[static_cast<size_t>(a) + 1];
    state.kind = SegmentKind::Blend;
    state.cubic = !(first.blendMode == ZoJointKeyframe::Linear && second.blendMode == ZoJointKeyframe::Linear);
    float const length = static_cast<float>(static_cast<int32_t>(times[static_cast<size_t>(a) + 1] - state.start));
    SetTiming(joint, length, first.easeOut, second.easeIn);
    if (load) LoadLanes(joint, a, a + 1);
    return;
  }
  SetTiming(joint, 1.0f, zo_motion::kDefaultEaseOut, zo_motion::kDefaultEaseIn);
  if (load) LoadLanes(joint, a, a);
}

// The segment timing of `joint`'s lane; a lane that does not blend gets a
// length of 1 and the default handles, so its parameter stays finite.
inline void ZoSkillSampler::Compiled::SetTiming(int32_t joint, float length, float easeOut, float easeIn) {
  zopose::LinearGroup& group = linear[static_cast<size_t>(joint / kLanes)];
  int const lane = joint % kLanes;
  group.length[lane] = length;
  group.easeOut[lane] = easeOut;
  group.easeIn[lane] = easeIn;
}

// Puts keys a and b of `joint` into its lane (b = a for a held key).
inline void ZoSkillSampler::Compiled::LoadLanes(int32_t joint, int32_t a, int32_t b) {
  zopose::LinearGroup& group = linear[static_cast<size_t>(joint / kLanes)];
  int const lane = joint % kLanes;
  KeyPose const& from = poses[static_cast<size_t>(a)];
  KeyPose const& to = poses[static_cast<size_t>(b)];
  zopose::SetLane(group.localA, lane, from.local.rotation);
  zopose::SetLane(group.localB, lane, to.local.rotation);
  zopose::SetLane(group.actorA, lane, from.actor.rotation);
  zopose::SetLane(group.actorB, lane, to.actor.rotation);
  zopose::SetLane(group.localT, lane, from.local.translation);
  zopose::SetLane(group.localStep, lane, to.local.translation - from.local.translation);
  zopose::SetLane(group.actorT, lane, from.actor.translation);
  zopose::SetLane(group.actorStep, lane, to.actor.translation - from.actor.translation);
  bool const isCubic = joints[static_cast<size_t>(joint)].cubic;
  group.cubic[lane] = isCubic ? -1 : 0;
  group.stale |= 1 << (lane / kHalf);
  if (!isCubic) return;
  zopose::CubicGroup& controlGroup = cubic[static_cast<size_t>(joint / kLanes)];
  KeyControls const& out = controls[static_cast<size_t>(a)];
  KeyControls const& in = controls[static_cast<size_t>(b)];
  zopose::SetLane(controlGroup.out, lane, out.actorOut.rotation);
  zopose::SetLane(controlGroup.in, lane, in.actorIn.rotation);
  zopose::SetLane(controlGroup.outT, lane, out.actorOut.translation);
  zopose::SetLane(controlGroup.inT, lane, in.actorIn.translation);
  zopose::SetLane(controlGroup.endT, lane, to.actor.translation);
}

#if defined(ZO_SAMPLER_WIDE)
// LoadLanes for all eight lanes of `group`, each of which holds a segment
// that loads keys: each key's transforms (and controls) are read as rows
// of eight floats and transposed into the group's rows.
void ZoSkillSampler::Compiled::LoadGroup(int32_t group) {
  using zolanes::Lanes8;
  zopose::LinearGroup& rows = linear[static_cast<size_t>(group)];
  zopose::CubicGroup& controlRows = cubic[static_cast<size_t>(group)];
  // A pose is 14 floats (local translation and rotation, actor translation
  // and rotation); the first eight and the last eight of each key.
  Lanes8 fromHead[kLanes], fromTail[kLanes], toHead[kLanes], toTail[kLanes], out[kLanes], in[kLanes];
  constexpr int kTail = 6;
  for (int lane = 0; lane < kLanes; ++lane) {
    JointState const& state = joints[static_cast<size_t>(group * kLanes + lane)];
    size_t const a = static_cast<size_t>(state.key);
    size_t const b = a + (state.kind == SegmentKind::Blend ? 1 : 0);
    auto const* from = reinterpret_cast<unsigned char const*>(&poses[a]);
    auto const* to = reinterpret_cast<unsigned char const*>(&poses[b]);
    std::memcpy(&fromHead[lane], from, sizeof(Lanes8));
    std::memcpy(&fromTail[lane], from + kTail * sizeof(float), sizeof(Lanes8));
    std::memcpy(&toHead[lane], to, sizeof(Lanes8));
    std::memcpy(&toTail[lane], to + kTail * sizeof(float), sizeof(Lanes8));
    std::memcpy(&out[lane], &controls[a], sizeof(Lanes8));
    std::memcpy(&in[lane], reinterpret_cast<unsigned char const*>(&controls[b]) + kTail * sizeof(float), sizeof(Lanes8));
    rows.cubic[lane] = state.cubic ? -1 : 0;
  }
  zolanes::Transpose8(fromHead);
  zolanes::Transpose8(fromTail);
  zolanes::Transpose8(toHead);
  zolanes::Transpose8(toTail);
  zolanes::Transpose8(out);
  zolanes::Transpose8(in);
  // Lambdas do not take this function's AVX2 target, so vectors reach them
  // by reference only.
  auto put = [](float* row, Lanes8 const& v) { std::memcpy(row, &v, sizeof v); };
  auto putQuat = [&put](zopose::QuatRows& quats, Lanes8 const* r) {
    put(quats.w, r[0]);
    put(quats.x, r[1]);
    put(quats.y, r[2]);
    put(quats.z, r[3]);
  };
  auto putVector = [&put](zopose::VectorRows& vectors, Lanes8 const* r) {
    put(vectors.x, r[0]);
    put(vectors.y, r[1]);
    put(vectors.z, r[2]);
  };
  Lanes8 localStep[3], actorStep[3];
  for (int c = 0; c < 3; ++c) {
    localStep[c] = toHead[c] - fromHead[c];
    actorStep[c] = toTail[1 + c] - fromTail[1 + c];
  }
  // Rows of the heads: local translation 0-2, local rotation 3-6; of the
  // tails: actor translation 1-3, actor rotation 4-7; of the out controls:
  // translation 0-2, rotation 3-6; of the in controls: 1-3 and 4-7.
  putQuat(rows.localA, fromHead + 3);
  putQuat(rows.localB, toHead + 3);
  putQuat(rows.actorA, fromTail + 4);
  putQuat(rows.actorB, toTail + 4);
  putVector(rows.localT, fromHead);
  putVector(rows.localStep, localStep);
  putVector(rows.actorT, fromTail + 1);
  putVector(rows.actorStep, actorStep);
  putQuat(controlRows.out, out + 3);
  putQuat(controlRows.in, in + 4);
  putVector(controlRows.outT, out);
  putVector(controlRows.inT, in + 1);
  putVector(controlRows.endT, toTail + 1);
  rows.stale = 3;
}
#endif

// --- Sampling -------------------------------------------------------------------------

// A joint whose eased parameter left [0, 1]: blended as the key list blends
// it there, through ZoTransform3::interpolate.
void ZoSkillSampler::Compiled::SampleOutside(int32_t joint, float s, ZoTransform3* local, ZoTransform3* actor) const {
  int32_t const a = joints[static_cast<size_t>(joint)].key;
  KeyPose const& from = poses[static_cast<size_t>(a)];
  KeyPose const& to = poses[static_cast<size_t>(a) + 1];
  if (local != nullptr) local[joint].interpolate(from.local, to.local, s);
  if (actor == nullptr) return;
  if (joints[static_cast<size_t>(joint)].cubic) {
    actor[joint].interpolate(from.actor, controls[static_cast<size_t>(a)].actorOut,
                             controls[static_cast<size_t>(a) + 1].actorIn, to.actor, s);
  } else {
    actor[joint].interpolate(from.actor, to.actor, s);
  }
}

// Samples the joints of lanes `at` to `at` + width − 1 of `group` (L is
// Lanes or Lanes8); returns how many it filled. The parameters of the lanes
// that blend are divided and eased side by side.
template <class L>
ZO_MOTION_INLINE int ZoSkillSampler::Compiled::SampleGroup(int32_t group, int at, uint32_t time, ZoTransform3* local,
                                                           ZoTransform3* actor) {
  using M = zolanes::MaskOf<L>;
  constexpr int kWidth = zolanes::kWidthOf<L>;
  int32_t const base = group * kLanes + at;
  CursorRows const& rows = cursors[static_cast<size_t>(group)];
  if (uint64_t{time - rows.from} >= rows.width) SeekLanes(group, at, kWidth, time);
  // Per lane: the time since the segment's start, whether the lane blends
  // (a Blend segment after its start) and whether it gives nothing.
#if !defined(ZOACTOR_LANES_SCALAR)
  using Words = zolanes::WordsOf<L>;
  Words const since = time - zolanes::LoadAs<Words>(rows.start + at);
  M const fresh = since != 0u;
  M const blend = zolanes::LoadAs<M>(rows.blend + at) & fresh;
  L const elapsed = zolanes::Select(blend, __builtin_convertvector(since, L), zolanes::SplatAs<L>(0.0f));
  int const skip = zolanes::Bits(zolanes::LoadAs<M>(rows.none + at) | (zolanes::LoadAs<M>(rows.atStartOnly + at) & fresh));
#else
  float elapsedRow[kWidth];
  int32_t blendRow[kWidth];
  int skip = 0;
  for (int lane = 0; lane < kWidth; ++lane) {
    uint32_t const since = time - rows.start[at + lane];
    bool const blends = rows.blend[at + lane] != 0 && since != 0;
    elapsedRow[lane] = blends ? static_cast<float>(since) : 0.0f;
    blendRow[lane] = blends ? -1 : 0;
    if (rows.none[at + lane] != 0 || (rows.atStartOnly[at + lane] != 0 && since != 0)) skip |= 1 << lane;
  }
  L const elapsed = zolanes::LoadAs<L>(elapsedRow);
  M const blend = zolanes::LoadAs<M>(blendRow);
#endif
  if (skip == (1 << kWidth) - 1) return 0;
  zopose::LinearGroup& lanes = linear[static_cast<size_t>(group)];
  zopose::CubicGroup& controlLanes = cubic[static_cast<size_t>(group)];
  L const t = elapsed / zolanes::LoadAs<L>(lanes.length + at);
  L const s = zo_motion::Eased(zolanes::LoadAs<L>(lanes.easeOut + at), zolanes::LoadAs<L>(lanes.easeIn + at), t);
  M const inside = (s >= 0.0f) & (s <= 1.0f);  // false for NaN
  M const lanesBlend = blend & inside;
  int const outsideBits = zolanes::Bits(blend & ~inside);
  int const halves = ((1 << (kWidth / kHalf)) - 1) << (at / kHalf);
  if ((lanes.stale & halves) != 0) {
    zopose::ComputeArcs<L>(lanes, controlLanes, at);
    lanes.stale &= ~halves;
  }
  zopose::PoseLanes<L> pose;
  zopose::BlendGroup(lanes, controlLanes, at, zolanes::Select(lanesBlend, s, zolanes::SplatAs<L>(0.0f)), ~lanesBlend,
                     pose);
  if (local != nullptr) zopose::StoreTransforms(local + base, skip, pose.localRotation, pose.localT);
  if (actor != nullptr) zopose::StoreTransforms(actor + base, skip, pose.actorRotation, pose.actorT);
  if (outsideBits != 0) {
    alignas(32) float outside[kWidth];
    std::memcpy(outside, &s, sizeof outside);
    for (int lane = 0; lane < kWidth; ++lane)
      if ((outsideBits & (1 << lane)) != 0) SampleOutside(base + lane, outside[lane], local, actor);
  }
  return kWidth - __builtin_popcount(static_cast<unsigned>(skip));
}

// Every joint of the pose, four at a time; returns how many it filled.
int ZoSkillSampler::Compiled::SampleAll(uint32_t time, ZoTransform3* local, ZoTransform3* actor) {
  int filled = 0;
  int32_t const quarters = (numJoints + kHalf - 1) / kHalf;
  for (int32_t q = 0; q < quarters; ++q) filled += SampleGroup<Lanes>(q / 2, (q % 2) * kHalf, time, local, actor);
  return filled;
}

#if defined(ZO_SAMPLER_WIDE)
// The same compiled for AVX2, eight joints at a time; a last group of four
// joints or fewer takes four lanes.
int ZoSkillSampler::Compiled::SampleAllWide(uint32_t time, ZoTransform3* local, ZoTransform3* actor) {
  int filled = 0;
  int32_t const groups = numJoints / kLanes;
  for (int32_t g = 0; g < groups; ++g) filled += SampleGroup<zolanes::Lanes8>(g, 0, time, local, actor);
  int32_t const rest = numJoints - groups * kLanes;
  if (rest > kHalf) filled += SampleGroup<zolanes::Lanes8>(groups, 0, time, local, actor);
  else if (rest > 0) filled += SampleGroup<Lanes>(groups, 0, time, local, actor);
  return filled;
}
#endif

// --- The sampler ---------------------------------------------------------------------------

ZoSkillSampler::ZoSkillSampler() = default;

ZoSkillSampler::ZoSkillSampler(ZoProtoSkill* source) { SetSkill(source); }

ZoSkillSampler::~ZoSkillSampler() = default;

ZoSkillSampler::ZoSkillSampler(ZoSkillSampler&& other) noexcept = default;

ZoSkillSampler& ZoSkillSampler::operator=(ZoSkillSampler&& other) noexcept = default;

bool ZoSkillSampler::SetSkill(ZoProtoSkill* source) {
  skill = ZoRef<ZoProtoSkill>::Share(source);
  return Rebuild();
}

bool ZoSkillSampler::Rebuild() {
  if (compiled == nullptr) {
    compiled.reset(new (std::nothrow) Compiled);
    if (compiled == nullptr) return false;
  }
  if (!skill) {
    compiled->Reset(0);
    return true;
  }
  return compiled->Build(*skill);
}

int ZoSkillSampler::NumJoints() const { return compiled != nullptr ? compiled->numJoints : 0; }

int ZoSkillSampler::LanesPerStep() {
#if defined(ZO_SAMPLER_WIDE)
  static bool const wide = WideLanesWanted();
  if (wide) return kLanes;
#endif
  return kHalf;
}

int ZoSkillSampler::SamplePose(uint32_t time, ZoTransform3* local, ZoTransform3* actor) {
  if (skill && (compiled == nullptr || compiled->revision != skill->Revision())) Rebuild();
  if (compiled == nullptr) return 0;
#if defined(ZO_SAMPLER_WIDE)
  static bool const wide = LanesPerStep() == kLanes;
  if (wide) return compiled->SampleAllWide(time, local, actor);
#endif
  return compiled->SampleAll(time, local, actor);
}

bool ZoSkillSampler::Covers(int joint, uint32_t time) const {
  if (compiled == nullptr || joint < 0 || joint >= compiled->numJoints) return false;
  JointState probe = compiled->joints[static_cast<size_t>(joint)];
  probe.key = kNoKey;
  int32_t const a = compiled->LastKeyUntil(probe, time);
  if (a == kNoKey || !compiled->timing[static_cast<size_t>(a)].joint) return false;
  bool const last = a + 1 == probe.first + probe.count;
  return last || time == compiled->times[static_cast<size_t>(a)] || compiled->timing[static_cast<size_t>(a) + 1].joint;
}
