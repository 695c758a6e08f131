#include <zoactor/animation/ZoJointKeyList.h>

#include "animation/ZoJointSampling.h"

namespace {

ZoJointKeyframe* JointOf(ZoKeyListNode const* node) { return node != nullptr ? node->joint : nullptr; }

}  // namespace

ZoJointKeyList::~ZoJointKeyList() = default;

ZoJointKeyframe* ZoJointKeyList::GetFirst(ZoKeyListNode*& p) const {
  p = head;
  return GetNext(p);
}

ZoJointKeyframe* ZoJointKeyList::GetNext(ZoKeyListNode*& p) const {
  while (p != nullptr) {
    ZoJointKeyframe* kf = p->joint;
    p = p->next;
    if (kf != nullptr) return kf;
  }
  return nullptr;
}

ZoKeyListNode* ZoJointKeyList::Insert(ZoJointKeyframe* kf, int computeBlends) {
  ZoKeyListNode* node = ZoKeyList::Insert(kf);
  if (node == nullptr || computeBlends == 0) return node;
  ZoKeyListNode* prev = node->prev;
  ZoKeyListNode* next = node->next;
  // Neighbours of another class count as absent and are left alone.
  kf->ComputeBlends(JointOf(prev), JointOf(next), ZoJointKeyframe::Linear);
  if (ZoJointKeyframe* before = JointOf(prev)) before->ComputeBlends(JointOf(prev->prev), kf, ZoJointKeyframe::Linear);
  if (ZoJointKeyframe* after = JointOf(next)) after->ComputeBlends(kf, JointOf(next->next), ZoJointKeyframe::Linear);
  return node;
}

int ZoJointKeyList::SampleAtTime(uint32_t time, ZoJointKeyframe& out, int holdAfterEnd) {
  ZoKeyListNode* const first = head;
  if (first == nullptr || time < first->time) return 0;
  if (holdAfterEnd == 0 && time > tail->time) return 0;

  // The last key at or before `time`, found from the cursor. When the
  // cursor lies beyond `time` the walk goes back along the prev links
  // rather than restarting at the head: it ends on the same node, and
  // playing backwards stays as cheap as playing forwards. The walk reads
  // the times the nodes keep, one node per key.
  ZoKeyListNode* at = cursor != nullptr ? cursor : first;
  while (at->time > time) at = at->prev;  // stops at the head at the latest
  ZoKeyListNode* next = at->next;
  while (next != nullptr && next->time <= time) {
    at = next;
    next = at->next;
  }
  cursor = at;

  ZoJointKeyframe const* a = at->joint;
  if (a == nullptr) return 0;
  uint32_t const aTime = at->time;
  if (next != nullptr && time != aTime) {
    ZoJointKeyframe const* b = next->joint;
    if (b == nullptr) return 0;
    float const t = static_cast<float>(time - aTime) / static_cast<float>(static_cast<int32_t>(next->time - aTime));
    if (&out == a || &out == b) {
      out.Interpolate(a, b, t);  // sampling into one of the list's own keys
    } else {
      zo_motion::InterpolateKeys(out, *a, b, t, &static_cast<ZoListNode*>(at)->memo);
    }
  } else {
    out.Interpolate(a, nullptr, 0.0f);
  }
  return 1;
}
