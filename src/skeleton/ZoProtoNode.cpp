#include <zoactor/skeleton/ZoProtoNode.h>

#include <zoactor/foundation/ZoAi.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "skeleton/ZoSkeletonIo.h"
#include "skeleton/ZoProtoNodeLayout.h"

#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <variant>

using zoactorio::NormalizeRotation;
using zoactorio::ReadBlock;
using zoactorio::ReadValue;
using zoactorio::WriteBlock;
using zoactorio::WriteValue;
using namespace zoprotonode;

namespace {

// The record of each style sits at the style's index.
template <int32_t style, class Record>
constexpr bool kRecordAt = std::is_same<std::variant_alternative_t<style, ZoProtoStyleRecord>, Record>::value;
static_assert(kRecordAt<0, std::monostate> && kRecordAt<ZoProtoNode::Geometry, ZoProtoGeomInfo> &&
                  kRecordAt<ZoProtoNode::Handle, ZoProtoHandleInfo> && kRecordAt<ZoProtoNode::Floor, ZoProtoFloorInfo> &&
                  kRecordAt<ZoProtoNode::Camera, ZoCamera> && kRecordAt<ZoProtoNode::Light, ZoLight> &&
                  kRecordAt<ZoProtoNode::SplineStyle, ZoProtoSplineInfo>,
              "a style record's index is its style");

template <size_t... Index>
void ResetRecord(ZoProtoStyleRecord& record, int32_t style, std::index_sequence<Index...>) {
  record.emplace<std::monostate>();
  ((style == static_cast<int32_t>(Index) ? void(record.emplace<Index>()) : void()), ...);
}

// Replaces `record` with the default record of `style`: the alternative at
// the style's index, or none outside 1 to 6.
void ResetRecord(ZoProtoStyleRecord& record, int32_t style) {
  ResetRecord(record, style, std::make_index_sequence<std::variant_size<ZoProtoStyleRecord>::value>());
}

// Reads the current layout of a record into `record`, a fresh record of the
// style just read.
ZoStreamError ReadRecord(ZoStream& stream, ZoProtoStyleRecord& record) {
  std::visit(Overloaded{[](std::monostate) {},
                        [&stream](ZoProtoGeomInfo& g) {
                          ReadValue(stream, g.squareKind);
                          if (stream.Status() == ZoStreamOk) stream >> g.material;
                          ReadValue(stream, g.width);
                          ReadValue(stream, g.height);
                          ReadValue(stream, g.geomInt0);
                          ReadValue(stream, g.geomInt1);
                          ReadValue(stream, g.geomInt2);
                          ReadValue(stream, g.geomInt3);
                        },
                        [&stream](ZoProtoHandleInfo& handle) { ReadBlock(stream, handle); },
                        [&stream](ZoProtoFloorInfo& floor) { ReadBlock(stream, floor); },
                        // Camera, light and spline: their own bodies.
                        [&stream](auto& body) { stream >> body; }},
             record);
  return stream.Status();
}

// Writes the current layout of a record.
ZoStreamError WriteRecord(ZoStream& stream, ZoProtoStyleRecord const& record) {
  if (stream.Status() != ZoStreamOk) return stream.Status();
  std::visit(Overloaded{[](std::monostate) {},
                        [&stream](ZoProtoGeomInfo const& g) {
                          WriteValue(stream, g.squareKind);
                          if (stream.Status() == ZoStreamOk) stream << g.material;
                          WriteValue(stream, g.width);
                          WriteValue(stream, g.height);
                          WriteValue(stream, g.geomInt0);
                          WriteValue(stream, g.geomInt1);
                          WriteValue(stream, g.geomInt2);
                          WriteValue(stream, g.geomInt3);
                        },
                        [&stream](ZoProtoHandleInfo const& handle) { WriteBlock(stream, handle); },
                        [&stream](ZoProtoFloorInfo const& floor) { WriteBlock(stream, floor); },
                        [&stream](auto const& body) { stream << body; }},
             record);
  return stream.Status();
}

}  // namespace

// --- Collision-sphere list -----------------------------------------------------

ZoColSphereList::ZoColSphereList(ZoColSphereList const& other) { *this = other; }

