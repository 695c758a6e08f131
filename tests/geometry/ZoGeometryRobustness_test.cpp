// Untrusted bodies: counts, indices, flags, types and tree links that a
// file may get wrong fail the read with an error status and leave nothing
// half-valid behind; every truncation fails cleanly; the one-pass link check
// accepts exactly the trees a walk from the root accepts.
#include "ZoGeometryTestSupport.h"

using namespace zogeotest;

namespace {

// A header of six counts followed by `tail`.
Bytes SetBody(int32_t type, int32_t flags, int32_t nv, int32_t nt, int32_t perVertex, int32_t nm, Bytes const& tail) {
  return ByteBuilder().i32(type).i32(flags).i32(nv).i32(nt).i32(perVertex).i32(nm).append(tail);
}

// Three vertices, then the given triangle corners (if any).
Bytes Corners(std::initializer_list<int32_t> corners = {}) {
  ByteBuilder b;
  for (int i = 0; i < 9; ++i) b.f32(static_cast<float>(i));
  for (int32_t c : corners) b.i32(c);
  return b;
}

}  // namespace

// Each bad body fails with its offset and reason and leaves the set empty;
// material indices are kept whatever the materials (users check them).
TEST(ZoTriangleSetRobustness, CountsThatCannotBeTrue) {
  Bytes const material = Body(ZoMaterial());
  ByteBuilder vertices;
  for (int i = 0; i < 30; ++i) vertices.f32(1);
  Bytes const tenVertices = SetBody(3, 0, 10, 0, 0, 0, vertices);
  char const* const header = "unknown layout, flag or negative count";
  char const* const layout = "counts that disagree with the set's layout";
  struct Case {
    char const* what;
    Bytes body;
    ZoStreamError expected;
    int64_t offset;
    char const* words;
  } const cases[] = {
      {"header cut short", ByteBuilder().i32(0).i32(0).i16(3), ZoStreamReadError, 8, "4 bytes wanted, 2 left"},
      {"huge vertex count", SetBody(0, 0, 0x7FFFFFFF, 0, 0, 0, {}), ZoStreamReadError, 24,
       "a triangle set of 25769803764 bytes, 0 left"},
      {"huge triangle count", SetBody(0, 0, 3, 0x40000000, 0, 0, Corners()), ZoStreamReadError, 24,
       "a triangle set of 12884901924 bytes, 36 left"},
      {"texture product past any array", SetBody(3, ZoTriSetTextures, 0x10000, 0, 0x10000, 0, {}),
       ZoStreamFormatError, 24, layout},
      {"texture product past 64 bits in bytes", SetBody(3, ZoTriSetTextures, 0x7FFFFFFF, 0, 0x7FFFFFFF, 0, {}),
       ZoStreamFormatError, 24, layout},
      {"huge texture count", SetBody(3, ZoTriSetTextures, 0x1000, 0, 0x1000, 0, {}), ZoStreamReadError, 24,
       "a triangle set of 134266880 bytes, 0 left"},
      {"strip whose vertex count disagrees, with huge texture pairs",
       SetBody(2, ZoTriSetAllFlags, 0, 0, 0x41000000, 8, {}), ZoStreamFormatError, 24, layout},
      {"huge material count", SetBody(3, 0, 0, 0, 0, 0x10000000, {}), ZoStreamReadError, 24,
       "a triangle set of 15032385536 bytes, 0 left"},
      {"negative vertices", SetBody(3, 0, -1, 0, 0, 0, {}), ZoStreamFormatError, 24, header},
      {"negative triangles", SetBody(0, 0, 3, -5, 0, 0, Corners()), ZoStreamFormatError, 24, header},
      {"negative texture pairs", SetBody(3, ZoTriSetTextures, 0, 0, -2, 0, {}), ZoStreamFormatError, 24, header},
      {"negative materials", SetBody(3, 0, 0, 0, 0, -1, {}), ZoStreamFormatError, 24, header},
      {"unknown flag bit", SetBody(3, 16, 0, 0, 0, 0, {}), ZoStreamFormatError, 24, header},
      {"unknown type", SetBody(5, 0, 0, 0, 0, 0, {}), ZoStreamFormatError, 24, header},
      {"negative type", SetBody(-1, 0, 0, 0, 0, 0, {}), ZoStreamFormatError, 24, header},
      {"polyline with triangles", SetBody(3, 0, 3, 1, 0, 0, Corners()), ZoStreamFormatError, 24, layout},
      {"strip with the wrong vertex count", SetBody(1, 0, 3, 2, 0, 0, Corners()), ZoStreamFormatError, 24, layout},
      {"triangles over two vertices",
       SetBody(0, 0, 2, 1, 0, 0, ByteBuilder().f32(0).f32(0).f32(0).f32(1).f32(0).f32(0).i32(0).i32(1).i32(1)),
       ZoStreamFormatError, 24, layout},
      {"texture pairs without the flag", SetBody(3, 0, 3, 0, 1, 0, Corners()), ZoStreamFormatError, 24, layout},
      {"corner past the vertices", SetBody(0, 0, 3, 1, 0, 0, Corners({0, 1, 3})), ZoStreamFormatError, 72,
       "a corner index outside the vertices"},
      {"negative corner", SetBody(0, 0, 3, 1, 0, 0, Corners({-1, 1, 2})), ZoStreamFormatError, 72,
       "a corner index outside the vertices"},
      {"vertices cut short", zotest::Cut(tenVertices, 1), ZoStreamReadError, 24,
       "a triangle set of 120 bytes, 119 left"},
      {"material index with no materials",
       SetBody(0, ZoTriSetMaterialIndices, 3, 1, 0, 0, ByteBuilder().append(Corners({0, 1, 2})).i16(0)), ZoStreamOk, 0,
       nullptr},
      {"negative material index",
       SetBody(0, ZoTriSetMaterialIndices, 3, 1, 0, 1, ByteBuilder().append(Corners({0, 1, 2})).i16(-1).append(material)),
       ZoStreamOk, 0, nullptr},
  };
  for (auto const& c : cases) {
    SCOPED_TRACE(c.what);
    if (c.expected != ZoStreamOk) zotest::ExpectRefused({c.what, c.body, ZoTypeCode::TriangleSet, c.expected, c.offset, c.words});
    ZoTriangleSet set;
    set.Create(ZoTriSetIndexed, ZoTriSetNormals, 1, 3, 0);  // something to replace
    EXPECT_EQ(ReadBody(set, c.body), c.expected);
    if (c.expected == ZoStreamOk)
      EXPECT_EQ(set.GetNumTriangles(), 1);
    else
      EXPECT_EQ(Describe(set) + (set.GetVertices() != nullptr ? ", holding vertices" : ""),
                "type 4, flags 0, 0 vertices, 0 triangles, 0 textures, 0 materials");
  }
  // Ten vertices take 120 bytes: at a cap of 120 they read, at 119 not.
  ZoTriangleSet set;
  ZoReadLimits::SetMaxAllocation(120);
  EXPECT_EQ(ReadBody(set, tenVertices), ZoStreamOk);
  ZoReadLimits::SetMaxAllocation(119);
  zotest::ExpectRefused({"vertices past the cap", tenVertices, ZoTypeCode::TriangleSet, ZoStreamFormatError, 24,
                         "count 10 of 12-byte elements passes the 119-byte allocation cap"});
  ZoReadLimits::Reset();
}

