// `zoactor export` read back with tinygltf and compared with what the
// library itself says of the same actor: node names and order, world
// transforms, triangles per mesh, and every animation channel against
// ZoJointKeyList::SampleAtTime; the faults the export reports and survives;
// `--scale`, `--time-unit`, `--gltf`; the model `zoactor view` writes; and
// the byte layout of the export's buffer.
#include "GltfBuffer.h"
#include "ToolFiles.h"
#include "ToolLoad.h"
#include "ZoGltfFixtures.h"
#include "ZoToolTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>
#include <tuple>

namespace {

using namespace zotooltest;
namespace fs = std::filesystem;

// Transforms read back agree with the library's to this much (lengths in
// the actor's units, quaternion components): float32 products of a few
// home transforms.
constexpr float kTransformTolerance = 1e-4f;

// Keeps an embedded image's bytes as they are (nothing is decoded), so the
// test can compare them with the texture file.
bool KeepImageBytes(tinygltf::Image* image, int, std::string*, std::string*, int, int, unsigned char const* bytes,
                    int size, void*) {
  image->image.assign(bytes, bytes + size);
  return true;
}

// What the tool wrote and what tinygltf read of it.
struct Export {
  ToolRun run;
  tinygltf::Model model;
  std::string loadError;
};

Export ExportAndRead(std::string const& actor, std::string const& file, std::string const& options) {
  Export out;
  out.run = RunTool("export " + Quoted(actor) + " -o " + Quoted(file) + " " + options);
  tinygltf::TinyGLTF loader;
  loader.SetImageLoader(KeepImageBytes, nullptr);
  std::string warning;
  bool binary = file.size() >= 4 && file.compare(file.size() - 4, 4, ".glb") == 0;
  bool ok = binary ? loader.LoadBinaryFromFile(&out.model, &out.loadError, &warning, file)
                   : loader.LoadASCIIFromFile(&out.model, &out.loadError, &warning, file);
  if (!ok && out.loadError.empty()) out.loadError = "tinygltf cannot read " + file;
  return out;
}

ZoRef<ZoProtoActor> LoadFolder(std::string const& folder) {
  zotool::Issue failure;
  return zotool::LoadActor(zotool::ActorFileOf(folder), failure);
}

std::vector<float> Floats(tinygltf::Model const& model, int accessorIndex) {
  tinygltf::Accessor const& accessor = model.accessors.at(static_cast<size_t>(accessorIndex));
  tinygltf::BufferView const& view = model.bufferViews.at(static_cast<size_t>(accessor.bufferView));
  size_t components = static_cast<size_t>(tinygltf::GetNumComponentsInType(static_cast<uint32_t>(accessor.type)));
  std::vector<float> values(accessor.count * components);
  unsigned char const* data = model.buffers.at(static_cast<size_t>(view.buffer)).data.data() + view.byteOffset +
                              accessor.byteOffset;
  std::memcpy(values.data(), data, values.size() * sizeof(float));
  return values;
}

ZoTransform3 LocalOf(tinygltf::Node const& node) {
  std::vector<double> t = node.translation, r = node.rotation;
  t.resize(3, 0.0);
  if (r.size() != 4) r = {0, 0, 0, 1};
  auto f = [](double v) { return static_cast<float>(v); };
  return ZoTransform3(ZoVector3(f(t[0]), f(t[1]), f(t[2])), ZoRotation3(f(r[3]), f(r[0]), f(r[1]), f(r[2])));
}

// The world transform of every glTF node, from the scene's roots down.
std::vector<ZoTransform3> WorldTransforms(tinygltf::Model const& model) {
  std::vector<ZoTransform3> world(model.nodes.size());
  std::vector<std::pair<int, ZoTransform3>> pending;
  for (int root : model.scenes.at(0).nodes) pending.emplace_back(root, ZoTransform3());
  while (!pending.empty()) {
    auto [index, parent] = pending.back();
    pending.pop_back();
    world[static_cast<size_t>(index)] = parent * LocalOf(model.nodes[static_cast<size_t>(index)]);
    for (int child : model.nodes[static_cast<size_t>(index)].children)
      pending.emplace_back(child, world[static_cast<size_t>(index)]);
  }
  return world;
}

void ExpectNear(ZoVector3 const& a, ZoVector3 const& b, std::string const& what) {
  EXPECT_LE((a - b).length(), kTransformTolerance) << what;
}

// Rotations agree up to sign (q and -q are one rotation).
void ExpectSameRotation(ZoRotation3 const& a, ZoRotation3 const& b, std::string const& what) {
  EXPECT_NEAR(std::fabs(a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z), 1.0f, kTransformTolerance) << what;
}

// A glTF LINEAR sampler's value at `seconds`: lerp for translations, the
// shorter-arc slerp for rotations (x, y, z, w in the file).
ZoTransform3 SampleChannel(tinygltf::Model const& model, tinygltf::AnimationSampler const& sampler, float seconds,
                           bool rotation) {
  std::vector<float> times = Floats(model, sampler.input);
  std::vector<float> values = Floats(model, sampler.output);
  size_t n = rotation ? 4 : 3;
  size_t b = static_cast<size_t>(std::upper_bound(times.begin(), times.end(), seconds) - times.begin());
  size_t a = b == 0 ? 0 : b - 1;
  b = std::min(b, times.size() - 1);
  float u = b == a ? 0.0f : (seconds - times[a]) / (times[b] - times[a]);
  ZoTransform3 out;
  if (rotation) {
    auto at = [&](size_t i) { return ZoRotation3(values[i * n + 3], values[i * n], values[i * n + 1], values[i * n + 2]); };
    out.rotation.interpolate(at(a), at(b), u);
  } else {
    auto at = [&](size_t i) { return ZoVector3(values[i * n], values[i * n + 1], values[i * n + 2]); };
    out.translation = at(a) + (at(b) - at(a)) * u;
  }
  return out;
}

int NodeNamed(tinygltf::Model const& model, std::string const& name) {
  for (size_t i = 0; i < model.nodes.size(); ++i)
    if (model.nodes[i].name == name) return static_cast<int>(i);
  return -1;
}

// The demo actor and the fixture actors, each exported once with all its
// skills into a folder kept until the program ends.
struct Case {
  std::string name;
  std::string folder;
  Export exported;
};

zotest::TempFolder const& Scratch() {
  static zotest::TempFolder const folder;
  return folder;
}

std::vector<Case> const& Exports() {
  static std::vector<Case> const cases = [] {
    std::vector<Case> made;
    std::string const parent = Scratch().path();
    for (std::string const& actor : {DemoFolder(), zogltftest::WriteEveryStyleActor(parent),
                                     zogltftest::WriteOlderActor(parent), zogltftest::WriteFaultyActor(parent)}) {
      std::string name = fs::path(actor).filename().string();
      made.push_back(Case{name, actor, ExportAndRead(actor, Scratch() / (name + ".glb"), "--all-skills")});
    }
    return made;
  }();
  return cases;
}

Case const& Named(std::string const& name) {
  return *std::find_if(Exports().begin(), Exports().end(), [&](Case const& c) { return c.name == name; });
}

// Every actor is written and read back; its nodes keep their names, order
// and world transforms; every geometry node with triangles has a mesh of
// them all, one primitive per material.
TEST(ZoGltfExport, NodesKeepTheirNamesOrderTransformsAndTriangles) {
  for (Case const& c : Exports()) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(std::make_tuple(c.exported.run.status, c.exported.loadError), std::make_tuple(0, "")) << c.exported.run.err;
    EXPECT_EQ(c.exported.run.json.at("skipped").empty(), c.name != "Faulty") << "only the faulty actor skips";
    tinygltf::Model const& model = c.exported.model;
    ZoRef<ZoProtoActor> actor = LoadFolder(c.folder);
    ASSERT_TRUE(actor);
    ZoProtoTraversal const& nodes = *actor->NodeTraversal();
    ASSERT_EQ(static_cast<int>(model.nodes.size()), nodes.NumNodes() + c.exported.run.json.at("helperNodes").get<int>());
    ASSERT_EQ(model.scenes.at(0).nodes, std::vector<int>{0});
    std::vector<ZoTransform3> world = WorldTransforms(model);
    for (int i = 0; i < nodes.NumNodes(); ++i) {
      ZoProtoNode const* node = nodes.Node(i);
      std::string name = node->Name().c_str();
      tinygltf::Node const& out = model.nodes[static_cast<size_t>(i)];
      EXPECT_EQ(out.name, name);
      ZoTransform3 expected;
      ZoProtoNode::GetRelativeHomeTransform(node, nullptr, expected);
      ExpectNear(world[static_cast<size_t>(i)].translation, expected.translation, name);
      ExpectSameRotation(world[static_cast<size_t>(i)].rotation, expected.rotation, name);

      ZoTriangleSet const* set = node->ColModel() != nullptr ? node->ColModel()->GetTriangleSet() : nullptr;
      bool drawn = node->Style() == ZoProtoNode::Geometry && set != nullptr && set->GetNumTriangles() > 0;
      ASSERT_EQ(out.mesh >= 0, drawn) << name;
      if (!drawn) continue;
      size_t corners = 0;
      std::set<int> materials;
      for (tinygltf::Primitive const& primitive : model.meshes[static_cast<size_t>(out.mesh)].primitives) {
        corners += model.accessors[static_cast<size_t>(primitive.indices)].count;
        EXPECT_EQ(model.accessors[static_cast<size_t>(primitive.attributes.at("POSITION"))].count,
                  static_cast<size_t>(set->GetNumVertices()));
        EXPECT_TRUE(materials.insert(primitive.material).second) << "one primitive per material";
      }
      EXPECT_EQ(corners, 3u * static_cast<size_t>(set->GetNumTriangles())) << name;
    }
  }
}