ZoColSphereList& ZoColSphereList::operator=(ZoColSphereList const& other) {
  if (this == &other) return *this;
  try {
    spheres = other.spheres;
  } catch (std::bad_alloc const&) {
    spheres.clear();
  }
  return *this;
}

bool ZoColSphereList::AppendCopy(ZoColSphere const& sphere) {
  try {
    spheres.push_back(sphere);
  } catch (std::bad_alloc const&) {
    return false;
  }
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
}

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
  style = other.style;
  styleRecord = other.styleRecord;
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

// Out of line: inlined, a null-dereference warning would flag every caller
// that uses the record of a style it knows the node has.
ZoProtoGeomInfo* ZoProtoNode::GeomInfo() const { return std::get_if<ZoProtoGeomInfo>(&styleRecord); }
ZoProtoHandleInfo* ZoProtoNode::HandleInfo() const { return std::get_if<ZoProtoHandleInfo>(&styleRecord); }
ZoProtoFloorInfo* ZoProtoNode::FloorInfo() const { return std::get_if<ZoProtoFloorInfo>(&styleRecord); }
ZoCamera* ZoProtoNode::CameraInfo() const { return std::get_if<ZoCamera>(&styleRecord); }
ZoLight* ZoProtoNode::LightInfo() const { return std::get_if<ZoLight>(&styleRecord); }
ZoProtoSplineInfo* ZoProtoNode::SplineInfo() const { return std::get_if<ZoProtoSplineInfo>(&styleRecord); }

void ZoProtoNode::DeleteInfo() { styleRecord.emplace<std::monostate>(); }

