// The scene of an export: nodes with their home transforms, cameras and
// lights (see GltfExport.h).
#include "GltfBuilder.h"
#include "ToolJson.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace zotool {

namespace {

constexpr double kPi = 3.14159265358979323846;
// Below this length a vector has no direction.
constexpr float kShortestDirection = 1e-6f;

enum LightKind : int32_t { kDirectional = 0, kPoint = 1, kSpot = 2 };

std::vector<double> Xyzw(ZoRotation3 const& q) {
  ZoRotation3 unit = UnitRotation(q);
  return {static_cast<double>(unit.x), static_cast<double>(unit.y), static_cast<double>(unit.z),
          static_cast<double>(unit.w)};
}

// The rotation that turns -z onto `direction` (a unit vector).
ZoRotation3 TurnMinusZOnto(ZoVector3 const& direction) {
  // The half-way quaternion of (0, 0, -1) and `direction`: w = 1 + dot,
  // axis = cross; opposite vectors turn half a turn about x.
  float w = 1.0f - direction.z;
  if (w < kShortestDirection) return ZoRotation3(0.0f, 1.0f, 0.0f, 0.0f);
  return UnitRotation(ZoRotation3(w, direction.y, -direction.x, 0.0f));
}

tinygltf::Value Extras(char const* key, std::string const& value) {
  return tinygltf::Value(tinygltf::Value::Object{{key, tinygltf::Value(value)}});
}

}  // namespace

ZoRotation3 UnitRotation(ZoRotation3 const& q) {
  double w = q.w, x = q.x, y = q.y, z = q.z;
  double length = std::sqrt(w * w + x * x + y * y + z * z);
  if (!std::isfinite(length) || length == 0.0) return ZoRotation3();
  return ZoRotation3(static_cast<float>(w / length), static_cast<float>(x / length), static_cast<float>(y / length),
                     static_cast<float>(z / length));
}

bool IsFinite(ZoVector3 const& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }

GltfBuilder::GltfBuilder(ZoProtoActor const& source, GltfExportOptions const& settings, GltfExportReport& out)
    : actor(source), options(settings), report(out), buffer(model) {
  model.asset.version = "2.0";
  model.asset.generator = std::string("zoactor ") + ZoActorVersion();
}

void GltfBuilder::Skip(char const* code, std::string const& subject, std::string message) {
  report.skipped.push_back(GltfSkip{code, subject, std::move(message)});
}

void GltfBuilder::AddScene() {
  ZoProtoTraversal const* nodes = actor.NodeTraversal();
  int count = nodes != nullptr ? nodes->NumNodes() : 0;
  report.nodes = count;
  for (int i = 0; i < count; ++i) model.nodes.push_back(NodeOf(*nodes->Node(i), i));
  // Lights add helper nodes behind the actor's, so they come last.
  for (int i = 0; i < count; ++i)
    if (nodes->Node(i)->Style() == ZoProtoNode::Light) AddLight(*nodes->Node(i), i);
  tinygltf::Scene scene;
  scene.name = actor.Name().c_str();
  if (count > 0) scene.nodes.push_back(0);
  model.scenes.push_back(scene);
  model.defaultScene = 0;
}

tinygltf::Node GltfBuilder::NodeOf(ZoProtoNode const& node, int index) {
  tinygltf::Node out;
  out.name = node.Name().c_str();
  out.extras = Extras("zoactorStyle", StyleName(node.Style()));
  ZoTransform3 const& home = node.HomeTransform();
  ZoVector3 t = home.translation * options.scale;
  if (!IsFinite(t)) {
    Skip("bad-transform", out.name, "the home translation is not finite; the node stays at its parent's origin");
    t = ZoVector3();
  }
  out.translation = {static_cast<double>(t.x), static_cast<double>(t.y), static_cast<double>(t.z)};
  out.rotation = Xyzw(home.rotation);
  for (ZoTreeNode* child = node.firstChild(); child != nullptr; child = child->nextSibling()) {
    int at = actor.NodeTraversal()->NodeIndex(dynamic_cast<ZoProtoNode*>(child));
    if (at > index) out.children.push_back(at);
  }
  if (node.Style() == ZoProtoNode::Geometry) AddMesh(node, out);
  if (node.Style() == ZoProtoNode::Camera) AddCamera(node, out);
  return out;
}

