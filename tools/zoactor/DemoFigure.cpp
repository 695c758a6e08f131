#include "DemoFigure.h"
#include "DemoParts.h"

#include <cmath>
#include <functional>
#include <vector>

namespace zotool {

namespace {

constexpr float kQuarterTurn = 1.5707964f;

using zodemo::About;

ZoMaterial Coloured(float r, float g, float b) {
  ZoMaterial material;
  material.color2.Set(r, g, b, 1.0f);
  return material;
}

ZoProtoNode* MakeNode(char const* name, int32_t style, ZoVector3 const& offset) {
  return zodemo::NewNode(name, style, offset);
}

// A geometry node whose collision model is `shape` (its sphere tree built).
ZoProtoNode* MeshNode(char const* name, ZoVector3 const& offset, ZoTriangleSet* shape) {
  ZoProtoNode* node = MakeNode(name, ZoProtoNode::Geometry, offset);
  node->SetColModel(shape);
  return node;
}

ZoJLimit* EulerLimit(float range) {
  auto* limit = new ZoJLEuler;
  for (int axis = 0; axis < 3; ++axis) limit->SetValue(axis, -range, range);
  return limit;
}

ZoJLimit* HingeLimit(ZoVector3 const& axis, float range) {
  auto* limit = new ZoJLHinge;
  limit->SetValue(About(-range, axis), About(range, axis), 0);
  return limit;
}

ZoProtoNode* BuildSkeleton() {
  ZoMaterial steel = Coloured(0.6f, 0.6f, 0.7f);
  ZoMaterial brass = Coloured(0.8f, 0.6f, 0.2f);
  ZoProtoNode* hips = MeshNode("Hips", ZoVector3(0, 1.0f, 0), new ZoTriCube(steel, ZoVector3(0.3f, 0.2f, 0.2f)));
  ZoProtoNode* torso = MeshNode("Torso", ZoVector3(0, 0.35f, 0), new ZoTriCube(steel, ZoVector3(0.4f, 0.5f, 0.25f)));
  ZoProtoNode* head = MeshNode("Head", ZoVector3(0, 0.45f, 0), new ZoTriSphere(brass, 0.15f, -1));
  ZoProtoNode* armL = MeshNode("ArmL", ZoVector3(0.3f, 0.15f, 0), new ZoTriCylinder(steel, 0.05f, 0.5f, -1));
  ZoProtoNode* armR = MeshNode("ArmR", ZoVector3(-0.3f, 0.15f, 0), new ZoTriCylinder(steel, 0.05f, 0.5f, -1));
  ZoProtoNode* legL = MeshNode("LegL", ZoVector3(0.1f, -0.9f, 0), new ZoTriCylinder(steel, 0.07f, 0.8f, -1));
  ZoProtoNode* legR = MeshNode("LegR", ZoVector3(-0.1f, -0.9f, 0), new ZoTriCylinder(steel, 0.07f, 0.8f, -1));
  ZoProtoNode* eye = MakeNode("Eye", ZoProtoNode::Camera, ZoVector3(0, 0.05f, 0.15f));
  ZoProtoNode* hand = MakeNode("HandL", ZoProtoNode::Handle, ZoVector3(0, -0.05f, 0));
  hand->HandleInfo()->handleKind = 1;
  ZoProtoNode* lamp = MakeNode("Lamp", ZoProtoNode::Light, ZoVector3(0, 1.5f, 0.5f));

  hips->addChild(torso);
  torso->addChild(head);
  head->addChild(eye);
  torso->addChild(armL);
  armL->addChild(hand);
  torso->addChild(armR);
  hips->addChild(legL);
  hips->addChild(legR);
  hips->addChild(lamp);

  auto* box = new ZoJLTranslate;
  box->SetValue(ZoVector3(-0.5f, 0.8f, -0.5f), ZoVector3(0.5f, 1.2f, 0.5f));
  hips->SetJointLimit(box);
  torso->SetJointLimit(EulerLimit(0.5235988f));
  head->SetJointLimit(HingeLimit(ZoVector3(0, 1, 0), kQuarterTurn));
  armL->SetJointLimit(EulerLimit(2.0f * kQuarterTurn));
  armR->SetJointLimit(EulerLimit(2.0f * kQuarterTurn));
  legL->SetJointLimit(HingeLimit(ZoVector3(1, 0, 0), 0.8f));
  legR->SetJointLimit(HingeLimit(ZoVector3(1, 0, 0), 0.8f));

  ZoColSphere sphere;
  sphere.radius = 0.15f;
  head->ColSpheres().AppendCopy(sphere);
  head->Properties().Add(ZoProperty("finish", new ZoStringValue("polished brass")));
  hand->CreateColModel();
  lamp->CreateColModel();
  eye->CreateColModel();
  return hips;
}

void AddBehaviour(ZoProtoActor& actor) {
  actor.Properties().SetValue(ZoProtoActor::kFaceNode, new ZoStringValue("Head"));
  actor.Properties().SetValue("ZO_locoSkill", new ZoStringValue("Walk"));
  actor.Properties().Add(ZoProperty("mass", new ZoFloatValue(42.0f)));

  actor.GetDefaultProximityDef();
  auto* greet = new ZoProtoProxDef;
  greet->name = "Greet";
  greet->SetRadius(0.5f);
  greet->range1 = 2.0f;
  greet->range2 = 4.0f;
  greet->proxFlag = 1;
  actor.ProximityDefs().Add(greet);
  actor.MaxProximityDef().SetToMaximum(&actor.ProximityDefs());

  auto* idle = new ZoFSMSpaceToBhvr;
  idle->SetSpaceName("Idle");
  idle->AddActiveBhvr("LookAround");
  idle->AddActiveBhvr("Breathe");
  actor.AddSpaceBhvrMap(idle);
  auto* patrol = new ZoFSMSpaceToBhvr;
  patrol->SetSpaceName("Patrol");
  patrol->AddActiveBhvr("Walk");
  actor.AddSpaceBhvrMap(patrol);
}

// A joint's pose at a time: the rotation added to its home transform and a
// shift of its translation.
struct Pose {
  ZoRotation3 turn;
  ZoVector3 shift;
};
using PoseFunction = std::function<Pose(int joint, float phase)>;

// Keys at `times` for every joint: local = home · pose, actor = parent's
// actor transform · local; then smooth control transforms (mode 1).
ZoProtoSkill* BuildSkill(ZoProtoActor& actor, char const* name, std::vector<uint32_t> const& times,
                         PoseFunction const& pose) {
  auto* skill = new ZoProtoSkill;
  skill->SetName(name);
  skill->SetupFromPrototype(&actor);
  ZoProtoTraversal const& joints = *actor.GeomTraversal();
  std::vector<ZoTransform3> actorFrame(static_cast<size_t>(joints.NumNodes()));
  for (uint32_t time : times) {
    float phase = static_cast<float>(time) / static_cast<float>(times.back());
    for (int j = 0; j < joints.NumNodes(); ++j) {
      ZoTransform3 const& home = joints.Node(j)->HomeTransform();
      Pose p = pose(j, phase);
      auto* key = new ZoJointKeyframe;
      key->setTime(time);
      key->localTransform = ZoTransform3(home.translation + p.shift, home.rotation * p.turn);
      int parent = skill->ParentIndex(j);
      key->actorTransform = parent >= 0 ? actorFrame[static_cast<size_t>(parent)] * key->localTransform
                                        : key->localTransform;
      actorFrame[static_cast<size_t>(j)] = key->actorTransform;
      skill->InitJoint(j)->Insert(key, 0);
    }
  }
  for (int j = 0; j < skill->NumJoints(); ++j) {
    ZoJointKeyList* keys = skill->Joint(j);
    ZoKeyListNode* cursor = nullptr;
    for (ZoJointKeyframe* key = keys->GetFirst(cursor); key != nullptr; key = keys->GetNext(cursor))
      key->ComputeBlends(static_cast<ZoJointKeyframe*>(keys->PeekPrev(cursor)),
                         static_cast<ZoJointKeyframe*>(keys->PeekNext(cursor)), 1);
  }
  return skill;
}

Pose WalkPose(int joint, float phase) {
  float swing = std::sin(phase * 2.0f * ZoMath::PI);
  ZoVector3 x(1, 0, 0), y(0, 1, 0);
  switch (joint) {
    case 0: return {ZoRotation3(), ZoVector3(0, 0.03f * std::fabs(std::cos(phase * 2.0f * ZoMath::PI)), 0)};
    case 1: return {About(0.1f * swing, y), ZoVector3()};
    case 3: return {About(-0.4f * swing, x), ZoVector3()};
    case 4: return {About(0.4f * swing, x), ZoVector3()};
    case 5: return {About(0.5f * swing, x), ZoVector3()};
    case 6: return {About(-0.5f * swing, x), ZoVector3()};
    default: return {ZoRotation3(), ZoVector3()};
  }
}

Pose WavePose(int joint, float phase) {
  static float const raise[] = {0.0f, 2.6f, 2.2f, 2.6f, 0.0f};
  static float const tilt[] = {0.0f, 0.1f, -0.1f, 0.1f, 0.0f};
  int step = static_cast<int>(std::lround(phase * 4.0f));
  if (joint == 4) return {About(-raise[step], ZoVector3(0, 0, 1)), ZoVector3()};
  if (joint == 2) return {About(tilt[step], ZoVector3(0, 0, 1)), ZoVector3()};
  return {ZoRotation3(), ZoVector3()};
}

}  // namespace

ZoRef<ZoProtoActor> BuildDemoActor() {
  ZoRef<ZoProtoActor> actor(new ZoProtoActor);
  actor->SetName(kDemoActorName);
  actor->SetSkeleton(BuildSkeleton());
  AddBehaviour(*actor);
  actor->AddSkill(BuildSkill(*actor, "Walk", {0, 250, 500, 750, 1000}, WalkPose));
  actor->AddSkill(BuildSkill(*actor, "Wave", {0, 200, 400, 600, 800}, WavePose));
  return actor;
}

std::filesystem::path SaveDemoActor(ZoProtoActor& actor, std::filesystem::path const& parent) {
  std::error_code error;
  std::filesystem::create_directories(parent, error);
  std::filesystem::path folder = std::filesystem::absolute(parent, error) / kDemoActorName;
  actor.Path() = (folder.string() + "/").c_str();
  if (actor.Save(ZoSkillFormatKeyframed) != 1) return {};
  return folder;
}

}  // namespace zotool
