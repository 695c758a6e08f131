// Reads a sequence file from arbitrary bytes inside a sequence folder that
// holds one actor ("Walker", in Actors/) and one motion file ("Ann.anm", in
// Motion/), so that inputs naming them reach the prototype loading and the
// motion files. Every record that opens is read whole and node by node, and
// the two must agree.
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/sequence/ZoAnimSequence.h>
#include <zoactor/skeleton/ZoProtoNode.h>

#include "ZoSequenceFuzzSupport.h"

#include <cstdint>
#include <string>

namespace {

// The sequence folder with its actor and motion file, made once.
std::string const& SequenceFolder() {
  static std::string const folder = [] {
    std::string root = zoseqfuzz::Scratch() + "/Run/";
    ZoPlatform::CreateFolders((root + "Actors/Walker").c_str());
    ZoPlatform::CreateFolders((root + "Motion").c_str());
    auto* actor = new ZoProtoActor;
    actor->SetName("Walker");
    auto* hips = new ZoProtoNode;
    hips->SetName("Hips");
    hips->SetStyle(ZoProtoNode::Geometry);
    actor->SetSkeleton(hips);
    zoseqfuzz::Check(ZoProtoActor::WriteActorFile((root + "Actors/Walker/Walker.act").c_str(), actor) == 1,
                     "the actor could not be written");
    actor->Release();
    ZoAnimFile motion;
    ZoTransform3 frame[2];
    frame[1].translation = ZoVector3(1, 2, 3);
    zoseqfuzz::Check(motion.Open((root + "Motion/Ann.anm").c_str(), 1) == 1, "the motion file could not be made");
    motion.WriteFrameData(frame, 2);
    motion.WriteFrameData(frame, 2);
    motion.Close();
    return root;
  }();
  return folder;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size > (1u << 20)) return 0;
  zoseqfuzz::Silence();
  std::string const file = SequenceFolder() + "run.seq";
  zoseqfuzz::WriteWhole(file, data, size);
  ZoAnimSequence sequence;
  if (sequence.Open(file.c_str(), 0) == 0) {
    zoseqfuzz::Check(sequence.HasFailure() && !sequence.IsOpen(), "a refused sequence says why");
    return 0;
  }
  ZoActorRecordList const& records = sequence.GetActorList();
  ZoDblListItem* cursor = nullptr;
  for (void* item = records.GetFirst(cursor); item != nullptr; item = records.GetNext(cursor)) {
    auto const* record = static_cast<ZoActorRecord const*>(item);
    zoseqfuzz::Check(record->Actor() != nullptr, "a record without its prototype");
    ZoAnimFile* motion = sequence.GetAnimFile(record->Name());
    if (motion != nullptr) zoseqfuzz::ReadAllWays(*motion);
  }
  return 0;
}