void GltfBuilder::AddCamera(ZoProtoNode const& node, tinygltf::Node& out) {
  ZoCamera const* camera = node.CameraInfo();
  if (camera == nullptr) return;
  double yfov = static_cast<double>(camera->angle);
  double znear = static_cast<double>(camera->nearPlane) * static_cast<double>(options.scale);
  double zfar = static_cast<double>(camera->farPlane) * static_cast<double>(options.scale);
  if (!(yfov > 0.0 && yfov < kPi && znear > 0.0 && zfar > znear && std::isfinite(zfar))) {
    Skip("bad-camera", out.name,
         fmt::format("angle {}, near {} and far {} make no glTF camera", yfov, znear, zfar));
    return;
  }
  tinygltf::Camera glCamera;
  glCamera.type = "perspective";
  glCamera.name = out.name;
  glCamera.perspective.yfov = yfov;
  glCamera.perspective.znear = znear;
  glCamera.perspective.zfar = zfar;
  model.cameras.push_back(glCamera);
  out.camera = static_cast<int>(model.cameras.size() - 1);
  ++report.cameras;
}

void GltfBuilder::AddLight(ZoProtoNode const& node, int index) {
  ZoLight const* light = node.LightInfo();
  if (light == nullptr) return;
  std::string name = node.Name().c_str();
  if (!light->on) return Skip("light-off", name, "the light is off");
  if (light->kind < kDirectional || light->kind > kSpot)
    return Skip("light-kind", name, fmt::format("light kind {} has no glTF counterpart", light->kind));
  float r = light->color2.r, g = light->color2.g, b = light->color2.b;
  float brightest = std::max({r, g, b});
  if (!(brightest > 0.0f) || !std::isfinite(brightest))
    return Skip("ambient-light", name, "a light without diffuse colour (ambient) has no glTF counterpart");

  tinygltf::Light glLight;
  glLight.name = name;
  glLight.type = light->kind == kDirectional ? "directional" : light->kind == kPoint ? "point" : "spot";
  float intensity = std::max(brightest, 1.0f);
  glLight.color = {static_cast<double>(std::max(r, 0.0f) / intensity),
                   static_cast<double>(std::max(g, 0.0f) / intensity),
                   static_cast<double>(std::max(b, 0.0f) / intensity)};
  glLight.intensity = static_cast<double>(intensity);
  if (light->kind == kSpot) {
    double angle = static_cast<double>(light->angle);
    glLight.spot.innerConeAngle = 0.0;
    glLight.spot.outerConeAngle = std::isfinite(angle) && angle > 0.0 ? std::min(angle, kPi / 2.0) : kPi / 4.0;
  }
  model.lights.push_back(glLight);
  tinygltf::Value use(tinygltf::Value::Object{{"light", tinygltf::Value(static_cast<int>(model.lights.size() - 1))}});
  ++report.lights;

  if (light->kind == kPoint) {
    model.nodes[static_cast<size_t>(index)].extensions["KHR_lights_punctual"] = use;
    return;
  }
  ZoVector3 direction = light->vector;
  float length = IsFinite(direction) ? direction.length() : 0.0f;
  direction = length > kShortestDirection ? direction * (1.0f / length) : ZoVector3(0.0f, 0.0f, -1.0f);
  tinygltf::Node helper;
  helper.name = name + ".light";
  helper.rotation = Xyzw(TurnMinusZOnto(direction));
  helper.extras = Extras("zoactorHelper", "light-direction");
  helper.extensions["KHR_lights_punctual"] = use;
  model.nodes.push_back(helper);
  model.nodes[static_cast<size_t>(index)].children.push_back(static_cast<int>(model.nodes.size() - 1));
  ++report.helperNodes;
}

}  // namespace zotool