void ZoProtoNode::SetStyle(int32_t newStyle) {
  if (newStyle == style) return;
  style = newStyle;
  ResetRecord(styleRecord, style);
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

// --- Reading ---------------------------------------------------------------------

ZoStreamError ZoProtoNode::ReadFromStream(ZoStream& stream) {
  // Children are bare bodies inside this one: count the level.
  ZoStreamNesting level(stream);
  if (!level.Entered()) return stream.Status();
  if (stream.version >= zoversion::kCurrentLayout) return ReadCurrent(stream);
  return ReadOlder(stream);
}

ZoStreamError ZoProtoNode::ReadCurrent(ZoStream& stream) {
  if (ReadValue(stream, name) != ZoStreamOk) return stream.Status();
  ZoTransform3 home = homeTransform;
  if (ReadBlock(stream, home) != ZoStreamOk) return stream.Status();
  SetHomeTransform(home);
  if (ReadCurrentGeometry(stream) != ZoStreamOk) return stream.Status();
  if (ReadJointLimit(stream) != ZoStreamOk) return stream.Status();
  if (ReadSpheres(stream, sizeof(ZoColSphere)) != ZoStreamOk) return stream.Status();
  if ((stream >> properties).Status() != ZoStreamOk) return stream.Status();
  if (ReadStyleCode(stream) != ZoStreamOk || ReadRecord(stream, styleRecord) != ZoStreamOk) return stream.Status();

  if (ReadValue(stream, uvNormalized) != ZoStreamOk) return stream.Status();
  if (stream.version >= zoversion::kNodeStiffness) {
    if (ReadValue(stream, stiffness) != ZoStreamOk) return stream.Status();
  } else {
    stiffness = 1.0f;
  }
  return ReadChildren(stream, kMinCurrentBody);
}

// The model format and the geometry it announces; a part that fails to read
// is not installed.
ZoStreamError ZoProtoNode::ReadCurrentGeometry(ZoStream& stream) {
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
  return stream.Status();
}

ZoStreamError ZoProtoNode::ReadOlder(ZoStream& stream) {
  int32_t const version = stream.version;
  if (ReadValue(stream, name) != ZoStreamOk) return stream.Status();
  ZoTransform3 home = homeTransform;
  if (ReadBlock(stream, home) != ZoStreamOk) return stream.Status();
  SetHomeTransform(home);

  if (ReadValue(stream, modelFormat) != ZoStreamOk) return stream.Status();
  bool formatOneMeansOne = version >= zoversion::kNodeFormatOne;
  if (!formatOneMeansOne && modelFormat == SetOnly) modelFormat = SetRebuildTree;
  if (ReadOlderGeometry(stream) != ZoStreamOk) return stream.Status();
  if (ReadJointLimit(stream) != ZoStreamOk) return stream.Status();
  // Sphere records lack the fifth word up to version 25.
  uint32_t recordSize = version >= zoversion::kLongSphereRecords ? 20 : 16;
  if (ReadSpheres(stream, recordSize) != ZoStreamOk) return stream.Status();
  if (version >= zoversion::kNodeProperties && (stream >> properties).Status() != ZoStreamOk) return stream.Status();

  if (ReadStyleCode(stream) != ZoStreamOk || ReadOlderStyleRecord(stream, styleRecord) != ZoStreamOk)
    return stream.Status();
  // A light shows its marker, which then counts as the node's geometry.
  if (LightInfo() != nullptr) CreateColModel();

  if (version >= zoversion::kNodeIgnoredWord) {
    int32_t ignored = 0;
    if (ReadValue(stream, ignored) != ZoStreamOk) return stream.Status();
  }
  if (ReadChildren(stream, kMinOlderBody) != ZoStreamOk) return stream.Status();

  // A UV flag of 0 flips the first texture pair of every vertex.
  if (version >= zoversion::kNodeUVFlag) {
    if (ReadValue(stream, uvNormalized) != ZoStreamOk) return stream.Status();
    ZoTriangleSet* set = TriangleSet();
    if (uvNormalized == 0 && set != nullptr && set->GetNumTexturesPerVertex() >= 1 && set->GetNumVertices() >= 1) {
      for (int32_t i = 0; i < set->GetNumVertices(); ++i) {
        ZoTextureVertex& pair = set->TextureVertex(i, 0);
        pair.v = 1.0f - pair.v;
      }
    }
  }
  // This layout stores no stiffness.
  stiffness = 1.0f;
  return stream.Status();
}

// The geometry of the older layout: a geometry record, and for format 2 a
// stored tree that is dropped, since the tree is rebuilt from the set.
ZoStreamError ZoProtoNode::ReadOlderGeometry(ZoStream& stream) {
  if (modelFormat != SetOnly && modelFormat != ModelWithTree && modelFormat != SetRebuildTree) return stream.Status();
  std::unique_ptr<ZoTriangleSet> set(ReadOlderGeometryRecord(stream));
  if (set == nullptr) return stream.Status();
  if (modelFormat == SetRebuildTree) {
    SetColModel(set.release());
    return stream.Status();
  }
  if (modelFormat == ModelWithTree && SkipOlderTree(stream) != ZoStreamOk) return stream.Status();
  std::unique_ptr<ZoColModel> model(new (std::nothrow) ZoColModel);
  if (model == nullptr) return OutOfMemory(stream);
  model->SetTriangleSet(set.release());
  SetColModel(model.release());
  if (modelFormat == ModelWithTree) BuildTree();
  return stream.Status();
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
  style = newStyle;
  ResetRecord(styleRecord, style);
  return stream.Status();
}

// --- Writing ---------------------------------------------------------------------

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

  // The records are 20 bytes each with no padding: one block.
  WriteValue(stream, colSpheres.GetCount());
  WriteBlock(stream, colSpheres.begin(), int64_t{colSpheres.GetCount()} * int64_t{sizeof(ZoColSphere)});

  if (stream.Status() == ZoStreamOk) stream << properties;

  WriteValue(stream, style);
  if (styleRecord.index() == 0) {
    // A style whose record was deleted writes the defaults of its record,
    // so that the body stays readable.
    ZoProtoStyleRecord defaults;
    ResetRecord(defaults, style);
    WriteRecord(stream, defaults);
  } else {
    WriteRecord(stream, styleRecord);
  }

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

// --- Marker shapes ---------------------------------------------------------------

void ZoProtoNode::CreateColModel() {
  ZoTriangleSet* marker = NewMarkerShape(styleRecord);
  if (marker != nullptr) SetColModel(marker);
}

static ZoStreamConstructorEntry const kRegisterProtoNode(ZoTypeCode::ProtoNode, &ZoProtoNode::Create);
