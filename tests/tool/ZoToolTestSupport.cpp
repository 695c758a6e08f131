#include "ZoToolTestSupport.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace zotooltest {

namespace {

constexpr int32_t kKeyCode = 0x79654B4A;          // "JKey"
constexpr int32_t kKeyframed = 0x4B6C6B53;        // "SklK"
constexpr uint32_t kEaseIn = 0x3F2AAAAB;          // 2/3
constexpr uint32_t kEaseOut = 0x3EAAAAAB;         // 1/3

ByteBuilder& Transform(ByteBuilder& b, float x, float w) { return b.f32(x).f32(0).f32(0).f32(w).f32(0).f32(0).f32(0); }

ByteBuilder& FramedKey(ByteBuilder& b, HandKey const& k) {
  b.i32(kKeyCode).u32(k.time).i32(0).i32(0);
  for (int i = 0; i < 6; ++i) Transform(b, k.x, k.w);
  return b.f32(0).f32(0).f32(0).i32(0).u32(kEaseIn).u32(kEaseOut).i32(1);
}

std::string ReadText(std::string const& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
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
  run.err = ReadText(errors);
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
    if (j != keyed) {
      b.i32(0);
      continue;
    }
    b.i32(1).i32(static_cast<int32_t>(keys.size()));
    for (HandKey const& k : keys) {
      if (keyOffsets != nullptr) keyOffsets->push_back(b.get().size());
      FramedKey(b, k);
    }
  }
  Transform(b, 0, 1).i32(33).i32(0).i32(0);
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
