// ZoProtoActor: an actor prototype. A named, reference-counted object that
// owns a skeleton of proto nodes with two traversals over it (every node,
// and the geometry nodes that are a skill's joints), a property table with
// eleven default properties, the skills cached for it, proximity
// definitions and behaviour maps, and bounds computed from its geometry.
// It is stored in an actor file (".act") as a framed object behind a magic;
// its skill, texture, sound and behaviour files lie in folders beside it.
//
// References: a new actor holds one reference (constructor, copy
// constructor, ReadActorFile, the stream registry). AddRef and Release
// change the count atomically and return the *new* count; the Release that
// reaches 0 destroys the actor. The destructor is not public: release it.
//
// Folder (each path ends in kZoPathSeparator): Path() is the actor file's
// folder; SkillPath() = Path() + "Skills/", TexturePath() "Textures/",
// SoundPath() "Sounds/", BehaviorPath() "Behaviors/". The skill file of a
// skill named N is SkillPath() + N + ".skl"; the file system is matched
// without regard to case, so "SKILLS/WALK.skl" finds "Skills/Walk.skl".
//
// Actor file: int32 magic 0x5A4F5041 ("APOZ"), then the framed actor. Older
// files start with the 16-byte header of the chunked container instead
// (magic 0x424F5A20; the upper half of its second word is the stream
// version of the body, which then has no field 1).
//
// Body (type code ZoTypeCode::ProtoActor, "ActP" in the file, unsized):
//   1 int32 format version (106; read only when the stream's version is 0)
//   2 int32 actor version   3 string name   4 the root node's body
//   5 the property table body
//   6 int32 count, 7 ZoProtoProxDef bodies  8 int32 count, 9 ZoFSMSpaceToBhvr bodies
// Below stream version 100 the older layout: the actor version only from
// 24 (else 1), the older node layout, and proximity definitions without
// their flag below 34 (it reads as 1). After the skeleton is read, handles
// (and in the older layout geometry nodes too) get their marker shapes and
// the bounds are computed, before the properties are read.
//
// Skill cache: skills are read from SkillPath() on request (GetSkill), kept
// by upper-cased name, optionally pinned, and evicted first-in first-out
// among the unpinned ones when more than the skill cache size (>0) are held;
// the cache holds one reference per skill. Save writes the actor file and
// every cached skill, each file replaced atomically (a temporary file in
// the same folder, synced, then renamed over the old one).
//
// Threads: references may be taken and dropped on any thread; everything
// else is used by one thread at a time, except SetName, which takes the
// prototype database's lock (see ZoProtoDB).
//
// Edge cases:
// - A read actor file (or skill file) whose body failed part-way yields
//   null, not a partial object; the report overloads say why and where.
//   The first word of a file must be the actor (skill) magic or the
//   container's; for any other the header is read as the container's all
//   the same, and when no object can then be read the report names the bad
//   magic.
// - Writing an actor without a skeleton fails (ZoStreamWriteError) and
//   writes nothing.
// - The copy keeps skill cache size -1 and enters the duplicated skills in
//   its skill dictionary as well as its list.
// - SetName of a registered actor re-files it under the new name in one
//   step under the database's lock. When the new name is taken the actor
//   leaves the database, and the reference the database held passes to
//   the caller.
// - ComputeBounds skips measured nodes whose model has no triangle set.
// - GetSkill loads "SKILLS/<NAME>.skl"; when the skill stored there bears
//   another name (ignoring case), it takes the file's name as found on disk,
//   so that its name and its key in the cache agree. A load that finds the
//   name cached already (LoadSkill called directly) returns the cached skill.
// - RenameSkill of a skill the cache does not hold renames the skill and its
//   file only; a rename onto the name of another cached skill does nothing.
// - Skeleton edits given nodes that are not where they must be do nothing
//   (and leave the dirty flag): a null node, a node of another skeleton, a
//   subtree to add that is linked into a tree or would enclose its new
//   parent, a move below the moved node itself. Collapse of a subtree
//   without any triangle set leaves the node's model as it was and still
//   detaches and destroys the children. TransformNode of a node that is not
//   a joint passes -1 to the skills, which then adjust the joints whose
//   parent is not a joint, as a joint's children are adjusted.
// - Save cleans every geometry node's triangle set (degenerate triangles,
//   unused vertices) and rebuilds a sphere tree whose triangles that
//   changed. An actor without a Path() cannot be saved (its folder cannot
//   be created).
#ifndef ZOACTOR_ACTOR_ZOPROTOACTOR_H
#define ZOACTOR_ACTOR_ZOPROTOACTOR_H

