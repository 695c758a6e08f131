// ZoProtoSkill: one motion of an actor prototype: a name, a sample rate,
// one joint key list per joint of the actor (the nodes of its geometry
// traversal, in traversal order), a forward-facing transform, a conversion
// rotation and a list of annotation records (ZoSkillAnnotations.h). It is a
// stream object (type code ZoTypeCode::ProtoSkill, "PlkS" in the file,
// unsized) and the engine's skill interface ZoAiSkill, whose operations the
// base answers with empty results; an engine-side subclass overrides them.
//
// References: a skill starts with one reference. AddRef returns the new
// count; Release returns the count as it was *before* the call (so 1 when
// the skill destroyed itself). Counts are plain integers: a skill is shared
// between threads only under its owner's lock.
//
// Body (the writer always writes version 106; the reader gates each field on
// the stream's version, which field 1 sets):
//    1 int32 stream version     ≤ 0 or ≥ 38 only; versions 1 to 37 have no
//    2 int32 format             fields 1 and 2 and take the format from the
//                               second word after a 16-byte header (below)
//    3 int32 version            4 string name
//    5 int32 type               from 102
//    6 int32 numJoints
//    7 per joint (format "SklK" only): int32 hasKeys, then when 1 the key
//      list body (int32 count, framed ZoJointKeyframes)
//    8 forward-facing transform (28 bytes)          from 37
//    9 int32 sampleRate, 10 int32 interpolate        from 38
//   11 int32 hasSubclassData, 12 when 1: int32 count and the framed
//      records                                       from 102
//   13 conversion (16 bytes)                         from 103
// A body of version 1 to 37 is one of an old skill file: it follows a
// 16-byte header (four int32, the stream version in the upper half of the
// second) and its type code; the reader steps back over them to take the
// format from the header's third word.
//
// Edge cases:
// - Joints read from a stream have parent index -1 until SetParentIndices
//   or SetupFromPrototype runs; SetParentIndices gives -1 to joints beyond
//   the actor's geometry traversal (and to all of them without one).
// - numJoints is checked before the joint array is allocated: 4 bytes per
//   joint must be left in a keyframed body, the array must stay within
//   ZoReadLimits::MaxAllocation(), and the count within MaxJoints() (65536
//   by default; a body of any other format stores nothing per joint, so
//   without this cap a few bytes could ask for a huge array). A negative
//   count fails the read.
// - A key list that fails to read is destroyed, its joint left without
//   keys, and the read stops there. Annotation records may be of any
//   registered class; a null frame adds nothing; a negative record count
//   reads as none.
// - ScaleJoint does nothing for a negative index; its subtree walk and
//   TransformJoint's child test only follow parent indices that point
//   backwards, so indices never set cannot make them loop.
// - The copy constructor keeps the source's sample rate (Copy alone does not
//   copy it); forward-facing transform and conversion start from their
//   defaults, and annotation records are not copied, as Copy says.
//
// Revision: a counter that every change of the joints or their keys made
// through the skill's own operations raises, so that what was compiled from
// the keys (ZoSkillSampler) knows when to compile again. Raised by InitJoint
// (its caller is about to edit the list it returns), SetupFromPrototype,
// PermuteJoints, TransformJoint, ScaleJoint, Copy and assignment, reading a
// body (ReadFromStream) and Clear. Not raised by edits made on a key list or
// a key directly (Joint(i)->Insert, Remove, DeleteKeyframes, writing a key's
// fields, setTime): whoever edits keys that way calls KeysChanged() after.
#ifndef ZOACTOR_ACTOR_ZOPROTOSKILL_H
#define ZOACTOR_ACTOR_ZOPROTOSKILL_H

#include <zoactor/ZoExport.h>
#include <zoactor/actor/ZoSkillAnnotations.h>
#include <zoactor/animation/ZoJointKeyList.h>
#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoRotation3.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoTransform3.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>

#include <cstdint>
#include <memory>

class ZoActor;  // an engine-side actor instance, only passed on
class ZoPermutation;
class ZoProtoActor;

// How a skill is stored; the values are type codes.
enum ZoSkillFormat : int32_t {
  ZoSkillFormatKeyframed = 0x4B6C6B53,  // "SklK" in the file: joint key lists are stored
  ZoSkillFormatNone = 0x4E6C6B53        // "SklN": nothing per joint; an actor saved so writes no skills
};

// One joint of a skill: its parent's joint index (never stored) and its
// keys (owned; null when the joint has none).
struct ZOACTOR_API ZoSkillJoint {
  int32_t parentIndex = -1;
  ZoJointKeyList* keys = nullptr;
};

