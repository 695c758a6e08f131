// Collision models: leaf spheres, sphere-tree invariants on random meshes,
// splitting, hooks, user data, copies and the stream body at its versions.
#include "ZoGeometryTestSupport.h"

using namespace zogeotest;

namespace {

// Opens the building steps to the tests.
class OpenModel : public ZoColModel {
 public:
  using ZoColModel::BoundTriangle;
  using ZoColModel::FindSplittingPlane;
  using ZoColModel::ReorderTriangles;
};

// The sphere around two spheres, computed here independently: the smallest
// sphere containing both.
void EnclosingSphere(ZoNode const& a, ZoNode const& b, ZoVector3& center, float& radius) {
  ZoVector3 d = b.center - a.center;
  float length = d.length();
  if (length + b.radius <= a.radius) {
    center = a.center;
    radius = a.radius;
  } else if (length + a.radius <= b.radius) {
    center = b.center;
    radius = b.radius;
  } else {
    radius = (length + a.radius + b.radius) * 0.5f;
    center = a.center + d * ((radius - a.radius) / length);
  }
}

// Checks every structural and geometric invariant of a built tree.
void CheckTree(ZoColModel const& model) {
  ZoTriangleSet const* set = model.GetTriangleSet();
  ASSERT_NE(set, nullptr);
  int n = set->GetNumTriangles();
  ASSERT_EQ(model.GetNumLeaves(), n);
  ASSERT_EQ(model.GetNumSpheres(), n == 1 ? 1 : n - 1);
  ZoLeafNode const* leaves = model.GetLeaves();
  ZoSphereNode const* spheres = model.GetRoot();
  ASSERT_TRUE(leaves != nullptr && spheres != nullptr);
  float scale = 1.0f;
  for (int v = 0; v < set->GetNumVertices(); ++v) scale = std::max(scale, set->Vertex(v).length());
  // Rounding of single-precision coordinates up to `scale`.
  float const tolerance = 2e-5f * scale, sameSphere = 2e-6f * scale;
  auto holdsCorners = [&](ZoNode const& node, int i) {
    for (int c = 0; c < 3; ++c)
      if ((set->Vertex(set->Triangle(i)[c]) - node.center).length() > node.radius + tolerance) return false;
    return true;
  };

  // Leaf i bounds triangle i and names it.
  for (int i = 0; i < n; ++i) {
    ASSERT_EQ(leaves[i].type, 0u);
    ASSERT_EQ(leaves[i].index, static_cast<uint32_t>(i));
    EXPECT_TRUE(holdsCorners(leaves[i], i)) << "leaf " << i;
  }
  if (n == 1) {  // one sphere node over leaf 0, with the leaf's sphere
    EXPECT_EQ(model.GetDepth(), 1);
    EXPECT_EQ(spheres[0].left | spheres[0].right, 0u);
    EXPECT_TRUE(spheres[0].center == leaves[0].center && spheres[0].radius == leaves[0].radius);
    return;
  }
  // Sphere nodes numbered in pre-order, every leaf reached once, the depth.
  std::vector<uint32_t> links;
  for (int k = 0; k < n - 1; ++k) {
    ASSERT_EQ(spheres[k].type, 1u);
    links.insert(links.end(), {spheres[k].left, spheres[k].right});
  }
  ASSERT_TRUE(WalkAccepts(links, n, model.GetDepth()));

  // Every sphere holds every corner of its subtree (children come later in
  // pre-order). No sphere is larger than the merge of its children; one
  // that took the merge holds both children's spheres.
  std::vector<std::vector<int>> below(static_cast<size_t>(n - 1));
  int tookMerge = 0;
  for (int k = n - 2; k >= 0; --k) {
    for (uint32_t child : {spheres[k].left, spheres[k].right}) {
      uint32_t index = ZoSphereNode::ReferenceIndex(child);
      if (ZoSphereNode::IsSphereReference(child))
        below[k].insert(below[k].end(), below[index].begin(), below[index].end());
      else
        below[k].push_back(static_cast<int>(index));
    }
    for (int i : below[k]) ASSERT_TRUE(holdsCorners(spheres[k], i)) << "sphere " << k << " misses triangle " << i;
    ZoNode const* left = model.GetNode(spheres[k].left);
    ZoNode const* right = model.GetNode(spheres[k].right);
    ZoVector3 center;
    float radius = 0;
    EnclosingSphere(*left, *right, center, radius);
    EXPECT_LE(spheres[k].radius, radius + tolerance) << "sphere " << k;
    if ((spheres[k].center - center).length() <= sameSphere && std::fabs(spheres[k].radius - radius) <= sameSphere) {
      ++tookMerge;
      for (ZoNode const* child : {left, right})
        EXPECT_LE((child->center - spheres[k].center).length() + child->radius, spheres[k].radius + tolerance);
    }
  }
  if (n > 100) {
    EXPECT_GT(tookMerge, 0) << "some nodes take their children's merge";
  }
}

using Triple = std::array<float, 9>;

// The triangles of a set as sorted corner-position triples.
std::vector<Triple> TriangleMultiset(ZoTriangleSet const& set) {
  std::vector<Triple> all;
  for (int i = 0; i < set.GetNumTriangles(); ++i) {
    ZoTriangle const& t = set.Triangle(i);
    ZoVector3 const &p = set.Vertex(t[0]), &q = set.Vertex(t[1]), &r = set.Vertex(t[2]);
    all.push_back({p.x, p.y, p.z, q.x, q.y, q.z, r.x, r.y, r.z});
  }
  std::sort(all.begin(), all.end());
  return all;
}

}  // namespace

