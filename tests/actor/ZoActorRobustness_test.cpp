// Bad input for the node and limit readers: bodies cut at every length,
// counts that claim more than the stream holds, children and older tree
// records nested past the cap, joint limits of the wrong class, older
// geometry whose indices leave their arrays, and bytes changed one at a
// time (whatever reads must write, read and write again to the same bytes).
// Under the sanitizers these also show that nothing leaks or overruns.
#include <zoactor/actor/ZoJLimit.h>
#include <zoactor/actor/ZoProtoNode.h>
#include <zoactor/animation/ZoSpline.h>
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriShapes.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/values/ZoProperty.h>
#include <zoactor/values/ZoTypedValue.h>

#include "ZoActorTestSupport.h"
#include "ZoOlderLayout.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

using namespace zoactortest;
using namespace zoolderlayout;

namespace {

// A node of each style under one root, with models in every format, limits,
// spheres, properties and a spline; the markers of the styles, or small
// spheres to keep the bodies short.
std::unique_ptr<ZoProtoNode> Skeleton(bool markers) {
  auto root = std::make_unique<ZoProtoNode>();
  root->SetName("root");
  root->SetColModel(new ZoTriCube(ZoMaterial(), ZoVector3(1, 2, 1)));
  root->SetModelFormat(3);
  root->SetJointLimit(new ZoJLHinge);
  root->Properties().Add(ZoProperty("weight", new ZoFloatValue(2.5f)));
  ZoColSphere sphere;
  sphere.radius = 0.3f;
  root->ColSpheres().AppendCopy(sphere);
  int32_t const styles[] = {2, 3, 4, 5, 6, 1};
  int32_t const formats[] = {2, 2, 3, 1, 2, 3};
  ZoProtoNode* parent = root.get();
  for (int i = 0; i < 6; ++i) {
    auto* node = new ZoProtoNode;
    node->SetName(ZoString("n") + ZoString(i));
    node->SetStyle(styles[i]);
    node->SetHomeTransform(ZoTransform3(ZoVector3(0, 1, 0), About(0.2f * static_cast<float>(i), ZoVector3(0, 0, 1))));
    if (markers) node->CreateColModel();
    if (node->ColModel() == nullptr) node->SetColModel(new ZoTriSphere(ZoMaterial(), 0.2f, 4));
    node->SetModelFormat(formats[i]);
    if (i % 2 == 0) node->SetJointLimit(new ZoJLEuler);
    if (styles[i] == 6) {
      node->SplineInfo()->SetLinear(ZoTransform3(), ZoTransform3(ZoVector3(1, 0, 0), ZoRotation3()), 300);
      node->SetJointLimit(new ZoJLLinear);
    }
    if (styles[i] == 1) node->SetJointLimit(new ZoJLTranslate);
    parent->addChild(node);
    if (i == 2) parent = node;
  }
  return root;
}

OlderNode OlderSkeleton() {
  OlderNode hand;
  hand.name = "hand";
  hand.style = 2;
  hand.record = [](ByteBuilder& b, int32_t) { b.i32(1).f32(0.1f).f32(0.3f).u32(0); };
  OlderNode arm;
  arm.name = "arm";
  arm.format = 2;
  arm.withLimit = true;
  arm.geometry = [](ByteBuilder& b, int32_t v) {
    OlderGeometry(b, v, 2, QuadVertices(), QuadTriangles());
    OlderTree(b);
  };
  arm.children = {hand};
  arm.uvFlag = 0;
  OlderNode lamp;
  lamp.name = "lamp";
  lamp.style = 5;
  lamp.format = 3;
  lamp.geometry = [](ByteBuilder& b, int32_t v) { OlderGeometry(b, v, 1, QuadVertices(), {{0, 1, 2, 0}}); };
  lamp.record = [](ByteBuilder& b, int32_t v) {
    b.i32(4).f32(0.5f);
    if (v < 44) {
      b.i32(0).f32(1).f32(1).f32(1);
    } else {
      b.f32(1).f32(1).f32(1);
      for (int i = 0; i < 5; ++i) b.i32(0);
      b.f32(0.5f);
      ByteBuilder name;
      name.chars("glow");
      Bytes padded = name.get();
      padded.resize(v >= 46 ? 76 : 64, 0);
      b.append(padded);
    }
  };
  OlderNode root;
  root.name = "root";
  root.style = 4;
  root.record = [](ByteBuilder& b, int32_t v) { b.append(Bytes(v >= 47 ? 16 : 8, 0)); };
  root.children = {arm, lamp};
  return root;
}

// Every prefix of `bytes` shorter than the whole fails to read, cleanly.
void ExpectEveryTruncationFails(Bytes const& bytes, int32_t version) {
  for (size_t length = 0; length < bytes.size(); ++length) {
    Bytes cut(bytes.begin(), bytes.begin() + static_cast<long>(length));
    ZoProtoNode node;
    Reader reader(cut, version);
    *reader >> node;
    EXPECT_NE(reader->Status(), ZoStreamOk) << "version " << version << ", " << length << " of " << bytes.size();
  }
}

TEST(ZoActorRobustness, EveryTruncatedBodyFails) {
  std::unique_ptr<ZoProtoNode> skeleton = Skeleton(false);
  for (int32_t version : {103, 105, 106}) ExpectEveryTruncationFails(Body(*skeleton, version), version);
  OlderNode older = OlderSkeleton();
  for (int32_t version : {24, 27, 33, 43, 45, 47, 99}) ExpectEveryTruncationFails(older.Encode(version), version);
}

// A current body whose child count (the last int32 of a node without
// children) is replaced.
Bytes WithChildCount(int32_t count) {
  ZoProtoNode node;
  Bytes bytes = Body(node);
  bytes.resize(bytes.size() - 4);
  ByteBuilder b;
  b.append(bytes).i32(count);
  return b.get();
}

TEST(ZoActorRobustness, CountsLargerThanTheStreamFailBeforeAllocating) {
  ZoProtoNode node;
  EXPECT_EQ(ReadBody(node, WithChildCount(0x7FFFFFFF)), ZoStreamReadError);
  EXPECT_EQ(node.firstChild(), nullptr);
  ZoProtoNode negative;  // a negative count reads as none
  EXPECT_EQ(ReadBody(negative, WithChildCount(-5)), ZoStreamOk);
  EXPECT_EQ(negative.firstChild(), nullptr);

  // Sphere records: the count follows name, transform, format and has-limit.
  ByteBuilder spheres;
  spheres.str("");
  AddTransform(spheres, ZoTransform3());
  spheres.i32(0).i32(0).i32(0x10000000);
  spheres.append(Bytes(64, 0));
  ZoProtoNode withSpheres;
  EXPECT_EQ(ReadBody(withSpheres, spheres), ZoStreamReadError);
  EXPECT_EQ(withSpheres.ColSpheres().GetCount(), 0);

  // Older geometry: material, vertex and triangle counts.
  for (int which = 0; which < 3; ++which) {
    OlderNode older;
    older.format = 3;
    older.geometry = [which](ByteBuilder& b, int32_t v) {
      if (which == 0) {
        b.i32(0x7FFFFFFF);  // materials
        return;
      }
      b.i32(1);
      OlderMaterial(b, v);
      if (which == 2) b.i32(0);  // no vertices
      b.i32(0x40000000);         // vertices or triangles
    };
    ZoProtoNode read;
    EXPECT_EQ(ReadBody(read, older.Encode(41), 41), ZoStreamReadError) << which;
    EXPECT_EQ(read.ColModel(), nullptr);
  }
}

// A chain of `depth` nodes, each the only child of the one before.
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
  // Current layout: every node's body ends with its child count, followed
  // by the child's body; the last ends with 0.
  ZoProtoNode plain;
  Bytes body = Body(plain);
  Bytes head(body.begin(), body.end() - 4);
  ByteBuilder b;
  for (int i = 0; i < depth; ++i) b.append(head).i32(i + 1 < depth ? 1 : 0);
  return b.get();
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