class ZOACTOR_API ZoProtoSkill : public ZoStreamObject, public ZoAiSkill {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoSkill;
  // The skill file's magic, "kSOZ" in the file.
  static constexpr int32_t fileType = 0x5A4F536B;
  // The version the writer gives every body.
  static constexpr int32_t fileVersion = 106;
  // The sample rate of a new skill.
  static constexpr int32_t kDefaultSampleRate = 33;
  // The default of MaxJoints().
  static constexpr int32_t kDefaultMaxJoints = 65536;

  // The most joints a skill body may declare when read (a count at the cap
  // is accepted, one past it refused). Process-wide; a host may change it.
  static int32_t MaxJoints();
  static void SetMaxJoints(int32_t joints);

  // Format "SklK", type 0, no name, version 1, no joints, identity
  // forward-facing transform and conversion, one reference, not pinned,
  // sample rate 33, interpolate 0, no annotation records.
  ZoProtoSkill();
  // The defaults, the source's sample rate, then Copy(other).
  ZoProtoSkill(ZoProtoSkill const& other);
  // Copy(other); this skill's references, pin, sample rate, forward-facing
  // transform and conversion stay.
  ZoProtoSkill& operator=(ZoProtoSkill const& other);
  // Runs Clear().
  ~ZoProtoSkill() override;

  // --- Fields ------------------------------------------------------------------

  ZoString const& Name() const { return name; }
  void SetName(ZoString newName) { name = newName; }
  int NumJoints() const { return numJoints; }
  // Joint i's key list, or null; i must lie in [0, NumJoints()).
  ZoJointKeyList* Joint(int i) const { return joints[i].keys; }
  // Joint i's parent index; i must lie in [0, NumJoints()).
  int32_t ParentIndex(int i) const { return joints[i].parentIndex; }
  // Joint i's key list, created empty when it had none (null only when no
  // memory could be had); i must lie in [0, NumJoints()).
  ZoJointKeyList* InitJoint(int i);
  int GetVersion() const { return version; }
  void SetVersion(int newVersion) { version = newVersion; }
  int32_t& Type() { return type; }
  int32_t Type() const { return type; }
  ZoSkillFormat Format() const { return format; }
  void SetFormat(ZoSkillFormat newFormat) { format = newFormat; }
  int GetSampleRate() const { return sampleRate; }
  void SetSampleRate(int rate) { sampleRate = rate; }
  int GetInterpolate() const { return interpolate; }
  void SetInterpolate(int flag) { interpolate = flag; }
  ZoTransform3 const& GetForwardFacingXform() const { return forwardFacing; }
  void SetForwardFacingXform(ZoTransform3 const& transform) { forwardFacing = transform; }
  // Set by the actor's skill cache; a pinned skill is never evicted.
  int32_t IsPinned() const { return pinned; }
  void SetPinned(int32_t flag) { pinned = flag; }
  int32_t RefCount() const { return refCount; }
  // The annotation records in list order (owned), or null when there are none.
  ZoDblList const* SubclassData() const { return subclassData.get(); }

  // The revision of the joints and keys (see the file comment); it starts at
  // 0 and only grows (wrapping after 2^32 changes).
  uint32_t Revision() const { return revision; }
  // Raises the revision: call it after editing keys directly through a key
  // list or a key, so that samplers of this skill compile it again.
  void KeysChanged() { ++revision; }

  // --- Copying and the actor's skeleton -------------------------------------------

  // Clear(), then type, name, version, interpolate and the joints (parent
  // indices and deep copies of the key lists), then format. Sample rate,
  // forward-facing transform, conversion, references and pin stay; the
  // annotation records are left empty.
  virtual void Copy(ZoProtoSkill const& source);
  // A new skill made by the copy constructor; the caller owns its reference.
  virtual ZoProtoSkill* Duplicate() const;
  // Sizes the joints to the actor's geometry traversal (a new array of
  // joints without keys when the count differs), then SetParentIndices.
  virtual void SetupFromPrototype(ZoProtoActor* actor);
  // Each joint's parent index: the geometry traversal's index of the parent
  // of the traversal's node of that joint (-1 when the parent is not a
  // joint; see the file comment for joints beyond the traversal).
  void SetParentIndices(ZoProtoActor* actor);
  // Re-orders the joints after the actor's skeleton changed: the joints are
  // rebuilt for the actor (SetupFromPrototype) and each new joint i takes
  // the keys of old joint perm->newToOld()[i]; keys of vanished joints are
  // destroyed.
  virtual void PermuteJoints(ZoProtoActor* actor, ZoPermutation* perm);
  // The pivot of joint j moved by x: every transform of j's keys becomes
  // field · x and the point x⁻¹ applied to it; with adjustChildren non-zero
  // the local transform of every key of each joint whose parent index is j
  // becomes x⁻¹ · local. j outside [0, NumJoints()) (-1 for a node that is
  // not a joint) skips the first part.
  virtual void TransformJoint(int j, ZoTransform3 const& x, int adjustChildren);
  // Scales the keys (ZoJointKeyframe::Scale) of joint j and of every joint of
  // its subtree, which follows it contiguously in traversal order.
  virtual void ScaleJoint(int j, ZoVector3 const& s);
  // Engine hooks; the base does nothing. (Declared in the engine's slot
  // order, with Clear between the last two.)
  virtual void ComputeInfo(ZoActor* actor);
  virtual void Presample(ZoActor* actor);
  virtual void CreateSubclassData();