#include <zoactor/ZoExport.h>
#include <zoactor/actor/ZoFSMSpaceToBhvr.h>
#include <zoactor/actor/ZoProtoProxDef.h>
#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/actor/ZoReadReport.h>
#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoHashTable.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoStringList.h>
#include <zoactor/foundation/ZoVector3.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/serialization/ZoTypeCodes.h>
#include <zoactor/skeleton/ZoProtoNode.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>
#include <zoactor/values/ZoPropertyTable.h>

#include <atomic>
#include <cstdint>
#include <vector>

class ZoPermutation;
class ZoStream;

class ZOACTOR_API ZoProtoActor : public ZoStreamObject {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::ProtoActor;
  // The actor's type, 'PrtA' read from the most significant byte.
  static constexpr int32_t ACTOR_TYPE = 0x50727441;
  // The actor file's magic, "APOZ" in the file.
  static constexpr int32_t fileType = 0x5A4F5041;
  // The version the writer gives every body.
  static constexpr int32_t fileVersion = 106;
  // The magic of the chunked container's header that older files start with.
  static constexpr int32_t kContainerMagic = 0x424F5A20;

  // Names of the default properties.
  static char const* const kFaceNode;         // "ZO_faceNode"
  static char const* const kEyeVector;        // "ZO_eyeVector"
  static char const* const kBoundingRadius;   // "ZO_bndRadius"

  // One reference, version 1, no name, path or skeleton, the eleven default
  // properties ("ZO_faceNode" … "ZO_bndRadius"), skill cache size -1.
  ZoProtoActor();
  // A new prototype with one reference: the source's version, properties
  // and render-materials flag, no path, the name ZoProtoDB::UniqueName
  // makes of "Copy of " + the source's name, a deep copy of the skeleton,
  // duplicates of the skills, copies of the behaviour maps and proximity
  // definitions, the maximum definition recomputed and the bounds computed.
  ZoProtoActor(ZoProtoActor const& other);
  ZoProtoActor& operator=(ZoProtoActor const&) = delete;

  // 'PrtA' (ACTOR_TYPE); IsType answers 1 for it, else 0.
  virtual int32_t Type() const { return ACTOR_TYPE; }
  virtual int IsType(int32_t t) const { return t == ACTOR_TYPE ? 1 : 0; }

  // --- References --------------------------------------------------------------------

  // Atomically adds one reference; returns the new count.
  int32_t AddRef();
  // Atomically drops one reference; returns the new count, destroying the
  // actor when it is 0.
  int32_t Release();
  int32_t RefCount() const { return refCount.load(std::memory_order_relaxed); }

  // --- Members -------------------------------------------------------------------------

  // The actor's own revision number, stored in its body.
  int32_t& Version() { return version; }
  ZoString const& Name() const { return name; }
  // Renames the actor; a registered one is re-filed under the new name (see
  // the file comment).
  void SetName(ZoString newName);
  // The folder of the actor file, ending in a separator (empty when none).
  ZoString& Path() { return path; }
  ZoString const& Path() const { return path; }
  ZoString SkillPath() const;
  ZoString TexturePath() const;
  ZoString SoundPath() const;
  ZoString BehaviorPath() const;
  ZoProtoNode* RootNode() const { return root; }
  // Every node of the skeleton (null without one).
  ZoProtoTraversal* NodeTraversal() const { return nodeTraversal; }
  // The geometry (style 1) nodes: the joints of the actor's skills.
  ZoProtoTraversal* GeomTraversal() const { return geomTraversal; }
  ZoPropertyTable& Properties() { return properties; }
  ZoPropertyTable const& Properties() const { return properties; }
  // The cached skills (ZoProtoSkill*), in the order they were added.
  ZoDblList const& Skills() const { return skills; }
  // The proximity definitions (ZoProtoProxDef*, owned).
  ZoDblList& ProximityDefs() { return proximityDefs; }
  ZoProtoProxDef& MaxProximityDef() { return maxProximityDef; }
  // Engine instances of this prototype; never owned, read or written here.
  ZoDblList& Instances() { return instances; }
  // The behaviour maps (ZoFSMSpaceToBhvr*, owned).
  ZoDblList& BehaviorMaps() { return behaviorMaps; }
  ZoStringList const& BhvrList() const { return compiledBehaviors; }
  int32_t IsDirty() const { return dirty; }
  void MarkDirty() { dirty = 1; }
  // 1 while the actor is in the prototype database.
  int32_t IsRegistered() const { return registered.load(std::memory_order_relaxed); }
  void GetBoundingBox(ZoVector3& min, ZoVector3& max) const;
  void GetBoundingSphere(ZoVector3& center, float& radius) const;
  void GetBoundingCylinder(float& radius, float& height) const;
  float& BoundingRadius() { return cylinderRadius; }
  ZoAi* GetUserData() const { return userData; }
  // Takes over one reference of `data` (released with the actor or when
  // replaced by another pointer); returns 1.
  int SetUserData(ZoAi* data);

