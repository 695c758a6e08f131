#include "ZoGltfFixtures.h"
#include "ZoToolTestSupport.h"

#include <filesystem>
#include <fstream>

namespace zogltftest {

namespace {

namespace fs = std::filesystem;

// A 2 × 2 RGB checker as a PNG file.
unsigned char const kCheckerPng[] = {
    0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 0x49, 0x48, 0x44, 0x52, 0x00, 0x00, 0x00,
    0x02, 0x00, 0x00, 0x00, 0x02, 0x08, 0x02, 0x00, 0x00, 0x00, 0xFD, 0xD4, 0x9A, 0x73, 0x00, 0x00, 0x00, 0x13, 0x49,
    0x44, 0x41, 0x54, 0x78, 0xDA, 0x63, 0xF8, 0xFF, 0xFF, 0xBF, 0x82, 0x82, 0x02, 0x03, 0x10, 0x03, 0x59, 0x00, 0x2F,
    0x24, 0x06, 0xBB, 0x95, 0x60, 0x17, 0xF9, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4E, 0x44, 0xAE, 0x42, 0x60, 0x82};

void WriteBytes(std::string const& path, void const* bytes, size_t size) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(static_cast<char const*>(bytes), static_cast<std::streamsize>(size));
}

ZoProtoNode* Node(char const* name, int32_t style, ZoVector3 const& offset, ZoProtoNode* parent,
                  ZoRotation3 const& turn = ZoRotation3()) {
  ZoProtoNode* node = zoacttest::Joint(name, style, 0);
  node->SetHomeTransform(ZoTransform3(offset, turn));
  if (parent != nullptr) parent->addChild(node);
  return node;
}

// A unit quad in the xy-plane, facing +z, with texture pairs; triangle i
// uses material i (of `second` when given, else both the first).
ZoTriangleSet* TexturedQuad(ZoMaterial const& first, ZoMaterial const* second) {
  auto* set = new ZoTriangleSet;
  set->Create(ZoTriSetIndexed, ZoTriSetNormals | ZoTriSetTextures | ZoTriSetMaterialIndices, 2, 4, 1);
  float const corners[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
  for (int i = 0; i < 4; ++i) {
    set->Vertex(i) = ZoVector3(corners[i][0] - 0.5f, corners[i][1], 0.0f);
    set->Normal(i) = ZoVector3(0, 0, 1);
    set->TextureVertex(i, 0).Set(corners[i][0], 1.0f - corners[i][1]);
  }
  set->Triangle(0).Set(0, 1, 2);
  set->Triangle(1).Set(0, 2, 3);
  set->SetNumMaterials(second != nullptr ? 2 : 1);
  set->Material(0) = first;
  if (second != nullptr) set->Material(1) = *second;
  set->MaterialIndex(0) = 0;
  set->MaterialIndex(1) = second != nullptr ? 1 : 0;
  return set;
}

ZoMaterial Textured(char const* texture) {
  ZoMaterial material;
  material.color2.Set(1, 1, 1, 1);
  material.numTextures = 1;
  material.textures[0].name = texture;
  return material;
}

// Keys at `times` for joint `j`: the home transform moved by `shift` × i
// and turned by `turn` × i about z, for the i-th key.
void KeyJoint(ZoProtoSkill& skill, ZoProtoActor const& actor, int j, std::vector<uint32_t> const& times,
              ZoVector3 const& shift, float turn) {
  ZoTransform3 const& home = actor.GeomTraversal()->Node(j)->HomeTransform();
  for (size_t i = 0; i < times.size(); ++i) {
    auto* key = new ZoJointKeyframe;
    key->setTime(times[i]);
    ZoRotation3 about;
    about.setValue(turn * static_cast<float>(i), ZoVector3(0, 0, 1));
    key->localTransform = ZoTransform3(home.translation + shift * static_cast<float>(i), home.rotation * about);
    key->actorTransform = key->localTransform;
    skill.InitJoint(j)->Insert(key, 1);
  }
}

ZoProtoSkill* NewSkill(ZoProtoActor& actor, char const* name) {
  auto* skill = new ZoProtoSkill;
  skill->SetName(name);
  skill->SetupFromPrototype(&actor);
  return skill;
}

// Saves the actor as `parent`/`name` through the library; the folder.
std::string Save(ZoProtoActor& actor, std::string const& parent) {
  std::string folder = (fs::path(parent) / actor.Name().c_str()).string();
  actor.Path() = (folder + "/").c_str();
  actor.Save(ZoSkillFormatKeyframed);
  return folder;
}

}  // namespace

std::string WriteEveryStyleActor(std::string const& parent) {
  ZoRef<ZoProtoActor> actor(new ZoProtoActor);
  actor->SetName("EveryStyle");
  ZoMaterial glass;
  glass.color2.Set(0.9f, 0.2f, 0.2f, 0.5f);
  glass.flags |= ZoMaterial::FLAG_TWO_SIDED;
  ZoProtoNode* body = Node("Body", ZoProtoNode::Geometry, ZoVector3(0, 1, 0), nullptr);
  body->SetColModel(TexturedQuad(Textured("TEXTURES\\CHECKER.PNG"), &glass));
  ZoRotation3 quarterTurn;
  quarterTurn.setValue(1.5707964f, ZoVector3(0, 0, 1));
  ZoProtoNode* grip = Node("Grip", ZoProtoNode::Handle, ZoVector3(0.5f, 0, 0), body, quarterTurn);
  Node("Ground", ZoProtoNode::Floor, ZoVector3(0, -1, 0), body);
  ZoProtoNode* cam = Node("Cam", ZoProtoNode::Camera, ZoVector3(0, 0.5f, 2), body);
  cam->CameraInfo()->angle = 0.8f;
  cam->CameraInfo()->nearPlane = 0.2f;
  cam->CameraInfo()->farPlane = 50.0f;
  ZoProtoNode* spot = Node("Spot", ZoProtoNode::Light, ZoVector3(0, 2, 0), body);
  spot->LightInfo()->kind = 2;
  spot->LightInfo()->vector = ZoVector3(0, -1, 0);
  spot->LightInfo()->angle = 0.5f;
  Node("Bulb", ZoProtoNode::Light, ZoVector3(1, 1, 1), body)->LightInfo()->kind = 1;
  ZoProtoNode* sun = Node("Sun", ZoProtoNode::Light, ZoVector3(0, 3, 0), body);
  sun->LightInfo()->vector = ZoVector3(1, -1, 0);
  Node("Path", ZoProtoNode::SplineStyle, ZoVector3(0, 0, -1), body);
  Node("Odd", 7, ZoVector3(), body);
  ZoProtoNode* arm = Node("Arm", ZoProtoNode::Geometry, ZoVector3(0, 0.25f, 0), grip);
  ZoMaterial blue;
  blue.color2.Set(0.2f, 0.3f, 0.9f, 1.0f);
  arm->SetColModel(new ZoTriCube(blue, ZoVector3(0.1f, 0.5f, 0.1f)));
  grip->CreateColModel();
  actor->SetSkeleton(body);

  ZoProtoSkill* turn = NewSkill(*actor, "Turn");
  KeyJoint(*turn, *actor, 0, {0, 100, 200}, ZoVector3(0.1f, 0, 0), 0.0f);
  KeyJoint(*turn, *actor, 1, {0, 100, 200}, ZoVector3(), 0.6f);
  actor->AddSkill(turn);
  std::string folder = Save(*actor, parent);
  WriteBytes(folder + "/Textures/Checker.png", kCheckerPng, sizeof kCheckerPng);
  return folder;
}

std::string WriteFaultyActor(std::string const& parent) {
  ZoRef<ZoProtoActor> actor(new ZoProtoActor);
  actor->SetName("Faulty");
  ZoProtoNode* root = Node("Root", ZoProtoNode::Geometry, ZoVector3(), nullptr);
  root->SetColModel(TexturedQuad(Textured("Missing.png"), nullptr));
  Node("Empty", ZoProtoNode::Geometry, ZoVector3(0, 1, 0), root);
  actor->SetSkeleton(root);
  ZoProtoSkill* moves = NewSkill(*actor, "Moves");
  KeyJoint(*moves, *actor, 1, {0, 50}, ZoVector3(0, 0.2f, 0), 0.3f);
  actor->AddSkill(moves);
  actor->AddSkill(NewSkill(*actor, "Blank"));
  std::string folder = Save(*actor, parent);
  zotooltest::Bytes other = zotooltest::SkillFileBytes("Other", 5, 0, {{0, 1.0f}, {10, 2.0f}});
  WriteBytes(folder + "/Skills/Other.skl", other.data(), other.size());
  return folder;
}

std::string WriteOlderActor(std::string const& parent) {
  std::string folder = (fs::path(parent) / "Old").string();
  zotooltest::Bytes actor = zotooltest::OlderActorFile(45);
  WriteBytes(folder + "/Old.act", actor.data(), actor.size());
  zotooltest::Bytes skill = zotooltest::OlderSkillFile(30, "Step");
  WriteBytes(folder + "/Skills/Step.skl", skill.data(), skill.size());
  return folder;
}

}  // namespace zogltftest