// Each skill's channels agree with SampleAtTime at a key time, at a time
// between two samples, and at the last key.
TEST(ZoGltfExport, AnimationsFollowSampleAtTime) {
  struct Probe {
    char const* actor;
    char const* skill;
    uint32_t times[3];
  } const probes[] = {{"Robo", "Walk", {250, 377, 1000}},
                      {"Robo", "Wave", {0, 511, 800}},
                      {"EveryStyle", "Turn", {100, 133, 200}},
                      {"Old", "Step", {0, 37, 100}}};
  for (Probe const& probe : probes) {
    SCOPED_TRACE(std::string(probe.actor) + "/" + probe.skill);
    Case const& c = Named(probe.actor);
    ZoRef<ZoProtoActor> actor = LoadFolder(c.folder);
    ASSERT_TRUE(actor);
    ZoProtoSkill* skill = actor->GetSkill(probe.skill, 0);
    ASSERT_NE(skill, nullptr);
    tinygltf::Model const& model = c.exported.model;
    auto animation = std::find_if(model.animations.begin(), model.animations.end(),
                                  [&](tinygltf::Animation const& a) { return a.name == probe.skill; });
    ASSERT_NE(animation, model.animations.end());
    int keyed = 0;
    for (int j = 0; j < skill->NumJoints(); ++j) keyed += skill->Joint(j) != nullptr && skill->Joint(j)->NumKeyframes() > 0;
    ASSERT_EQ(animation->channels.size(), 2u * static_cast<size_t>(keyed));
    for (tinygltf::AnimationChannel const& channel : animation->channels) {
      ZoProtoNode const* node = actor->NodeTraversal()->Node(channel.target_node);
      int joint = actor->GeomTraversal()->NodeIndex(node);
      ASSERT_GE(joint, 0) << "channels drive joints only";
      bool rotation = channel.target_path == "rotation";
      for (uint32_t time : probe.times) {
        ZoJointKeyframe expected;
        ASSERT_EQ(skill->Joint(joint)->SampleAtTime(std::max(time, skill->Joint(joint)->FirstTime()), expected, 1), 1);
        ZoTransform3 got = SampleChannel(model, animation->samplers[static_cast<size_t>(channel.sampler)],
                                         static_cast<float>(time) * 0.001f, rotation);
        std::string what = std::string(node->Name().c_str()) + " " + channel.target_path + " at " + std::to_string(time);
        ExpectSameRotation(got.rotation, rotation ? expected.localTransform.rotation : ZoRotation3(), what);
        ExpectNear(got.translation, rotation ? ZoVector3() : expected.localTransform.translation, what);
      }
    }
  }
}