  // --- Skeleton and bounds -------------------------------------------------------------

  // Installs `newRoot` (taking ownership; null removes the skeleton): the
  // traversals are rebuilt, every node's actor becomes this one, an old
  // root other than `newRoot` is destroyed with its subtree, and the bounds
  // are computed. Skills are not touched; the dirty flag is not changed.
  void SetSkeleton(ZoProtoNode* newRoot);
  // Bounding box, sphere and cylinder from the geometry nodes whose square
  // kind is 0 and whose model has a sphere tree (each set's box corners
  // placed in the root's parent frame); (-0.1, -0.1, -0.1) to (0.1, 0.1,
  // 0.1) without such a node. "ZO_bndRadius" becomes the cylinder radius.
  void ComputeBounds();
  // Once per actor: InitRenderMaterials on every cached skill.
  void InitRenderMaterials();

  // --- Skeleton editing ------------------------------------------------------------------
  // Every structural edit below reinstalls the skeleton (SetSkeleton of the
  // current root, so the traversals, back pointers and bounds are rebuilt)
  // and hands each cached skill the permutation from the joints before the
  // edit to those after it, so that every joint keeps its keys and new
  // joints get none. Every edit that does something sets the dirty flag.

  // Appends `subtree` (taken over; it must belong to no tree) as the last
  // child of `parent`, a node of this skeleton.
  void AddSubtree(ZoProtoNode* subtree, ZoProtoNode* parent);
  // Detaches `node` with its subtree, whose nodes lose their actor; the
  // caller owns it from then on. The root cannot be removed.
  void RemoveSubtree(ZoProtoNode* node);
  // Re-parents `node` as the last child of `newParent`, keeping its
  // placement relative to the root. The skills' keys of the moved joints
  // are kept as they are, not re-expressed for the new parent.
  void MoveSubtree(ZoProtoNode* node, ZoProtoNode* newParent);
  // Merges the triangle sets of the geometry nodes of a geometry node's
  // subtree, placed in the node's frame, into the node's model (averaged
  // normals, model format 2), then detaches each child with RemoveSubtree
  // and destroys it. Nothing happens for a node that is not geometry.
  void Collapse(ZoProtoNode* node);
  // Moves a node's pivot by `t` (ZoProtoNode::TransformPivot) and every
  // skill's keys with it (TransformJoint of the node's joint index, -1 for
  // a node that is not a joint, adjusting its children). The bounds are
  // left as they were.
  void TransformNode(ZoProtoNode* node, ZoTransform3 const& t);
  // Scales a node's subtree by `s` about the node (ZoProtoNode::Scale),
  // recomputes the bounds, and scales every skill's keys of the node's
  // joint and its subtree (ScaleJoint) when the node is a joint.
  void ScaleSubtree(ZoProtoNode* node, ZoVector3 const& s);

  // --- Behaviour maps, compiled behaviours, proximity ----------------------------------

