// Export of an actor and its skills to glTF 2.0, for the tools artists use
// (Blender, three.js, engines). What becomes what:
//
// - Nodes: every proto node becomes a glTF node of the same name, at the
//   same index as in the actor's node traversal (pre-order), placed by its
//   home transform (translation and rotation; the library's quaternion is
//   scalar first, glTF's x, y, z, w). One scene holds the root.
// - Geometry nodes: the triangle set of the node's collision model becomes
//   a mesh with positions, normals, the first texture pair per vertex and
//   vertex colours when the set has them; one primitive per material the
//   triangles use. Markers of handles, cameras and lights are left out:
//   they are the editor's drawings, not the actor's geometry.
// - Materials (the set's, else the node's geometry record's):
//   pbrMetallicRoughness with the base colour and opacity of the diffuse
//   colour (`color2`), metallic 0, roughness sqrt(2 / (scalar + 2)) from the
//   shininess `scalar`, blending when the opacity is below 1, two-sided by
//   the material's flag. The first texture, found by its base name in the
//   actor's Textures folder without regard to case, is embedded when it is
//   a PNG or JPEG file.
// - Cameras (style 4): perspective, yfov = `angle` (radians), znear and zfar
//   from the near and far planes. Every kind is exported as perspective.
// - Lights (style 5), through KHR_lights_punctual: kind 0 directional,
//   1 point, 2 spot (outer cone angle = `angle`), in the diffuse colour
//   (`color2`). A directional or spot light shines along its `vector`, which
//   glTF cannot say of the node itself (its lights shine along -z): a child
//   node "<name>.light", turned so that -z is `vector`, carries the light and
//   is marked in its extras as {"zoactorHelper": "light-direction"}.
// - Skills: one animation each. For every joint with keys, a translation and
//   a rotation channel, LINEAR, of the joint's local transform as
//   ZoJointKeyList::SampleAtTime gives it (holding the last key) at every
//   key time of the skill and every `sampleRate` engine units from its first
//   to its last key; before a joint's first key it holds that key. Times
//   are engine units × `secondsPerUnit`. The local transform is taken
//   relative to the node's parent node, as the home transform is.
// - `scale` multiplies every length: translations, positions, camera planes.
//
// Edge cases (each reported in `skipped`, and the export goes on):
// - A skill whose joint count is not the actor's joint count, and a skill
//   without a single key, give no animation.
// - A geometry node without a triangle set, or whose set is not an indexed
//   one with triangles, gets no mesh; triangles naming a vertex that does
//   not exist, and vertices that are not finite, are left out with it.
// - A material index outside the set's materials uses material 0.
// - A texture that is missing, unreadable, or neither PNG nor JPEG is left
//   out; the material keeps its colour.
// - A camera whose angle, near or far plane glTF cannot take (yfov in
//   (0, π), 0 < znear < zfar) is left out; so are lights of another kind,
//   lights that are off, and ambient lights (no diffuse colour).
// - Colours are clamped to [0, 1]; normals are normalised, and a normal of
//   length zero (or not finite) becomes (0, 0, 1).
// - Key times that coincide once in seconds (float) are sampled once; a
//   skill is sampled at most kMaxSamples times (the step grows to fit).
#ifndef ZOACTOR_TOOLS_GLTFEXPORT_H
#define ZOACTOR_TOOLS_GLTFEXPORT_H

#include "GltfModel.h"
#include "ToolReport.h"

#include <zoactor/zoactor.h>

#include <cstdint>
#include <string>
#include <vector>

namespace zotool {

struct GltfExportOptions {
  // Seconds per engine time unit.
  double secondsPerUnit = 0.001;
  // The factor of every length.
  float scale = 1.0f;
};

// Something the export left out, and why.
struct GltfSkip {
  std::string code;     // "skill-mismatch", "empty-skill", "no-geometry", "missing-texture", ...
  std::string subject;  // the node, skill or texture concerned
  std::string message;
};

struct GltfAnimationFacts {
  std::string name;
  int channels = 0;
  // The sample times of every channel.
  int samples = 0;
  // The time of the last sample: the skill's last key in seconds.
  double seconds = 0.0;
};

// What an export made and what it left out.
struct GltfExportReport {
  int nodes = 0;        // the actor's nodes
  int helperNodes = 0;  // the nodes added to carry directed lights
  int meshes = 0;
  int64_t triangles = 0;
  int materials = 0;
  int textures = 0;
  int cameras = 0;
  int lights = 0;
  std::vector<GltfAnimationFacts> animations;
  std::vector<GltfSkip> skipped;
};

// The most samples one skill's animation takes.
constexpr int kMaxSamples = 100000;

// The glTF model of `actor` (borrowed; its node and geometry traversals
// must exist) with one animation per skill of `skills`, in order (the
// skills' key-list cursors move). Fills `report`.
tinygltf::Model ExportActorToGltf(ZoProtoActor const& actor, std::vector<ZoProtoSkill*> const& skills,
                                  GltfExportOptions const& options, GltfExportReport& report);

// Writes `model` as GLB (`binary`) or as a .gltf file whose buffer is
// embedded as a data URI; false with `error` set when it cannot be written.
bool WriteGltfFile(tinygltf::Model const& model, std::string const& file, bool binary, std::string& error);

// {"nodes","helperNodes","meshes","triangles","materials","textures","cameras","lights",
//  "animations":[{"name","channels","samples","seconds"}...],
//  "skipped":[{"code","subject","message"}...]}.
Json JsonOf(GltfExportReport const& report);

}  // namespace zotool

#endif
