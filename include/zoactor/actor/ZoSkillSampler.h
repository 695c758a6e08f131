// ZoSkillSampler: samples every joint of a skill at once, as an engine does
// every frame, from a copy of the skill's keys laid out for that.
//
// Compiling copies each joint's keys into flat arrays, joint after joint
// (times in one array, the transforms a sample reads in another, the Bézier
// controls and easing in two more), and keeps per joint a cursor on its
// current segment. The current segments of eight joints at a time sit side
// by side, one joint per lane, component by component, with the parts of
// their slerps that depend only on the two rotations (the arcs) computed
// once when a joint enters a segment. SamplePose then moves each cursor
// (usually not at all, else one key on, else a binary search, so forward,
// backward and random playback all work) and blends four joints per step
// through the library's lanes; on an x86-64 CPU with AVX2 a loop compiled
// for it blends eight (chosen once per process; the environment variable
// ZOACTOR_LANES=sse2 keeps the baseline loop), with the same results.
//
// Results: SamplePose gives what ZoJointKeyList::SampleAtTime gives with
// holdAfterEnd set, joint by joint: the same eased parameter, the same
// shorter-arc slerp evaluated the same way (a normalised linear blend only
// where the two rotations lie within acos(0.9995) of each other, as the
// key list does, the same polynomial arc above it), the same cubic Bézier
// for segments that are not linear at both ends, the key itself at a key's
// time, after the last key and across a step segment, and
// ZoTransform3::interpolate where the eased parameter leaves [0, 1]. Each
// lane computes exactly the expression the key list computes, so the
// results agree to the bit on both paths of the lanes header and in both
// loops; the random-skill tests hold it to 1e-6 per component
// (translations within ±10) and measure 0, the tests of arbitrary Bézier
// controls to the bit.
//
// Revisions: the sampler holds a reference on its skill and remembers the
// skill's Revision() it compiled. SamplePose compiles again (and only then
// allocates) when the revision moved: every change made through the skill's
// operations raises it (see ZoProtoSkill.h). A caller who edits keys
// directly through a key list calls the skill's KeysChanged() (or this
// sampler's Rebuild()) before sampling again.
//
// Threads: SamplePose moves the sampler's cursors, so one sampler is used by
// one thread at a time. Samplers of one skill on several threads are fine
// while nobody edits the skill; creating and destroying them changes the
// skill's (plain) reference count, which needs the caller's lock.
//
// Edge cases:
// - A joint without keys, a time before a joint's first key, and a sample
//   that would be made from a key that is not a joint keyframe (see
//   ZoJointKeyList.h) fill nothing: that joint's entries of the output
//   arrays keep what they held, as SampleAtTime leaves its output.
// - Times are compared unsigned; after the last key the last key holds up
//   to 0xFFFFFFFF. A segment longer than 2^31 − 1 gives a negative
//   parameter, as it does in the key list.
// - A null skill, or a skill with no joints, samples nothing (result 0).
// - When compiling runs out of memory the sampler holds no joints until a
//   later compile succeeds.
#ifndef ZOACTOR_ACTOR_ZOSKILLSAMPLER_H
#define ZOACTOR_ACTOR_ZOSKILLSAMPLER_H

#include <zoactor/ZoExport.h>
#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/actor/ZoRef.h>
#include <zoactor/foundation/ZoTransform3.h>

#include <cstdint>
#include <memory>

class ZOACTOR_API ZoSkillSampler {
 public:
  // A sampler without a skill.
  ZoSkillSampler();
  // A sampler of `skill` (null allowed), compiled now; takes a reference.
  explicit ZoSkillSampler(ZoProtoSkill* skill);
  // Releases the skill's reference.
  ~ZoSkillSampler();
  ZoSkillSampler(ZoSkillSampler&& other) noexcept;
  ZoSkillSampler& operator=(ZoSkillSampler&& other) noexcept;
  ZoSkillSampler(ZoSkillSampler const&) = delete;
  ZoSkillSampler& operator=(ZoSkillSampler const&) = delete;

  // Samples `skill` from now on (null: none), taking a reference on it and
  // releasing the previous skill's, and compiles it. False when compiling
  // ran out of memory.
  bool SetSkill(ZoProtoSkill* skill);
  // The skill sampled (borrowed), or null.
  ZoProtoSkill* Skill() const { return skill.get(); }
  // Compiles the skill's keys again, whatever its revision says; the
  // cursors start afresh. False when it ran out of memory.
  bool Rebuild();

  // The joints of the skill as last compiled.
  int NumJoints() const;

  // Samples every joint at `time` into local[j] (the joint relative to its
  // parent) and actor[j] (in the actor's frame), each null to leave that
  // kind out or an array of as many transforms as the skill has joints now
  // (Skill()->NumJoints(): when the skill changed since the last compile,
  // this call compiles first, so the sampler's NumJoints() of before may be
  // stale). Joints that are not sampled keep what their entries held (see
  // Edge cases). Returns the number of joints filled. Allocates nothing
  // unless it compiles.
  int SamplePose(uint32_t time, ZoTransform3* local, ZoTransform3* actor);

  // How many joints SamplePose blends side by side in this process: 8 in
  // the loop compiled for x86-64 CPUs with AVX2 (unless the environment
  // variable ZOACTOR_LANES is "sse2" when first asked), else 4. Either
  // gives the same bits.
  static int LanesPerStep();

  // True when SamplePose at `time` fills joint `joint` (as compiled; the
  // revision is not checked). False for an index outside [0, NumJoints()).
  bool Covers(int joint, uint32_t time) const;

 private:
  struct Compiled;

  ZoRef<ZoProtoSkill> skill;
  std::unique_ptr<Compiled> compiled;
};

#endif
