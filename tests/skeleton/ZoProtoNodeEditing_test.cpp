// Re-pivoting a node keeps everything that hangs from it where it was in
// the parent's frame.

#include "skeleton/ZoSkeletonTestSupport.h"

using namespace zoskeletontest;

namespace {

// Float rounding of three or four composed transforms on coordinates of a
// few units, in model units.
constexpr float kWorldTolerance = 1e-5f;

// The vertices of a node's set placed by `placement`.
std::vector<ZoVector3> PlacedVertices(ZoProtoNode const& node, ZoTransform3 const& placement) {
  std::vector<ZoVector3> points;
  ZoTriangleSet* set = node.ColModel()->GetTriangleSet();
  for (int i = 0; i < set->GetNumVertices(); ++i) points.push_back(placement * set->Vertex(i));
  return points;
}

ZoJLHinge* Hinge() {
  auto* hinge = new ZoJLHinge;
  hinge->SetValue(About(-0.5f, ZoVector3(1, 0, 0)), About(1.2f, ZoVector3(1, 0, 0)), 0);
  return hinge;
}

}  // namespace

TEST(ZoProtoNodeEditing, TransformPivotKeepsShapesSpheresSplineAndChildrenInPlace) {
  // A spline node with a mesh (tree built), a sphere and a hinge; a
  // geometry child with a hinge and a handle child.
  std::unique_ptr<ZoProtoNode> node(Populated("pivot", ZoProtoNode::SplineStyle));
  node->SplineInfo()->SetLinear(ZoTransform3(ZoVector3(0, 1, 0), ZoRotation3()),
                                ZoTransform3(ZoVector3(3, 0, 1), About(1.0f, ZoVector3(0, 1, 0))), 1000);
  node->SetJointLimit(Hinge());
  ZoProtoNode* arm = Populated("arm", ZoProtoNode::Geometry);
  arm->SetJointLimit(Hinge());
  node->addChild(arm);
  node->addChild(Populated("grip", ZoProtoNode::Handle));

  ZoTransform3 const home = node->HomeTransform();
  std::vector<ZoVector3> const mesh = PlacedVertices(*node, home);
  ZoVector3 const sphere = home * node->ColSpheres()[0].center;
  std::vector<ZoTransform3> splineWorld, childWorld;
  for (int i = 0; i < node->SplineInfo()->NumControlPoints(); ++i)
    splineWorld.push_back(home * node->SplineInfo()->ControlPoint(i)->transform);
  for (ZoTreeNode* c = node->firstChild(); c != nullptr; c = c->nextSibling())
    childWorld.push_back(home * static_cast<ZoProtoNode*>(c)->HomeTransform());
  ZoRotation3 const limitMin = std::get<0>(HingeValue(node->JointLimit()));

  ZoTransform3 const t(ZoVector3(0.3f, -0.2f, 0.1f), About(0.9f, ZoVector3(0.6f, 0.8f, 0)));
  node->TransformPivot(t);

  ZoTransform3 const moved = node->HomeTransform();
  ExpectSameTransform(moved, home * t);
  ExpectSamePointsInAnyOrder(PlacedVertices(*node, moved), mesh, kWorldTolerance);
  ASSERT_NE(node->ColModel()->GetRoot(), nullptr);
  zotest::ExpectNear(moved * node->ColSpheres()[0].center, sphere, kWorldTolerance);
  EXPECT_EQ(std::make_pair(node->ColSpheres()[0].radius, node->ColSpheres()[0].word4), std::make_pair(0.5f, 0xABCDu));
  for (int i = 0; i < node->SplineInfo()->NumControlPoints(); ++i)
    ExpectSameTransform(moved * node->SplineInfo()->ControlPoint(i)->transform, splineWorld[static_cast<size_t>(i)]);
  size_t k = 0;
  for (ZoTreeNode* c = node->firstChild(); c != nullptr; c = c->nextSibling(), ++k)
    ExpectSameTransform(moved * static_cast<ZoProtoNode*>(c)->HomeTransform(), childWorld[k]);
  // The node's limit turns with its frame; a child's limit turns back.
  EXPECT_TRUE(SameRotation(std::get<0>(HingeValue(node->JointLimit())), t.rotation * limitMin));
  EXPECT_TRUE(SameRotation(std::get<0>(HingeValue(arm->JointLimit())), ~t.rotation * limitMin));
}

TEST(ZoProtoNodeEditing, TransformPivotLeavesAModelWithoutTreeAsItIs) {
  std::unique_ptr<ZoProtoNode> node(Populated("flat", ZoProtoNode::Geometry));
  node->SetModelFormat(ZoProtoNode::SetOnly);
  ASSERT_EQ(node->ColModel()->GetRoot(), nullptr);
  Bytes const before = Body(*node->ColModel()->GetTriangleSet());
  node->TransformPivot(ZoTransform3(ZoVector3(1, 2, 3), About(0.4f, ZoVector3(0, 0, 1))));
  EXPECT_EQ(std::make_pair(Body(*node->ColModel()->GetTriangleSet()), node->ColModel()->GetRoot()),
            std::make_pair(before, static_cast<ZoSphereNode*>(nullptr)));
}