  // At the default cap a chain far deeper than that fails without
  // exhausting the stack.
  ZoProtoNode veryDeep;
  EXPECT_EQ(ReadBody(veryDeep, Chain(5000, false)), ZoStreamFormatError);
}

// An older node of format 2 whose collision-tree record is `tree`.
Bytes OlderWithTree(std::function<void(ByteBuilder&)> const& tree) {
  OlderNode older;
  older.format = 2;
  older.geometry = [&](ByteBuilder& b, int32_t v) {
    OlderGeometry(b, v, 1, QuadVertices(), {{0, 1, 2, 0}});
    tree(b);
  };
  return older.Encode(41);
}

TEST(ZoActorRobustness, OlderCollisionTreesTruncatedOrTooDeepFail) {
  ByteBuilder tree;
  OlderTree(tree);
  Bytes full = tree.get();
  // The tree record alone, cut at every length, fails with a read error.
  for (size_t length = 0; length < full.size(); ++length) {
    ByteBuilder head;
    head.str("n");
    AddTransform(head, ZoTransform3());
    head.i32(2);
    OlderGeometry(head, 41, 1, QuadVertices(), {{0, 1, 2, 0}});
    head.append(Bytes(full.begin(), full.begin() + static_cast<long>(length)));
    ZoProtoNode node;
    EXPECT_EQ(ReadBody(node, head.get(), 41), ZoStreamReadError) << length;
    EXPECT_EQ(node.ColModel(), nullptr);
  }
  // Sphere nodes nested through their first child, far past the cap.
  Bytes deep = OlderWithTree([](ByteBuilder& b) {
    for (int i = 0; i < 3000; ++i) b.chars("NpSM").f32(0).f32(0).f32(0).f32(1).i32(0).i32(1);
    b.i32(0);
  });
  ZoProtoNode node;
  EXPECT_EQ(ReadBody(node, deep, 41), ZoStreamFormatError);
  EXPECT_EQ(node.ColModel(), nullptr);
}

