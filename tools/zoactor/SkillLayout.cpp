#include "SkillLayout.h"

#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/serialization/ZoMemoryStream.h>

#include "serialization/ZoFormatVersions.h"

#include <memory>

namespace zotool {

namespace {

// Reads up to the skill body's own fields; the format comes from the body
// or, in the oldest files, from the container header's type word.
bool ReadSkillStart(ZoMemoryStream& in, int32_t& format) {
  int32_t first = 0;
  in >> first;
  int32_t header[3] = {};
  if (first != ZoProtoSkill::fileType) {
    in >> header[0] >> header[1] >> header[2];
    in.version = static_cast<int32_t>((static_cast<uint32_t>(header[0]) >> 16) & 0xFFFFu);
  }
  int32_t code = 0;
  in >> code;
  if (code == -1) {
    int32_t size = 0;
    in >> code >> size;
  }
  if (in.Status() != ZoStreamOk || code != ZoProtoSkill::STREAM_TYPE) return false;
  format = header[1];
  if (in.version <= 0 || in.version >= zoversion::kSkillSampleRate) in >> in.version >> format;
  return in.Status() == ZoStreamOk;
}

bool ReadJointKeys(ZoMemoryStream& in, int32_t joint, SkillLayout& layout) {
  int32_t hasKeys = 0;
  in >> hasKeys;
  if (in.Status() != ZoStreamOk) return false;
  if (hasKeys == 0) return true;
  int32_t count = 0;
  if (!in.ReadLoopCount(count, 4)) return false;
  for (int32_t i = 0; i < count; ++i) {
    int64_t offset = in.Position();
    std::unique_ptr<ZoStreamObject> object(in.ReadObject(nullptr));
    if (in.Status() != ZoStreamOk) return false;
    if (auto* key = dynamic_cast<ZoJointKeyframe*>(object.get())) layout.keys.push_back(StoredKey{joint, offset, *key});
  }
  return true;
}

}  // namespace

bool WalkSkillLayout(char const* bytes, size_t size, SkillLayout& layout) {
  layout = SkillLayout{};
  ZoMemoryStream in(const_cast<char*>(bytes), static_cast<int32_t>(size));
  int32_t format = 0;
  if (!ReadSkillStart(in, format)) return false;
  int32_t version = 0;
  ZoString name;
  in >> version;
  layout.nameOffset = in.Position();
  in >> name;
  if (in.version >= zoversion::kSkillAnnotations) in >> version;
  layout.numJointsOffset = in.Position();
  in >> layout.numJoints;
  if (in.Status() != ZoStreamOk) return false;
  if (format != ZoSkillFormatKeyframed) return true;
  for (int32_t joint = 0; joint < layout.numJoints; ++joint)
    if (!ReadJointKeys(in, joint, layout)) return false;
  return true;
}

}  // namespace zotool