TEST(ZoColModelLeaves, BoundTriangle) {
  float const h = std::sqrt(3.0f);
  struct Case {
    ZoVector3 corners[3], center;
    float radius;
  } const cases[] = {
      {{{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}, {1, 1, 0}, std::sqrt(2.0f)},  // right: the hypotenuse's midpoint
      // Obtuse at each corner in turn: the midpoint of the opposite edge.
      {{{-3, 0, 0}, {3, 0, 0}, {0, 1, 0}}, {0, 0, 0}, 3.0f},
      {{{0, 1, 0}, {-3, 0, 0}, {3, 0, 0}}, {0, 0, 0}, 3.0f},
      {{{3, 0, 0}, {0, 1, 0}, {-3, 0, 0}}, {0, 0, 0}, 3.0f},
      {{{-1, 0, 5}, {1, 0, 5}, {0, h, 5}}, {0, h / 3, 5}, 2 * h / 3},  // acute: the circumcentre
  };
  for (Case const& c : cases) {
    ZoVector3 center;
    float radius = 0;
    OpenModel::BoundTriangle(c.corners, center, radius);
    ExpectNear(center, c.center);
    EXPECT_NEAR(radius, c.radius, 1e-5f);
  }
}

TEST(ZoColModelBuild, InvariantsOnRandomMeshes) {
  std::mt19937 random(2024);
  for (int n : {1, 2, 3, 4, 5, 7, 16, 33, 100, 257, 1000, 10000}) {
    SCOPED_TRACE(n);
    ZoColModel model;
    ZoTriangleSet* soup = RandomSoup(random, n, n > 100 ? 50.0f : 5.0f);
    auto before = TriangleMultiset(*soup);
    model.SetTriangleSet(soup);
    model.UpdateSphereTree();
    CheckTree(model);
    ZoTriangleSet const& set = *model.GetTriangleSet();
    EXPECT_EQ(TriangleMultiset(set), before) << "building only reorders triangles";
    // Material indices travel with their triangles (triangle t of the soup
    // used vertices 3t .. 3t + 2 and material t mod 2).
    for (int i = 0; i < set.GetNumTriangles(); ++i) EXPECT_EQ(set.MaterialIndex(i), (set.Triangle(i)[0] / 3) % 2);
  }
}

TEST(ZoColModelBuild, CleansAndSkipsWhatItCannotBuild) {
  // Degenerate triangles and unused vertices go; the rest gets a tree.
  // Vertex 4 is unused, vertex 5 at the origin: the last two are degenerate.
  auto* set = new ZoTriangleSet;
  Build(*set, 0, 6, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {7, 7, 7}}, {{0, 1, 2}, {0, 1, 1}, {0, 3, 5}});
  ZoColModel model;
  model.SetTriangleSet(set);
  model.UpdateSphereTree();
  EXPECT_EQ(Describe(*set), "type 0, flags 0, 3 vertices, 1 triangles, 0 textures, 0 materials");
  EXPECT_EQ(model.GetDepth(), 1);

  // Smaller than the 0.0001 diagonal: a box but no tree.
  set->Vertex(0) = ZoVector3(5, 5, 5);
  set->Vertex(1) = ZoVector3(5.00005f, 5, 5);
  set->Vertex(2) = ZoVector3(5, 5.00005f, 5);
  model.UpdateSphereTree();
  EXPECT_EQ(model.GetRoot(), nullptr);
  EXPECT_EQ(model.GetDepth(), 0);
  ZoVector3 lo, hi;
  model.GetBoundingBox(lo, hi);
  EXPECT_EQ(lo, ZoVector3(5, 5, 5));

  // A polyline, a model without a set and a derived set (whose triangles
  // belong to its source) are neither cleaned nor given a tree.
  ZoColModel line, empty, view;
  auto* chain = new ZoTriangleSet;
  chain->Create(ZoTriSetPolyline, 0, 0, 3, 0);
  line.SetTriangleSet(chain);
  std::mt19937 random(1);
  std::unique_ptr<ZoTriangleSet> source(RandomSoup(random, 4));
  auto* derived = new ZoTriangleSet;
  derived->Create(source.get(), 0, 0);
  view.SetTriangleSet(derived);
  for (ZoColModel* skipped : {&line, &empty, &view}) {
    skipped->UpdateSphereTree();
    EXPECT_EQ(skipped->GetRoot(), nullptr);
  }
  EXPECT_EQ(chain->GetNumVertices(), 3);
}

