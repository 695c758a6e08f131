// ZoJointKeyList: the key list of one joint of a skill, whose keys are
// ZoJointKeyframes, sampled at any time by the engine every frame.
//
// It has no type code of its own: it is written under the key list's code
// (ZoTypeCode::KeyList) with the key list's body, and a framed joint key
// list therefore comes back from ZoStream::ReadObject as a plain ZoKeyList
// (a skill reads the bare body into a joint key list it made itself).
//
// Keys of another class: the base's Insert and ReadFromStream accept any
// keyframe, so a joint list read from a file may hold keys that are not
// joint keyframes. Sampling never reads such a key as a joint key: a sample
// that would be made from one fails (returns 0, output untouched); the
// typed iteration skips them; Insert with computeBlends treats them as
// absent neighbours and leaves them alone.
#ifndef ZOACTOR_ANIMATION_ZOJOINTKEYLIST_H
#define ZOACTOR_ANIMATION_ZOJOINTKEYLIST_H

#include <zoactor/ZoExport.h>
#include <zoactor/animation/ZoJointKeyframe.h>
#include <zoactor/animation/ZoKeyList.h>

#include <cstdint>

class ZOACTOR_API ZoJointKeyList : public ZoKeyList {
 public:
  ZoJointKeyList() = default;
  // Copies as the key list does (CreateCopy of every key, head to tail).
  ZoJointKeyList(ZoJointKeyList const& other) = default;
  ZoJointKeyList& operator=(ZoJointKeyList const& other) = default;
  ~ZoJointKeyList() override;

  // Typed iteration over the joint keys (keys of other classes are skipped):
  // GetFirst returns the first joint key and sets p behind it; GetNext
  // returns the joint key at or after p and sets p behind it; null at the end.
  ZoJointKeyframe* GetFirst(ZoKeyListNode*& p) const;
  ZoJointKeyframe* GetNext(ZoKeyListNode*& p) const;

  // Inserts `kf` as ZoKeyList::Insert does (taking ownership; a key of the
  // same time is replaced) and returns its node. When computeBlends is not
  // 0 the controls are then recomputed in mode 0: kf's from its
  // neighbours, and each neighbour's from its own neighbours; the
  // neighbours are reset to mode 0 whatever mode they had. Null on the
  // failures of ZoKeyList::Insert.
  ZoKeyListNode* Insert(ZoJointKeyframe* kf, int computeBlends);
  using ZoKeyList::Insert;

  // Samples the joint at `time` into `out` (its tag, time, controls, easing
  // and mode are not touched) and returns 1; returns 0 with `out` untouched
  // for an empty list, a time before the first key, a time after the last
  // key when holdAfterEnd is 0, and a sample that would be made from a key
  // that is not a joint keyframe.
  //   - The last key a at or before `time` is found by walking from the
  //     cursor (forwards, or backwards along the prev links when the
  //     cursor's key is later than `time`; from the head when there is no
  //     cursor) and the cursor is left on it. Playing forwards or backwards
  //     costs amortised constant time per sample.
  //   - When a has a next key b and `time` differs from a's time, the
  //     sample is out.Interpolate(a, b, t) with t = (time − a.time) /
  //     (b.time − a.time) in float32, the numerator an unsigned 32-bit
  //     difference and the segment length a signed one (so a segment longer
  //     than 2^31 − 1 time units gives a negative t, as the format always has).
  //   - Otherwise (time on a key, or after the last key with holdAfterEnd
  //     set) the sample is a copy of a's transforms, point, flags and marker.
  // No allocation and no virtual call.
  int SampleAtTime(uint32_t time, ZoJointKeyframe& out, int holdAfterEnd);
};

#endif
