#include "GltfExport.h"
#include "GltfBuilder.h"

#include <fstream>
#include <system_error>

namespace zotool {

tinygltf::Model ExportActorToGltf(ZoProtoActor const& actor, std::vector<ZoProtoSkill*> const& skills,
                                  GltfExportOptions const& options, GltfExportReport& report) {
  GltfBuilder builder(actor, options, report);
  builder.AddScene();
  for (ZoProtoSkill* skill : skills)
    if (skill != nullptr) builder.AddAnimation(*skill);
  return builder.TakeModel();
}

bool WriteGltfFile(tinygltf::Model const& model, std::string const& file, bool binary, std::string& error) {
  // Written beside the target and renamed over it, so that a failed export
  // leaves no half-written file behind.
  std::string temporary = file + ".partial";
  {
    std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
    tinygltf::TinyGLTF writer;
    if (!stream || !writer.WriteGltfSceneToStream(&model, stream, !binary, binary) || !stream.flush()) {
      error = "cannot write " + temporary;
      std::error_code ignored;
      fs::remove(temporary, ignored);
      return false;
    }
  }
  std::error_code renamed;
  fs::rename(temporary, file, renamed);
  if (renamed) {
    error = "cannot rename " + temporary + " to " + file + ": " + renamed.message();
    fs::remove(temporary, renamed);
    return false;
  }
  return true;
}

Json JsonOf(GltfExportReport const& report) {
  Json animations = Json::array();
  for (GltfAnimationFacts const& a : report.animations)
    animations.push_back(Json{{"name", a.name}, {"channels", a.channels}, {"samples", a.samples}, {"seconds", a.seconds}});
  Json skipped = Json::array();
  for (GltfSkip const& s : report.skipped)
    skipped.push_back(Json{{"code", s.code}, {"subject", s.subject}, {"message", s.message}});
  return Json{{"nodes", report.nodes},         {"helperNodes", report.helperNodes}, {"meshes", report.meshes},
              {"triangles", report.triangles}, {"materials", report.materials},     {"textures", report.textures},
              {"cameras", report.cameras},     {"lights", report.lights},           {"animations", animations},
              {"skipped", skipped}};
}

}  // namespace zotool