TEST(ZoGltfExport, MaterialsTexturesCamerasAndLightsOfEveryStyle) {
  Case const& c = Named("EveryStyle");
  tinygltf::Model const& model = c.exported.model;
  // Body's quad: the textured white material and the half-transparent red one.
  tinygltf::Mesh const& body = model.meshes.at(static_cast<size_t>(model.nodes.at(0).mesh));
  tinygltf::Material const& textured = model.materials.at(static_cast<size_t>(body.primitives.at(0).material));
  tinygltf::Material const& glass = model.materials.at(static_cast<size_t>(body.primitives.at(1).material));
  EXPECT_EQ(std::make_tuple(textured.alphaMode, textured.pbrMetallicRoughness.baseColorTexture.index),
            std::make_tuple("OPAQUE", 0));
  ASSERT_EQ(model.images.size(), 1u);
  EXPECT_EQ(model.images[0].mimeType, "image/png");
  Bytes file = FileBytes(c.folder + "/Textures/Checker.png");
  EXPECT_EQ(Bytes(model.images[0].image.begin(), model.images[0].image.end()), file) << "embedded as it is";
  EXPECT_EQ(std::make_tuple(glass.alphaMode, glass.doubleSided, glass.pbrMetallicRoughness.baseColorTexture.index,
                            glass.pbrMetallicRoughness.baseColorFactor),
            std::make_tuple("BLEND", true, -1, std::vector<double>{0.9f, 0.2f, 0.2f, 0.5f}));

  tinygltf::Node const& cam = model.nodes.at(static_cast<size_t>(NodeNamed(model, "Cam")));
  tinygltf::PerspectiveCamera const& lens = model.cameras.at(static_cast<size_t>(cam.camera)).perspective;
  EXPECT_EQ(std::vector<float>({static_cast<float>(lens.yfov), static_cast<float>(lens.znear), static_cast<float>(lens.zfar)}),
            std::vector<float>({0.8f, 0.2f, 50.0f}));

  // Lights: the point light on its node; directed ones on a helper child
  // turned so that its -z is the light's vector.
  struct Expected {
    char const* node;
    char const* type;
    ZoVector3 direction;
  };
  Expected const lights[] = {{"Spot", "spot", ZoVector3(0, -1, 0)},
                             {"Bulb", "point", ZoVector3()},
                             {"Sun", "directional", ZoVector3(0.70710678f, -0.70710678f, 0)}};
  ASSERT_EQ(model.lights.size(), 3u);
  for (Expected const& light : lights) {
    SCOPED_TRACE(light.node);
    tinygltf::Node const* carrier = &model.nodes.at(static_cast<size_t>(NodeNamed(model, light.node)));
    if (std::string(light.type) != "point") {
      carrier = &model.nodes.at(static_cast<size_t>(NodeNamed(model, std::string(light.node) + ".light")));
      ExpectNear(LocalOf(*carrier).rotation * ZoVector3(0, 0, -1), light.direction, "direction");
    }
    ASSERT_TRUE(carrier->extensions.count("KHR_lights_punctual"));
    int used = carrier->extensions.at("KHR_lights_punctual").Get("light").GetNumberAsInt();
    EXPECT_EQ(model.lights.at(static_cast<size_t>(used)).type, light.type);
  }
}

