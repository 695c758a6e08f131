// The commands of the built zoactor, run as a user runs them, their JSON
// parsed: on the demo folder, on hand-built files of older layouts, on a
// folder of planted faults, on the fuzz corpora, and with bad usage.
#include "ZoToolTestSupport.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <tuple>

namespace {

using namespace zotooltest;
namespace fs = std::filesystem;

std::vector<std::string> Names(Json const& list, char const* key) {
  std::vector<std::string> names;
  for (Json const& item : list) names.push_back(item[key].get<std::string>());
  return names;
}

TEST(ZoToolDemoFolder, InfoSummarisesTheActorAndItsSkills) {
  Json const folder = RunOk("info --json " + Quoted(DemoFolder())).at(0);
  EXPECT_EQ(folder["kind"], "actor-folder");
  Json const& actor = folder["actorFile"]["actor"];
  EXPECT_EQ(std::make_tuple(folder["actorFile"]["version"], actor["name"], actor["nodes"], actor["joints"]),
            std::make_tuple(Json(106), Json("Robo"), Json(10), Json(7)));
  EXPECT_EQ(Names(actor["tree"], "name"),
            (std::vector<std::string>{"Hips", "Torso", "Head", "Eye", "ArmL", "HandL", "ArmR", "LegL", "LegR", "Lamp"}));
  EXPECT_EQ(std::make_tuple(actor["tree"][3]["style"], actor["tree"][3]["joint"], actor["tree"][2]["limit"]),
            std::make_tuple(Json("camera"), Json(nullptr), Json("hinge")));
  ASSERT_EQ(folder["skills"].size(), 2u);
  Json const& walk = folder["skills"][0]["skill"];
  EXPECT_EQ(std::make_tuple(walk["name"], walk["keys"], walk["duration"], walk["matchesActor"]),
            std::make_tuple(Json("Walk"), Json(35), Json(1000), Json(true)));
  EXPECT_EQ(folder["skills"][1]["skill"]["duration"], 800);
}

TEST(ZoToolDemoFolder, DumpGivesEveryFieldAndGeometryOnRequest) {
  std::string actorFile = DemoFolder() + "/Robo.act";
  Json const plain = RunOk("dump " + Quoted(actorFile));
  Json const& hips = plain["actor"]["skeleton"];
  EXPECT_EQ(std::make_tuple(hips["name"], hips["jointLimit"]["kind"]), std::make_tuple(Json("Hips"), Json("translate")));
  EXPECT_EQ(Names(hips["children"], "name"), (std::vector<std::string>{"Torso", "LegL", "LegR", "Lamp"}));
  Json const& head = hips["children"][0]["children"][0];
  EXPECT_EQ(std::make_tuple(head["name"], head["colSpheres"][0]["radius"], head["properties"][0]["value"],
                            head["colModel"]["triangleSet"].contains("positions")),
            std::make_tuple(Json("Head"), Json(0.15), Json("polished brass"), false));
  EXPECT_EQ(Names(plain["actor"]["proximityDefs"], "name"), (std::vector<std::string>{"", "Greet"}));

  Json const geometry = RunOk("dump --geometry " + Quoted(actorFile));
  Json const& set = geometry["actor"]["skeleton"]["children"][0]["children"][0]["colModel"]["triangleSet"];
  EXPECT_EQ(set["positions"].size(), set["vertices"].get<size_t>());
  EXPECT_EQ(set["corners"].size(), set["triangles"].get<size_t>());
}

TEST(ZoToolDemoFolder, ValidatesCleanAndSamplesTheStoredKeys) {
  Json const summary = RunOk("validate " + Quoted(DemoFolder()))["summary"];
  EXPECT_EQ(std::make_tuple(summary["files"], summary["errors"], summary["warnings"]),
            std::make_tuple(Json(3), Json(0), Json(0)));

  // At a key's own time a sample is that key: compare with the stored keys.
  Json const joints = RunOk("sample " + Quoted(DemoFolder()) + " walk --time 500 --json")["joints"];
  ZoRef<ZoProtoSkill> walk(ZoProtoActor::ReadSkillFile((DemoFolder() + "/Skills/Walk.skl").c_str()));
  ASSERT_TRUE(walk);
  ASSERT_EQ(joints.size(), 7u);
  for (int j = 0; j < 7; ++j) {
    SCOPED_TRACE(j);
    auto* key = static_cast<ZoJointKeyframe*>(walk->Joint(j)->KeyframeAtTime(500));
    ASSERT_NE(key, nullptr);
    Json const& local = joints[j]["local"];
    EXPECT_FLOAT_EQ(local["translation"][1].get<float>(), key->localTransform.translation.y);
    EXPECT_FLOAT_EQ(local["rotation"][0].get<float>(), key->localTransform.rotation.w);
    EXPECT_FLOAT_EQ(local["rotation"][1].get<float>(), key->localTransform.rotation.x);
    EXPECT_FLOAT_EQ(joints[j]["actor"]["translation"][0].get<float>(), key->actorTransform.translation.x);
  }
  EXPECT_EQ(joints[1]["parent"], "Hips");
}

// Info and validate report the older versions; upgrade writes the current
// layout and leaves the input alone.
TEST(ZoToolOlderFiles, AreReportedAndUpgradedLeavingTheInputAlone) {
  zotest::TempFolder folder;
  std::string const old = folder / "Old";
  folder.WriteFile("Old/Old.act", OlderActorFile(33));
  folder.WriteFile("Old/Skills/Step.skl", OlderSkillFile(30, "Step"));
  folder.WriteFile("Old/Textures/skin.png", ByteBuilder().chars("PNG"));
  Json const found = RunOk("info --json " + Quoted(old)).at(0);
  EXPECT_EQ(std::make_tuple(found["actorFile"]["version"], found["actorFile"]["actor"]["name"],
                            found["skills"][0]["version"], found["skills"][0]["skill"]["keys"]),
            std::make_tuple(Json(33), Json("Old"), Json(30), Json(2)));

  Json const validate = RunOk("validate --recursive " + Quoted(old));
  // Two files read, the texture skipped.
  EXPECT_EQ(std::make_tuple(validate["summary"]["files"], validate["summary"]["skipped"]), std::make_tuple(Json(2), Json(1)));
  for (Json const& file : validate["files"]) EXPECT_EQ(Issues(file, "warnings", "older-layout").size(), 1u);

  Bytes actorBefore = FileBytes(old + "/Old.act");
  std::string fresh = folder / "New";
  Json const upgrade = RunOk("upgrade " + Quoted(old) + " -o " + Quoted(fresh));
  Json const* actor = FileNamed(upgrade, "Old.act");
  Json const* skill = FileNamed(upgrade, "Step.skl");
  ASSERT_TRUE(actor != nullptr && skill != nullptr);
  EXPECT_EQ(std::make_tuple((*actor)["action"], (*actor)["versionBefore"], (*actor)["versionAfter"],
                            (*skill)["versionBefore"], (*skill)["versionAfter"], upgrade["summary"]["copied"]),
            std::make_tuple(Json("upgraded"), Json(33), Json(106), Json(30), Json(106), Json(1)));
  EXPECT_EQ(FileBytes(old + "/Old.act"), actorBefore);
  EXPECT_EQ(FileBytes(fresh + "/Textures/skin.png"), FileBytes(old + "/Textures/skin.png"));

  // The upgraded folder holds the same actor and keys, now without warnings.
  EXPECT_EQ(RunOk("validate " + Quoted(fresh))["summary"]["warnings"], 0);
  Json before = RunOk("dump " + Quoted(old));
  Json const after = RunOk("dump " + Quoted(fresh));
  // The square the older layout builds for "hips" is stored from now on.
  before["actorFile"]["actor"]["skeleton"]["modelFormat"] = 2;
  EXPECT_EQ(after["actorFile"]["actor"]["skeleton"], before["actorFile"]["actor"]["skeleton"]);
  EXPECT_EQ((*actor)["notes"].size(), 1u);
  EXPECT_EQ(after["skills"][0]["skill"]["joints"], before["skills"][0]["skill"]["joints"]);

  // In place, files already current are left as they are.
  EXPECT_EQ(RunOk("upgrade " + Quoted(fresh))["summary"]["unchanged"], 2);
}

TEST(ZoToolValidate, FindsEachPlantedFaultWithItsCodeAndOffset) {
  zotest::TempFolder folder;
  std::string robo = folder / "Robo";
  folder.WriteFile("Robo/Robo.act", FileBytes(DemoFolder() + "/Robo.act"));
  Bytes walk = FileBytes(DemoFolder() + "/Skills/Walk.skl");

  std::vector<size_t> keys;
  Bytes unordered = SkillFileBytes("Unordered", 7, 2, {{0, 1}, {100, 2}, {50, 3}}, &keys);
  Bytes cut = zotest::Cut(SkillFileBytes("Cut", 7, 0, {{0, 1}, {100, 2}}), 100);  // inside the second key
  size_t cutAt = cut.size();
  Bytes trailing = ByteBuilder().append(walk).raw({1, 2, 3});
  Bytes rotated = SkillFileBytes("Rotated", 7, 4, {{0, 1, 1.0f}, {10, 1, 0.5f}}, &keys);
  size_t rotatedKey = keys.back();

  struct Case {
    char const* file;
    Bytes bytes;
    char const* code;
    int64_t offset;
  } const cases[] = {
      {"Cut.skl", cut, "truncated", -2},
      {"Fewer.skl", SkillFileBytes("Fewer", 3, 0, {{0, 1}}), "joint-count-mismatch", 33},
      {"Misnamed.skl", SkillFileBytes("Other", 7, 0, {{0, 1}}), "skill-name-mismatch", 20},
      {"Unordered.skl", unordered, "keys-out-of-order", static_cast<int64_t>(keys[2])},
      {"Trailing.skl", trailing, "trailing-bytes", static_cast<int64_t>(walk.size())},
      {"Rotated.skl", rotated, "non-unit-rotation", static_cast<int64_t>(rotatedKey)},
  };
  for (Case const& c : cases) folder.WriteFile(std::string("Robo/Skills/") + c.file, c.bytes);

  ToolRun run = RunTool("validate " + Quoted(robo));
  // Robo.act is clean: 6 of the 7 files fail.
  EXPECT_EQ(std::make_tuple(run.status, run.json["summary"]["files"], run.json["summary"]["failed"]),
            std::make_tuple(1, Json(7), Json(6)));
  for (Case const& c : cases) {
    SCOPED_TRACE(c.file);
    Json const* file = FileNamed(run.json, c.file);
    ASSERT_NE(file, nullptr);
    std::vector<Json> found = Issues(*file, "errors", c.code);
    ASSERT_EQ(found.size(), 1u) << file->dump();
    int64_t offset = found[0]["offset"].get<int64_t>();
    if (c.offset == -2) {
      // A cut file fails where its data runs out: within the cut key.
      EXPECT_GT(offset, static_cast<int64_t>(cutAt) - 212);
      EXPECT_LE(offset, static_cast<int64_t>(cutAt));
    } else {
      EXPECT_EQ(offset, c.offset);
    }
    std::string line = std::string(c.file) + ": byte " + std::to_string(offset) + ": ";
    EXPECT_NE(run.err.find(line), std::string::npos) << run.err;
  }
  EXPECT_EQ(RunTool("validate --quiet " + Quoted(robo)).out, "");
}

TEST(ZoToolValidate, EveryFuzzCorpusFileIsReportedWithoutACrash) {
  size_t files = 0;
  for (auto const& entry : fs::recursive_directory_iterator(ZOACTOR_FUZZ_CORPUS)) files += entry.is_regular_file() ? 1 : 0;
  ToolRun run = RunTool("validate --recursive " + Quoted(ZOACTOR_FUZZ_CORPUS));
  ASSERT_TRUE(run.status == 0 || run.status == 1) << "the tool did not exit normally";
  EXPECT_EQ(run.json["files"].size(), files);
  for (Json const& file : run.json["files"]) {
    SCOPED_TRACE(file["path"].get<std::string>());
    // A file without errors is an actor or skill read whole (or a container
    // described by its header); every error names its reason.
    for (Json const& error : file["errors"]) EXPECT_FALSE(error["message"].get<std::string>().empty());
  }
}

TEST(ZoToolUsage, BadUsageExitsTwoAndHelpExitsZero) {
  std::vector<std::pair<std::string, int>> cases = {
      {"", 2}, {"frobnicate", 2}, {"validate", 2}, {"sample somewhere Walk", 2}, {"info --no-such-flag x", 2},
      {"--help", 0}, {"validate /no/such/file.act", 1}, {"info /no/such/file.act", 1}, {"upgrade /no/such/folder", 1}};
  for (char const* command : {"demo", "info", "dump", "validate", "upgrade", "sample"})
    cases.emplace_back(std::string(command) + " --help", 0);
  for (auto const& c : cases) EXPECT_EQ(RunTool(c.first).status, c.second) << c.first;
}

}  // namespace
