#include <zoactor/actor/ZoProtoActor.h>

#include <zoactor/actor/ZoProtoDB.h>
#include <zoactor/foundation/ZoCriticalSection.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoTypedValue.h>

#include <cfloat>
#include <cmath>
#include <new>

namespace {

// The buckets a skill dictionary starts with.
constexpr int kSkillBuckets = 53;
// Half the edge of the box of an actor without measured geometry.
constexpr float kDefaultBoxHalfEdge = 0.1f;

// The string-valued default properties, in the order they are added after
// "ZO_faceNode" and "ZO_eyeVector".
char const* const kSkillRoleProperties[] = {"ZO_stopSkill",  "ZO_locoSkill",      "ZO_graspSkill", "ZO_graspPoseSkill",
                                            "ZO_touchSkill", "ZO_touchPoseSkill", "ZO_sitSkill",   "ZO_putPoseSkill"};

// A geometry node whose bounds count: no square, and a model with a tree.
bool IsMeasured(ZoProtoNode const* node) {
  ZoProtoGeomInfo const* geometry = node->GeomInfo();
  ZoColModel const* model = node->ColModel();
  return geometry != nullptr && geometry->squareKind == 0 && model != nullptr && model->GetRoot() != nullptr;
}

ZoString WithFolder(ZoString const& path, char const* folder) {
  ZoString joined(path);
  joined << folder << kZoPathSeparator;
  return joined;
}

}  // namespace

char const* const ZoProtoActor::kFaceNode = "ZO_faceNode";
char const* const ZoProtoActor::kEyeVector = "ZO_eyeVector";
char const* const ZoProtoActor::kBoundingRadius = "ZO_bndRadius";

// --- Construction and references -----------------------------------------------------

ZoProtoActor::ZoProtoActor()
    : refCount(1),
      version(1),
      root(nullptr),
      nodeTraversal(nullptr),
      geomTraversal(nullptr),
      skillDictionary(kSkillBuckets),
      dirty(0),
      registered(0),
      renderMaterialsInitialised(0),
      sphereRadius(0.0f),
      cylinderRadius(0.0f),
      cylinderHeight(0.0f),
      skillCacheSize(-1),
      userData(nullptr) {
  AddDefaultProperties();
}

void ZoProtoActor::AddDefaultProperties() {
  properties.Add(new (std::nothrow) ZoProperty(kFaceNode, new (std::nothrow) ZoStringValue(NULL_STRING)));
  properties.Add(new (std::nothrow) ZoProperty(kEyeVector, new (std::nothrow) ZoVector3Value(ZoVector3(1, 0, 0))));
  for (char const* key : kSkillRoleProperties)
    properties.Add(new (std::nothrow) ZoProperty(key, new (std::nothrow) ZoStringValue(NULL_STRING)));
  properties.Add(new (std::nothrow) ZoProperty(kBoundingRadius, new (std::nothrow) ZoFloatValue(cylinderRadius)));
}

ZoProtoActor::ZoProtoActor(ZoProtoActor const& other)
    : ZoStreamObject(),
      refCount(1),
      version(other.version),
      name(ZoProtoDB::UniqueName(ZoString("Copy of ") + other.name)),
      root(nullptr),
      nodeTraversal(nullptr),
      geomTraversal(nullptr),
      properties(other.properties),
      skillDictionary(kSkillBuckets),
      dirty(0),
      registered(0),
      renderMaterialsInitialised(other.renderMaterialsInitialised),
      sphereRadius(0.0f),
      cylinderRadius(0.0f),
      cylinderHeight(0.0f),
      skillCacheSize(-1),
      userData(nullptr) {
  if (other.root != nullptr) SetSkeleton(new (std::nothrow) ZoProtoNode(*other.root));
  ZoDblListItem* cursor = nullptr;
  for (void* item = other.skills.GetFirst(cursor); item != nullptr; item = other.skills.GetNext(cursor)) {
    ZoProtoSkill* copy = static_cast<ZoProtoSkill const*>(item)->Duplicate();
    if (copy != nullptr && !CacheSkill(copy, copy->Name().Upper())) copy->Release();
  }
  for (void* item = other.behaviorMaps.GetFirst(cursor); item != nullptr; item = other.behaviorMaps.GetNext(cursor))
    AddSpaceBhvrMap(new (std::nothrow) ZoFSMSpaceToBhvr(*static_cast<ZoFSMSpaceToBhvr const*>(item)));
  for (void* item = other.proximityDefs.GetFirst(cursor); item != nullptr;
       item = other.proximityDefs.GetNext(cursor)) {
    auto* copy = new (std::nothrow) ZoProtoProxDef(*static_cast<ZoProtoProxDef const*>(item));
    if (copy != nullptr && proximityDefs.Add(copy) == nullptr) delete copy;
  }
  maxProximityDef.SetToMaximum(&proximityDefs);
  ComputeBounds();
}

