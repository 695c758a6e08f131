#include <zoactor/skeleton/ZoProtoNode.h>

#include <zoactor/foundation/ZoAi.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "skeleton/ZoSkeletonIo.h"
#include "skeleton/ZoProtoNodeLayout.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <tuple>
#include <vector>

using zoactorio::NormalizeRotation;
using zoactorio::ReadBlock;
using zoactorio::ReadValue;
using zoactorio::WriteBlock;
using zoactorio::WriteValue;
using namespace zoprotonode;

namespace {

}  // namespace

// --- Collision-sphere list -----------------------------------------------------

ZoColSphereList::ZoColSphereList(ZoColSphereList const& other) : ZoDblList() { *this = other; }

ZoColSphereList& ZoColSphereList::operator=(ZoColSphereList const& other) {
  if (this == &other) return *this;
  Clear();
  ZoDblListItem* cursor = nullptr;
  for (void* item = other.GetFirst(cursor); item != nullptr; item = other.GetNext(cursor))
    if (!AppendCopy(*static_cast<ZoColSphere const*>(item))) break;
  return *this;
}

ZoColSphereList::~ZoColSphereList() { ZoColSphereList::Clear(); }

void ZoColSphereList::Clear() {
  while (!IsEmpty()) delete static_cast<ZoColSphere*>(DeleteFirst());
}

bool ZoColSphereList::AppendCopy(ZoColSphere const& sphere) {
  std::unique_ptr<ZoColSphere> copy(new (std::nothrow) ZoColSphere(sphere));
  if (copy == nullptr || Append(copy.get()) == nullptr) return false;
  copy.release();
  return true;
}

// --- Construction --------------------------------------------------------------

ZoProtoNode::ZoProtoNode()
    : actor(nullptr),
      colModel(nullptr),
      jointLimit(nullptr),
      style(0),
      modelFormat(ModelWithTree),
      uvNormalized(1),
      stiffness(1.0f),
      userData(nullptr) {
  SetStyle(Geometry);
}

ZoProtoNode::ZoProtoNode(ZoProtoNode const& other)
    : ZoTreeNode(),
      ZoStreamObject(),
      actor(nullptr),
      colModel(nullptr),
      jointLimit(nullptr),
      style(0),
      modelFormat(ModelWithTree),
      uvNormalized(1),
      stiffness(1.0f),
      userData(nullptr) {
  CopyContentFrom(other);
  for (ZoTreeNode* c = other.firstChild(); c != nullptr; c = c->nextSibling()) {
    if (!c->IsType(NODE_TYPE)) continue;
    auto* copy = new (std::nothrow) ZoProtoNode(*static_cast<ZoProtoNode const*>(c));
    if (copy == nullptr) break;
    addChild(copy);
  }
}

ZoProtoNode& ZoProtoNode::operator=(ZoProtoNode const& other) {
  if (this != &other) CopyContentFrom(other);
  return *this;
}

ZoProtoNode::~ZoProtoNode() {
  if (userData != nullptr) userData->Release();
  delete colModel;
  delete jointLimit;
  DeleteInfo();
}

namespace {

// A copy of another node's style record, or none when it has none (or no
// memory could be had; the writer then writes the defaults).
template <class T>
void CopyRecord(std::unique_ptr<T>& mine, std::unique_ptr<T> const& theirs) {
  if (theirs != nullptr) mine.reset(new (std::nothrow) T(*theirs));
}

}  // namespace

void ZoProtoNode::CopyContentFrom(ZoProtoNode const& other) {
  name = other.name;
  homeTransform = other.homeTransform;
  modelFormat = other.modelFormat;
  uvNormalized = other.uvNormalized;
  stiffness = other.stiffness;
  // The model is copy-constructed, which rebuilds its tree.
  SetColModel(other.colModel != nullptr ? new (std::nothrow) ZoColModel(*other.colModel) : nullptr);
  colSpheres = other.colSpheres;
  SetJointLimit(other.jointLimit != nullptr ? other.jointLimit->Duplicate() : nullptr);
  properties = other.properties;

  DeleteInfo();
  style = other.style;
  switch (style) {
    case Geometry:
      CopyRecord(geomInfo, other.geomInfo);
      break;
    case Handle:
      CopyRecord(handleInfo, other.handleInfo);
      break;
    case Floor:
      CopyRecord(floorInfo, other.floorInfo);
      break;
    case Camera:
      CopyRecord(cameraInfo, other.cameraInfo);
      break;
    case Light:
      CopyRecord(lightInfo, other.lightInfo);
      break;
    case SplineStyle:
      CopyRecord(splineInfo, other.splineInfo);
      break;
    default:
      break;
  }
}

ZoStreamObject* ZoProtoNode::Create() { return new (std::nothrow) ZoProtoNode; }

// --- Members ---------------------------------------------------------------------