 protected:
  // Destroys every key list and the joints, then the annotation records.
  virtual void Clear();

 public:
  virtual void InitRenderMaterials();

  // --- Annotation records (taken over by the skill) ------------------------------

  void AddFoot(ZoProtoFootData* record) { AddSubclassObject(record); }
  void AddHand(ZoProtoHandData* record) { AddSubclassObject(record); }
  void AddAnchor(ZoProtoAnchorData* record) { AddSubclassObject(record); }
  void AddManip(ZoProtoManipData* record) { AddSubclassObject(record); }
  void AddEventKeyframe(ZoProtoEventKeyframe* record) { AddSubclassObject(record); }
  void AddSoundKeyframe(ZoProtoSoundKeyframe* record) { AddSubclassObject(record); }
  void AddTextureKeyframe(ZoProtoTextureKeyframe* record) { AddSubclassObject(record); }
  // Destroys every record and the list.
  void DeleteSubclassData();

  // --- Engine interface (ZoAiSkill) --------------------------------------------------

  // Nothing is written; returns 0.
  int GetInterfaceName(char* buffer, int size, int& major, int& minor) override;
  int32_t AddRef() override;
  int32_t Release() override;
  uint32_t GetDuration() override { return 0; }
  uint32_t GetStartTime() override { return 0; }
  int NextContact(uint32_t time, ZoAiActor const* actor, uint32_t& contactTime, ZoDblList& nodes) override;
  void Sample(ZoAiActor const* actor, ZoString const& trace, uint32_t time) override;
  int Sample(ZoTransform3& out, ZoAiActor const* actor, ZoString const& trace, uint32_t time) override;
  int GetFootNodes(ZoDblList& nodes, ZoAiActor const* actor) override;
  int GetHandNodes(ZoDblList& nodes, ZoAiActor const* actor) override;
  int BestMatchIndex(ZoAiActor const* actor) override;
  int CheckContact(ZoAiActorNode const* node, uint32_t from, uint32_t to) override;
  int SampleWrtTrace(ZoTransform3& out, ZoAiActor const* actor, ZoString const& trace, uint32_t time) override;
  ZoRotation3& Conversion() override { return conversion; }
  void UpdateExtraTracks(ZoAiActor* actor, int flags, uint32_t from, uint32_t to) override;
  void SetRadius(float radius) override;
  float GetRadius() override { return 0.0f; }
  void GetHandleTransform(ZoTransform3& out) override;

  // --- Streaming ----------------------------------------------------------------------

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  // Sets the stream's version to 106 and writes the body.
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // The registry's creation function: a default skill, or null.
  static ZoStreamObject* Create();

 protected:
  // Takes over `record` (null ignored), creating the list on first use.
  void AddSubclassObject(ZoStreamObject* record);

 private:
  // Replaces the joints by `count` joints without keys; false (no joints)
  // when no memory could be had.
  bool ResetJoints(int32_t count);
  ZoStreamError ReadJoints(ZoStream& stream);
  ZoStreamError ReadSubclassData(ZoStream& stream);
  void WriteJoints(ZoStream& stream) const;
  void WriteSubclassData(ZoStream& stream) const;
  // True when joint k lies in the subtree of joint j (k >= j).
  bool InSubtree(int k, int j) const;

  ZoSkillFormat format;
  int32_t type;
  ZoString name;
  int32_t version;
  int32_t numJoints;
  std::unique_ptr<ZoSkillJoint[]> joints;
  ZoTransform3 forwardFacing;
  int32_t refCount;
  int32_t pinned;
  int32_t sampleRate;
  int32_t interpolate;
  ZoRotation3 conversion;
  std::unique_ptr<ZoDblList> subclassData;
  uint32_t revision = 0;
};

#endif
