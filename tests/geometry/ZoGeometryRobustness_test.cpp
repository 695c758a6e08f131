// Untrusted bodies: counts, indices, flags, types and tree links that a
// file may get wrong fail the read with an error status and leave nothing
// half-valid behind; every truncation fails cleanly.
#include "ZoGeometryTestSupport.h"

#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriShapes.h>
#include <zoactor/geometry/ZoTriangleSet.h>
#include <zoactor/serialization/ZoReadLimits.h>
#include <zoactor/values/ZoTypedValue.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>

using zogeotest::ReadBody;
using zotest::Body;
using zotest::ByteBuilder;
using zotest::Bytes;

namespace {

void PutU32(Bytes& bytes, size_t offset, uint32_t value) { std::memcpy(&bytes[offset], &value, 4); }

// A header of six counts followed by `tail`.
Bytes SetBody(int32_t type, int32_t flags, int32_t nv, int32_t nt, int32_t perVertex, int32_t nm, Bytes const& tail) {
  return ByteBuilder().i32(type).i32(flags).i32(nv).i32(nt).i32(perVertex).i32(nm).append(tail);
}

// Three zero vertices and, for indexed sets, the given triangle.
Bytes ThreeVertices() {
  ByteBuilder b;
  for (int i = 0; i < 9; ++i) b.f32(static_cast<float>(i));
  return b;
}

ZoStreamError ReadSet(Bytes const& bytes, ZoTriangleSet& set) { return ReadBody(set, bytes); }

void ExpectEmptySet(ZoTriangleSet const& set) {
  EXPECT_EQ(set.GetType(), ZoTriSetUndefined);
  EXPECT_EQ(set.GetNumVertices(), 0);
  EXPECT_EQ(set.GetNumTriangles(), 0);
  EXPECT_EQ(set.GetNumMaterials(), 0);
  EXPECT_EQ(set.GetVertices(), nullptr);
}

// A full-featured set: every array, two materials, one with a property.
ZoTriangleSet* RichSet() {
  auto* set = new ZoTriangleSet;
  set->Create(ZoTriSetIndexed, ZoTriSetAllFlags, 2, 4, 2);
  set->SetNumMaterials(2);
  set->Material(1).SetOpacityMask(ZoString("mask"));
  set->Material(1).numTextures = 1;
  set->Material(1).textures[0].name = ZoString("wood");
  for (int v = 0; v < 4; ++v) set->Vertex(v) = ZoVector3(static_cast<float>(v), static_cast<float>(v * v), 1);
  set->Triangle(0).Set(0, 1, 2);
  set->Triangle(1).Set(0, 2, 3);
  set->MaterialIndex(1) = 1;
  return set;
}

}  // namespace

