// Meshes, materials and textures of an export (see GltfExport.h).
#include "GltfBuilder.h"
#include "ToolFiles.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>

namespace zotool {

namespace {

// Below this length a normal has no direction.
constexpr float kShortestNormal = 1e-12f;

float Unit(float value) { return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f; }

// Roughness from a Phong shininess exponent (the usual Blinn-Phong to GGX
// correspondence), so that a shiny material stays shiny.
double RoughnessOf(float shininess) {
  if (!std::isfinite(shininess) || shininess < 0.0f) return 1.0;
  return std::min(1.0, std::sqrt(2.0 / (static_cast<double>(shininess) + 2.0)));
}

std::string BaseNameOf(std::string const& path) {
  size_t cut = path.find_last_of("/\\");
  return cut == std::string::npos ? path : path.substr(cut + 1);
}

// "image/png" or "image/jpeg" by the file's signature, or empty.
std::string ImageType(std::vector<char> const& bytes) {
  static unsigned char const png[] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  static unsigned char const jpeg[] = {0xFF, 0xD8, 0xFF};
  auto starts = [&bytes](unsigned char const* magic, size_t size) {
    return bytes.size() >= size && std::equal(magic, magic + size, bytes.begin(), [](unsigned char m, char b) {
             return m == static_cast<unsigned char>(b);
           });
  };
  if (starts(png, sizeof png)) return "image/png";
  if (starts(jpeg, sizeof jpeg)) return "image/jpeg";
  return {};
}

// The vertex arrays of a set in glTF's layout; out-of-range values fixed
// and counted.
struct VertexArrays {
  std::vector<float> positions;
  std::vector<float> normals;
  std::vector<float> texCoords;
  std::vector<float> colors;
  int replacedNormals = 0;
};

VertexArrays VerticesOf(ZoTriangleSet const& set, float scale) {
  VertexArrays out;
  int n = set.GetNumVertices();
  for (int i = 0; i < n; ++i) {
    ZoVector3 p = set.Vertex(i) * scale;
    out.positions.insert(out.positions.end(), {p.x, p.y, p.z});
  }
  if ((set.GetFlags() & ZoTriSetNormals) != 0) {
    for (int i = 0; i < n; ++i) {
      ZoVector3 normal = set.Normal(i);
      float length = IsFinite(normal) ? normal.length() : 0.0f;
      if (!(length > kShortestNormal) || !std::isfinite(length)) {
        normal = ZoVector3(0.0f, 0.0f, 1.0f);
        ++out.replacedNormals;
      } else {
        normal = normal * (1.0f / length);
      }
      out.normals.insert(out.normals.end(), {normal.x, normal.y, normal.z});
    }
  }
  if ((set.GetFlags() & ZoTriSetTextures) != 0 && set.GetNumTexturesPerVertex() > 0) {
    for (int i = 0; i < n; ++i) {
      ZoTextureVertex const& uv = set.TextureVertex(i, 0);
      out.texCoords.push_back(std::isfinite(uv.u) ? uv.u : 0.0f);
      out.texCoords.push_back(std::isfinite(uv.v) ? uv.v : 0.0f);
    }
  }
  if ((set.GetFlags() & ZoTriSetColors) != 0) {
    for (int i = 0; i < n; ++i) {
      ZoColor const& c = set.Color(i);
      out.colors.insert(out.colors.end(), {Unit(c.r), Unit(c.g), Unit(c.b), Unit(c.a)});
    }
  }
  return out;
}

bool AllFinite(std::vector<float> const& values) {
  return std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
}

}  // namespace

void GltfBuilder::AddMesh(ZoProtoNode const& node, tinygltf::Node& out) {
  ZoColModel const* colModel = node.ColModel();
  ZoTriangleSet const* set = colModel != nullptr ? colModel->GetTriangleSet() : nullptr;
  if (set == nullptr) return Skip("no-geometry", out.name, "the geometry node has no triangle set");
  if (set->GetType() != ZoTriSetIndexed || set->GetNumTriangles() <= 0 || set->GetNumVertices() <= 0 ||
      set->GetTriangles() == nullptr)
    return Skip("no-geometry", out.name,
                fmt::format("its triangle set (type {}, {} triangles) has no indexed triangles to draw",
                            static_cast<int>(set->GetType()), set->GetNumTriangles()));
  VertexArrays vertices = VerticesOf(*set, options.scale);
  if (!AllFinite(vertices.positions))
    return Skip("bad-geometry", out.name, "a vertex position is not finite; the mesh is left out");
  if (vertices.replacedNormals > 0)
    Skip("bad-normal", out.name, fmt::format("{} normals of length zero became (0, 0, 1)", vertices.replacedNormals));

  // Triangles grouped by the material they use, in material order.
  int numMaterials = set->GetNumMaterials();
  std::map<int, std::vector<uint32_t>> cornersByMaterial;
  int badCorners = 0, badMaterials = 0;
  int32_t numVertices = set->GetNumVertices();
  for (int t = 0; t < set->GetNumTriangles(); ++t) {
    ZoTriangle const& triangle = set->Triangle(t);
    if (std::any_of(triangle.corner, triangle.corner + 3, [&](int32_t c) { return c < 0 || c >= numVertices; })) {
      ++badCorners;
      continue;
    }
    int material = numMaterials > 0 && set->HasMaterialIndices() ? set->MaterialIndex(t) : 0;
    if (numMaterials > 0 && (material < 0 || material >= numMaterials)) {
      ++badMaterials;
      material = 0;
    }
    std::vector<uint32_t>& corners = cornersByMaterial[material];
    for (int32_t c : triangle.corner) corners.push_back(static_cast<uint32_t>(c));
  }
  if (badCorners > 0)
    Skip("bad-triangle", out.name, fmt::format("{} triangles name a vertex that does not exist", badCorners));
  if (badMaterials > 0)
    Skip("bad-material-index", out.name,
         fmt::format("{} triangles name a material that does not exist; they use material 0", badMaterials));
  if (cornersByMaterial.empty()) return Skip("no-geometry", out.name, "no triangle of its set can be drawn");

  std::map<std::string, int> attributes;
  attributes["POSITION"] = buffer.AddFloats(vertices.positions, 3, TINYGLTF_TARGET_ARRAY_BUFFER, true);
  if (!vertices.normals.empty())
    attributes["NORMAL"] = buffer.AddFloats(vertices.normals, 3, TINYGLTF_TARGET_ARRAY_BUFFER, false);
  if (!vertices.texCoords.empty())
    attributes["TEXCOORD_0"] = buffer.AddFloats(vertices.texCoords, 2, TINYGLTF_TARGET_ARRAY_BUFFER, false);
  if (!vertices.colors.empty())
    attributes["COLOR_0"] = buffer.AddFloats(vertices.colors, 4, TINYGLTF_TARGET_ARRAY_BUFFER, false);

  ZoProtoGeomInfo const* record = node.GeomInfo();
  ZoMaterial const fallback;
  tinygltf::Mesh mesh;
  mesh.name = out.name;
  for (auto const& [material, corners] : cornersByMaterial) {
    ZoMaterial const& source = numMaterials > 0 ? set->Material(material) : record != nullptr ? record->material
                                                                                                : fallback;
    tinygltf::Primitive primitive;
    primitive.attributes = attributes;
    primitive.indices = buffer.AddIndices(corners);
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    primitive.material = AddMaterial(source, fmt::format("{} {}", out.name, material), !vertices.texCoords.empty());
    mesh.primitives.push_back(primitive);
    report.triangles += static_cast<int64_t>(corners.size() / 3);
  }
  model.meshes.push_back(mesh);
  out.mesh = static_cast<int>(model.meshes.size() - 1);
  ++report.meshes;
}

int GltfBuilder::AddMaterial(ZoMaterial const& material, std::string const& name, bool texturable) {
  tinygltf::Material out;
  out.name = name;
  ZoColor const& diffuse = material.color2;
  out.pbrMetallicRoughness.baseColorFactor = {static_cast<double>(Unit(diffuse.r)), static_cast<double>(Unit(diffuse.g)),
                                              static_cast<double>(Unit(diffuse.b)), static_cast<double>(Unit(diffuse.a))};
  out.pbrMetallicRoughness.metallicFactor = 0.0;
  out.pbrMetallicRoughness.roughnessFactor = RoughnessOf(material.scalar);
  out.alphaMode = Unit(diffuse.a) < 1.0f ? "BLEND" : "OPAQUE";
  out.doubleSided = (material.flags & ZoMaterial::FLAG_TWO_SIDED) != 0;
  if (material.numTextures > 0 && material.textures[0].name.Length() > 0) {
    if (texturable) {
      out.pbrMetallicRoughness.baseColorTexture.index = AddTexture(material.textures[0].name.c_str());
    } else {
      Skip("texture-without-coordinates", name,
           fmt::format("texture \"{}\" is left out: the mesh has no texture coordinates",
                       material.textures[0].name.c_str()));
    }
  }
  model.materials.push_back(out);
  ++report.materials;
  return static_cast<int>(model.materials.size() - 1);
}

int GltfBuilder::AddTexture(std::string const& textureName) {
  std::string base = BaseNameOf(textureName);
  std::string key = base;
  std::transform(key.begin(), key.end(), key.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  auto known = texturesByName.find(key);
  if (known != texturesByName.end()) return known->second;
  int& texture = texturesByName[key];
  texture = -1;

  std::string folder = actor.TexturePath().c_str();
  std::string file = actor.Path().Length() > 0 && !base.empty() ? ZoPlatform::ResolveExisting((folder + base).c_str())
                                                                 : std::string();
  std::vector<char> bytes;
  if (file.empty()) {
    Skip("missing-texture", textureName, fmt::format("no file \"{}\" in the actor's Textures folder {}", base, folder));
    return texture;
  }
  if (!ReadWholeFile(file, bytes)) {
    Skip("missing-texture", textureName, fmt::format("{} cannot be read", file));
    return texture;
  }
  std::string type = ImageType(bytes);
  if (type.empty()) {
    Skip("texture-format", textureName, fmt::format("{} is neither a PNG nor a JPEG file", file));
    return texture;
  }
  if (model.samplers.empty()) {
    tinygltf::Sampler sampler;
    sampler.magFilter = TINYGLTF_TEXTURE_FILTER_LINEAR;
    sampler.minFilter = TINYGLTF_TEXTURE_FILTER_LINEAR_MIPMAP_LINEAR;
    sampler.wrapS = TINYGLTF_TEXTURE_WRAP_REPEAT;
    sampler.wrapT = TINYGLTF_TEXTURE_WRAP_REPEAT;
    model.samplers.push_back(sampler);
  }
  tinygltf::Image image;
  image.name = base;
  image.mimeType = type;
  image.bufferView = buffer.AddImageBytes(bytes);
  model.images.push_back(image);
  tinygltf::Texture glTexture;
  glTexture.name = base;
  glTexture.source = static_cast<int>(model.images.size() - 1);
  glTexture.sampler = 0;
  model.textures.push_back(glTexture);
  ++report.textures;
  texture = static_cast<int>(model.textures.size() - 1);
  return texture;
}

}  // namespace zotool
