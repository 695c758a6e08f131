// Helpers for the sequence tests: collecting the recorder's messages,
// distinct transforms for frames, and the bytes of a container header and
// a motion header built field by field.
#ifndef ZOACTOR_TESTS_SEQUENCE_SUPPORT_H
#define ZOACTOR_TESTS_SEQUENCE_SUPPORT_H

#include <zoactor/foundation/ZoMessageHandler.h>
#include <zoactor/foundation/ZoTransform3.h>

#include "skeleton/ZoSkeletonTestSupport.h"
#include "support/ZoTestSupport.h"

#include <string>
#include <vector>

namespace zoseqtest {

using zotest::ByteBuilder;
using zotest::Bytes;
using zotest::TempFolder;
// A transform's 28 bytes, as a motion file stores a pose.
using zoskeletontest::AddTransform;

// Collects every message shown while alive (nothing reaches standard error).
class MessageCollector {
 public:
  MessageCollector() { ZoMessageHandler::Set(&Collect, this); }
  ~MessageCollector() { ZoMessageHandler::Set(nullptr, nullptr); }
  MessageCollector(MessageCollector const&) = delete;
  MessageCollector& operator=(MessageCollector const&) = delete;

  std::vector<std::string> texts;

 private:
  static int Collect(ZoString const& text, ZoString const&, int, void* context) {
    static_cast<MessageCollector*>(context)->texts.emplace_back(text.c_str());
    return kZoMessageOk;
  }
};

// A transform whose seven floats all depend on `seed`.
inline ZoTransform3 Pose(float seed) {
  return ZoTransform3(ZoVector3(seed, seed * 2.0f, -seed), ZoRotation3(0.5f + seed, -seed, 0.25f * seed, 1.0f / (seed + 3.0f)));
}

// The 16-byte header of a chunked container file.
inline ByteBuilder ContainerHeader(char const* type, uint16_t version) {
  return ByteBuilder().u32(0x424F5A20).u16(2).u16(version).chars(type).u32(0);
}

// A motion file's container header and motion header.
inline ByteBuilder MotionHeader(char const* name, int32_t frameSize, int32_t numFrames) {
  return ContainerHeader("Aazo", 1).str(name).i32(frameSize).i32(numFrames);
}

}  // namespace zoseqtest

#endif