TEST(ZoTriangleSetRobustness, CountsThatCannotBeTrue) {
  struct Case {
    char const* what;
    Bytes body;
    ZoStreamError expected;
  } const cases[] = {
      {"huge vertex count", SetBody(0, 0, 0x7FFFFFFF, 0, 0, 0, {}), ZoStreamReadError},
      {"huge triangle count", SetBody(0, 0, 3, 0x40000000, 0, 0, ThreeVertices()), ZoStreamReadError},
      {"texture product past any array", SetBody(3, ZoTriSetTextures, 0x10000, 0, 0x10000, 0, {}),
       ZoStreamFormatError},
      {"texture product past 64 bits in bytes", SetBody(3, ZoTriSetTextures, 0x7FFFFFFF, 0, 0x7FFFFFFF, 0, {}),
       ZoStreamFormatError},
      {"huge texture count", SetBody(3, ZoTriSetTextures, 0x1000, 0, 0x1000, 0, {}), ZoStreamReadError},
      {"strip whose vertex count disagrees, with huge texture pairs",
       SetBody(2, ZoTriSetAllFlags, 0, 0, 0x41000000, 8, {}), ZoStreamFormatError},
      {"huge material count", SetBody(3, 0, 0, 0, 0, 0x10000000, {}), ZoStreamReadError},
      {"negative vertices", SetBody(3, 0, -1, 0, 0, 0, {}), ZoStreamFormatError},
      {"negative triangles", SetBody(0, 0, 3, -5, 0, 0, ThreeVertices()), ZoStreamFormatError},
      {"negative texture pairs", SetBody(3, ZoTriSetTextures, 0, 0, -2, 0, {}), ZoStreamFormatError},
      {"negative materials", SetBody(3, 0, 0, 0, 0, -1, {}), ZoStreamFormatError},
      {"polyline with triangles", SetBody(3, 0, 3, 1, 0, 0, ThreeVertices()), ZoStreamFormatError},
      {"strip with the wrong vertex count", SetBody(1, 0, 3, 2, 0, 0, ThreeVertices()), ZoStreamFormatError},
      {"triangles over two vertices",
       SetBody(0, 0, 2, 1, 0, 0, ByteBuilder().f32(0).f32(0).f32(0).f32(1).f32(0).f32(0).i32(0).i32(1).i32(1)),
       ZoStreamFormatError},
      {"texture pairs without the flag", SetBody(3, 0, 3, 0, 1, 0, ThreeVertices()), ZoStreamFormatError},
      {"unknown flag bit", SetBody(3, 16, 0, 0, 0, 0, {}), ZoStreamFormatError},
      {"unknown type", SetBody(5, 0, 0, 0, 0, 0, {}), ZoStreamFormatError},
      {"negative type", SetBody(-1, 0, 0, 0, 0, 0, {}), ZoStreamFormatError},
      {"corner past the vertices",
       SetBody(0, 0, 3, 1, 0, 0, ByteBuilder().append(ThreeVertices()).i32(0).i32(1).i32(3)), ZoStreamFormatError},
      {"negative corner",
       SetBody(0, 0, 3, 1, 0, 0, ByteBuilder().append(ThreeVertices()).i32(-1).i32(1).i32(2)), ZoStreamFormatError},
      {"material index past the materials",
       SetBody(0, ZoTriSetMaterialIndices, 3, 1, 0, 0, ByteBuilder().append(ThreeVertices()).i32(0).i32(1).i32(2).i16(0)),
       ZoStreamFormatError},
      {"negative material index",
       SetBody(0, ZoTriSetMaterialIndices, 3, 1, 0, 1,
               ByteBuilder().append(ThreeVertices()).i32(0).i32(1).i32(2).i16(-1).append(Body(ZoMaterial()))),
       ZoStreamFormatError},
  };
  for (auto const& c : cases) {
    ZoTriangleSet set;
    set.Create(ZoTriSetIndexed, ZoTriSetNormals, 1, 3, 0);  // something to replace
    EXPECT_EQ(ReadSet(c.body, set), c.expected) << c.what;
    ExpectEmptySet(set);
  }
  // The same shapes of body with consistent counts read.
  ZoTriangleSet good;
  EXPECT_EQ(ReadSet(SetBody(0, ZoTriSetMaterialIndices, 3, 1, 0, 1,
                            ByteBuilder().append(ThreeVertices()).i32(0).i32(1).i32(2).i16(0).append(
                                Body(ZoMaterial()))),
                    good),
            ZoStreamOk);
  EXPECT_EQ(good.GetNumTriangles(), 1);
}

TEST(ZoTriangleSetRobustness, AllocationCapIsInclusive) {
  // Ten vertices take 120 bytes: at a cap of 120 they read, at 119 not.
  ByteBuilder vertices;
  for (int i = 0; i < 30; ++i) vertices.f32(1);
  Bytes body = SetBody(3, 0, 10, 0, 0, 0, vertices);
  ZoReadLimits::SetMaxAllocation(120);
  ZoTriangleSet set;
  EXPECT_EQ(ReadSet(body, set), ZoStreamOk);
  ZoReadLimits::SetMaxAllocation(119);
  EXPECT_EQ(ReadSet(body, set), ZoStreamFormatError);
  ZoReadLimits::Reset();
}