void ZoProtoNode::SetHomeTransform(ZoTransform3 const& transform) {
  homeTransform = transform;
  NormalizeRotation(homeTransform.rotation);
}

int ZoProtoNode::GetRelativeHomeTransform(ZoProtoNode const* ancestor, ZoTransform3& out) const {
  return GetRelativeHomeTransform(this, ancestor, out);
}

int ZoProtoNode::GetRelativeHomeTransform(ZoProtoNode const* node, ZoProtoNode const* ancestor, ZoTransform3& out) {
  out = ZoTransform3::identity();
  ZoProtoNode const* n = node;
  while (n != nullptr && n != ancestor) {
    out = n->homeTransform * out;
    ZoTreeNode const* up = n->parent();
    // Only proto nodes carry home transforms; a walk that leaves them ends
    // as at a root.
    n = (up != nullptr && up->IsType(NODE_TYPE)) ? static_cast<ZoProtoNode const*>(up) : nullptr;
  }
  return n == ancestor ? 1 : 0;
}

void ZoProtoNode::DeleteInfo() {
  geomInfo.reset();
  handleInfo.reset();
  floorInfo.reset();
  cameraInfo.reset();
  lightInfo.reset();
  splineInfo.reset();
}

void ZoProtoNode::CreateInfo() {
  switch (style) {
    case Geometry:
      geomInfo.reset(new (std::nothrow) ZoProtoGeomInfo);
      break;
    case Handle:
      handleInfo.reset(new (std::nothrow) ZoProtoHandleInfo);
      break;
    case Floor:
      floorInfo.reset(new (std::nothrow) ZoProtoFloorInfo);
      break;
    case Camera:
      cameraInfo.reset(new (std::nothrow) ZoCamera);
      break;
    case Light:
      lightInfo.reset(new (std::nothrow) ZoLight);
      break;
    case SplineStyle:
      splineInfo.reset(new (std::nothrow) ZoProtoSplineInfo);
      break;
    default:
      break;
  }
}

void ZoProtoNode::SetStyle(int32_t newStyle) {
  if (newStyle == style) return;
  DeleteInfo();
  style = newStyle;
  CreateInfo();
}

void ZoProtoNode::SetColModel(ZoColModel* model) {
  if (model != colModel) delete colModel;
  colModel = model;
}

void ZoProtoNode::SetColModel(ZoTriangleSet* set) {
  if (colModel == nullptr) {
    colModel = new (std::nothrow) ZoColModel;
    if (colModel == nullptr) {
      delete set;
      return;
    }
  }
  colModel->SetTriangleSet(set);
  BuildTree();
}

void ZoProtoNode::BuildTree() {
  if (colModel == nullptr) return;
  colModel->UpdateSphereTree();
}

void ZoProtoNode::SetJointLimit(ZoJLimit* limit) {
  if (limit != jointLimit) delete jointLimit;
  jointLimit = limit;
}

void ZoProtoNode::SetModelFormat(int32_t format) {
  modelFormat = format;
  switch (format) {
    case SetOnly:
      if (colModel != nullptr && colModel->GetRoot() != nullptr) colModel->DeleteSphereTree();
      break;
    case ModelWithTree:
    case SetRebuildTree:
      if (colModel != nullptr && colModel->GetRoot() == nullptr) BuildTree();
      break;
    case NoModel:
      SetColModel(static_cast<ZoColModel*>(nullptr));
      break;
    default:
      break;
  }
}

int ZoProtoNode::SetUserData(ZoAi* data) {
  if (userData != nullptr && userData != data) userData->Release();
  userData = data;
  return 1;
}

ZoTriangleSet* ZoProtoNode::TriangleSet() const {
  return colModel != nullptr ? colModel->GetTriangleSet() : nullptr;
}

// --- Current layout ----------------------------------------------------------------

ZoStreamError ZoProtoNode::ReadFromStream(ZoStream& stream) {
  // Children are bare bodies inside this one: count the level.
  ZoStreamNesting level(stream);
  if (!level.Entered()) return stream.Status();
  if (stream.version >= zoversion::kCurrentLayout) return ReadCurrent(stream);
  return ReadOlder(stream);
}

