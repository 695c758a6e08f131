// Actor files above the size read whole into memory are read from the file
// with their arrays straight in place, and their sphere trees checked in
// runs: such a file must write its bytes back, and a broken link in a later
// run must be refused as it is from memory.
#include <zoactor/geometry/ZoColModel.h>
#include <zoactor/skeleton/ZoProtoTraversal.h>

#include "ZoActorTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace zoacttest;

namespace {

// Each part is four spheres of 100 segments (9 800 triangles each) merged
// into one set: several MB on file, above what is read whole, and more
// sphere nodes than one run of the tree check holds (1 MiB of 28-byte
// records).
constexpr int kSegments = 100;
constexpr int kSpheresPerPart = 4;

ZoTriangleSet* PartSet(float radius) {
  auto* set = new ZoTriSphere(ZoMaterial(), radius, kSegments);
  for (int k = 1; k < kSpheresPerPart; ++k) {
    ZoTriSphere more(ZoMaterial(), radius, kSegments);
    EXPECT_TRUE(set->Merge(more, ZoTransform3(ZoVector3(3.0f * radius * static_cast<float>(k), 0, 0), ZoRotation3())));
  }
  return set;
}

ZoProtoActor* BigActor() {
  auto* actor = new ZoProtoActor;
  actor->SetName("Boulder");
  auto* hub = new ZoProtoNode;
  hub->SetStyle(ZoProtoNode::Handle);
  for (int i = 0; i < 2; ++i) {
    auto* node = new ZoProtoNode;
    node->SetName(ZoString("part") + ZoString(i));
    node->SetColModel(PartSet(1.0f + static_cast<float>(i)));
    hub->addChild(node);
  }
  actor->SetSkeleton(hub);
  return actor;
}

ZoColModel* PartModel(ZoProtoActor const* actor, int part) {
  return actor->GeomTraversal()->Node(part)->ColModel();
}

TEST(ZoActorFileLarge, ReadsFromTheFileAndWritesItsBytesBack) {
  TempFolder folder;
  ActorRef original(BigActor());
  std::string const path = folder / "Boulder.act";
  ASSERT_EQ(ZoProtoActor::WriteActorFile(path.c_str(), original.get()), 1);
  Bytes file = FileBytes(path);
  ASSERT_GT(file.size(), size_t{1} << 20);
  ASSERT_GT(PartModel(original.get(), 0)->GetNumSpheres() * 28, 1 << 20);

  ZoReadReport report;
  ActorRef fromFile(ZoProtoActor::ReadActorFile(path.c_str(), &report));
  ASSERT_NE(fromFile.get(), nullptr) << report.reason;
  // Every leaf and sphere record as stored: the arrays came straight in place.
  EXPECT_TRUE(ActorFile(fromFile.get()) == file);
}

TEST(ZoActorFileLarge, ABrokenLinkInALaterRunIsRefusedAsFromMemory) {
  TempFolder folder;
  ActorRef original(BigActor());
  // The last sphere node's right child names the first leaf again.
  ZoColModel* model = PartModel(original.get(), 1);
  model->GetRoot()[model->GetNumSpheres() - 1].right = ZoSphereNode::LeafReference(0);
  std::string const path = folder / "Boulder.act";
  ASSERT_EQ(ZoProtoActor::WriteActorFile(path.c_str(), original.get()), 1);
  Bytes file = FileBytes(path);

  ZoReadReport fromFile;
  EXPECT_EQ(ZoProtoActor::ReadActorFile(path.c_str(), &fromFile), nullptr);
  ZoReadReport fromMemory;
  ZoMemoryStream memory(file.data(), static_cast<int32_t>(file.size()));
  EXPECT_EQ(ZoProtoActor::ReadActorFrom(memory, &fromMemory), nullptr);
  EXPECT_EQ(fromFile.status, ZoStreamFormatError);
  EXPECT_STREQ(fromFile.reason, fromMemory.reason);
  EXPECT_NE(std::strstr(fromFile.reason, "links do not form a tree"), nullptr) << fromFile.reason;
  EXPECT_EQ(fromFile.offset, fromMemory.offset);
  EXPECT_GT(fromFile.offset, int64_t{1} << 20);
}

}  // namespace