TEST(ZoTriangleSetRobustness, TruncatedAtEveryLength) {
  std::unique_ptr<ZoTriangleSet> rich(RichSet());
  Bytes full = Body(*rich);
  for (size_t length = 0; length < full.size(); ++length) {
    ZoTriangleSet set;
    Bytes prefix(full.begin(), full.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_NE(ReadSet(prefix, set), ZoStreamOk) << length;
    ExpectEmptySet(set);
  }
  ZoTriangleSet whole;
  EXPECT_EQ(ReadSet(full, whole), ZoStreamOk);
  zogeotest::ExpectSameSet(*rich, whole);
}

namespace {

// A valid body of a model over `n` random triangles, with the offsets of
// its tree records.
struct ModelBody {
  Bytes bytes;
  size_t depthAt = 0;
  size_t leavesAt = 0;
  size_t spheresAt = 0;
  int n = 0;
};

ModelBody MakeModelBody(int n, int32_t version = kZoCurrentVersion) {
  std::mt19937 random(static_cast<unsigned>(n));
  ZoColModel model;
  model.SetTriangleSet(zogeotest::RandomSoup(random, n));
  model.UpdateSphereTree();
  EXPECT_NE(model.GetRoot(), nullptr);
  ModelBody body;
  body.bytes = Body(model, version);
  size_t record = version == 100 ? 16 : 20;
  body.depthAt = 4 + Body(*model.GetTriangleSet(), version).size();
  body.leavesAt = body.depthAt + 4;
  body.spheresAt = body.leavesAt + record * static_cast<size_t>(n);
  body.n = n;
  return body;
}

ZoStreamError ReadModel(Bytes const& bytes, ZoColModel& model, int32_t version = kZoCurrentVersion) {
  return ReadBody(model, bytes, version);
}

}  // namespace

TEST(ZoColModelRobustness, BrokenTreesAreRefused) {
  ModelBody five = MakeModelBody(5);
  {
    ZoColModel model;
    ASSERT_EQ(ReadModel(five.bytes, model), ZoStreamOk);
    ASSERT_NE(model.GetRoot(), nullptr);
  }
  uint32_t const sphere = ZoSphereNode::SPHERE_BIT;
  auto leafWord = [&](int i) { return five.leavesAt + 20 * static_cast<size_t>(i) + 12; };
  auto sphereWord = [&](int k) { return five.spheresAt + 28 * static_cast<size_t>(k) + 12; };
  auto left = [&](int k) { return five.spheresAt + 28 * static_cast<size_t>(k) + 20; };
  auto right = [&](int k) { return five.spheresAt + 28 * static_cast<size_t>(k) + 24; };
  struct Case {
    char const* what;
    size_t offset;
    uint32_t value;
  } const cases[] = {
      {"has-set word 2", 0, 2},
      {"negative depth", five.depthAt, 0xFFFFFFFFu},
      {"wrong depth", five.depthAt, 17},
      {"leaf index not its position", leafWord(2), (3u << 2)},
      {"leaf of sphere type", leafWord(0), 1},
      {"sphere of leaf type", sphereWord(1), 0},
      {"sphere with an index", sphereWord(0), 1 | (4u << 2)},
      {"leaf reference past the leaves", left(0), 5},
      {"sphere reference past the spheres", right(0), sphere | 4},
      {"reference back to the root", right(1), sphere | 0},
      {"reference to itself", left(1), sphere | 1},
      {"the root's left child made leaf 0", left(0), 0},
  };
  for (auto const& c : cases) {
    Bytes bytes = five.bytes;
    // Keep the change only when it changes something (a tree may already
    // hold that value there).
    uint32_t old = 0;
    std::memcpy(&old, &bytes[c.offset], 4);
    if (old == c.value) continue;
    PutU32(bytes, c.offset, c.value);
    ZoColModel model;
    EXPECT_EQ(ReadModel(bytes, model), ZoStreamFormatError) << c.what;
    EXPECT_EQ(model.GetRoot(), nullptr) << c.what;
    EXPECT_EQ(model.GetLeaves(), nullptr) << c.what;
    EXPECT_EQ(model.GetDepth(), 0) << c.what;
  }

  // Both children of every sphere the same leaf, a cycle, an unreached node.
  {
    Bytes bytes = five.bytes;
    for (int k = 0; k < 4; ++k) {
      PutU32(bytes, left(k), 0);
      PutU32(bytes, right(k), 0);
    }
    ZoColModel model;
    EXPECT_EQ(ReadModel(bytes, model), ZoStreamFormatError);
  }
  {
    Bytes bytes = five.bytes;
    for (int k = 0; k < 4; ++k) {
      PutU32(bytes, left(k), sphere | static_cast<uint32_t>((k + 1) % 4));
      PutU32(bytes, right(k), sphere | static_cast<uint32_t>(k));
    }
    ZoColModel model;
    EXPECT_EQ(ReadModel(bytes, model), ZoStreamFormatError);
  }

  // One triangle: its sphere's children must both be leaf 0, the depth 1.
  ModelBody one = MakeModelBody(1);
  for (size_t offset : {one.spheresAt + 20, one.spheresAt + 24, one.depthAt}) {
    Bytes bytes = one.bytes;
    PutU32(bytes, offset, 2);
    ZoColModel model;
    EXPECT_EQ(ReadModel(bytes, model), ZoStreamFormatError) << offset;
  }

  // A tree over a polyline.
  ZoTriangleSet line;
  line.Create(ZoTriSetPolyline, 0, 0, 3, 0);
  Bytes overLine = ByteBuilder().i32(1).append(Body(line)).i32(1).get();
  for (int i = 0; i < 2 * 20 + 8; ++i) overLine.push_back(0);
  ZoColModel model;
  EXPECT_EQ(ReadModel(overLine, model), ZoStreamFormatError);
  EXPECT_NE(model.GetTriangleSet(), nullptr);
}

TEST(ZoColModelRobustness, TruncatedAtEveryLength) {
  for (int32_t version : {kZoCurrentVersion, 100, 103}) {
    ModelBody body = MakeModelBody(4, version);
    for (size_t length = 0; length < body.bytes.size(); ++length) {
      Bytes prefix(body.bytes.begin(), body.bytes.begin() + static_cast<std::ptrdiff_t>(length));
      ZoColModel model;
      EXPECT_NE(ReadModel(prefix, model, version), ZoStreamOk) << version << " " << length;
      EXPECT_EQ(model.GetRoot(), nullptr);
    }
    ZoColModel whole;
    EXPECT_EQ(ReadModel(body.bytes, whole, version), ZoStreamOk);
  }
}

TEST(ZoColModelRobustness, DeepDegenerateTreesBuildWithoutRecursion) {
  // Triangles at exponentially growing distances make every split peel off
  // one triangle: a tree as deep as the set is long.
  int const n = 3000;
  auto* set = new ZoTriangleSet;
  set->Create(ZoTriSetIndexed, 0, n, 3 * n, 0);
  float x = 1.0f;
  for (int i = 0; i < n; ++i) {
    x *= 1.02f;
    set->Vertex(3 * i) = ZoVector3(x, 0, 0);
    set->Vertex(3 * i + 1) = ZoVector3(x, 0.001f * x, 0);
    set->Vertex(3 * i + 2) = ZoVector3(x, 0, 0.001f * x);
    set->Triangle(i).Set(3 * i, 3 * i + 1, 3 * i + 2);
  }
  ZoColModel model;
  model.SetTriangleSet(set);
  model.UpdateSphereTree();
  ASSERT_NE(model.GetRoot(), nullptr);
  EXPECT_EQ(model.GetNumSpheres(), n - 1);
  EXPECT_GT(model.GetDepth(), 100);
  // It streams and reads back: the reader walks it without recursion too.
  Bytes bytes = Body(model);
  ZoColModel back;
  EXPECT_EQ(ReadBody(back, bytes), ZoStreamOk);
  EXPECT_EQ(back.GetDepth(), model.GetDepth());
}

TEST(ZoColModelRobustness, NotANumberVerticesDoNotHangTheBuild) {
  // A NaN inside the set: the build ends with a tree of the right shape.
  auto* set = zogeotest::RandomSoup(*std::make_unique<std::mt19937>(2), 10);
  set->Vertex(4) = ZoVector3(std::nanf(""), 0, 0);
  ZoColModel model;
  model.SetTriangleSet(set);
  model.UpdateSphereTree();
  ASSERT_NE(model.GetRoot(), nullptr);
  EXPECT_EQ(model.GetNumSpheres(), 9);
  ZoColModel back;
  EXPECT_EQ(ReadBody(back, Body(model)), ZoStreamOk);  // the reader checks the shape
  // A NaN in the first vertex makes the box not a number: no tree.
  set->Vertex(0) = ZoVector3(std::nanf(""), 0, 0);
  model.UpdateSphereTree();
  EXPECT_EQ(model.GetRoot(), nullptr);
}

// Random byte changes to valid bodies: every read ends cleanly, and what
// reads back writes the same bytes again after a second read.
TEST(ZoGeometryRobustness, MutatedBodiesReadSafelyAndWriteBackStably) {
  std::mt19937 random(99);
  std::unique_ptr<ZoTriangleSet> rich(RichSet());
  ZoMaterial material;
  ZoTriRing ring(material, 1, 2, 1, 3);
  struct Sample {
    Bytes bytes;
    bool model;
    int32_t version;
  };
  std::vector<Sample> bodies = {{zotest::Body(*rich), false, kZoCurrentVersion},
                                {zotest::Body(ring), false, kZoCurrentVersion},
                                {MakeModelBody(6).bytes, true, kZoCurrentVersion},
                                {MakeModelBody(5, 100).bytes, true, 100},
                                {MakeModelBody(1).bytes, true, kZoCurrentVersion}};
  int readBack = 0;
  for (Sample const& body : bodies) {
    for (int trial = 0; trial < 1500; ++trial) {
      Bytes bytes = body.bytes;
      int changes = 1 + static_cast<int>(random() % 4);
      for (int c = 0; c < changes; ++c) {
        size_t at = random() % bytes.size();
        switch (random() % 3) {
          case 0:
            bytes[at] = static_cast<uint8_t>(random());
            break;
          case 1:
            bytes[at] ^= static_cast<uint8_t>(1u << (random() % 8));
            break;
          default:
            bytes[at] = (random() % 2) != 0 ? 0xFF : 0x00;
            break;
        }
      }
      std::unique_ptr<ZoStreamObject> object;
      if (body.model)
        object = std::make_unique<ZoColModel>();
      else
        object = std::make_unique<ZoTriangleSet>();
      if (ReadBody(*object, bytes, body.version) != ZoStreamOk) continue;
      Bytes again = zotest::Body(*object, body.version);
      std::unique_ptr<ZoStreamObject> second;
      if (body.model)
        second = std::make_unique<ZoColModel>();
      else
        second = std::make_unique<ZoTriangleSet>();
      ASSERT_EQ(ReadBody(*second, again, body.version), ZoStreamOk) << "trial " << trial;
      ASSERT_EQ(zotest::Body(*second, body.version), again) << "trial " << trial;
      ++readBack;
    }
  }
  EXPECT_GT(readBack, 500);  // many changes (inside floats) still read
}