TEST(ZoColModelBuild, SplitNeverLeavesASideEmpty) {
  OpenModel model;
  BuildRandomModel(model, 9, 4);
  ASSERT_NE(model.GetLeaves(), nullptr);
  std::vector<ZoVector3> corners(12);  // no triangle changes sides below
  int first1 = -1, count1 = -1, first2 = -1, count2 = -1;
  auto reorder = [&](int count, float at) {
    model.ReorderTriangles(0, count, ZoVector3(at, 0, 0), ZoVector3(1, 0, 0), corners.data(), first1, count1, first2,
                           count2);
  };
  // All on the negative side: the walk stops on the last triangle, which
  // goes to the second part.
  reorder(4, 100);
  EXPECT_EQ(std::make_tuple(first1, count1, first2, count2), std::make_tuple(0, 3, 3, 1));
  // All on the positive side: the first part would be empty, so halves.
  reorder(3, -100);
  EXPECT_EQ(std::make_pair(count1, count2), std::make_pair(1, 2));

  // Ties go to the later axis: x only when strictly longest, y when
  // strictly longer than z, else z.
  ZoRotation3 const turn = zotest::About(ZoMath::HALF_PI, ZoVector3(0, 0, 1));
  ZoOrientedBox box(ZoTransform3(ZoVector3(1, 2, 3), turn), ZoVector3(2, 2, 1));
  struct Case {
    ZoVector3 size, normal;
  } const cases[] = {{{2, 2, 1}, {-1, 0, 0}},  // the box's y axis, turned
                     {{2, 2, 2}, {0, 0, 1}},
                     {{3, 2, 3}, {0, 0, 1}},
                     {{3, 2, 2.9f}, {0, 1, 0}}};  // the box's x axis, turned
  for (auto const& c : cases) {
    box.size = c.size;
    ZoVector3 point, normal;
    OpenModel::FindSplittingPlane(box, point, normal);
    EXPECT_EQ(point, ZoVector3(1, 2, 3));
    ExpectNear(normal, c.normal);
  }
}

TEST(ZoColModelHooks, RequestsAndTakeOver) {
  FakeHookManager hooks;
  {
    ZoColModel model;
    BuildRandomModel(model, 4, 5);
    EXPECT_EQ(hooks.requests, (std::vector<std::pair<int32_t, ZoColModel*>>{{36, &model}, {37, &model}}));
    EXPECT_NE(model.GetRoot(), nullptr);

    // The engine builds the tree: the model is left as it was.
    hooks.answer = 1;
    ZoSphereNode* root = model.GetRoot();
    model.UpdateSphereTree();
    model.DeleteSphereTree();
    EXPECT_EQ(model.GetRoot(), root);
    hooks.answer = 0;
    model.DeleteSphereTree();
    EXPECT_EQ(model.GetRoot(), nullptr);
    EXPECT_EQ(model.GetDepth(), 0);
    EXPECT_NE(model.GetTriangleSet(), nullptr);
    hooks.requests.clear();
  }
  // The destructor offers the deletion too.
  ASSERT_EQ(hooks.requests.size(), 1u);
  EXPECT_EQ(hooks.requests[0].first, 37);
  EXPECT_TRUE(hooks.reservedUntouched);

  // A hook that refuses to build leaves an untouched set (not cleaned).
  hooks.answer = 1;
  ZoColModel refused;
  auto* set = new ZoTriangleSet;
  set->Create(ZoTriSetIndexed, 0, 1, 3, 0);
  refused.SetTriangleSet(set);
  refused.UpdateSphereTree();
  EXPECT_EQ(set->GetNumTriangles(), 1);
  EXPECT_EQ(refused.GetRoot(), nullptr);
  hooks.answer = 0;
}

