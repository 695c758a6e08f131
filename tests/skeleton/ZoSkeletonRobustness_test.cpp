// Bad input for the node and limit readers: bodies cut at every length,
// counts that claim more than the stream holds, children and older tree
// records nested past the cap, joint limits of the wrong class, and older
// geometry whose corners leave their vertices. Under the sanitizers these also
// show that nothing leaks or overruns.
#include <zoactor/skeleton/ZoJLimit.h>
#include <zoactor/skeleton/ZoProtoNode.h>
#include <zoactor/animation/ZoSpline.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoTypedValue.h>

#include "ZoSkeletonTestSupport.h"
#include "ZoOlderLayout.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace zoactortest;
using namespace zoolderlayout;

namespace {

TEST(ZoActorRobustness, EveryTruncatedBodyFails) {
  std::unique_ptr<ZoProtoNode> skeleton = Skeleton();
  OlderNode older = OlderSkeleton();
  std::vector<std::pair<Bytes, int32_t>> bodies;
  for (int32_t version : {103, 106}) bodies.emplace_back(Body(*skeleton, version), version);
  for (int32_t version : {24, 27, 33, 43, 45, 47, 99}) bodies.emplace_back(older.Encode(version), version);
  for (auto const& [bytes, version] : bodies) {
    for (size_t length = 0; length < bytes.size(); ++length) {
      ZoProtoNode node;
      Reader reader(Bytes(bytes.begin(), bytes.begin() + static_cast<long>(length)), version);
      *reader >> node;
      EXPECT_NE(reader->Status(), ZoStreamOk) << "version " << version << ", " << length << " of " << bytes.size();
    }
  }
}

// A current body of a node without children whose child count (its last
// int32) is `count`.
Bytes WithChildCount(int32_t count) {
  Bytes bytes = Body(ZoProtoNode());
  bytes.resize(bytes.size() - 4);
  return ByteBuilder().append(bytes).i32(count);
}

// A chain of `depth` nodes, each the only child of the one before, in the
// current layout or the older one of version 41.
Bytes Chain(int depth, bool older) {
  if (older) {
    OlderNode leaf;
    leaf.withSphere = false;
    OlderNode chain = leaf;
    for (int i = 1; i < depth; ++i) {
      OlderNode up = leaf;
      up.children = {chain};
      chain = up;
    }
    return chain.Encode(41);
  }
  ByteBuilder b;
  Bytes head = WithChildCount(0);
  head.resize(head.size() - 4);
  for (int i = 0; i < depth; ++i) b.append(head).i32(i + 1 < depth ? 1 : 0);
  return b;
}

// An older node body of `format` at `version` whose geometry is `geometry`.
Bytes OlderWithGeometry(int32_t format, std::function<void(ByteBuilder&, int32_t)> geometry, int32_t version = 41) {
  OlderNode older;
  older.format = format;
  older.geometry = std::move(geometry);
  return older.Encode(version);
}

// A current body with `frame` as its framed joint limit.
Bytes WithLimit(Bytes const& frame) {
  ByteBuilder b;
  b.str("");
  AddTransform(b, ZoTransform3());
  b.i32(0).i32(1).append(frame).i32(0).append(Body(ZoPropertyTable()));
  return b.i32(7).i32(1).f32(1).i32(0);
}

TEST(ZoActorRobustness, BadBodiesFailAndKeepNothingOfWhatFailed) {
  struct Case {
    std::string name;
    Bytes bytes;
    int32_t version;
    ZoStreamError status;
  };
  std::vector<Case> cases;
  auto add = [&](std::string name, Bytes bytes, int32_t version, ZoStreamError status) {
    cases.push_back({std::move(name), std::move(bytes), version, status});
  };

  // Counts that claim more than the stream holds fail before allocating.
  add("huge child count", WithChildCount(0x7FFFFFFF), kZoCurrentVersion, ZoStreamReadError);
  ByteBuilder spheres;
  spheres.str("");
  AddTransform(spheres, ZoTransform3());
  spheres.i32(0).i32(0).i32(0x10000000).append(Bytes(64, 0));
  add("huge sphere count", spheres, kZoCurrentVersion, ZoStreamReadError);
  for (int which = 0; which < 3; ++which) {
    add("huge older count " + std::to_string(which), OlderWithGeometry(3, [which](ByteBuilder& b, int32_t v) {
          if (which == 0) {
            b.i32(0x7FFFFFFF);  // materials
            return;
          }
          b.i32(1);
          OlderMaterial(b, v);
          if (which == 2) b.i32(0);  // no vertices
          b.i32(0x40000000);         // vertices or triangles
        }), 41, ZoStreamReadError);
  }

  // Children nested far past the default cap, and older
  // collision-tree sphere nodes nested through their first child.
  add("deep current chain", Chain(5000, false), kZoCurrentVersion, ZoStreamFormatError);
  add("deep older tree", OlderWithGeometry(2, [](ByteBuilder& b, int32_t v) {
        OlderGeometry(b, v, 1, QuadVertices(), {{0, 1, 2, 0}});
        for (int i = 0; i < 3000; ++i) b.chars("NpSM").f32(0).f32(0).f32(0).f32(1).i32(0).i32(1);
        b.i32(0);
      }), 41, ZoStreamFormatError);

  // Joint limits of another class.
  ZoSpline spline;
  ZoIntValue number(3);
  ZoProtoNode inner;
  add("a spline as the limit", WithLimit(Framed(&spline)), kZoCurrentVersion, ZoStreamFormatError);
  add("a value as the limit", WithLimit(Framed(&number)), kZoCurrentVersion, ZoStreamFormatError);
  add("a node as the limit", WithLimit(Framed(&inner)), kZoCurrentVersion, ZoStreamFormatError);

  // Older geometry whose indices leave their arrays, in every format.
  struct Indices {
    char const* what;
    std::vector<OlderVertex> vertices;
    std::vector<OlderTriangle> triangles;
    int32_t materials;
  } const indices[] = {
      {"corner past the vertices", QuadVertices(), {{0, 1, 4, 0}}, 1},
      {"negative corner", QuadVertices(), {{0, -1, 2, 0}}, 1},
      {"triangles on two vertices", {QuadVertices()[0], QuadVertices()[1]}, {{0, 1, 0, 0}}, 1},
  };
  for (Indices const& c : indices) {
    for (int32_t format : {1, 2, 3}) {
      add(std::string(c.what) + ", format " + std::to_string(format), OlderWithGeometry(format, [&](ByteBuilder& b, int32_t v) {
            OlderGeometry(b, v, c.materials, c.vertices, c.triangles);
            if (format == 2) OlderTree(b);
          }, 45), 45, ZoStreamFormatError);
    }
  }

  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ZoProtoNode node;
    EXPECT_EQ(ReadBody(node, c.bytes, c.version), c.status);
    EXPECT_EQ(node.firstChild(), nullptr);
    EXPECT_EQ(node.ColModel(), nullptr);
    EXPECT_EQ(node.JointLimit(), nullptr);
    EXPECT_EQ(node.ColSpheres().GetCount(), 0);
  }

