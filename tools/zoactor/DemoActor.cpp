// Demonstrates the actor layer: an actor with a small skeleton and two
// skills is saved as an actor folder (under a temporary folder), loaded
// back through the prototype database with its skills, and one skill is
// sampled into a pose.
#include "Demo.h"
#include "DemoParts.h"

#include <zoactor/zoactor.h>

#include <cmath>
#include <cstdlib>
#include <string>

namespace {

ZoProtoNode* Joint(char const* name, ZoVector3 const& offset) {
  return zodemo::NewNode(name, ZoProtoNode::Geometry, offset);
}

using zodemo::About;

// A skill that swings every joint about z by up to `swing` radians.
ZoProtoSkill* Swing(ZoProtoActor* actor, char const* name, float swing, uint32_t duration) {
  auto* skill = new ZoProtoSkill;
  skill->SetName(name);
  skill->SetupFromPrototype(actor);
  for (int j = 0; j < skill->NumJoints(); ++j) {
    ZoProtoNode const* node = actor->GeomTraversal()->Node(j);
    for (uint32_t k = 0; k <= 2; ++k) {
      auto* key = new ZoJointKeyframe;
      key->setTime(k * duration / 2);
      float angle = (k == 1 ? swing : -swing) * static_cast<float>(j + 1) / static_cast<float>(skill->NumJoints());
      key->localTransform = ZoTransform3(node->HomeTransform().translation, About(angle, ZoVector3(0, 0, 1)));
      key->actorTransform = key->localTransform;
      skill->InitJoint(j)->Insert(key, 1);
    }
  }
  return skill;
}

// A fresh folder under the system's temporary folder, or empty.
std::string TemporaryFolder() {
  char const* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/zoactor-demo-XXXXXX";
  char* made = ::mkdtemp(&pattern[0]);
  return made != nullptr ? std::string(made) : std::string();
}

bool DemoActor(std::FILE* out) {
  std::string folder = TemporaryFolder();
  if (folder.empty()) return false;
  bool ok = true;

  {
    ZoRef<ZoProtoActor> actor(new ZoProtoActor);
    actor->SetName("Walker");
    ZoProtoNode* hips = Joint("Hips", ZoVector3(0, 1, 0));
    ZoProtoNode* thigh = Joint("Thigh", ZoVector3(0.1f, -0.1f, 0));
    ZoProtoNode* shin = Joint("Shin", ZoVector3(0, -0.45f, 0));
    ZoProtoNode* grip = Joint("Grip", ZoVector3(0, 0.3f, 0.1f));
    grip->SetStyle(ZoProtoNode::Handle);
    hips->addChild(thigh);
    thigh->addChild(shin);
    hips->addChild(grip);
    thigh->SetColModel(new ZoTriCylinder(ZoMaterial(), 0.06f, 0.4f, 8));
    actor->SetSkeleton(hips);
    actor->Path() = (folder + "/Walker/").c_str();
    actor->AddSkill(Swing(actor.get(), "Walk", 0.6f, 1000));
    actor->AddSkill(Swing(actor.get(), "Wave", 1.2f, 600));
    float radius = 0, height = 0;
    actor->GetBoundingCylinder(radius, height);
    std::fprintf(out, "built %s: %d nodes, %d joints, bounding cylinder r %.3f h %.3f\n", actor->Name().c_str(),
                 actor->NodeTraversal()->NumNodes(), actor->GeomTraversal()->NumNodes(), static_cast<double>(radius),
                 static_cast<double>(height));
    ok = actor->Save(ZoSkillFormatKeyframed) == 1;
    std::fprintf(out, "saved the folder %s/Walker: %s\n", folder.c_str(), ok ? "Walker.act, Skills/Walk.skl, Skills/Wave.skl" : "FAILED");
  }

  // Loaded through the database under another case, skills and all.
  int status = -1;
  std::string request = folder + "/WALKER/walker.ACT";
  ZoRef<ZoProtoActor> loaded = ZoProtoDB::AcquirePrototype(request.c_str(), status, 1);
  ok = ok && loaded && status == 1;
  if (loaded) {
    std::fprintf(out, "loaded %s (status %d) with %d skills:", loaded->Name().c_str(), status, loaded->Skills().GetCount());
    ZoDblListItem* cursor = nullptr;
    for (void* item = loaded->Skills().GetFirst(cursor); item != nullptr; item = loaded->Skills().GetNext(cursor)) {
      auto* skill = static_cast<ZoProtoSkill*>(item);
      uint32_t last = skill->Joint(0) != nullptr ? skill->Joint(0)->LastTime() : 0;
      std::fprintf(out, " %s (%d joints, %u time units)", skill->Name().c_str(), skill->NumJoints(), last);
    }
    std::fprintf(out, "\n");

    ZoProtoSkill* walk = loaded->GetSkill("walk", 0);
    ok = ok && walk != nullptr && loaded->Skills().GetCount() == 2;
    for (int j = 0; walk != nullptr && j < walk->NumJoints(); ++j) {
      ZoJointKeyframe pose;
      walk->Joint(j)->SampleAtTime(400, pose, 1);
      float ax = 0, ay = 0, az = 0;
      pose.localTransform.rotation.getEuler(ax, ay, az);
      std::fprintf(out, "  Walk at 400: %-6s turned %+.3f rad about z\n",
                   loaded->GeomTraversal()->Node(j)->Name().c_str(), static_cast<double>(az));
      // Linear keys -0.6, +0.6, -0.6 at 0, 500, 1000, scaled by the joint's depth.
      float expected = 0.36f * static_cast<float>(j + 1) / static_cast<float>(walk->NumJoints());
      ok = ok && std::fabs(az - expected) < 1e-3f;
    }
    ZoProtoDB::RemoveAllPrototypes();
  }
  ZoPlatform::DeleteFolder(folder.c_str());
  return ok;
}

}  // namespace

ZO_DEMO_SECTION(70, "actor", DemoActor);