TEST(ZoGltfExport, FaultsAreReportedAndTheRestIsExported) {
  Case const& c = Named("Faulty");
  EXPECT_EQ(c.exported.run.status, 0);
  // Each skip is in the JSON and told on stderr.
  std::set<std::string> codes;
  for (Json const& skip : c.exported.run.json.at("skipped")) {
    std::string subject = skip.at("subject").get<std::string>();
    codes.insert(subject + ":" + skip.at("code").get<std::string>());
    EXPECT_NE(c.exported.run.err.find("skipped " + subject), std::string::npos) << subject;
  }
  EXPECT_EQ(codes, (std::set<std::string>{"Other.skl:skill-mismatch", "Blank:empty-skill", "Empty:no-geometry",
                                          "Missing.png:missing-texture"}));
  tinygltf::Model const& model = c.exported.model;
  // Root keeps its mesh and colour without the texture; Empty has none.
  EXPECT_EQ(std::make_tuple(model.animations.size(), model.animations.at(0).name, model.images.size(),
                            model.nodes.at(0).mesh >= 0, model.nodes.at(1).mesh),
            std::make_tuple(1u, "Moves", 0u, true, -1));
}

// Options that change what is written: lengths, times, the text form and
// the choice of skills.
TEST(ZoGltfExport, OptionsScaleLengthsAndTimesAndChooseSkills) {
  struct Row {
    char const* name;
    char const* options;
    char const* file;
    float scale;
    float secondsPerUnit;
    std::vector<std::string> animations;
  };
  Row const rows[] = {
      {"defaults", "--skills wave", "a.glb", 1.0f, 0.001f, {"Wave"}},
      {"scaled", "--all-skills --scale 2 --time-unit 0.01", "b.glb", 2.0f, 0.01f, {"Walk", "Wave"}},
      {"text", "--gltf --skills Walk", "c.gltf", 1.0f, 0.001f, {"Walk"}},
      {"no skills", "--time-unit 0.5", "d.glb", 1.0f, 0.5f, {}},
  };
  Case const& demo = Named("Robo");
  for (Row const& row : rows) {
    SCOPED_TRACE(row.name);
    Export out = ExportAndRead(demo.folder, Scratch() / row.file, row.options);
    ASSERT_EQ(std::make_tuple(out.run.status, out.loadError), std::make_tuple(0, "")) << out.run.err;
    std::vector<std::string> names;
    for (tinygltf::Animation const& a : out.model.animations) names.push_back(a.name);
    EXPECT_EQ(names, row.animations);
    for (size_t i = 0; i < out.model.nodes.size(); ++i)
      ExpectNear(LocalOf(out.model.nodes[i]).translation,
                 LocalOf(demo.exported.model.nodes[i]).translation * row.scale, out.model.nodes[i].name);
    for (tinygltf::Animation const& a : out.model.animations) {
      std::vector<float> times = Floats(out.model, a.samplers.at(0).input);
      float lastKey = a.name == "Walk" ? 1000.0f : 800.0f;
      EXPECT_FLOAT_EQ(times.back(), lastKey * row.secondsPerUnit) << a.name;
    }
  }
  EXPECT_EQ(RunTool("export " + Quoted(demo.folder) + " -o x.glb --scale -1").status, 2);
}

