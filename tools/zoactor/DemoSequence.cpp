// Demonstrates sequence recording: a small walker (hips and two legs) and
// its walk skill are built in memory, the skill is sampled every frame and
// each frame's joint transforms are recorded into a sequence folder under
// the system's temporary folder; the sequence is then opened again without
// the actor, and the left leg's track is read back and compared with what
// was recorded. The folder is removed afterwards.
#include "Demo.h"

#include <zoactor/zoactor.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr int kFrames = 12;

ZoRotation3 AboutX(float degrees) {
  ZoRotation3 q;
  q.setValue(degrees * ZoMath::PI / 180.0f, ZoVector3(1, 0, 0));
  return q;
}

ZoJointKeyframe* Key(uint32_t time, ZoVector3 position, float degrees) {
  auto* kf = new ZoJointKeyframe;
  kf->setTime(time);
  kf->actorTransform = ZoTransform3(position, AboutX(degrees));
  kf->localTransform = kf->actorTransform;
  return kf;
}

ZoProtoNode* Joint(char const* name, float x) {
  auto* node = new ZoProtoNode;
  node->SetName(name);
  node->SetStyle(ZoProtoNode::Geometry);
  node->SetHomeTransform(ZoTransform3(ZoVector3(x, -0.5f, 0), ZoRotation3()));
  return node;
}

// A walker of three joints (hips 0, left leg 1, right leg 2) and its walk:
// the hips move forwards, the legs swing opposite ways, over 600 ms.
ZoProtoActor* Walker(ZoProtoSkill*& walk) {
  auto* actor = new ZoProtoActor;
  actor->SetName("Walker");
  ZoProtoNode* hips = Joint("Hips", 0);
  hips->addChild(Joint("LeftLeg", -0.2f));
  hips->addChild(Joint("RightLeg", 0.2f));
  actor->SetSkeleton(hips);
  walk = new ZoProtoSkill;
  walk->SetName("Walk");
  walk->SetupFromPrototype(actor);
  for (uint32_t t : {0u, 300u, 600u}) walk->InitJoint(0)->Insert(Key(t, ZoVector3(0, 1, t / 300.0f), 0));
  float swing[] = {30, -30, 30};
  for (int i = 0; i < 3; ++i) {
    uint32_t t = 300u * static_cast<uint32_t>(i);
    walk->InitJoint(1)->Insert(Key(t, ZoVector3(-0.2f, -0.5f, 0), swing[i]));
    walk->InitJoint(2)->Insert(Key(t, ZoVector3(0.2f, -0.5f, 0), -swing[i]));
  }
  return actor;
}

float DegreesAboutX(ZoRotation3 const& q) { return 2.0f * std::atan2(q.x, q.w) * 180.0f / ZoMath::PI; }

bool DemoSequence(std::FILE* out) {
  char pattern[] = "/tmp/zoactor-demo.XXXXXX";
  if (::mkdtemp(pattern) == nullptr) return false;
  std::string folder = pattern;
  std::string file = folder + "/Stroll/stroll.seq";
  bool ok = true;

  ZoProtoSkill* walk = nullptr;
  ZoProtoActor* walker = Walker(walk);
  int joints = walk->NumJoints();
  std::vector<ZoTransform3> recorded;
  {
    ZoAnimSequence sequence;
    ok = sequence.Open(file.c_str(), 1) == 1 && sequence.PostAddActorEvent(walker, "Pat") == 1;
    ZoJointKeyframe sample;
    std::vector<ZoTransform3> frame(static_cast<size_t>(joints));
    for (int f = 0; ok && f < kFrames; ++f) {
      uint32_t time = static_cast<uint32_t>(f) * sequence.GetTimeStep();
      for (int j = 0; j < joints; ++j) {
        walk->Joint(j)->SampleAtTime(time % 600u, sample, 1);
        frame[static_cast<size_t>(j)] = sample.actorTransform;
      }
      recorded.push_back(frame[1]);
      ok = sequence.WriteFrameData("Pat", frame.data(), joints) == 1;
      sequence.NextFrame();
    }
    ok = sequence.Close() == 1 && ok;
    std::fprintf(out, "recorded %d frames of %d joints for Pat (a %s) every %u ms\n", kFrames, joints,
                 walker->Name().c_str(), sequence.GetTimeStep());
  }
  walk->Release();
  walker->Release();

  // Played back from the sequence folder alone.
  ZoAnimSequence playback;
  if (ok && playback.Open(file.c_str(), 0) == 1) {
    ZoActorRecord const* pat = playback.GetActorList().Contains("Pat");
    std::vector<ZoTransform3> track(kFrames + 2);
    int rotations = 0;
    int positions = 0;
    ok = pat != nullptr && playback.ReadNodeFrames("Pat", 1, track.data(), kFrames + 2, rotations, positions) == 1;
    std::fprintf(out, "read back: %d frames, prototype %s loaded from the sequence folder\n", playback.GetNumFrames(),
                 pat != nullptr ? pat->Actor()->Name().c_str() : "(none)");
    std::fprintf(out, "left leg swings:");
    for (int f = 0; f < kFrames + 2; f += 2) std::fprintf(out, " %.1f", static_cast<double>(DegreesAboutX(track[f].rotation)));
    std::fprintf(out, " deg (rotation changes %d, position changes %d)\n", rotations, positions);
    for (int f = 0; ok && f < kFrames; ++f) ok = track[static_cast<size_t>(f)] == recorded[static_cast<size_t>(f)];
    ok = ok && track[kFrames + 1] == recorded.back() && rotations == 1 && positions == 0;
    playback.Close();
  } else {
    std::fprintf(out, "the sequence could not be read back: %s\n", playback.FailureReason());
    ok = false;
  }
  ZoPlatform::DeleteFolder(folder.c_str());
  return ok;
}

}  // namespace

ZO_DEMO_SECTION(80, "sequence", DemoSequence);
