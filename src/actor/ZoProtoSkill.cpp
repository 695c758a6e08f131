#include <zoactor/actor/ZoProtoSkill.h>

#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>
#include <zoactor/skeleton/ZoPermutation.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>

#include "serialization/ZoFormatVersions.h"
#include "serialization/ZoStreamIo.h"

#include <atomic>
#include <initializer_list>
#include <new>

using zostreamio::OutOfMemory;
using zostreamio::ReadBlock;
using zostreamio::ReadValue;
using zostreamio::WriteBlock;
using zostreamio::WriteValue;

namespace {

// The bytes of an old skill file's header and type code that stand before
// a body of version 1 to 37, and the word of them that holds the format.
constexpr int32_t kOldHeaderBack = 16;

// The smallest encoded joint of a keyframed body: its hasKeys word.
constexpr uint32_t kMinKeyframedJoint = 4;
// The smallest framed annotation record: the null marker.
constexpr uint32_t kMinFramedRecord = 4;

// Destroys every annotation record of a list.
void DestroyRecords(ZoDblList& records) {
  while (!records.IsEmpty()) delete static_cast<ZoStreamObject*>(records.DeleteFirst());
}

}  // namespace

namespace {

std::atomic<int32_t> gMaxJoints{ZoProtoSkill::kDefaultMaxJoints};

}  // namespace

int32_t ZoProtoSkill::MaxJoints() { return gMaxJoints.load(std::memory_order_relaxed); }

void ZoProtoSkill::SetMaxJoints(int32_t joints) { gMaxJoints.store(joints > 0 ? joints : 0, std::memory_order_relaxed); }

// --- Construction ------------------------------------------------------------------

ZoProtoSkill::ZoProtoSkill()
    : format(ZoSkillFormatKeyframed),
      type(0),
      version(1),
      numJoints(0),
      refCount(1),
      pinned(0),
      sampleRate(kDefaultSampleRate),
      interpolate(0) {}

ZoProtoSkill::ZoProtoSkill(ZoProtoSkill const& other) : ZoProtoSkill() {
  sampleRate = other.sampleRate;
  Copy(other);
}

ZoProtoSkill& ZoProtoSkill::operator=(ZoProtoSkill const& other) {
  if (this != &other) Copy(other);
  return *this;
}

ZoProtoSkill::~ZoProtoSkill() { ZoProtoSkill::Clear(); }

ZoStreamObject* ZoProtoSkill::Create() { return new (std::nothrow) ZoProtoSkill; }

void ZoProtoSkill::Clear() {
  KeysChanged();
  for (int32_t i = 0; i < numJoints; ++i) delete joints[i].keys;
  joints.reset();
  numJoints = 0;
  DeleteSubclassData();
}

bool ZoProtoSkill::ResetJoints(int32_t count) {
  KeysChanged();
  for (int32_t i = 0; i < numJoints; ++i) delete joints[i].keys;
  joints.reset();
  numJoints = 0;
  if (count <= 0) return count == 0;
  joints.reset(new (std::nothrow) ZoSkillJoint[static_cast<size_t>(count)]);
  if (joints == nullptr) return false;
  numJoints = count;
  return true;
}

void ZoProtoSkill::Copy(ZoProtoSkill const& source) {
  if (&source == this) return;
  Clear();
  type = source.type;
  name = source.name;
  version = source.version;
  interpolate = source.interpolate;
  if (ResetJoints(source.numJoints)) {
    for (int32_t i = 0; i < numJoints; ++i) {
      joints[i].parentIndex = source.joints[i].parentIndex;
      if (source.joints[i].keys != nullptr) joints[i].keys = new (std::nothrow) ZoJointKeyList(*source.joints[i].keys);
    }
  }
  format = source.format;
}

ZoProtoSkill* ZoProtoSkill::Duplicate() const { return new (std::nothrow) ZoProtoSkill(*this); }

ZoJointKeyList* ZoProtoSkill::InitJoint(int i) {
  KeysChanged();
  if (joints[i].keys == nullptr) joints[i].keys = new (std::nothrow) ZoJointKeyList;
  return joints[i].keys;
}

// --- The actor's skeleton ----------------------------------------------------------------

