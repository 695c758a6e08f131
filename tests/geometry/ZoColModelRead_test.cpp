// Reading stored sphere trees: the one-pass link check accepts exactly the
// trees a walk from the root accepts.
#include "ZoGeometryTestSupport.h"

using namespace zogeotest;

namespace {

// A built model over `n` random triangles.
struct Built {
  ZoColModel model;
  explicit Built(int n) { zogeotest::BuildRandomModel(model, static_cast<unsigned>(n) + 5, n); }
  int n() const { return model.GetTriangleSet()->GetNumTriangles(); }
  // Where the leaf records start in the model's body.
  size_t LeavesAt() const { return 4 + Body(*model.GetTriangleSet()).size() + 4; }
};

void Put(Bytes& bytes, size_t offset, uint32_t word) { std::memcpy(&bytes[offset], &word, 4); }

}  // namespace

TEST(ZoColModelRead, LinkCheckAcceptsWhatAWalkFromTheRootAccepts) {
  // Every child reference of a few built trees replaced by every leaf and
  // sphere reference in range (and one past), and the depth moved by one:
  // the reader accepts a body exactly when a walk from the root does.
  int accepted = 0, refused = 0;
  for (int n : {2, 3, 5, 8, 13}) {
    Built built(n);
    ASSERT_EQ(built.n(), n);
    int const spheres = n - 1;
    size_t const leavesAt = built.LeavesAt();
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
        EXPECT_EQ(reads, zogeotest::WalkAccepts(changed, n, built.model.GetDepth())) << n << " slot " << slot << " " << value;
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
