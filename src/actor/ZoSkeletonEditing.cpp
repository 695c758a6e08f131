// Skeleton editing of an actor prototype: structural edits (add, remove,
// move, collapse) that keep every cached skill's joints in step through a
// permutation of the geometry traversal, and pivot and scale edits that are
// handed to the skills as per-joint transforms and scales.
#include <zoactor/actor/ZoProtoActor.h>

#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/skeleton/ZoPermutation.h>

#include <memory>
#include <new>

namespace {

// Calls `visit` with every cached skill, in list order.
template <class Visit>
void ForEachSkill(ZoDblList const& skills, Visit visit) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = skills.GetFirst(cursor); item != nullptr; item = skills.GetNext(cursor))
    visit(*static_cast<ZoProtoSkill*>(item));
}

// The node's triangle set, or null.
ZoTriangleSet const* SetOf(ZoProtoNode const& node) {
  return node.ColModel() != nullptr ? node.ColModel()->GetTriangleSet() : nullptr;
}

// The triangle sets of the geometry nodes of `node`'s subtree (the node
// first, then pre-order), each placed in `node`'s frame, merged into one new
// set; null when none of them has a set.
ZoTriangleSet* MergedSubtreeGeometry(ZoProtoNode* node) {
  ZoProtoTraversal joints(node, ZoProtoNode::Geometry);
  std::unique_ptr<ZoTriangleSet> merged;
  for (int i = 0; i < joints.NumNodes(); ++i) {
    ZoProtoNode const* part = joints.Node(i);
    ZoTriangleSet const* set = SetOf(*part);
    if (set == nullptr) continue;
    ZoTransform3 placement;
    part->GetRelativeHomeTransform(node, placement);
    if (merged == nullptr) {
      merged.reset(new (std::nothrow) ZoTriangleSet(*set));
      if (merged == nullptr) return nullptr;
      merged->ApplyTransform(placement);
    } else {
      merged->Merge(*set, placement);
    }
  }
  return merged.release();
}

}  // namespace

bool ZoProtoActor::HoldsNode(ZoProtoNode const* node) const {
  return node != nullptr && nodeTraversal != nullptr && nodeTraversal->NodeIndex(node) >= 0;
}

void ZoProtoActor::FinishStructuralEdit(ZoProtoTraversal const& oldJoints) {
  SetSkeleton(root);
  ZoPermutation permutation(&oldJoints, geomTraversal);
  PermuteSkills(&permutation);
  MarkDirty();
}

void ZoProtoActor::AddSubtree(ZoProtoNode* subtree, ZoProtoNode* parent) {
  if (subtree == nullptr || subtree->parent() != nullptr || !HoldsNode(parent) || subtree->hasDescendant(parent))
    return;
  ZoProtoTraversal oldJoints(root, ZoProtoNode::Geometry);
  parent->addChild(subtree);
  FinishStructuralEdit(oldJoints);
}

void ZoProtoActor::RemoveSubtree(ZoProtoNode* node) {
  if (!HoldsNode(node) || node->parent() == nullptr) return;
  ZoProtoTraversal oldJoints(root, ZoProtoNode::Geometry);
  node->parent()->removeChild(node);
  ZoProtoTraversal removed(node, 0);
  for (int i = 0; i < removed.NumNodes(); ++i) removed.Node(i)->SetActor(nullptr);
  FinishStructuralEdit(oldJoints);
}

void ZoProtoActor::MoveSubtree(ZoProtoNode* node, ZoProtoNode* newParent) {
  if (!HoldsNode(node) || node->parent() == nullptr || !HoldsNode(newParent) || node->hasDescendant(newParent))
    return;
  ZoProtoTraversal oldJoints(root, ZoProtoNode::Geometry);
  ZoTransform3 inRoot, parentInRoot;
  node->GetRelativeHomeTransform(root, inRoot);
  newParent->GetRelativeHomeTransform(root, parentInRoot);
  node->SetHomeTransform(~parentInRoot * inRoot);
  node->parent()->removeChild(node);
  newParent->addChild(node);
  FinishStructuralEdit(oldJoints);
}

void ZoProtoActor::Collapse(ZoProtoNode* node) {
  if (!HoldsNode(node) || node->Style() != ZoProtoNode::Geometry) return;
  if (ZoTriangleSet* merged = MergedSubtreeGeometry(node)) {
    merged->AssignAverageNormals();
    node->SetColModel(merged);
    node->SetModelFormat(ZoProtoNode::ModelWithTree);
  }
  // Nothing else can reach the detached children, so they are destroyed.
  while (ZoTreeNode* child = node->firstChild()) {
    if (child->IsType(ZoProtoNode::NODE_TYPE)) RemoveSubtree(static_cast<ZoProtoNode*>(child));
    if (child->parent() != nullptr) node->removeChild(child);  // a plain tree node: no joints to carry over
    delete child;
  }
  MarkDirty();
}

void ZoProtoActor::TransformNode(ZoProtoNode* node, ZoTransform3 const& t) {
  if (!HoldsNode(node)) return;
  node->TransformPivot(t);
  int joint = geomTraversal != nullptr ? geomTraversal->NodeIndex(node) : -1;
  ForEachSkill(skills, [joint, &t](ZoProtoSkill& skill) { skill.TransformJoint(joint, t, 1); });
  MarkDirty();
}

void ZoProtoActor::ScaleSubtree(ZoProtoNode* node, ZoVector3 const& s) {
  if (!HoldsNode(node)) return;
  node->Scale(s);
  ComputeBounds();
  int joint = geomTraversal != nullptr ? geomTraversal->NodeIndex(node) : -1;
  if (joint >= 0) ForEachSkill(skills, [joint, &s](ZoProtoSkill& skill) { skill.ScaleJoint(joint, s); });
  MarkDirty();
}
