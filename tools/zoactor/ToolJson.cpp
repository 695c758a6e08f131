#include "ToolJson.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdlib>

namespace zotool {

namespace {

template <class T, class Visit>
void ForEachItem(ZoDblList const* list, Visit visit) {
  if (list == nullptr) return;
  ZoDblListItem* cursor = nullptr;
  for (void* item = list->GetFirst(cursor); item != nullptr; item = list->GetNext(cursor))
    visit(*static_cast<T const*>(item));
}

Json JsonOfStrings(ZoStringList const& strings) {
  Json json = Json::array();
  ForEachItem<ZoString>(&strings, [&](ZoString const& s) { json.push_back(s.c_str()); });
  return json;
}

Json JsonOfGeomRecord(ZoProtoGeomInfo const& info) {
  return Json{{"squareKind", info.squareKind}, {"width", JsonOf(info.width)},     {"height", JsonOf(info.height)},
              {"geomInt0", info.geomInt0},     {"geomInt1", info.geomInt1},        {"geomInt2", info.geomInt2},
              {"geomInt3", info.geomInt3},     {"material", JsonOf(info.material)}};
}

Json JsonOfCamera(ZoCamera const& camera) {
  return Json{{"name", camera.name.c_str()},         {"kind", camera.kind},
              {"angle", JsonOf(camera.angle)},        {"near", JsonOf(camera.nearPlane)},
              {"far", JsonOf(camera.farPlane)},       {"properties", JsonOf(camera.properties)}};
}

Json JsonOfLight(ZoLight const& light) {
  return Json{{"kind", light.kind},
              {"vector", JsonOf(light.vector)},
              {"colors", Json::array({JsonOf(light.color1), JsonOf(light.color2), JsonOf(light.color3)})},
              {"angle", JsonOf(light.angle)},
              {"on", light.on},
              {"properties", JsonOf(light.properties)}};
}

Json JsonOfStyleRecord(ZoProtoNode const& node) {
  if (ZoProtoGeomInfo const* geom = node.GeomInfo()) return JsonOfGeomRecord(*geom);
  if (ZoProtoHandleInfo const* handle = node.HandleInfo())
    return Json{{"handleKind", handle->handleKind},
                {"radius", JsonOf(handle->radius)},
                {"length", JsonOf(handle->length)},
                {"handleWord3", handle->handleWord3}};
  if (ZoProtoFloorInfo const* floor = node.FloorInfo())
    return Json{{"floorWord0", floor->floorWord0}, {"floorWord1", floor->floorWord1}};
  if (ZoCamera const* camera = node.CameraInfo()) return JsonOfCamera(*camera);
  if (ZoLight const* light = node.LightInfo()) return JsonOfLight(*light);
  if (node.SplineInfo() != nullptr) return Json{{"spline", true}};
  return nullptr;
}

Json JsonOfSpheres(ZoColSphereList const& spheres) {
  Json json = Json::array();
  for (ZoColSphere const& s : spheres)
    json.push_back(Json{{"center", JsonOf(s.center)}, {"radius", JsonOf(s.radius)}, {"word4", s.word4}});
  return json;
}

Json JsonOfProximity(ZoProtoProxDef const& def) {
  return Json{{"name", def.name.c_str()},
              {"radius", JsonOf(def.radius)},
              {"range1", JsonOf(def.range1)},
              {"range2", JsonOf(def.range2)},
              {"flag", def.proxFlag}};
}

Json JsonOfBounds(ZoProtoActor const& actor) {
  ZoVector3 min, max, center;
  float radius = 0, cylinderRadius = 0, cylinderHeight = 0;
  actor.GetBoundingBox(min, max);
  actor.GetBoundingSphere(center, radius);
  actor.GetBoundingCylinder(cylinderRadius, cylinderHeight);
  return Json{{"box", {{"min", JsonOf(min)}, {"max", JsonOf(max)}}},
              {"sphere", {{"center", JsonOf(center)}, {"radius", JsonOf(radius)}}},
              {"cylinder", {{"radius", JsonOf(cylinderRadius)}, {"height", JsonOf(cylinderHeight)}}}};
}

}  // namespace

Json JsonOf(float value) {
  if (!std::isfinite(value)) return nullptr;
  // The shortest text that reads back as this float, as a double.
  return std::strtod(fmt::format("{}", value).c_str(), nullptr);
}

Json JsonOf(ZoVector3 const& v) { return Json::array({JsonOf(v.x), JsonOf(v.y), JsonOf(v.z)}); }

Json JsonOf(ZoRotation3 const& q) { return Json::array({JsonOf(q.w), JsonOf(q.x), JsonOf(q.y), JsonOf(q.z)}); }

Json JsonOf(ZoTransform3 const& t) { return Json{{"translation", JsonOf(t.translation)}, {"rotation", JsonOf(t.rotation)}}; }

Json JsonOf(ZoColor const& c) { return Json::array({JsonOf(c.r), JsonOf(c.g), JsonOf(c.b), JsonOf(c.a)}); }

Json JsonOf(ZoMaterial const& material) {
  Json textures = Json::array();
  for (int i = 0; i < material.numTextures && i < ZoMaterial::MAX_TEXTURES; ++i) {
    ZoTexture const& t = material.textures[i];
    textures.push_back(Json{{"name", t.name.c_str()}, {"textureInt0", t.textureInt0}, {"textureInt1", t.textureInt1}});
  }
  return Json{{"flags", material.flags},
              {"colors", Json::array({JsonOf(material.color1), JsonOf(material.color2), JsonOf(material.color3),
                                      JsonOf(material.color4)})},
              {"scalar", JsonOf(material.scalar)},
              {"textures", textures},
              {"properties", JsonOf(material.properties)}};
}

Json JsonOfValue(ZoTypedValue const* value) {
  if (value == nullptr) return nullptr;
  if (auto const* i = dynamic_cast<ZoIntValue const*>(value)) return static_cast<int>(*i);
  if (auto const* f = dynamic_cast<ZoFloatValue const*>(value)) return JsonOf(static_cast<float>(*f));
  if (auto const* s = dynamic_cast<ZoStringValue const*>(value)) return static_cast<ZoString const&>(*s).c_str();
  if (auto const* v = dynamic_cast<ZoVector3Value const*>(value)) return JsonOf(static_cast<ZoVector3 const&>(*v));
  if (auto const* c = dynamic_cast<ZoColor const*>(value)) return JsonOf(*c);
  if (auto const* m = dynamic_cast<ZoMaterial const*>(value)) return JsonOf(*m);
  if (auto const* camera = dynamic_cast<ZoCamera const*>(value)) return JsonOfCamera(*camera);
  if (auto const* light = dynamic_cast<ZoLight const*>(value)) return JsonOfLight(*light);
  ZoString text;
  if (value->ConvertToString(text) != 0) return text.c_str();
  return nullptr;
}

Json JsonOf(ZoPropertySet const& properties) {
  Json json = Json::array();
  ZoStringList names;
  properties.GetPropertyNames(names, 1);
  ForEachItem<ZoString>(&names, [&](ZoString const& name) {
    ZoProperty const* property = properties.Find(name);
    if (property == nullptr) return;
    ZoTypedValue const* value = property->Value();
    json.push_back(Json{{"name", name.c_str()},
                        {"type", value != nullptr ? Json(TypeCodeText(value->StreamType())) : Json(nullptr)},
                        {"value", JsonOfValue(value)}});
  });
  return json;
}

Json JsonOf(ZoJLimit const* limit) {
  if (limit == nullptr) return nullptr;
  Json json{{"type", TypeCodeText(limit->StreamType())}};
  if (auto const* hinge = dynamic_cast<ZoJLHinge const*>(limit)) {
    ZoRotation3 min, max;
    int arc = 0;
    hinge->GetValue(min, max, arc);
    json["kind"] = "hinge";
    json["min"] = JsonOf(min);
    json["max"] = JsonOf(max);
    json["longArc"] = arc;
  } else if (auto const* euler = dynamic_cast<ZoJLEuler const*>(limit)) {
    json["kind"] = "euler";
    json["ranges"] = Json::array();
    for (int axis = 0; axis < 3; ++axis) {
      float lo = 0, hi = 0;
      euler->GetValue(axis, lo, hi);
      json["ranges"].push_back(Json::array({JsonOf(lo), JsonOf(hi)}));
    }
  } else if (auto const* linear = dynamic_cast<ZoJLLinear const*>(limit)) {
    ZoVector3 start, end;
    linear->GetValue(start, end);
    json["kind"] = "linear";
    json["start"] = JsonOf(start);
    json["end"] = JsonOf(end);
  } else if (auto const* box = dynamic_cast<ZoJLTranslate const*>(limit)) {
    ZoVector3 min, max;
    box->GetValue(min, max);
    json["kind"] = "translate";
    json["min"] = JsonOf(min);
    json["max"] = JsonOf(max);
  } else {
    json["kind"] = "none";
  }
  return json;
}

Json JsonOf(ZoTriangleSet const& set, bool geometry) {
  ZoVector3 min, max;
  set.FindBoundingBox(min, max);
  Json json{{"type", static_cast<int>(set.GetType())},
            {"flags", set.GetFlags()},
            {"vertices", set.GetNumVertices()},
            {"triangles", set.GetNumTriangles()},
            {"texturesPerVertex", set.GetNumTexturesPerVertex()},
            {"box", {{"min", JsonOf(min)}, {"max", JsonOf(max)}}}};
  json["materials"] = Json::array();
  for (int i = 0; i < set.GetNumMaterials(); ++i) json["materials"].push_back(JsonOf(set.Material(i)));
  if (!geometry) return json;
  Json positions = Json::array(), normals = Json::array(), corners = Json::array(), indices = Json::array();
  for (int i = 0; i < set.GetNumVertices(); ++i) {
    positions.push_back(JsonOf(set.Vertex(i)));
    if ((set.GetFlags() & ZoTriSetNormals) != 0) normals.push_back(JsonOf(set.Normal(i)));
  }
  for (int i = 0; i < set.GetNumTriangles() && set.GetTriangles() != nullptr; ++i) {
    ZoTriangle const& t = set.Triangle(i);
    corners.push_back(Json::array({t[0], t[1], t[2]}));
    if (set.HasMaterialIndices()) indices.push_back(set.MaterialIndex(i));
  }
  json["positions"] = positions;
  json["normals"] = normals;
  json["corners"] = corners;
  json["materialIndices"] = indices;
  return json;
}

Json JsonOf(ZoColModel const* model, bool geometry) {
  if (model == nullptr) return nullptr;
  ZoTriangleSet const* set = model->GetTriangleSet();
  return Json{{"treeDepth", model->GetDepth()},
              {"treeSpheres", model->GetNumSpheres()},
              {"treeLeaves", model->GetNumLeaves()},
              {"triangleSet", set != nullptr ? JsonOf(*set, geometry) : Json(nullptr)}};
}

std::string StyleName(int32_t style) {
  switch (style) {
    case ZoProtoNode::Geometry: return "geometry";
    case ZoProtoNode::Handle: return "handle";
    case ZoProtoNode::Floor: return "floor";
    case ZoProtoNode::Camera: return "camera";
    case ZoProtoNode::Light: return "light";
    case ZoProtoNode::SplineStyle: return "spline";
    default: return fmt::format("style {}", style);
  }
}

Json JsonOf(ZoProtoNode const& node, ZoProtoTraversal const* joints, bool geometry) {
  int joint = joints != nullptr ? joints->NodeIndex(&node) : -1;
  Json json{{"name", node.Name().c_str()},
            {"style", StyleName(node.Style())},
            {"joint", joint >= 0 ? Json(joint) : Json(nullptr)},
            {"home", JsonOf(node.HomeTransform())},
            {"modelFormat", node.GetModelFormat()},
            {"uvNormalized", node.IsUVNormalized()},
            {"stiffness", JsonOf(node.Stiffness())},
            {"record", JsonOfStyleRecord(node)},
            {"jointLimit", JsonOf(node.JointLimit())},
            {"colSpheres", JsonOfSpheres(node.ColSpheres())},
            {"properties", JsonOf(node.Properties())},
            {"colModel", JsonOf(node.ColModel(), geometry)}};
  Json children = Json::array();
  for (ZoTreeNode const* c = node.firstChild(); c != nullptr; c = c->nextSibling())
    if (c->IsType(ZoProtoNode::NODE_TYPE)) children.push_back(JsonOf(*static_cast<ZoProtoNode const*>(c), joints, geometry));
  json["children"] = children;
  return json;
}

Json JsonOf(ZoProtoActor& actor, bool geometry) {
  Json json{{"name", actor.Name().c_str()},
            {"version", actor.Version()},
            {"nodes", actor.NodeTraversal() != nullptr ? actor.NodeTraversal()->NumNodes() : 0},
            {"joints", actor.GeomTraversal() != nullptr ? actor.GeomTraversal()->NumNodes() : 0},
            {"bounds", JsonOfBounds(actor)},
            {"properties", JsonOf(actor.Properties())}};
  Json proximity = Json::array();
  ForEachItem<ZoProtoProxDef>(&actor.ProximityDefs(), [&](ZoProtoProxDef const& d) { proximity.push_back(JsonOfProximity(d)); });
  json["proximityDefs"] = proximity;
  json["maxProximityDef"] = JsonOfProximity(actor.MaxProximityDef());
  Json maps = Json::array();
  ForEachItem<ZoFSMSpaceToBhvr>(&actor.BehaviorMaps(), [&](ZoFSMSpaceToBhvr const& m) {
    maps.push_back(Json{{"space", m.SpaceName().c_str()}, {"active", JsonOfStrings(m.ActiveBehaviors())}});
  });
  json["behaviorMaps"] = maps;
  json["skeleton"] = actor.RootNode() != nullptr ? JsonOf(*actor.RootNode(), actor.GeomTraversal(), geometry) : Json(nullptr);
  return json;
}

Json JsonOf(ZoJointKeyframe const& key) {
  return Json{{"time", key.time()},          {"tag", key.tag},
              {"flags", key.flags},          {"local", JsonOf(key.localTransform)},
              {"localIn", JsonOf(key.localIn)}, {"localOut", JsonOf(key.localOut)},
              {"actor", JsonOf(key.actorTransform)}, {"actorIn", JsonOf(key.actorIn)},
              {"actorOut", JsonOf(key.actorOut)}, {"point", JsonOf(key.point)},
              {"marker", key.marker},        {"easeIn", JsonOf(key.easeIn)},
              {"easeOut", JsonOf(key.easeOut)}, {"blendMode", key.blendMode}};
}

Json JsonOfAnnotation(ZoStreamObject const* record) {
  if (record == nullptr) return nullptr;
  Json json{{"type", TypeCodeText(record->StreamType())}};
  if (auto const* foot = dynamic_cast<ZoProtoFootData const*>(record)) {
    json["data"] = Json::array({foot->data0, foot->data1, foot->data2});
  } else if (auto const* hand = dynamic_cast<ZoProtoHandData const*>(record)) {
    json["data"] = Json::array({hand->data0});
  } else if (auto const* anchor = dynamic_cast<ZoProtoAnchorData const*>(record)) {
    json["data"] = Json::array({anchor->data0});
  } else if (auto const* manip = dynamic_cast<ZoProtoManipData const*>(record)) {
    json["data0"] = manip->data0;
    json["point"] = JsonOf(manip->point);
    json["vector"] = Json::array({manip->vector[0], manip->vector[1], manip->vector[2]});
    json["transform"] = JsonOf(manip->transform);
  } else if (auto const* event = dynamic_cast<ZoProtoEventKeyframe const*>(record)) {
    json["time"] = event->time;
    json["name"] = event->name.c_str();
    json["data0"] = event->data0;
  } else if (auto const* sound = dynamic_cast<ZoProtoSoundKeyframe const*>(record)) {
    json["time"] = sound->time;
    json["name"] = sound->name.c_str();
    json["values"] = Json::array({sound->values[0], sound->values[1], sound->values[2], sound->values[3]});
  } else if (auto const* texture = dynamic_cast<ZoProtoTextureKeyframe const*>(record)) {
    json["time"] = texture->time;
    json["data"] = Json::array({texture->data0, texture->data1});
    json["material"] = JsonOf(texture->material);
  }
  return json;
}

Json JsonOf(ZoProtoSkill const& skill) {
  Json json{{"name", skill.Name().c_str()},
            {"format", TypeCodeText(skill.Format())},
            {"version", skill.GetVersion()},
            {"type", skill.Type()},
            {"sampleRate", skill.GetSampleRate()},
            {"interpolate", skill.GetInterpolate()},
            {"forwardFacing", JsonOf(skill.GetForwardFacingXform())},
            {"conversion", JsonOf(const_cast<ZoProtoSkill&>(skill).Conversion())},
            {"numJoints", skill.NumJoints()}};
  Json joints = Json::array();
  for (int j = 0; j < skill.NumJoints(); ++j) {
    ZoJointKeyList const* keys = skill.Joint(j);
    Json list = nullptr;
    if (keys != nullptr) {
      list = Json::array();
      ZoKeyListNode* cursor = nullptr;
      for (ZoJointKeyframe* k = keys->GetFirst(cursor); k != nullptr; k = keys->GetNext(cursor)) list.push_back(JsonOf(*k));
    }
    joints.push_back(Json{{"index", j}, {"keys", list}});
  }
  json["joints"] = joints;
  Json records = Json::array();
  ForEachItem<ZoStreamObject>(skill.SubclassData(), [&](ZoStreamObject const& r) { records.push_back(JsonOfAnnotation(&r)); });
  json["annotations"] = records;
  return json;
}

}  // namespace zotool