void ZoProtoSkill::SetupFromPrototype(ZoProtoActor* actor) {
  KeysChanged();
  ZoProtoTraversal const* traversal = actor != nullptr ? actor->GeomTraversal() : nullptr;
  int32_t n = traversal != nullptr ? traversal->NumNodes() : 0;
  if (n != numJoints) ResetJoints(n);
  SetParentIndices(actor);
}

void ZoProtoSkill::SetParentIndices(ZoProtoActor* actor) {
  ZoProtoTraversal const* traversal = actor != nullptr ? actor->GeomTraversal() : nullptr;
  int32_t known = traversal != nullptr ? traversal->NumNodes() : 0;
  for (int32_t i = 0; i < numJoints; ++i) {
    joints[i].parentIndex = -1;
    if (i >= known) continue;
    ZoTreeNode const* up = traversal->Node(i)->parent();
    if (up != nullptr && up->IsType(ZoProtoNode::NODE_TYPE))
      joints[i].parentIndex = traversal->NodeIndex(static_cast<ZoProtoNode const*>(up));
  }
}

void ZoProtoSkill::PermuteJoints(ZoProtoActor* actor, ZoPermutation* perm) {
  KeysChanged();
  std::unique_ptr<ZoSkillJoint[]> old = std::move(joints);
  int32_t oldCount = numJoints;
  numJoints = 0;
  SetupFromPrototype(actor);
  int32_t mapped = perm != nullptr ? perm->numNew() : 0;
  int32_t const* newToOld = perm != nullptr ? perm->newToOld() : nullptr;
  for (int32_t i = 0; i < numJoints && i < mapped; ++i) {
    int32_t j = newToOld[i];
    if (j < 0 || j >= oldCount) continue;
    delete joints[i].keys;
    joints[i].keys = old[j].keys;
    old[j].keys = nullptr;
  }
  for (int32_t j = 0; j < oldCount; ++j) delete old[j].keys;
}

bool ZoProtoSkill::InSubtree(int k, int j) const {
  int p = k;
  // Parent indices point backwards in a traversal; any other link ends the walk.
  while (p > j) {
    int up = joints[p].parentIndex;
    if (up >= p) return false;
    p = up;
  }
  return p == j;
}

void ZoProtoSkill::TransformJoint(int j, ZoTransform3 const& x, int adjustChildren) {
  KeysChanged();
  ZoTransform3 inverse = ~x;
  if (j >= 0 && j < numJoints && joints[j].keys != nullptr) {
    ZoKeyListNode* p = nullptr;
    for (ZoJointKeyframe* key = joints[j].keys->GetFirst(p); key != nullptr; key = joints[j].keys->GetNext(p)) {
      for (ZoTransform3* field : {&key->actorTransform, &key->localTransform, &key->actorIn, &key->actorOut,
                                  &key->localIn, &key->localOut})
        *field = *field * x;
      key->point = inverse * key->point;
    }
  }
  if (adjustChildren == 0) return;
  for (int32_t k = 0; k < numJoints; ++k) {
    if (joints[k].parentIndex != j || joints[k].keys == nullptr) continue;
    ZoKeyListNode* p = nullptr;
    for (ZoJointKeyframe* key = joints[k].keys->GetFirst(p); key != nullptr; key = joints[k].keys->GetNext(p))
      key->localTransform = inverse * key->localTransform;
  }
}

void ZoProtoSkill::ScaleJoint(int j, ZoVector3 const& s) {
  if (j < 0) return;
  KeysChanged();
  for (int32_t k = j; k < numJoints && InSubtree(k, j); ++k) {
    if (joints[k].keys == nullptr) continue;
    ZoKeyListNode* p = nullptr;
    for (ZoJointKeyframe* key = joints[k].keys->GetFirst(p); key != nullptr; key = joints[k].keys->GetNext(p))
      key->Scale(s);
  }
}

void ZoProtoSkill::ComputeInfo(ZoActor*) {}
void ZoProtoSkill::Presample(ZoActor*) {}
void ZoProtoSkill::CreateSubclassData() {}
void ZoProtoSkill::InitRenderMaterials() {}