// The page and the three.js modules it imports are loaded by the browser
// test of the viewer.
TEST(ZoGltfExport, ViewWritesTheExportsModel) {
  std::string out = Scratch() / "view";
  EXPECT_EQ(RunOk("view " + Quoted(Named("Robo").folder) + " -o " + Quoted(out)).at("animations").size(), 2u);
  EXPECT_EQ(FileBytes(out + "/actor.glb"), FileBytes(Scratch() / "Robo.glb")) << "the same export as export's";
  EXPECT_EQ(RunTool("view " + Quoted(Scratch() / "nothing") + " -o " + Quoted(out)).status, 1);
}

// The buffer: each array at a four-byte boundary, zero padding between.
// The views' offsets and the bounds are checked by the glTF validator on
// the exports.
TEST(ZoGltfBuffer, AlignsEveryArray) {
  tinygltf::Model model;
  zotool::GltfBuffer buffer(model);
  buffer.AddImageBytes({'a', 'b', 'c', 'd', 'e'});
  buffer.AddFloats({1.5f, -2.0f, 3.0f, 0.5f, 4.0f, -1.0f}, 3, TINYGLTF_TARGET_ARRAY_BUFFER, true);
  buffer.AddIndices({2, 0, 1});
  EXPECT_EQ(buffer.AddFloats({}, 3, 0, false), -1);
  Bytes expected = ByteBuilder()
                       .chars("abcde")
                       .raw({0, 0, 0})
                       .f32(1.5f).f32(-2.0f).f32(3.0f).f32(0.5f).f32(4.0f).f32(-1.0f)
                       .u32(2).u32(0).u32(1);
  EXPECT_EQ(Bytes(model.buffers.at(0).data.begin(), model.buffers.at(0).data.end()), expected);
  EXPECT_EQ(model.bufferViews.size(), 3u);
}

}  // namespace