TEST(ZoActorRobustness, JointLimitsOfAnotherClassAreRefused) {
  auto withLimit = [](Bytes const& frame) {
    ByteBuilder b;
    b.str("");
    AddTransform(b, ZoTransform3());
    b.i32(0).i32(1).append(frame).i32(0).append(Body(ZoPropertyTable()));
    b.i32(7).i32(1).f32(1).i32(0);
    return b.get();
  };
  ZoSpline spline;
  ZoIntValue number(3);
  ZoProtoNode inner;
  for (ZoStreamObject const* wrong : std::vector<ZoStreamObject const*>{&spline, &number, &inner}) {
    ZoProtoNode node;
    EXPECT_EQ(ReadBody(node, withLimit(Framed(wrong))), ZoStreamFormatError);
    EXPECT_EQ(node.JointLimit(), nullptr);
  }
  ZoJLEuler euler;
  ZoProtoNode good;
  EXPECT_EQ(ReadBody(good, withLimit(Framed(&euler))), ZoStreamOk);
  ASSERT_NE(good.JointLimit(), nullptr);
  EXPECT_EQ(good.JointLimit()->GetType(), 2);
  ZoProtoNode none;  // a null frame: no limit
  EXPECT_EQ(ReadBody(none, withLimit(Framed(nullptr))), ZoStreamOk);
  EXPECT_EQ(none.JointLimit(), nullptr);
}

TEST(ZoActorRobustness, OlderGeometryIndicesMustLieInTheirArrays) {
  struct Case {
    char const* what;
    std::vector<OlderVertex> vertices;
    std::vector<OlderTriangle> triangles;
    int32_t materials;
  } const cases[] = {
      {"corner past the vertices", QuadVertices(), {{0, 1, 4, 0}}, 1},
      {"negative corner", QuadVertices(), {{0, -1, 2, 0}}, 1},
      {"material past the materials", QuadVertices(), {{0, 1, 2, 1}}, 1},
      {"negative material", QuadVertices(), {{0, 1, 2, -1}}, 1},
      {"no materials at all", QuadVertices(), {{0, 1, 2, 0}}, 0},
      {"triangles on two vertices", {QuadVertices()[0], QuadVertices()[1]}, {{0, 1, 0, 0}}, 1},
  };
  for (Case const& c : cases) {
    for (int32_t format : {1, 2, 3}) {
      OlderNode older;
      older.format = format;
      older.geometry = [&](ByteBuilder& b, int32_t v) {
        OlderGeometry(b, v, c.materials, c.vertices, c.triangles);
        if (format == 2) OlderTree(b);
      };
      ZoProtoNode node;
      EXPECT_EQ(ReadBody(node, older.Encode(45), 45), ZoStreamFormatError) << c.what << ", format " << format;
      EXPECT_EQ(node.ColModel(), nullptr);
    }
  }
}