  // The first map whose space name equals `space` ignoring case, or null.
  ZoFSMSpaceToBhvr* FindSpaceBhvrMap(ZoString space) const;
  // Appends `map` (taken over; null ignored). Several maps may name one space.
  void AddSpaceBhvrMap(ZoFSMSpaceToBhvr* map);
  // Removes and destroys the first map of `space` (ignoring case), if any.
  void RemoveSpaceBhvrMap(ZoString space);
  // In every map where `oldName` is active: removes it and adds `newName`.
  void RenameBehaviorForSpaces(ZoString const& oldName, ZoString const& newName);
  // In every map where `name` is active: removes it.
  void RemoveBehaviorFromAllSpaces(ZoString const& name);
  // Adds `name` to the compiled behaviours unless held.
  void RegCompiledBhvr(ZoString name);
  // Removes `name` from the compiled behaviours when held.
  void UnregCompiledBhvr(ZoString name);
  int IsBhvrCompiled(ZoString name) const;
  // The first definition with an empty name; otherwise a new one made from
  // the bounds (radius = the cylinder radius, range1 = 1.5 × the box's x
  // extent, range2 = 2 × range1), appended. The maximum is not recomputed.
  ZoProtoProxDef* GetDefaultProximityDef();

  // --- Skill cache ----------------------------------------------------------------------

  // The cached skill of that name (ignoring case; no reference added, pin
  // unchanged), else LoadSkill of the upper-cased name. Null when the file
  // is missing, unreadable or of another skeleton (LastSkillLoad says why).
  // Looking up a cached skill allocates nothing.
  ZoProtoSkill* GetSkill(ZoString name, int pin);
  // What the last LoadSkill (through GetSkill) did.
  ZoSkillLoadReport const& LastSkillLoad() const { return lastSkillLoad; }
  // Reads every "*.skl" file of SkillPath() (in the order of their
  // upper-cased names) into the cache; files of another skeleton or that
  // cannot be read are skipped, and a skill whose stored name differs from
  // its file's takes the file's. Advances the process-wide progress
  // reporter once per file. No eviction, no pins.
  void LoadAllSkills();
  // The same, appending a report for every file not taken to `refused`.
  void LoadAllSkills(std::vector<ZoSkillLoadReport>* refused);
  // Adds `skill` (its reference passes to the cache) at the end, keyed by
  // its upper-cased name, and marks the actor dirty. A cached skill of the
  // same name is flushed first; adding a skill the cache holds already, or
  // null, changes nothing.
  void AddSkill(ZoProtoSkill* skill);
  // Renames a cached skill and its file (the file's rename may fail silently).
  void RenameSkill(ZoProtoSkill* skill, ZoString const& newName);
  // Removes a cached skill, releases it and deletes its file; nothing for a
  // skill that is not cached.
  void DeleteSkill(ZoProtoSkill* skill);
  // Removes the named skill from the cache and releases the cache's
  // reference; its file stays.
  void FlushSkill(ZoString name);
  // Flushes every unpinned skill.
  void FlushAllSkills();
  int GetSkillCacheSize() const { return skillCacheSize; }
  // The number of unpinned skills kept (0 or less: no limit); takes effect
  // at the next load.
  void SetSkillCacheSize(int n) { skillCacheSize = n; }
  // Creates SkillPath() (if missing) and writes every cached skill with
  // `format` to its file; 1 when all were written, else 0 with a log
  // message ("Failed to write the <name>.skl skill file.") per failure.
  int SaveSkills(ZoSkillFormat format);
  // Writes Path() + Name() + ".act" and, unless `format` is
  // ZoSkillFormatNone, the skills. A missing folder is created with
  // "Textures", "Behaviors", "Sounds" and "Skills" below it (0 and nothing
  // written when that fails). Clears the dirty flag; 1 on success.
  int Save(ZoSkillFormat format);

  // --- Files ----------------------------------------------------------------------------

