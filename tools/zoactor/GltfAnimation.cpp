// Skills as glTF animations (see GltfExport.h): each keyed joint's local
// transform sampled with ZoJointKeyList::SampleAtTime.
#include "GltfBuilder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace zotool {

namespace {

// The engine times a skill is sampled at, and whether the grid had to be
// coarsened to stay within kMaxSamples.
struct SampleTimes {
  std::vector<uint32_t> times;
  bool thinned = false;
};

// Every key time of the keyed joints, and every `rate` units from `first`
// to `last`, ascending and without repeats.
SampleTimes TimesOf(ZoProtoSkill const& skill, std::vector<int> const& keyed, uint32_t first, uint32_t last) {
  SampleTimes out;
  std::vector<uint32_t> keyTimes;
  for (int j : keyed) {
    ZoKeyListNode* cursor = nullptr;
    ZoJointKeyList const& keys = *skill.Joint(j);
    for (ZoJointKeyframe* key = keys.GetFirst(cursor); key != nullptr; key = keys.GetNext(cursor))
      keyTimes.push_back(key->time());
  }
  std::sort(keyTimes.begin(), keyTimes.end());
  keyTimes.erase(std::unique(keyTimes.begin(), keyTimes.end()), keyTimes.end());
  size_t const half = kMaxSamples / 2;
  if (keyTimes.size() > half) {
    size_t stride = (keyTimes.size() + half - 1) / half;
    std::vector<uint32_t> thinned;
    for (size_t i = 0; i < keyTimes.size(); i += stride) thinned.push_back(keyTimes[i]);
    thinned.push_back(keyTimes.back());
    keyTimes.swap(thinned);
    out.thinned = true;
  }
  uint64_t span = uint64_t{last} - first;
  uint64_t step = skill.GetSampleRate() > 0 ? static_cast<uint64_t>(skill.GetSampleRate()) : 0;
  if (step > 0 && span / step >= half) {
    step = span / (half - 1) + 1;
    out.thinned = true;
  }
  out.times = keyTimes;
  if (step > 0)
    for (uint64_t t = first; t <= last; t += step) out.times.push_back(static_cast<uint32_t>(t));
  std::sort(out.times.begin(), out.times.end());
  out.times.erase(std::unique(out.times.begin(), out.times.end()), out.times.end());
  return out;
}

// A LINEAR sampler of `values` over the key times `input`, and the channel
// that drives `path` of node `target` with it.
void AddChannel(tinygltf::Animation& animation, int output, int input, int target, char const* path) {
  tinygltf::AnimationSampler sampler;
  sampler.input = input;
  sampler.output = output;
  sampler.interpolation = "LINEAR";
  animation.samplers.push_back(sampler);
  tinygltf::AnimationChannel channel;
  channel.sampler = static_cast<int>(animation.samplers.size() - 1);
  channel.target_node = target;
  channel.target_path = path;
  animation.channels.push_back(channel);
}

float Dot(ZoRotation3 const& a, ZoRotation3 const& b) { return a.w * b.w + a.x * b.x + a.y * b.y + a.z * b.z; }

}  // namespace

void GltfBuilder::AddAnimation(ZoProtoSkill& skill) {
  std::string name = skill.Name().c_str();
  ZoProtoTraversal const* joints = actor.GeomTraversal();
  int numJoints = joints != nullptr ? joints->NumNodes() : 0;
  if (skill.NumJoints() != numJoints)
    return Skip("skill-mismatch", name,
                fmt::format("the skill has {} joints but the actor {}", skill.NumJoints(), numJoints));
  std::vector<int> keyed;
  uint32_t first = std::numeric_limits<uint32_t>::max(), last = 0;
  for (int j = 0; j < numJoints; ++j) {
    ZoJointKeyList const* keys = skill.Joint(j);
    if (keys == nullptr || keys->NumKeyframes() == 0) continue;
    keyed.push_back(j);
    first = std::min(first, keys->FirstTime());
    last = std::max(last, keys->LastTime());
  }
  if (keyed.empty()) return Skip("empty-skill", name, "the skill has no keys");

  SampleTimes grid = TimesOf(skill, keyed, first, last);
  if (grid.thinned)
    Skip("samples-thinned", name, fmt::format("sampled more coarsely to stay within {} samples", kMaxSamples));
  std::vector<float> seconds;
  std::vector<uint32_t> times;
  for (uint32_t t : grid.times) {
    auto s = static_cast<float>(static_cast<double>(t) * options.secondsPerUnit);
    if (!seconds.empty() && !(s > seconds.back())) continue;  // the same instant once in float seconds
    seconds.push_back(s);
    times.push_back(t);
  }
  int input = buffer.AddFloats(seconds, 1, 0, true);

  tinygltf::Animation animation;
  animation.name = name;
  int badSamples = 0;
  for (int j : keyed) {
    ZoProtoNode const* node = joints->Node(j);
    ZoJointKeyList& keys = *skill.Joint(j);
    uint32_t start = keys.FirstTime();
    std::vector<float> translations, rotations;
    ZoVector3 home = node->HomeTransform().translation * options.scale;
    ZoRotation3 previous;
    ZoJointKeyframe pose;
    for (uint32_t t : times) {
      keys.SampleAtTime(std::max(t, start), pose, 1);
      ZoVector3 translation = pose.localTransform.translation * options.scale;
      if (!IsFinite(translation)) {
        translation = IsFinite(home) ? home : ZoVector3();
        ++badSamples;
      }
      ZoRotation3 rotation = UnitRotation(pose.localTransform.rotation);
      if (Dot(rotation, previous) < 0.0f) rotation = ZoRotation3(-rotation.w, -rotation.x, -rotation.y, -rotation.z);
      previous = rotation;
      translations.insert(translations.end(), {translation.x, translation.y, translation.z});
      rotations.insert(rotations.end(), {rotation.x, rotation.y, rotation.z, rotation.w});
    }
    int target = actor.NodeTraversal()->NodeIndex(node);
    AddChannel(animation, buffer.AddFloats(translations, 3, 0, false), input, target, "translation");
    AddChannel(animation, buffer.AddFloats(rotations, 4, 0, false), input, target, "rotation");
  }
  if (badSamples > 0)
    Skip("bad-sample", name, fmt::format("{} sampled translations were not finite; they hold the home", badSamples));
  model.animations.push_back(animation);
  report.animations.push_back(GltfAnimationFacts{name, static_cast<int>(animation.channels.size()),
                                                 static_cast<int>(seconds.size()),
                                                 static_cast<double>(times.back()) * options.secondsPerUnit});
}

}  // namespace zotool
