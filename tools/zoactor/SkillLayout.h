// Where the fields of a skill file lie: the byte offsets of its name, its
// joint count and every joint key, with the keys in the order the file
// stores them. The library's reader sorts keys by time as it reads, so the
// order a file was written in, and the offset of a fault, can only be seen
// by walking the bytes; `zoactor validate` does that for files the library
// has read whole.
#ifndef ZOACTOR_TOOLS_SKILLLAYOUT_H
#define ZOACTOR_TOOLS_SKILLLAYOUT_H

#include <zoactor/animation/ZoJointKeyframe.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zotool {

struct StoredKey {
  int32_t joint = 0;
  // The offset of the key's frame (its type code) in the file.
  int64_t offset = 0;
  ZoJointKeyframe key;
};

struct SkillLayout {
  int64_t nameOffset = -1;
  int64_t numJointsOffset = -1;
  int32_t numJoints = 0;
  // Every joint key in file order.
  std::vector<StoredKey> keys;
};

// Walks the skill file in `bytes`; false when its layout cannot be followed
// (which a file the library read whole never gives).
bool WalkSkillLayout(char const* bytes, size_t size, SkillLayout& layout);

}  // namespace zotool

#endif
