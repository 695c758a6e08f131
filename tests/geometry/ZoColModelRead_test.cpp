// Reading stored sphere trees: records that arrive as blocks still fail at
// the offset of the record that is out of place, short records of version
// 100 land in the right fields, and the one-pass link check accepts exactly
// the trees a walk from the root accepts.
#include "ZoGeometryTestSupport.h"

#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/geometry/ZoTriangleSet.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

using zogeotest::ReadBody;
using zotest::Body;
using zotest::Bytes;

namespace {

// A built model over `n` random triangles.
struct Built {
  ZoColModel model;
  explicit Built(int n) {
    std::mt19937 random(static_cast<unsigned>(n) + 5);
    model.SetTriangleSet(zogeotest::RandomSoup(random, n));
    model.UpdateSphereTree();
  }
  int n() const { return model.GetTriangleSet()->GetNumTriangles(); }
  // Where the leaf records start in the model's body at `version`.
  size_t LeavesAt(int32_t version) const { return 4 + Body(*model.GetTriangleSet(), version).size() + 4; }
};

void Put(Bytes& bytes, size_t offset, uint32_t word) { std::memcpy(&bytes[offset], &word, 4); }

// Whether a walk from the root accepts the links: sphere nodes met in
// pre-order as 0, 1, 2, ..., every leaf once, the deepest leaf at `depth`.
bool WalkAccepts(std::vector<uint32_t> const& links, int leaves, int depth) {
  int spheres = static_cast<int>(links.size() / 2);
  std::vector<int> seen(static_cast<size_t>(leaves), 0);
  int expected = 0, height = 0;
  bool ok = true;
  auto walk = [&](auto&& self, uint32_t reference, int level) -> void {
    if (!ok) return;
    uint32_t index = ZoSphereNode::ReferenceIndex(reference);
    if (!ZoSphereNode::IsSphereReference(reference)) {
      ok = index < static_cast<uint32_t>(leaves) && seen[index]++ == 0;
      height = std::max(height, level + 1);
      return;
    }
    ok = static_cast<int>(index) == expected && expected < spheres;
    if (!ok) return;
    ++expected;
    self(self, links[2 * index], level + 1);
    self(self, links[2 * index + 1], level + 1);
  };
  walk(walk, ZoSphereNode::SphereReference(0), 0);
  for (int s : seen) ok = ok && s == 1;
  return ok && expected == spheres && height == depth;
}

}  // namespace

TEST(ZoColModelRead, RecordsOutOfPlaceFailAtTheirOwnOffset) {
  Built built(6);
  for (int32_t version : {kZoCurrentVersion, 100}) {
    size_t const record = version == 100 ? 16 : 20;
    size_t const leavesAt = built.LeavesAt(version);
    size_t const spheresAt = leavesAt + 6 * record;
    struct Case {
      char const* what;
      size_t word;    // offset of the type-and-index word patched
      uint32_t value;
      size_t end;     // offset behind the record refused
      char const* reason;
    } const cases[] = {
        {"first leaf", leavesAt + 12, 1u << 2, leavesAt + record, "a leaf record out of place"},
        {"fourth leaf", leavesAt + 3 * record + 12, 1, leavesAt + 4 * record, "a leaf record out of place"},
        {"last sphere", spheresAt + 4 * (record + 8) + 12, 0, spheresAt + 5 * (record + 8),
         "a sphere record out of place"},
    };
    for (Case const& c : cases) {
      SCOPED_TRACE(testing::Message() << version << " " << c.what);
      Bytes bytes = Body(built.model, version);
      Put(bytes, c.word, c.value);
      zotest::Reader reader(bytes, version);
      ZoColModel model;
      EXPECT_EQ((*reader >> model).Status(), ZoStreamFormatError);
      EXPECT_STREQ(reader->FailureReason(), c.reason);
      EXPECT_EQ(reader->FailureOffset(), static_cast<int64_t>(c.end));
      EXPECT_EQ(model.GetRoot(), nullptr);
    }
  }
}

TEST(ZoColModelRead, ShortRecordsLandInTheirFields) {
  // Version 100 stores no radius; centres, words and child references of
  // every record must still land where they belong.
  Built built(9);
  ZoColModel back;
  ASSERT_EQ(ReadBody(back, Body(built.model, 100), 100), ZoStreamOk);
  ASSERT_EQ(back.GetDepth(), built.model.GetDepth());
  for (int i = 0; i < 9; ++i) {
    EXPECT_EQ(back.GetLeaves()[i].center, built.model.GetLeaves()[i].center) << i;
    EXPECT_EQ(back.GetLeaves()[i].index, static_cast<uint32_t>(i));
    EXPECT_EQ(back.GetLeaves()[i].radius, 0.0f);
  }
  for (int k = 0; k < 8; ++k) {
    ZoSphereNode const& got = back.GetRoot()[k];
    ZoSphereNode const& want = built.model.GetRoot()[k];
    EXPECT_EQ(got.center, want.center) << k;
    EXPECT_EQ(got.radius, 0.0f);
    EXPECT_EQ(got.left, want.left) << k;
    EXPECT_EQ(got.right, want.right) << k;
  }
}

TEST(ZoColModelRead, LinkCheckAcceptsWhatAWalkFromTheRootAccepts) {
  // Every child reference of a few built trees replaced by every leaf and
  // sphere reference in range (and one past), and the depth moved by one:
  // the reader accepts a body exactly when a walk from the root does.
  int accepted = 0, refused = 0;
  for (int n : {2, 3, 5, 8, 13}) {
    Built built(n);
    ASSERT_EQ(built.n(), n);
    int const spheres = n - 1;
    size_t const leavesAt = built.LeavesAt(kZoCurrentVersion);
    size_t const linksAt = leavesAt + 20 * static_cast<size_t>(n) + 20;
    Bytes const original = Body(built.model);
    std::vector<uint32_t> links;
    for (int k = 0; k < spheres; ++k) links.insert(links.end(), {built.model.GetRoot()[k].left, built.model.GetRoot()[k].right});
    std::vector<uint32_t> candidates;
    for (int i = 0; i <= n; ++i) candidates.push_back(static_cast<uint32_t>(i));
    for (int k = 0; k <= spheres; ++k) candidates.push_back(ZoSphereNode::SphereReference(static_cast<uint32_t>(k)));
    for (size_t slot = 0; slot < links.size(); ++slot) {
      for (uint32_t value : candidates) {
        std::vector<uint32_t> changed = links;
        changed[slot] = value;
        Bytes bytes = original;
        Put(bytes, linksAt + 28 * (slot / 2) + 4 * (slot % 2), value);
        ZoColModel model;
        bool reads = ReadBody(model, bytes) == ZoStreamOk;
        EXPECT_EQ(reads, WalkAccepts(changed, n, built.model.GetDepth())) << n << " slot " << slot << " " << value;
        (reads ? accepted : refused) += 1;
      }
    }
    for (int delta : {-1, 1}) {
      Bytes bytes = original;
      Put(bytes, leavesAt - 4, static_cast<uint32_t>(built.model.GetDepth() + delta));
      ZoColModel model;
      EXPECT_NE(ReadBody(model, bytes), ZoStreamOk) << n << " depth " << delta;
    }
  }
  EXPECT_GT(accepted, 0);  // swaps of leaves keep a tree
  EXPECT_GT(refused, accepted);
}