TEST(ZoActorRobustness, UnknownModelFormatsCarryNoGeometry) {
  ZoProtoNode node;
  node.SetColModel(new ZoTriCube(ZoMaterial(), ZoVector3(1, 1, 1)));
  node.SetModelFormat(7);
  Bytes bytes = Body(node);
  ZoProtoNode read;
  ASSERT_EQ(ReadBody(read, bytes), ZoStreamOk);
  EXPECT_EQ(read.ColModel(), nullptr);
  EXPECT_EQ(Body(read), bytes);

  // Read with format 7 from a file: kept, nothing read for it, written as 0.
  Bytes seven = bytes;
  seven[4 + 28] = 7;
  ZoProtoNode odd;
  ASSERT_EQ(ReadBody(odd, seven), ZoStreamOk);
  EXPECT_EQ(odd.GetModelFormat(), 7);
  EXPECT_EQ(Body(odd), bytes);
}

TEST(ZoActorRobustness, TrianglesOnOneVertexTwiceAreDroppedBeforeTheTreeIsBuilt) {
  // With an infinite coordinate the zero-length edge does not show; the
  // set must still come out readable.
  // Cleaned without it, the set would keep its triangle on two vertices.
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

// Reads `bytes` as a framed object at `version`; when that succeeds the
// object must write, read back and write again to the same bytes.
void ExpectStableRoundTrip(Bytes const& bytes, int32_t version, char const* what, size_t at) {
  std::unique_ptr<ZoStreamObject> object;
  {
    Reader reader(bytes, version);
    object.reset(reader->ReadObject(nullptr));
    if (object == nullptr || reader->Status() != ZoStreamOk) return;
  }
  Bytes first = Framed(object.get());
  Reader again(first);
  std::unique_ptr<ZoStreamObject> reread(again->ReadObject(nullptr));
  ASSERT_NE(reread, nullptr) << what << " at " << at;
  ASSERT_EQ(again->Status(), ZoStreamOk) << what << " at " << at;
  Bytes second = Framed(reread.get());
  ASSERT_EQ(second.size(), first.size()) << what << " at " << at;
  if (second == first) return;
  // Only a rebuilt tree (model format 3) may reorder triangles.
  auto* before = dynamic_cast<ZoProtoNode*>(object.get());
  auto* after = dynamic_cast<ZoProtoNode*>(reread.get());
  ASSERT_TRUE(before != nullptr && after != nullptr) << what << " at " << at;
  EXPECT_EQ(BodyWithoutGeometry(*after), BodyWithoutGeometry(*before)) << what << " at " << at;
}

TEST(ZoActorRobustness, ChangedBytesReadCleanlyAndRoundTrip) {
  std::mt19937 random(1);
  std::unique_ptr<ZoProtoNode> skeleton = Skeleton(true);
  Bytes current = Framed(skeleton.get());
  ByteBuilder olderFramed;
  olderFramed.chars("oNrP").append(OlderSkeleton().Encode(45));
  struct Input {
    char const* what;
    Bytes bytes;
    int32_t version;
  } const inputs[] = {{"current", current, 106}, {"current at 105", Framed(skeleton.get(), 105), 105},
                      {"older", olderFramed.get(), 45}};
  for (Input const& input : inputs) {
    ExpectStableRoundTrip(input.bytes, input.version, input.what, 0);
    std::uniform_int_distribution<size_t> where(4, input.bytes.size() - 1);
    std::uniform_int_distribution<int> value(0, 255);
    for (int i = 0; i < 1500; ++i) {
      Bytes changed = input.bytes;
      size_t at = where(random);
      changed[at] = static_cast<uint8_t>(value(random));
      ExpectStableRoundTrip(changed, input.version, input.what, at);
    }
  }
}

}  // namespace