namespace {

// A valid body of a model over `n` random triangles, with the offsets of
// its tree records.
struct ModelBody {
  Bytes bytes;
  size_t depthAt = 0, leavesAt = 0, spheresAt = 0;
};

ModelBody MakeModelBody(int n, int32_t version = kZoCurrentVersion) {
  ZoColModel model;
  BuildRandomModel(model, static_cast<unsigned>(n), n);
  EXPECT_NE(model.GetRoot(), nullptr);
  ModelBody body;
  body.bytes = Body(model, version);
  body.depthAt = 4 + Body(*model.GetTriangleSet(), version).size();
  body.leavesAt = body.depthAt + 4;
  body.spheresAt = body.leavesAt + (version == 100 ? 16 : 20) * static_cast<size_t>(n);
  return body;
}

ZoStreamError Patched(Bytes bytes, std::initializer_list<std::pair<size_t, uint32_t>> words,
                      int32_t version = kZoCurrentVersion) {
  for (auto const& w : words) std::memcpy(&bytes[w.first], &w.second, 4);
  ZoColModel model;
  ZoStreamError status = ReadBody(model, bytes, version);
  if (status != ZoStreamOk) {
    EXPECT_EQ(model.GetRoot(), nullptr);
    EXPECT_EQ(model.GetLeaves(), nullptr);
    EXPECT_EQ(model.GetDepth(), 0);
  }
  return status;
}

uint32_t Word(Bytes const& bytes, size_t offset) {
  uint32_t word = 0;
  std::memcpy(&word, &bytes[offset], 4);
  return word;
}

}  // namespace

