// Scaling and re-pivoting a proto node: the node operations the actor's
// skeleton editing is built on. Both work in the node's own frame and leave
// skills alone; the actor carries the change into its skills.
#include <zoactor/skeleton/ZoProtoNode.h>

#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>

#include "skeleton/ZoProtoNodeLayout.h"

#include <variant>

using zoprotonode::Overloaded;

namespace {

// The proto-node children of `node` in sibling order, through `visit`.
template <class Visit>
void ForEachChild(ZoProtoNode& node, Visit visit) {
  for (ZoTreeNode* c = node.firstChild(); c != nullptr; c = c->nextSibling())
    if (c->IsType(ZoProtoNode::NODE_TYPE)) visit(*static_cast<ZoProtoNode*>(c));
}

// Scales the sizes a style record gives its marker or path; records that
// have none (floor, camera, light, none) stay.
void ScaleRecord(ZoProtoStyleRecord& record, ZoVector3 const& s) {
  std::visit(Overloaded{[&s](ZoProtoHandleInfo& handle) {
                          handle.radius *= s.x;
                          handle.length *= s.y;
                        },
                        [&s](ZoProtoGeomInfo& geometry) {
                          if (geometry.squareKind == 0) return;
                          geometry.width *= s.x;
                          geometry.height *= s.y;
                        },
                        [&s](ZoProtoSplineInfo& spline) { spline.Scale(s); }, [](auto&) {}},
             record);
}

}  // namespace

void ZoProtoNode::Scale(ZoVector3 const& s) {
  if (ZoTriangleSet* set = TriangleSet()) {
    set->ApplyScale(s);
    SetColModel(set);  // the same set again: its tree is rebuilt
  }
  for (ZoColSphere& sphere : colSpheres) {
    sphere.center *= s;
    sphere.radius *= s.x;
  }
  ScaleRecord(styleRecord, s);
  ForEachChild(*this, [&s](ZoProtoNode& child) {
    child.homeTransform.translation *= s;
    child.Scale(s);
  });
}

void ZoProtoNode::TransformPivot(ZoTransform3 const& t) {
  ZoTransform3 const u = ~t;
  SetHomeTransform(homeTransform * t);
  ZoTriangleSet* set = TriangleSet();
  if (set != nullptr && colModel->GetRoot() != nullptr) {
    set->ApplyTransform(u);
    SetColModel(set);
  }
  for (ZoColSphere& sphere : colSpheres) sphere.center = u * sphere.center;
  if (jointLimit != nullptr) jointLimit->PivotLimit(t.rotation);
  if (ZoProtoSplineInfo* spline = SplineInfo()) spline->Transform(u);
  ForEachChild(*this, [&u](ZoProtoNode& child) {
    child.SetHomeTransform(u * child.homeTransform);
    if (child.jointLimit != nullptr) child.jointLimit->PivotLimit(u.rotation);
  });
}
