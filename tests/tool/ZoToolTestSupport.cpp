#include "ZoToolTestSupport.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace zotooltest {

namespace {

constexpr int32_t kKeyframed = 0x4B6C6B53;  // "SklK"

// A key with every transform at translation x = `k.x`, rotation w = `k.w`,
// blending smooth.
ByteBuilder& FramedKey(ByteBuilder& b, HandKey const& k) {
  ZoJointKeyframe key;
  key.setTime(k.time);
  ZoTransform3 const t(ZoVector3(k.x, 0, 0), ZoRotation3(k.w, 0, 0, 0));
  key.localTransform = key.localIn = key.localOut = key.actorTransform = key.actorIn = key.actorOut = t;
  key.blendMode = ZoJointKeyframe::Smooth;
  return zoacttest::AddFramedKey(b, key);
}

}  // namespace

std::string Quoted(std::string const& path) { return "'" + path + "'"; }

ToolRun RunTool(std::string const& arguments) {
  static zotest::TempFolder scratch;
  std::string errors = scratch / "stderr.txt";
  std::string command = std::string(Quoted(ZOACTOR_TOOL)) + " " + arguments + " 2>" + Quoted(errors);
  ToolRun run;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return run;
  char buffer[4096];
  size_t got = 0;
  while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, got);
  int status = pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  Bytes err = FileBytes(errors);
  run.err.assign(err.begin(), err.end());
  run.json = Json::parse(run.out, nullptr, false);
  if (run.json.is_discarded()) run.json = nullptr;
  return run;
}

Json RunOk(std::string const& arguments) {
  ToolRun run = RunTool(arguments);
  EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
  return run.json;
}

std::string DemoFolder() {
  static zotest::TempFolder parent;
  static std::string folder = [] {
    RunTool("demo " + Quoted(parent.path()) + " >/dev/null");
    return parent / "Robo";
  }();
  return folder;
}

Bytes SkillFileBytes(char const* name, int32_t joints, int32_t keyed, std::vector<HandKey> const& keys,
                     std::vector<size_t>* keyOffsets) {
  ByteBuilder b;
  b.i32(ZoProtoSkill::fileType).i32(ZoTypeCode::ProtoSkill);
  b.i32(106).i32(kKeyframed).i32(1).str(name).i32(0).i32(joints);
  for (int32_t j = 0; j < joints; ++j) {
    b.i32(j == keyed ? 1 : 0);
    if (j != keyed) continue;
    b.i32(static_cast<int32_t>(keys.size()));
    for (HandKey const& k : keys) {
      if (keyOffsets != nullptr) keyOffsets->push_back(b.get().size());
      FramedKey(b, k);
    }
  }
  zotest::AddTransform(b, ZoTransform3()).i32(33).i32(0).i32(0);
  return b.f32(1).f32(0).f32(0).f32(0);
}

Bytes OlderSkillFile(int32_t version, char const* name) {
  ByteBuilder b;
  b.i32(ZoProtoActor::kContainerMagic).u16(2).u16(static_cast<uint16_t>(version)).i32(kKeyframed).i32(0);
  b.i32(ZoTypeCode::ProtoSkill).i32(2).str(name).i32(1);
  b.i32(1).i32(2);
  FramedKey(b, HandKey{0, 1.0f});
  return FramedKey(b, HandKey{100, 2.0f});
}

}  // namespace zotooltest