// Each broken tree fails with its reason, and the model keeps no tree. Tree
// records arrive as blocks; one out of place still fails at its own offset,
// also in the shorter records of version 100.
TEST(ZoColModelRobustness, BrokenTreesAreRefused) {
  ModelBody five = MakeModelBody(5);
  ModelBody two = MakeModelBody(2);
  ModelBody short100 = MakeModelBody(5, 100);
  ASSERT_EQ(Patched(five.bytes, {}), ZoStreamOk);
  uint32_t const sphere = ZoSphereNode::SPHERE_BIT;
  auto leafWord = [&](int i) { return five.leavesAt + 20 * static_cast<size_t>(i) + 12; };
  auto sphereWord = [&](int k) { return five.spheresAt + 28 * static_cast<size_t>(k) + 12; };
  auto left = [&](int k) { return five.spheresAt + 28 * static_cast<size_t>(k) + 20; };
  auto right = [&](int k) { return five.spheresAt + 28 * static_cast<size_t>(k) + 24; };
  char const* const links = "links do not form a tree over every leaf once";
  struct Case {
    char const* what;
    ModelBody const& model;
    std::vector<std::pair<size_t, uint32_t>> words;
    int64_t offset;  // -1: the end of the body
    char const* reason;
    int32_t version = kZoCurrentVersion;
  } const cases[] = {
      {"has-set word 2", five, {{0, 2}}, 0, "has-set flag 2 is neither 0 nor 1"},
      {"negative depth", five, {{five.depthAt, 0xFFFFFFFFu}}, static_cast<int64_t>(five.depthAt), "depth -1 is negative"},
      {"wrong depth", five, {{five.depthAt, 17}}, -1, links},
      {"leaf index not its position", five, {{leafWord(2), 3u << 2}}, static_cast<int64_t>(leafWord(3)) - 12,
       "a leaf record out of place"},
      {"leaf of sphere type", five, {{leafWord(0), 1}}, static_cast<int64_t>(leafWord(1)) - 12, "a leaf record"},
      {"sphere of leaf type", five, {{sphereWord(1), 0}}, static_cast<int64_t>(sphereWord(2)) - 12,
       "a sphere record out of place"},
      {"last leaf at 100", short100, {{short100.leavesAt + 4 * 16 + 12, 1}}, static_cast<int64_t>(short100.spheresAt),
       "a leaf record out of place", 100},
      {"last sphere at 100", short100, {{short100.spheresAt + 3 * 24 + 12, 0}},
       static_cast<int64_t>(short100.spheresAt) + 4 * 24, "a sphere record out of place", 100},
      {"sphere with an index", five, {{sphereWord(0), 1 | (4u << 2)}}, static_cast<int64_t>(sphereWord(1)) - 12,
       "a sphere record"},
      {"leaf reference past the leaves", five, {{left(0), 5}}, -1, links},
      {"a cycle", five, {{left(0), sphere | 1}, {right(0), sphere | 0}, {left(1), sphere | 2}, {right(1), sphere | 1},
                         {left(2), sphere | 3}, {right(2), sphere | 2}, {left(3), sphere | 0}, {right(3), sphere | 3}},
       -1, links},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes bytes = c.model.bytes;
    for (auto const& w : c.words) std::memcpy(&bytes[w.first], &w.second, 4);
    ASSERT_NE(bytes, c.model.bytes);
    zotest::ExpectRefused({c.what, bytes, ZoTypeCode::ColModel, ZoStreamFormatError,
                           c.offset >= 0 ? c.offset : static_cast<int64_t>(bytes.size()), c.reason, c.version});
    EXPECT_EQ(Patched(bytes, {}, c.version), ZoStreamFormatError);
  }

  // One triangle: its sphere's children must both be leaf 0, the depth 1.
  ModelBody one = MakeModelBody(1);
  for (size_t offset : {one.spheresAt + 20, one.spheresAt + 24, one.depthAt})
    EXPECT_EQ(Patched(one.bytes, {{offset, 2}}), ZoStreamFormatError) << offset;

  // A tree over a polyline, and one longer than the data.
  ZoTriangleSet line;
  line.Create(ZoTriSetPolyline, 0, 0, 3, 0);
  Bytes overLine = ByteBuilder().i32(1).append(Body(line)).i32(1).get();
  overLine.resize(overLine.size() + 2 * 20 + 8);
  zotest::ExpectRefused({"tree over a polyline", overLine, ZoTypeCode::ColModel, ZoStreamFormatError,
                         static_cast<int64_t>(overLine.size()) - 48, "needs an indexed set of triangles"});
  zotest::ExpectRefused({"tree cut short", zotest::Cut(five.bytes, 50), ZoTypeCode::ColModel, ZoStreamReadError,
                         static_cast<int64_t>(five.leavesAt), "a tree over 5 triangles needs 212 bytes, 202 left"});

  // Reading into a model that held a tree replaces it (the sanitizers watch).
  ZoColModel held;
  ASSERT_EQ(ReadBody(held, five.bytes), ZoStreamOk);
  ASSERT_EQ(ReadBody(held, two.bytes), ZoStreamOk);
  EXPECT_EQ(held.GetNumLeaves(), 2);
  EXPECT_EQ(ReadBody(held, zotest::Cut(five.bytes, 1)), ZoStreamReadError);
  EXPECT_EQ(held.GetRoot(), nullptr);
}

