// Demonstrates the skeleton: a small figure of proto nodes of several styles
// (joints, handles with their markers, a camera, a light, a floor), joint
// limits clamping a pose, the tree printed with its traversal indices, and
// the whole skeleton written to a memory stream and read back.
#include "Demo.h"
#include "DemoParts.h"

#include <zoactor/zoactor.h>

#include <cmath>
#include <memory>

namespace {

char const* StyleName(int32_t style) {
  switch (style) {
    case ZoProtoNode::Geometry:
      return "joint";
    case ZoProtoNode::Handle:
      return "handle";
    case ZoProtoNode::Floor:
      return "floor";
    case ZoProtoNode::Camera:
      return "camera";
    case ZoProtoNode::Light:
      return "light";
    case ZoProtoNode::SplineStyle:
      return "spline";
    default:
      return "other";
  }
}

char const* LimitName(ZoJLimit const* limit) {
  static char const* const names[] = {"none", "hinge", "euler", "linear", "box"};
  if (limit == nullptr) return "-";
  int type = limit->GetType();
  return type >= 0 && type <= 4 ? names[type] : "?";
}

ZoProtoNode* Node(char const* name, int32_t style, ZoVector3 const& offset) {
  return zodemo::NewNode(name, style, offset);
}

using zodemo::About;

void PrintTree(std::FILE* out, ZoProtoNode const* node, ZoProtoTraversal const& all, ZoProtoTraversal const& joints,
               int depth) {
  int triangles = 0;
  if (node->ColModel() != nullptr && node->ColModel()->GetTriangleSet() != nullptr)
    triangles = node->ColModel()->GetTriangleSet()->GetNumTriangles();
  int joint = joints.NodeIndex(node);
  char jointText[16] = "  -";
  if (joint >= 0) std::snprintf(jointText, sizeof jointText, "%3d", joint);
  std::fprintf(out, "  %2d %s  %*s%-10s %-7s limit %-6s marker %3d triangles\n", all.NodeIndex(node), jointText,
               2 * depth, "", node->Name().c_str(), StyleName(node->Style()), LimitName(node->JointLimit()),
               triangles);
  for (ZoTreeNode const* c = node->firstChild(); c != nullptr; c = c->nextSibling())
    if (c->IsType(ZoProtoNode::NODE_TYPE)) PrintTree(out, static_cast<ZoProtoNode const*>(c), all, joints, depth + 1);
}

bool DemoSkeleton(std::FILE* out) {
  bool ok = true;
  float const quarter = 1.5707964f;

  std::unique_ptr<ZoProtoNode> root(Node("Root", ZoProtoNode::Handle, ZoVector3(0, 0, 0)));
  root->HandleInfo()->handleKind = 4;
  ZoProtoNode* hips = Node("Hips", ZoProtoNode::Geometry, ZoVector3(0, 1, 0));
  ZoProtoNode* spine = Node("Spine", ZoProtoNode::Geometry, ZoVector3(0, 0.3f, 0));
  ZoProtoNode* head = Node("Head", ZoProtoNode::Geometry, ZoVector3(0, 0.5f, 0));
  ZoProtoNode* eye = Node("Eye", ZoProtoNode::Camera, ZoVector3(0, 0.1f, 0.1f));
  ZoProtoNode* arm = Node("Arm", ZoProtoNode::Geometry, ZoVector3(0.2f, 0.4f, 0));
  ZoProtoNode* grip = Node("Grip", ZoProtoNode::Handle, ZoVector3(0.5f, 0, 0));
  grip->HandleInfo()->handleKind = 1;
  ZoProtoNode* lamp = Node("Lamp", ZoProtoNode::Light, ZoVector3(0, 2, 1));
  ZoProtoNode* ground = Node("Ground", ZoProtoNode::Floor, ZoVector3(0, 0, 0));
  root->addChild(hips);
  hips->addChild(spine);
  spine->addChild(head);
  head->addChild(eye);
  spine->addChild(arm);
  arm->addChild(grip);
  root->addChild(lamp);
  root->addChild(ground);

  // The geometry of the head is a square; markers for the rest.
  head->GeomInfo()->squareKind = 1;
  head->GeomInfo()->width = 0.2f;
  head->GeomInfo()->height = 0.25f;
  ZoProtoTraversal all(root.get(), 0);
  for (int i = 0; i < all.NumNodes(); ++i) all.Node(i)->CreateColModel();

  // Limits: the spine bends within ±30° about each axis, the head turns on a
  // hinge about y, the arm slides along x.
  auto* bend = new ZoJLEuler;
  for (int axis = 0; axis < 3; ++axis) bend->SetValue(axis, -0.5235988f, 0.5235988f);
  spine->SetJointLimit(bend);
  auto* turn = new ZoJLHinge;
  turn->SetValue(About(-quarter, ZoVector3(0, 1, 0)), About(quarter, ZoVector3(0, 1, 0)), 0);
  head->SetJointLimit(turn);
  auto* slide = new ZoJLLinear;
  slide->SetValue(ZoVector3(0.1f, 0.4f, 0), ZoVector3(0.3f, 0.4f, 0));
  arm->SetJointLimit(slide);

  ZoProtoTraversal joints(root.get(), ZoProtoNode::Geometry);
  std::fprintf(out, "skeleton of %d nodes, %d joints (index, joint index, name, style, limit, marker):\n",
               all.NumNodes(), joints.NumNodes());
  PrintTree(out, root.get(), all, joints, 0);
  std::fprintf(out, "a second arm joint would be named %s\n", all.UniqueNameWithPrefix("arm").c_str());

  // A pose outside the limits, clamped joint by joint.
  ZoTransform3 bent(ZoVector3(0, 0.3f, 0), About(1.0f, ZoVector3(1, 0, 0)));
  int changed = bend->FixTransform(bent);
  float x = 0, y = 0, z = 0;
  bent.rotation.getEuler(x, y, z);
  std::fprintf(out, "spine bent 57.3 deg about x: clamped %d, now %.1f deg\n", changed,
               static_cast<double>(x * 180.0f / ZoMath::PI));
  ok = ok && changed == 1 && std::fabs(x - 0.5235988f) < 1e-4f;
  ZoTransform3 slid(ZoVector3(0.9f, 0.6f, 0.1f), ZoRotation3());
  slide->FixTransform(slid);
  std::fprintf(out, "arm pushed to (0.9, 0.6, 0.1): held at (%.2f, %.2f, %.2f)\n",
               static_cast<double>(slid.translation.x), static_cast<double>(slid.translation.y),
               static_cast<double>(slid.translation.z));
  ok = ok && std::fabs(slid.translation.x - 0.3f) < 1e-5f;

  ZoTransform3 eyeInRoot;
  ok = ok && eye->GetRelativeHomeTransform(root.get(), eyeInRoot) == 1;
  std::fprintf(out, "the eye sits at (%.2f, %.2f, %.2f) in the root's frame\n",
               static_cast<double>(eyeInRoot.translation.x), static_cast<double>(eyeInRoot.translation.y),
               static_cast<double>(eyeInRoot.translation.z));

  // The skeleton as a framed object: written, read back, written again.
  ZoMemoryStream stream;
  stream.version = kZoCurrentVersion;
  stream.WriteObject(root.get());
  int32_t length = 0;
  std::unique_ptr<char, void (*)(void*)> bytes(stream.GetBuffer(length), [](void* p) { ::operator delete(p); });
  ZoMemoryStream in(bytes.get(), length);
  in.version = kZoCurrentVersion;
  std::unique_ptr<ZoProtoNode> copy(in.ReadObjectAs<ZoProtoNode>());
  ok = ok && copy != nullptr && in.Status() == ZoStreamOk;
  if (copy != nullptr) {
    ZoProtoTraversal readBack(copy.get(), 0);
    std::fprintf(out, "written as %d bytes and read back: %d nodes, handle markers %s\n", length,
                 readBack.NumNodes(), readBack.NodeWithName("grip")->ColModel() == nullptr ? "dropped" : "kept");
    ok = ok && readBack.NumNodes() == all.NumNodes() && readBack.NodeWithName("HEAD") != nullptr;
  }
  return ok;
}

}  // namespace

ZO_DEMO_SECTION(60, "skeleton", DemoSkeleton);