ZoProtoActor::~ZoProtoActor() {
  if (userData != nullptr) userData->Release();
  delete nodeTraversal;
  delete geomTraversal;
  delete root;
  while (!skills.IsEmpty()) static_cast<ZoProtoSkill*>(skills.DeleteFirst())->Release();
  skillDictionary.ClearItems(nullptr);
  while (!proximityDefs.IsEmpty()) delete static_cast<ZoProtoProxDef*>(proximityDefs.DeleteFirst());
  while (!behaviorMaps.IsEmpty()) delete static_cast<ZoFSMSpaceToBhvr*>(behaviorMaps.DeleteFirst());
}

ZoStreamObject* ZoProtoActor::Create() { return new (std::nothrow) ZoProtoActor; }

int32_t ZoProtoActor::AddRef() { return refCount.fetch_add(1, std::memory_order_relaxed) + 1; }

int32_t ZoProtoActor::Release() {
  int32_t left = refCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0) delete this;
  return left;
}

// --- Members ----------------------------------------------------------------------------

void ZoProtoActor::SetName(ZoString newName) {
  // Held for the whole rename, so that no other thread sees the actor
  // missing from the database, or loads its file again meanwhile.
  ZoCriticalSectionLock hold(ZoProtoDB::csectDBLock);
  if (IsRegistered() == 0) {
    name = newName;
    return;
  }
  AddRef();
  ZoProtoDB::RemovePrototype(this);
  name = newName;
  ZoProtoDB::AddPrototype(this);
}

ZoString ZoProtoActor::SkillPath() const { return WithFolder(path, "Skills"); }
ZoString ZoProtoActor::TexturePath() const { return WithFolder(path, "Textures"); }
ZoString ZoProtoActor::SoundPath() const { return WithFolder(path, "Sounds"); }
ZoString ZoProtoActor::BehaviorPath() const { return WithFolder(path, "Behaviors"); }

void ZoProtoActor::GetBoundingBox(ZoVector3& min, ZoVector3& max) const {
  min = boxMin;
  max = boxMax;
}

void ZoProtoActor::GetBoundingSphere(ZoVector3& center, float& radius) const {
  center = sphereCenter;
  radius = sphereRadius;
}

void ZoProtoActor::GetBoundingCylinder(float& radius, float& height) const {
  radius = cylinderRadius;
  height = cylinderHeight;
}

int ZoProtoActor::SetUserData(ZoAi* data) {
  if (userData != nullptr && userData != data) userData->Release();
  userData = data;
  return 1;
}

// --- Skeleton and bounds ------------------------------------------------------------------

void ZoProtoActor::SetSkeleton(ZoProtoNode* newRoot) {
  delete nodeTraversal;
  delete geomTraversal;
  nodeTraversal = nullptr;
  geomTraversal = nullptr;
  if (root != nullptr && root != newRoot) delete root;
  root = newRoot;
  if (root != nullptr) {
    nodeTraversal = new (std::nothrow) ZoProtoTraversal(root, 0);
    geomTraversal = new (std::nothrow) ZoProtoTraversal(root, ZoProtoNode::Geometry);
    for (int i = 0; nodeTraversal != nullptr && i < nodeTraversal->NumNodes(); ++i)
      nodeTraversal->Node(i)->SetActor(this);
  }
  ComputeBounds();
}

void ZoProtoActor::ComputeBounds() {
  int count = nodeTraversal != nullptr ? nodeTraversal->NumNodes() : 0;
  bool measured = false;
  for (int i = 0; i < count && !measured; ++i) {
    ZoProtoNode const* node = nodeTraversal->Node(i);
    measured = IsMeasured(node) && node->ColModel()->GetTriangleSet() != nullptr;
  }
  if (measured) {
    boxMin = ZoVector3(FLT_MAX, FLT_MAX, FLT_MAX);
    boxMax = ZoVector3(-FLT_MAX, -FLT_MAX, -FLT_MAX);
  } else {
    boxMin = ZoVector3(-kDefaultBoxHalfEdge, -kDefaultBoxHalfEdge, -kDefaultBoxHalfEdge);
    boxMax = ZoVector3(kDefaultBoxHalfEdge, kDefaultBoxHalfEdge, kDefaultBoxHalfEdge);
  }
  for (int i = 0; i < count; ++i) {
    ZoProtoNode const* node = nodeTraversal->Node(i);
    if (!IsMeasured(node)) continue;
    ZoTriangleSet const* set = node->ColModel()->GetTriangleSet();
    if (set == nullptr) continue;
    ZoTransform3 placement;
    ZoProtoNode::GetRelativeHomeTransform(node, nullptr, placement);
    ZoVector3 lo, hi;
    set->FindBoundingBox(lo, hi);
    lo = placement * lo;
    hi = placement * hi;
    // Each corner only against its own bound, as the format always has.
    if (lo.x < boxMin.x) boxMin.x = lo.x;
    if (lo.y < boxMin.y) boxMin.y = lo.y;
    if (lo.z < boxMin.z) boxMin.z = lo.z;
    if (hi.x > boxMax.x) boxMax.x = hi.x;
    if (hi.y > boxMax.y) boxMax.y = hi.y;
    if (hi.z > boxMax.z) boxMax.z = hi.z;
  }
  ZoVector3 extent = boxMax - boxMin;
  cylinderRadius = 0.5f * std::sqrt(extent.z * extent.z + extent.x * extent.x);
  cylinderHeight = extent.y;
  sphereCenter = (boxMin + boxMax) * 0.5f;
  sphereRadius = 0.5f * extent.length();
  properties.SetValue(kBoundingRadius, new (std::nothrow) ZoFloatValue(cylinderRadius));
}

