// Demonstrates geometry: primitive shapes merged into one collision model,
// its sphere tree and bounds, a ray cast through the tree and a distance
// query between two triangles.
#include "Demo.h"

#include <zoactor/zoactor.h>

#include <cmath>
#include <vector>

namespace {

// The nearest triangle a ray hits, found by walking the sphere tree from
// the root and skipping every subtree whose sphere the ray misses.
int CastRay(ZoColModel const& model, ZoVector3 const& origin, ZoVector3 const& direction, float& t) {
  ZoTriangleSet const* set = model.GetTriangleSet();
  if (model.GetRoot() == nullptr || set == nullptr) return -1;
  auto missesSphere = [&](ZoNode const& node) {
    // Distance from the sphere's centre to the ray (direction of unit length).
    ZoVector3 toCenter = node.center - origin;
    float along = toCenter.dot(direction);
    float gap2 = toCenter.lengthSquared() - along * along;
    return gap2 > node.radius * node.radius || along + node.radius < 0.0f;
  };
  int hit = -1;
  std::vector<uint32_t> pending{ZoSphereNode::SphereReference(0)};
  while (!pending.empty()) {
    uint32_t reference = pending.back();
    pending.pop_back();
    ZoNode const* node = model.GetNode(reference);
    if (node == nullptr || missesSphere(*node)) continue;
    if (ZoSphereNode::IsSphereReference(reference)) {
      auto const* sphere = static_cast<ZoSphereNode const*>(node);
      pending.push_back(sphere->right);
      if (sphere->left != sphere->right) pending.push_back(sphere->left);
    } else if (set->CheckRayIntersection(static_cast<int>(node->index), origin, direction, t, 1)) {
      hit = static_cast<int>(node->index);
    }
  }
  return hit;
}

bool DemoGeometry(std::FILE* out) {
  bool ok = true;
  ZoMaterial material;
  ZoTriCube cube(material, ZoVector3(2, 2, 2));
  ZoTriSphere ball(material, 1.0f, 16);
  ZoTriCylinder post(material, 0.5f, 3.0f, 10);

  // One set: the cube at the origin, the ball to the right, the post to the left.
  auto* set = new ZoTriangleSet(cube);
  set->Merge(ball, ZoTransform3(ZoVector3(4, 0, 0), ZoRotation3()));
  set->Merge(post, ZoTransform3(ZoVector3(-4, 0, 0), ZoRotation3()));
  std::fprintf(out, "merged a cube (%d), a sphere (%d) and a cylinder (%d): %d triangles, %d vertices\n",
               cube.GetNumTriangles(), ball.GetNumTriangles(), post.GetNumTriangles(), set->GetNumTriangles(),
               set->GetNumVertices());

  ZoColModel model;
  model.SetTriangleSet(set);
  model.UpdateSphereTree();
  ZoVector3 lo, hi;
  model.GetBoundingBox(lo, hi);
  ZoOrientedBox const& box = model.OrientedBox();
  std::fprintf(out, "sphere tree: depth %d, %d leaves, %d sphere nodes; root radius %.3f\n", model.GetDepth(),
               model.GetNumLeaves(), model.GetNumSpheres(),
               model.GetRoot() != nullptr ? static_cast<double>(model.GetRoot()->radius) : 0.0);
  std::fprintf(out, "bounds (%.2f, %.2f, %.2f) to (%.2f, %.2f, %.2f); oriented box %.2f x %.2f x %.2f\n",
               static_cast<double>(lo.x), static_cast<double>(lo.y), static_cast<double>(lo.z),
               static_cast<double>(hi.x), static_cast<double>(hi.y), static_cast<double>(hi.z),
               static_cast<double>(box.size.x), static_cast<double>(box.size.y), static_cast<double>(box.size.z));
  ok = ok && model.GetRoot() != nullptr && model.GetNumLeaves() == set->GetNumTriangles();
  ok = ok && std::fabs(lo.x + 4.5f) < 1e-5f && std::fabs(hi.x - 5.0f) < 1e-5f;

  // A ray straight down onto the top of the cube.
  float t = 1e30f;
  ZoVector3 origin(0.25f, 0.3f, 10.0f), down(0, 0, -1);
  int hit = CastRay(model, origin, down, t);
  std::fprintf(out, "a ray from (0.25, 0.3, 10) downwards hits triangle %d at t = %.3f\n", hit,
               static_cast<double>(t));
  ok = ok && hit >= 0 && std::fabs(t - 9.0f) < 1e-5f;

  // The distance from that triangle to a square held 2 above the cube.
  if (hit >= 0) {
    ZoTriSquare square(material, 1.0f, 1.0f);
    ZoTransform3 identity, above(ZoVector3(0, 0, 3), ZoRotation3());
    ZoVector3 onModel, onSquare;
    float distance = set->FindDistance(hit, identity, &square, 0, above, onModel, onSquare);
    std::fprintf(out, "distance to a square 2 above: %.3f, from (%.2f, %.2f, %.2f) to (%.2f, %.2f, %.2f)\n",
                 static_cast<double>(distance), static_cast<double>(onModel.x), static_cast<double>(onModel.y),
                 static_cast<double>(onModel.z), static_cast<double>(onSquare.x), static_cast<double>(onSquare.y),
                 static_cast<double>(onSquare.z));
    ok = ok && std::fabs(distance - 2.0f) < 1e-5f;
  }
  return ok;
}

}  // namespace

ZO_DEMO_SECTION(40, "geometry", DemoGeometry);