ZoStreamError ZoProtoNode::ReadCurrent(ZoStream& stream) {
  // 1, 2. Name and home transform.
  if (ReadValue(stream, name) != ZoStreamOk) return stream.Status();
  ZoTransform3 home = homeTransform;
  if (ReadBlock(stream, home) != ZoStreamOk) return stream.Status();
  SetHomeTransform(home);

  // 3, 4. The geometry; a part that fails to read is not installed.
  if (ReadValue(stream, modelFormat) != ZoStreamOk) return stream.Status();
  if (modelFormat == ModelWithTree) {
    std::unique_ptr<ZoColModel> model(new (std::nothrow) ZoColModel);
    if (model == nullptr) return OutOfMemory(stream);
    if ((stream >> *model).Status() != ZoStreamOk) return stream.Status();
    SetColModel(model.release());
    bool treeComplete = stream.version >= zoversion::kOrientedBox;
    if (!treeComplete && colModel->GetTriangleSet() != nullptr) BuildTree();
  } else if (modelFormat == SetOnly || modelFormat == SetRebuildTree) {
    std::unique_ptr<ZoTriangleSet> set(new (std::nothrow) ZoTriangleSet);
    if (set == nullptr) return OutOfMemory(stream);
    if ((stream >> *set).Status() != ZoStreamOk) return stream.Status();
    if (modelFormat == SetRebuildTree) {
      SetColModel(set.release());
    } else {
      std::unique_ptr<ZoColModel> model(new (std::nothrow) ZoColModel);
      if (model == nullptr) return OutOfMemory(stream);
      model->SetTriangleSet(set.release());
      SetColModel(model.release());
    }
  }

  // 5, 6. The joint limit.
  if (ReadJointLimit(stream) != ZoStreamOk) return stream.Status();

  // 7, 8. Collision spheres.
  if (ReadSpheres(stream, sizeof(ZoColSphere)) != ZoStreamOk) return stream.Status();

  // 9. Properties.
  if ((stream >> properties).Status() != ZoStreamOk) return stream.Status();

  // 10, 11. Style and its record.
  if (ReadStyleRecord(stream) != ZoStreamOk) return stream.Status();

  // 12, 13. UV flag and stiffness.
  if (ReadValue(stream, uvNormalized) != ZoStreamOk) return stream.Status();
  if (stream.version >= zoversion::kNodeStiffness) {
    if (ReadValue(stream, stiffness) != ZoStreamOk) return stream.Status();
  } else {
    stiffness = 1.0f;
  }

  // 14, 15. Children.
  return ReadChildren(stream, kMinCurrentBody);
}

ZoStreamError ZoProtoNode::ReadJointLimit(ZoStream& stream) {
  int32_t hasLimit = 0;
  if (ReadValue(stream, hasLimit) != ZoStreamOk || hasLimit == 0) return stream.Status();
  std::unique_ptr<ZoJLimit> limit(stream.ReadObjectAs<ZoJLimit>());
  if (stream.Status() != ZoStreamOk) return stream.Status();
  SetJointLimit(limit.release());
  return stream.Status();
}

ZoStreamError ZoProtoNode::ReadSpheres(ZoStream& stream, uint32_t recordSize) {
  int32_t count = 0;
  if (!stream.ReadLoopCount(count, recordSize, sizeof(ZoColSphere))) return stream.Status();
  for (int32_t i = 0; i < count && stream.Status() == ZoStreamOk; ++i) {
    ZoColSphere sphere;  // a short record leaves the fifth word 0
    unsigned char bytes[sizeof(ZoColSphere)] = {};
    if (stream.ReadBytes(recordSize, bytes) != ZoStreamOk) break;
    std::memcpy(static_cast<void*>(&sphere), bytes, sizeof sphere);
    if (!colSpheres.AppendCopy(sphere)) return OutOfMemory(stream);
  }
  return stream.Status();
}

ZoStreamError ZoProtoNode::ReadChildren(ZoStream& stream, uint32_t minimumBody) {
  int32_t count = 0;
  if (!stream.ReadLoopCount(count, minimumBody, sizeof(ZoProtoNode))) return stream.Status();
  for (int32_t i = 0; i < count && stream.Status() == ZoStreamOk; ++i) {
    std::unique_ptr<ZoProtoNode> child(new (std::nothrow) ZoProtoNode);
    if (child == nullptr) return OutOfMemory(stream);
    if ((stream >> *child).Status() != ZoStreamOk) break;
    addChild(child.release());
  }
  return stream.Status();
}

ZoStreamError ZoProtoNode::ReadStyleCode(ZoStream& stream) {
  int32_t newStyle = 0;
  if (ReadValue(stream, newStyle) != ZoStreamOk) return stream.Status();
  // A fresh record of the style read, with its defaults.
  DeleteInfo();
  style = newStyle;
  CreateInfo();
  return stream.Status();
}