// --- Annotation records -------------------------------------------------------------------

void ZoProtoSkill::AddSubclassObject(ZoStreamObject* record) {
  if (record == nullptr) return;
  if (subclassData == nullptr) subclassData.reset(new (std::nothrow) ZoDblList);
  if (subclassData == nullptr || subclassData->Add(record) == nullptr) delete record;
}

void ZoProtoSkill::DeleteSubclassData() {
  if (subclassData != nullptr) DestroyRecords(*subclassData);
  subclassData.reset();
}

// --- Engine interface ------------------------------------------------------------------------

int ZoProtoSkill::GetInterfaceName(char*, int, int&, int&) { return 0; }

int32_t ZoProtoSkill::AddRef() { return ++refCount; }

int32_t ZoProtoSkill::Release() {
  int32_t before = refCount--;
  if (refCount == 0) delete this;
  return before;
}

int ZoProtoSkill::NextContact(uint32_t, ZoAiActor const*, uint32_t&, ZoDblList&) { return 0; }
void ZoProtoSkill::Sample(ZoAiActor const*, ZoString const&, uint32_t) {}
int ZoProtoSkill::Sample(ZoTransform3&, ZoAiActor const*, ZoString const&, uint32_t) { return 0; }
int ZoProtoSkill::GetFootNodes(ZoDblList&, ZoAiActor const*) { return 0; }
int ZoProtoSkill::GetHandNodes(ZoDblList&, ZoAiActor const*) { return 0; }
int ZoProtoSkill::BestMatchIndex(ZoAiActor const*) { return 0; }
int ZoProtoSkill::CheckContact(ZoAiActorNode const*, uint32_t, uint32_t) { return 0; }
int ZoProtoSkill::SampleWrtTrace(ZoTransform3&, ZoAiActor const*, ZoString const&, uint32_t) { return 0; }
void ZoProtoSkill::UpdateExtraTracks(ZoAiActor*, int, uint32_t, uint32_t) {}
void ZoProtoSkill::SetRadius(float) {}
void ZoProtoSkill::GetHandleTransform(ZoTransform3&) {}

// --- Body ---------------------------------------------------------------------------------------

ZoStreamError ZoProtoSkill::ReadFromStream(ZoStream& stream) {
  KeysChanged();
  // 1, 2. The stream version and the format; an old body of versions 1 to
  // 37 has neither and takes its format from the file's header instead.
  if (stream.version <= 0 || stream.version >= zoversion::kSkillSampleRate) {
    if (ReadValue(stream, stream.version) != ZoStreamOk) return stream.Status();
    int32_t code = format;
    if (ReadValue(stream, code) != ZoStreamOk) return stream.Status();
    format = static_cast<ZoSkillFormat>(code);
  } else {
    int32_t words[4] = {};
    if (stream.Seek(-kOldHeaderBack) != ZoStreamOk)
      return stream.Fail(stream.Status(), "an old skill body without the 16 bytes of its file header before it");
    if (ReadBlock(stream, words) != ZoStreamOk) return stream.Status();
    format = static_cast<ZoSkillFormat>(words[1]);
  }

  // 3. Version, name, type and the joints.
  ReadValue(stream, version);
  ReadValue(stream, name);
  type = 0;
  if (stream.version >= zoversion::kSkillAnnotations) ReadValue(stream, type);
  if (ReadJoints(stream) != ZoStreamOk) return stream.Status();

  // 5. Forward-facing transform, sample rate and interpolate.
  if (stream.version >= zoversion::kSkillForwardFacing) ReadBlock(stream, forwardFacing);
  if (stream.version >= zoversion::kSkillSampleRate) {
    ReadValue(stream, sampleRate);
    ReadValue(stream, interpolate);
  }
  if (stream.Status() != ZoStreamOk) return stream.Status();

  // 6, 7. Annotation records and the conversion.
  DeleteSubclassData();
  if (stream.version >= zoversion::kSkillAnnotations && ReadSubclassData(stream) != ZoStreamOk)
    return stream.Status();
  if (stream.version >= zoversion::kSkillConversion) ReadBlock(stream, conversion);
  return stream.Status();
}

