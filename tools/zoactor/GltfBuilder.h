// GltfBuilder: the state of one export while ExportActorToGltf runs (see
// GltfExport.h for what becomes what). Nodes, cameras and lights are built
// in GltfScene.cpp, meshes, materials and textures in GltfMesh.cpp,
// animations in GltfAnimation.cpp.
#ifndef ZOACTOR_TOOLS_GLTFBUILDER_H
#define ZOACTOR_TOOLS_GLTFBUILDER_H

#include "GltfBuffer.h"
#include "GltfExport.h"

#include <map>
#include <string>

namespace zotool {

// `q` at unit length; the identity when its length is zero or not finite.
ZoRotation3 UnitRotation(ZoRotation3 const& q);
// True when all three coordinates are finite.
bool IsFinite(ZoVector3 const& v);

class GltfBuilder {
 public:
  // Borrows the actor, the options and the report until the builder goes.
  GltfBuilder(ZoProtoActor const& source, GltfExportOptions const& settings, GltfExportReport& out);
  GltfBuilder(GltfBuilder const&) = delete;
  GltfBuilder& operator=(GltfBuilder const&) = delete;

  // The scene: one glTF node per proto node, with meshes, cameras and lights.
  void AddScene();
  // One animation of `skill`, or a skip saying why there is none.
  void AddAnimation(ZoProtoSkill& skill);
  // The model built so far (the builder is done with it).
  tinygltf::Model TakeModel() { return std::move(model); }

  // Records that `subject` was left out, and why.
  void Skip(char const* code, std::string const& subject, std::string message);

 private:
  // GltfScene.cpp
  tinygltf::Node NodeOf(ZoProtoNode const& node, int index);
  void AddCamera(ZoProtoNode const& node, tinygltf::Node& out);
  void AddLight(ZoProtoNode const& node, int index);
  // GltfMesh.cpp
  void AddMesh(ZoProtoNode const& node, tinygltf::Node& out);
  // A glTF material of `material`; `texturable` when the mesh has texture
  // coordinates, without which its texture is left out.
  int AddMaterial(ZoMaterial const& material, std::string const& name, bool texturable);
  // The texture of the file named `textureName` in the actor's Textures
  // folder (embedded once per file), or -1 with a skip saying why.
  int AddTexture(std::string const& textureName);

  ZoProtoActor const& actor;
  GltfExportOptions const& options;
  GltfExportReport& report;
  tinygltf::Model model;
  GltfBuffer buffer;
  // Texture index (or -1) by the upper-cased base name of its file, so
  // that a file is embedded, or reported missing, once.
  std::map<std::string, int> texturesByName;
};

}  // namespace zotool

#endif