ZoStreamError ZoProtoNode::ReadStyleRecord(ZoStream& stream) {
  if (ReadStyleCode(stream) != ZoStreamOk) return stream.Status();
  switch (style) {
    case Geometry: {
      if (geomInfo == nullptr) return OutOfMemory(stream);
      ZoProtoGeomInfo& g = *geomInfo;
      ReadValue(stream, g.squareKind);
      if (stream.Status() == ZoStreamOk) stream >> g.material;
      ReadValue(stream, g.width);
      ReadValue(stream, g.height);
      ReadValue(stream, g.geomInt0);
      ReadValue(stream, g.geomInt1);
      ReadValue(stream, g.geomInt2);
      ReadValue(stream, g.geomInt3);
      break;
    }
    case Handle:
      if (handleInfo == nullptr) return OutOfMemory(stream);
      ReadBlock(stream, *handleInfo);
      break;
    case Floor:
      if (floorInfo == nullptr) return OutOfMemory(stream);
      ReadBlock(stream, *floorInfo);
      break;
    case Camera:
      if (cameraInfo == nullptr) return OutOfMemory(stream);
      stream >> *cameraInfo;
      break;
    case Light:
      if (lightInfo == nullptr) return OutOfMemory(stream);
      stream >> *lightInfo;
      break;
    case SplineStyle:
      if (splineInfo == nullptr) return OutOfMemory(stream);
      stream >> *splineInfo;
      break;
    default:
      break;
  }
  return stream.Status();
}

int32_t ZoProtoNode::WrittenModelFormat() const {
  ZoTriangleSet const* set = TriangleSet();
  if (set == nullptr || style == Handle) return NoModel;
  if (modelFormat != SetOnly && modelFormat != ModelWithTree && modelFormat != SetRebuildTree) return NoModel;
  return modelFormat;
}

ZoStreamError ZoProtoNode::WriteToStream(ZoStream& stream) const {
  WriteValue(stream, name);
  WriteBlock(stream, homeTransform);

  int32_t format = WrittenModelFormat();
  WriteValue(stream, format);
  if (format == ModelWithTree) {
    if (stream.Status() == ZoStreamOk) stream << *colModel;
  } else if (format != NoModel) {
    if (stream.Status() == ZoStreamOk) stream << *colModel->GetTriangleSet();
  }

  WriteValue(stream, int32_t{jointLimit != nullptr ? 1 : 0});
  if (jointLimit != nullptr && stream.Status() == ZoStreamOk) stream.WriteObject(jointLimit);

  WriteValue(stream, int32_t{colSpheres.GetCount()});
  ZoDblListItem* cursor = nullptr;
  for (void* item = colSpheres.GetFirst(cursor); item != nullptr; item = colSpheres.GetNext(cursor))
    WriteBlock(stream, *static_cast<ZoColSphere const*>(item));

  if (stream.Status() == ZoStreamOk) stream << properties;

  WriteValue(stream, style);
  WriteStyleRecord(stream);

  WriteValue(stream, uvNormalized);
  if (stream.version >= zoversion::kNodeStiffness) WriteValue(stream, stiffness);

  int32_t children = 0;
  for (ZoTreeNode* c = firstChild(); c != nullptr; c = c->nextSibling())
    if (c->IsType(NODE_TYPE)) ++children;
  WriteValue(stream, children);
  for (ZoTreeNode* c = firstChild(); c != nullptr && stream.Status() == ZoStreamOk; c = c->nextSibling())
    if (c->IsType(NODE_TYPE)) stream << *static_cast<ZoProtoNode const*>(c);
  return stream.Status();
}

namespace {

// Writes the body of a style record, or a default one when the record is
// missing (no memory when it was made).
template <class T>
void WriteBodyOrDefault(ZoStream& stream, T const* record) {
  if (record != nullptr) {
    stream << *record;
  } else {
    stream << T();
  }
}

}  // namespace

ZoStreamError ZoProtoNode::WriteStyleRecord(ZoStream& stream) const {
  if (stream.Status() != ZoStreamOk) return stream.Status();
  switch (style) {
    case Geometry: {
      // A missing record (no memory when it was made) writes the defaults.
      ZoProtoGeomInfo defaults;
      ZoProtoGeomInfo const& g = geomInfo != nullptr ? *geomInfo : defaults;
      WriteValue(stream, g.squareKind);
      if (stream.Status() == ZoStreamOk) stream << g.material;
      WriteValue(stream, g.width);
      WriteValue(stream, g.height);
      WriteValue(stream, g.geomInt0);
      WriteValue(stream, g.geomInt1);
      WriteValue(stream, g.geomInt2);
      WriteValue(stream, g.geomInt3);
      break;
    }
    case Handle:
      WriteBlock(stream, handleInfo != nullptr ? *handleInfo : ZoProtoHandleInfo());
      break;
    case Floor:
      WriteBlock(stream, floorInfo != nullptr ? *floorInfo : ZoProtoFloorInfo());
      break;
    case Camera:
      WriteBodyOrDefault(stream, cameraInfo.get());
      break;
    case Light:
      WriteBodyOrDefault(stream, lightInfo.get());
      break;
    case SplineStyle:
      WriteBodyOrDefault(stream, splineInfo.get());
      break;
    default:
      break;
  }
  return stream.Status();
}

static ZoStreamConstructorEntry const kRegisterProtoNode(ZoTypeCode::ProtoNode, &ZoProtoNode::Create);