TEST(ZoColModelOwnership, UserDataSetsAndCopies) {
  zotest::CountingAi first, second;
  {
    ZoColModel model;
    EXPECT_EQ(model.SetUserData(&first), 1);
    EXPECT_EQ(model.SetUserData(&first), 1);
    EXPECT_EQ(first.releases, 0);
    model.SetUserData(&second);
    EXPECT_EQ(first.releases, 1);
    EXPECT_EQ(model.GetUserData(), &second);

    std::mt19937 random(6);
    model.SetTriangleSet(RandomSoup(random, 20));
    model.UpdateSphereTree();
    ZoColModel copy(model);  // the same set, and a tree built again
    EXPECT_EQ(copy.GetUserData(), nullptr);
    EXPECT_NE(copy.GetTriangleSet(), model.GetTriangleSet());
    EXPECT_EQ(zotest::Hex(Body(*copy.GetTriangleSet())), zotest::Hex(Body(*model.GetTriangleSet())));
    CheckTree(copy);

    ZoColModel assigned;
    assigned.SetUserData(&first);
    assigned = model;
    EXPECT_EQ(assigned.GetUserData(), &first);
    assigned = assigned;  // NOLINT: self-assignment changes nothing
    CheckTree(assigned);
    assigned.SetUserData(nullptr);
    EXPECT_EQ(first.releases, 2);

    // Installing another set drops the tree and the old set.
    model.SetTriangleSet(RandomSoup(random, 3));
    EXPECT_EQ(model.GetRoot(), nullptr);
  }
  EXPECT_EQ(second.releases, 1);
}

namespace {

// The body of a model, built by hand from its fields and its set's body.
zotest::Bytes HandBuiltBody(ZoColModel const& model, int32_t version) {
  ByteBuilder bytes;
  bytes.i32(1).append(Body(*model.GetTriangleSet(), version)).i32(model.GetDepth());
  auto node = [&](ZoNode const& n) {
    bytes.f32(n.center.x).f32(n.center.y).f32(n.center.z).u32(n.type | (n.index << 2));
    if (version != 100) bytes.f32(n.radius);
  };
  for (int i = 0; i < model.GetNumLeaves(); ++i) node(model.GetLeaves()[i]);
  for (int k = 0; k < model.GetNumSpheres(); ++k) {
    node(model.GetRoot()[k]);
    bytes.u32(model.GetRoot()[k].left).u32(model.GetRoot()[k].right);
  }
  if (version >= 106) {
    ZoOrientedBox const& box = model.OrientedBox();
    ZoTransform3 const& t = box.transform;
    bytes.f32(t.translation.x).f32(t.translation.y).f32(t.translation.z);
    bytes.f32(t.rotation.w).f32(t.rotation.x).f32(t.rotation.y).f32(t.rotation.z);
    bytes.f32(box.size.x).f32(box.size.y).f32(box.size.z);
  }
  return bytes;
}

}  // namespace

TEST(ZoColModelStream, BodyByteForByteAtEachVersion) {
  EXPECT_EQ(Body(ZoColModel()), ByteBuilder().i32(0).get());
  ZoColModel two, nine;
  BuildRandomModel(two, 2, 2);
  BuildRandomModel(nine, 14, 9);
  for (ZoColModel const* built : {&two, &nine})
    for (int32_t version : {106, 105, 101, 100}) {
      SCOPED_TRACE(testing::Message() << built->GetNumLeaves() << " leaves, version " << version);
      zotest::Bytes expected = HandBuiltBody(*built, version);
      EXPECT_EQ(Body(*built, version), expected);
      ZoColModel back;
      ASSERT_EQ(ReadBody(back, expected, version), ZoStreamOk);
      EXPECT_EQ(Body(back, version), expected);  // written again: the same bytes
      // Version 100 stores no radius, versions below 106 no oriented box,
      // and none the axis-aligned box.
      for (int i = 0; version == 100 && i < back.GetNumLeaves(); ++i) EXPECT_EQ(back.GetLeaves()[i].radius, 0.0f);
      for (int k = 0; version == 100 && k < back.GetNumSpheres(); ++k) EXPECT_EQ(back.GetRoot()[k].radius, 0.0f);
      EXPECT_EQ(back.OrientedBox().size, version >= 106 ? built->OrientedBox().size : ZoVector3());
      ZoVector3 lo(1, 1, 1), hi(1, 1, 1);
      back.GetBoundingBox(lo, hi);
      EXPECT_TRUE(lo == ZoVector3() && hi == ZoVector3());
    }
}

TEST(ZoColModelStream, AStaleTreeIsNotWritten) {
  ZoColModel model;
  BuildRandomModel(model, 77, 20);
  // An edited set no longer matches its tree: written as a model without
  // one, depth 0 after the set.
  ZoTriangleSet* set = model.GetTriangleSet();
  set->Create(ZoTriSetIndexed, 0, 1, 3, 0);
  EXPECT_EQ(Body(model), ByteBuilder().i32(1).append(Body(*set)).i32(0).get());
}