void ZoProtoActor::InitRenderMaterials() {
  if (renderMaterialsInitialised != 0) return;
  ZoDblListItem* cursor = nullptr;
  for (void* item = skills.GetFirst(cursor); item != nullptr; item = skills.GetNext(cursor))
    static_cast<ZoProtoSkill*>(item)->InitRenderMaterials();
  renderMaterialsInitialised = 1;
}

// --- Behaviour maps, compiled behaviours, proximity --------------------------------------------

ZoFSMSpaceToBhvr* ZoProtoActor::FindSpaceBhvrMap(ZoString space) const {
  ZoDblListItem* cursor = nullptr;
  for (void* item = behaviorMaps.GetFirst(cursor); item != nullptr; item = behaviorMaps.GetNext(cursor)) {
    auto* map = static_cast<ZoFSMSpaceToBhvr*>(item);
    if (map->SpaceName().EqualsNoCase(space)) return map;
  }
  return nullptr;
}

void ZoProtoActor::AddSpaceBhvrMap(ZoFSMSpaceToBhvr* map) {
  if (map != nullptr && behaviorMaps.Add(map) == nullptr) delete map;
}

void ZoProtoActor::RemoveSpaceBhvrMap(ZoString space) {
  ZoFSMSpaceToBhvr* map = FindSpaceBhvrMap(space);
  if (map == nullptr) return;
  ZoDblListItem* node = behaviorMaps.Find(map);
  behaviorMaps.Delete(node);
  delete map;
}

void ZoProtoActor::RenameBehaviorForSpaces(ZoString const& oldName, ZoString const& newName) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = behaviorMaps.GetFirst(cursor); item != nullptr; item = behaviorMaps.GetNext(cursor)) {
    auto* map = static_cast<ZoFSMSpaceToBhvr*>(item);
    if (map->IsActive(oldName) == 0) continue;
    map->RemoveActiveBhvr(oldName);
    map->AddActiveBhvr(newName);
  }
}

void ZoProtoActor::RemoveBehaviorFromAllSpaces(ZoString const& behavior) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = behaviorMaps.GetFirst(cursor); item != nullptr; item = behaviorMaps.GetNext(cursor))
    static_cast<ZoFSMSpaceToBhvr*>(item)->RemoveActiveBhvr(behavior);
}

void ZoProtoActor::RegCompiledBhvr(ZoString behavior) {
  if (compiledBehaviors.FindString(behavior) == nullptr) compiledBehaviors.AppendString(behavior);
}

void ZoProtoActor::UnregCompiledBhvr(ZoString behavior) {
  ZoDblListItem* node = compiledBehaviors.FindString(behavior);
  if (node != nullptr) delete static_cast<ZoString*>(compiledBehaviors.Delete(node));
}

int ZoProtoActor::IsBhvrCompiled(ZoString behavior) const {
  return compiledBehaviors.FindString(behavior) != nullptr ? 1 : 0;
}

ZoProtoProxDef* ZoProtoActor::GetDefaultProximityDef() {
  ZoDblListItem* cursor = nullptr;
  for (void* item = proximityDefs.GetFirst(cursor); item != nullptr; item = proximityDefs.GetNext(cursor)) {
    auto* def = static_cast<ZoProtoProxDef*>(item);
    if (def->name.IsEmpty()) return def;
  }
  auto* def = new (std::nothrow) ZoProtoProxDef;
  if (def == nullptr) return nullptr;
  def->SetRadius(BoundingRadius());
  def->range1 = 1.5f * (boxMax.x - boxMin.x);
  def->range2 = 2.0f * def->range1;
  if (proximityDefs.Add(def) == nullptr) {
    delete def;
    return nullptr;
  }
  return def;
}

static ZoStreamConstructorEntry const kRegisterProtoActor(ZoTypeCode::ProtoActor, &ZoProtoActor::Create);
