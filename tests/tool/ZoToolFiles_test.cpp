// The tool's helpers in-process: file kinds told by their first bytes, and
// the walk that finds the offsets of a skill file's fields.
#include "ToolFiles.h"
#include "ZoToolTestSupport.h"
#include "sequence/ZoSequenceTestSupport.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using zotool::FactsOfBytes;
using zotool::FileFacts;
using zotool::FileKind;
using namespace zotooltest;
using zoseqtest::ContainerHeader;

FileFacts Facts(Bytes const& bytes) { return FactsOfBytes(bytes.data(), bytes.size()); }

Bytes Container(char const* type, uint16_t version, int32_t object) {
  return ContainerHeader(type, version).i32(object);
}

// Current and older actors and skills, sequences and motion files are told
// apart by the info tests on real files; these are the remaining kinds and
// the headers too short to tell.
TEST(ZoToolFiles, KindsAndVersionsFromTheFirstBytes) {
  struct Case {
    char const* name;
    Bytes bytes;
    FileKind kind;
    int32_t version;
    bool container;
    bool truncated;
  } const cases[] = {
      {"current skill", ByteBuilder().i32(0x5A4F536B).i32(0x536B6C50).i32(104), FileKind::Skill, 104, false, false},
      {"other container", Container("Xtra", 5, 0x11223344), FileKind::Container, 5, true, false},
      {"container header only", ContainerHeader("Sequ", 7), FileKind::Sequence, 7, true, false},
      {"short container", ByteBuilder().i32(0x424F5A20).u16(2), FileKind::Unknown, -1, true, true},
      {"magic without body", ByteBuilder().i32(0x5A4F5041).i32(0x50746341), FileKind::Actor, -1, false, true},
      {"three bytes", ByteBuilder().u8(1).u8(2).u8(3), FileKind::Unknown, -1, false, true},
      {"anything else", ByteBuilder().chars("PNG\x0d rest"), FileKind::Unknown, -1, false, false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    FileFacts facts = Facts(c.bytes);
    EXPECT_EQ(std::make_tuple(facts.kind, facts.version, facts.container, facts.truncatedHeader),
              std::make_tuple(c.kind, c.version, c.container, c.truncated));
  }
  EXPECT_EQ(Facts(Container("Sequ", 1, 0)).containerType, "Sequ");
}

}  // namespace