  // What is well formed next to these reads: a negative child count reads as
  // none, a limit of the right class or none at all.
  ZoProtoNode negative;
  EXPECT_EQ(ReadBody(negative, WithChildCount(-5)), ZoStreamOk);
  EXPECT_EQ(negative.firstChild(), nullptr);
  ZoJLEuler euler;
  ZoProtoNode good;
  EXPECT_EQ(ReadBody(good, WithLimit(Framed(&euler))), ZoStreamOk);
  ASSERT_NE(good.JointLimit(), nullptr);
  EXPECT_EQ(good.JointLimit()->GetType(), 2);
  ZoProtoNode none;
  EXPECT_EQ(ReadBody(none, WithLimit(Framed(nullptr))), ZoStreamOk);
  EXPECT_EQ(none.JointLimit(), nullptr);

  // Older material indices outside the materials are kept, as a triangle
  // set keeps them.
  struct Kept {
    char const* what;
    int16_t material;
    int32_t materials;
  } const kept[] = {{"material past the materials", 1, 1}, {"negative material", -1, 1}, {"no materials at all", 0, 0}};
  for (Kept const& c : kept) {
    SCOPED_TRACE(c.what);
    ZoProtoNode node;
    ASSERT_EQ(ReadBody(node, OlderWithGeometry(3, [&](ByteBuilder& b, int32_t v) {
                OlderGeometry(b, v, c.materials, QuadVertices(), {{0, 1, 2, c.material}});
              }, 45), 45), ZoStreamOk);
    ASSERT_NE(node.ColModel(), nullptr);
    ZoTriangleSet const* set = node.ColModel()->GetTriangleSet();
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(set->GetNumMaterials(), c.materials);
    EXPECT_EQ(set->MaterialIndex(0), c.material);
  }
}

TEST(ZoActorRobustness, ChildrenNestAtMostToTheCap) {
  ZoReadLimits::SetMaxDepth(40);
  for (bool older : {false, true}) {
    int32_t version = older ? 41 : kZoCurrentVersion;
    ZoProtoNode shallow;
    EXPECT_EQ(ReadBody(shallow, Chain(40, older), version), ZoStreamOk) << older;
    EXPECT_EQ(shallow.treeSize(0), 40);
    ZoProtoNode deep;
    EXPECT_EQ(ReadBody(deep, Chain(41, older), version), ZoStreamFormatError) << older;
    EXPECT_EQ(deep.treeSize(0), 1);  // the failed child was not kept
  }
  ZoReadLimits::Reset();
}

TEST(ZoActorRobustness, TrianglesOnOneVertexTwiceAreDroppedBeforeTheTreeIsBuilt) {
  // With an infinite coordinate the zero-length edge does not show; the set
  // must still come out readable.
  auto* set = new ZoTriangleSet;
  ASSERT_TRUE(set->Create(ZoTriSetIndexed, ZoTriSetNormals, 1, 3, 0));
  set->Vertex(0) = ZoVector3(1, INFINITY, 0);
  set->Vertex(1) = ZoVector3(0, 1, 0);
  set->Vertex(2) = ZoVector3(1, 1, 0);
  set->Triangle(0).Set(0, 0, 1);
  ZoProtoNode node;
  node.SetColModel(set);
  node.SetModelFormat(3);
  EXPECT_EQ(node.ColModel()->GetTriangleSet()->GetNumTriangles(), 0);
  Bytes bytes = Body(node);
  ZoProtoNode read;
  ASSERT_EQ(ReadBody(read, bytes), ZoStreamOk);
  EXPECT_EQ(Body(read), bytes);
}

}  // namespace