ZoStreamError ZoProtoSkill::ReadJoints(ZoStream& stream) {
  bool keyframed = format == ZoSkillFormatKeyframed;
  int32_t count = 0;
  if (!stream.ReadCount(count, keyframed ? kMinKeyframedJoint : 0, sizeof(ZoSkillJoint))) return stream.Status();
  if (count > MaxJoints())
    return stream.FailAt(stream.Position() - 4, ZoStreamFormatError, "joint count %d passes the cap of %d", count,
                         MaxJoints());
  if (!ResetJoints(count)) return OutOfMemory(stream);
  if (!keyframed) return stream.Status();
  for (int32_t i = 0; i < numJoints && stream.Status() == ZoStreamOk; ++i) {
    int32_t hasKeys = 0;
    if (ReadValue(stream, hasKeys) != ZoStreamOk || hasKeys == 0) continue;
    std::unique_ptr<ZoJointKeyList> keys(new (std::nothrow) ZoJointKeyList);
    if (keys == nullptr) return OutOfMemory(stream);
    if ((stream >> *keys).Status() != ZoStreamOk) break;
    joints[i].keys = keys.release();
  }
  return stream.Status();
}

ZoStreamError ZoProtoSkill::ReadSubclassData(ZoStream& stream) {
  int32_t hasData = 0;
  if (ReadValue(stream, hasData) != ZoStreamOk || hasData == 0) return stream.Status();
  subclassData.reset(new (std::nothrow) ZoDblList);
  if (subclassData == nullptr) return OutOfMemory(stream);
  int32_t count = 0;
  if (!stream.ReadLoopCount(count, kMinFramedRecord, 0)) return stream.Status();
  for (int32_t i = 0; i < count && stream.Status() == ZoStreamOk; ++i) {
    std::unique_ptr<ZoStreamObject> record(stream.ReadObject(nullptr));
    if (stream.Status() != ZoStreamOk) break;
    // An actor body carries its version only at the top of a file; nested
    // here it could not be read back as written.
    if (dynamic_cast<ZoProtoActor*>(record.get()) != nullptr) {
      static_cast<ZoProtoActor*>(record.release())->Release();
      return stream.Fail(ZoStreamFormatError, "an actor where an annotation record belongs");
    }
    if (record != nullptr && subclassData->Append(record.get()) != nullptr) record.release();
  }
  return stream.Status();
}

ZoStreamError ZoProtoSkill::WriteToStream(ZoStream& stream) const {
  stream.version = fileVersion;
  WriteValue(stream, stream.version);
  WriteValue(stream, static_cast<int32_t>(format));
  WriteValue(stream, int32_t{version});
  WriteValue(stream, name);
  WriteValue(stream, type);
  WriteValue(stream, numJoints);
  if (format == ZoSkillFormatKeyframed) WriteJoints(stream);
  WriteBlock(stream, forwardFacing);
  WriteValue(stream, sampleRate);
  WriteValue(stream, interpolate);
  WriteSubclassData(stream);
  WriteBlock(stream, conversion);
  return stream.Status();
}

void ZoProtoSkill::WriteJoints(ZoStream& stream) const {
  for (int32_t i = 0; i < numJoints && stream.Status() == ZoStreamOk; ++i) {
    ZoJointKeyList const* keys = joints[i].keys;
    WriteValue(stream, int32_t{keys != nullptr ? 1 : 0});
    if (keys != nullptr && stream.Status() == ZoStreamOk) stream << *keys;
  }
}

void ZoProtoSkill::WriteSubclassData(ZoStream& stream) const {
  WriteValue(stream, int32_t{subclassData != nullptr ? 1 : 0});
  if (subclassData == nullptr) return;
  WriteValue(stream, subclassData->GetCount());
  ZoDblListItem* cursor = nullptr;
  for (void* item = subclassData->GetFirst(cursor); item != nullptr && stream.Status() == ZoStreamOk;
       item = subclassData->GetNext(cursor))
    stream.WriteObject(static_cast<ZoStreamObject const*>(item));
}

static ZoStreamConstructorEntry const kRegisterProtoSkill(ZoTypeCode::ProtoSkill, &ZoProtoSkill::Create);