// Every child reference of a few built trees replaced by every leaf and
// sphere reference in range (and one past), and the depth moved by one: the
// one-pass link check accepts a body exactly when a walk from the root does.
TEST(ZoColModelRobustness, LinkCheckAcceptsWhatAWalkFromTheRootAccepts) {
  int accepted = 0, refused = 0;
  for (int n : {2, 3, 5, 8, 13}) {
    ModelBody const built = MakeModelBody(n);
    auto linkAt = [&](size_t slot) { return built.spheresAt + 28 * (slot / 2) + 20 + 4 * (slot % 2); };
    int const depth = static_cast<int>(Word(built.bytes, built.depthAt));
    std::vector<uint32_t> links, candidates;
    for (size_t slot = 0; slot < 2 * static_cast<size_t>(n - 1); ++slot) links.push_back(Word(built.bytes, linkAt(slot)));
    for (int i = 0; i <= n; ++i) candidates.push_back(static_cast<uint32_t>(i));
    for (int k = 0; k < n; ++k) candidates.push_back(ZoSphereNode::SphereReference(static_cast<uint32_t>(k)));
    for (size_t slot = 0; slot < links.size(); ++slot) {
      for (uint32_t value : candidates) {
        std::vector<uint32_t> changed = links;
        changed[slot] = value;
        bool reads = Patched(built.bytes, {{linkAt(slot), value}}) == ZoStreamOk;
        EXPECT_EQ(reads, WalkAccepts(changed, n, depth)) << n << " slot " << slot << " " << value;
        (reads ? accepted : refused) += 1;
      }
    }
    for (int delta : {-1, 1})
      EXPECT_NE(Patched(built.bytes, {{built.depthAt, static_cast<uint32_t>(depth + delta)}}), ZoStreamOk) << n << delta;
  }
  EXPECT_GT(accepted, 0);  // swaps of leaves keep a tree
  EXPECT_GT(refused, accepted);
}

TEST(ZoColModelRobustness, DeepDegenerateTreesBuildAndReadWithoutRecursion) {
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
  ZoColModel model, back;
  model.SetTriangleSet(set);
  model.UpdateSphereTree();
  ASSERT_NE(model.GetRoot(), nullptr);
  EXPECT_EQ(model.GetNumSpheres(), n - 1);
  EXPECT_GT(model.GetDepth(), 100);
  EXPECT_EQ(ReadBody(back, Body(model)), ZoStreamOk);
  EXPECT_EQ(back.GetDepth(), model.GetDepth());
}

TEST(ZoColModelRobustness, NotANumberVerticesDoNotHangTheBuild) {
  std::mt19937 random(2);
  auto* set = RandomSoup(random, 10);
  set->Vertex(4) = ZoVector3(std::nanf(""), 0, 0);
  ZoColModel model, back;
  model.SetTriangleSet(set);
  model.UpdateSphereTree();
  ASSERT_NE(model.GetRoot(), nullptr);
  EXPECT_EQ(model.GetNumSpheres(), 9);
  EXPECT_EQ(ReadBody(back, Body(model)), ZoStreamOk);  // the reader checks the shape
  // A NaN in the first vertex makes the box not a number: no tree.
  set->Vertex(0) = ZoVector3(std::nanf(""), 0, 0);
  model.UpdateSphereTree();
  EXPECT_EQ(model.GetRoot(), nullptr);
}