  // A new actor (one reference) read from an actor file, its path set to
  // the file's folder; null when the file cannot be opened or read (the
  // report, when given, says why).
  static ZoProtoActor* ReadActorFile(ZoString fileName);
  static ZoProtoActor* ReadActorFile(ZoString fileName, ZoReadReport* report);
  // The same from a stream positioned at the magic (any stream: tools and
  // fuzzers read from memory). The actor's path is left empty.
  static ZoProtoActor* ReadActorFrom(ZoStream& stream, ZoReadReport* report);
  // Writes the magic and the framed actor, replacing `fileName` atomically;
  // 1 on success, 0 (the old file untouched) on failure. When the engine's
  // hook opens the file, the hook's file is written directly.
  static int WriteActorFile(ZoString fileName, ZoProtoActor* actor);
  // The magic and the framed actor into `stream`; returns its status
  // (ZoStreamWriteError, nothing written, without an actor or a skeleton).
  static ZoStreamError WriteActorTo(ZoStream& stream, ZoProtoActor const* actor);
  // A new skill (one reference, parent indices not yet set) read from a
  // skill file; null when the file cannot be opened or read.
  static ZoProtoSkill* ReadSkillFile(ZoString path);
  static ZoProtoSkill* ReadSkillFile(ZoString path, ZoReadReport* report);
  static ZoProtoSkill* ReadSkillFrom(ZoStream& stream, ZoReadReport* report);
  // Writes the magic and the framed skill, replacing `path` atomically.
  static int WriteSkillFile(ZoString path, ZoProtoSkill* skill);
  static ZoStreamError WriteSkillTo(ZoStream& stream, ZoProtoSkill const* skill);

  // --- Streaming ------------------------------------------------------------------------

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  // Sets the stream's version to 106 and writes the current body.
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  // The registry's creation function: a default actor, or null.
  static ZoStreamObject* Create();

 protected:
  // Destroys what the actor owns; reached through Release.
  ~ZoProtoActor() override;

  // Reads `name` + ".skl" from SkillPath() into the cache (see GetSkill),
  // evicting the oldest unpinned skill when the cache is over its size, and
  // sets the skill's pin. Null when nothing was cached.
  ZoProtoSkill* LoadSkill(ZoString name, int pin);
  // PermuteJoints(this, perm) on every cached skill, in list order.
  void PermuteSkills(ZoPermutation* perm);

 private:
  friend class ZoProtoDB;
  friend class ZoProtoDBCB;

  void AddDefaultProperties();
  ZoStreamError ReadCurrent(ZoStream& stream);
  ZoStreamError ReadOlder(ZoStream& stream);
  ZoStreamError ReadSkeleton(ZoStream& stream, bool older);
  ZoStreamError ReadProximityDefs(ZoStream& stream, int hasFlag);
  ZoStreamError ReadBehaviorMaps(ZoStream& stream);
  // The cached skill whose key is `key` (already upper-cased), or null.
  ZoProtoSkill* CachedSkill(ZoString const& key) const;
  // Enters `skill` at the end of the cache under `key`.
  bool CacheSkill(ZoProtoSkill* skill, ZoString const& key);
  // Removes `skill` from the list and the dictionary; the reference stays.
  void UncacheSkill(ZoProtoSkill* skill);
  void EvictIfFull();
  int32_t NumJointsOfSkeleton() const;
  // True when `node` is a node of this skeleton.
  bool HoldsNode(ZoProtoNode const* node) const;
  // Reinstalls the current root and permutes the skills from `oldJoints`,
  // the geometry traversal before a structural edit; marks the actor dirty.
  void FinishStructuralEdit(ZoProtoTraversal const& oldJoints);
  void CleanTriangleSets();

  std::atomic<int32_t> refCount;
  int32_t version;
  ZoString name;
  ZoString path;
  ZoProtoNode* root;
  ZoProtoTraversal* nodeTraversal;
  ZoProtoTraversal* geomTraversal;
  ZoPropertyTable properties;
  ZoDblList skills;
  ZoDictionary skillDictionary;
  ZoDblList proximityDefs;
  ZoProtoProxDef maxProximityDef;
  ZoDblList instances;
  ZoDblList behaviorMaps;
  int32_t dirty;
  std::atomic<int32_t> registered;
  int32_t renderMaterialsInitialised;
  ZoStringList compiledBehaviors;
  ZoVector3 boxMin;
  ZoVector3 boxMax;
  ZoVector3 sphereCenter;
  float sphereRadius;
  float cylinderRadius;
  float cylinderHeight;
  int32_t skillCacheSize;
  ZoAi* userData;
  ZoSkillLoadReport lastSkillLoad;
};

#endif
