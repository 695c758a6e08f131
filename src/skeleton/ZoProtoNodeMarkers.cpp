// The marker shapes that show a proto node of each style in an editor.
#include <zoactor/skeleton/ZoProtoNode.h>

#include <zoactor/geometry/ZoTriShapes.h>
#include <zoactor/geometry/ZoTriangleSet.h>

#include "skeleton/ZoProtoNodeLayout.h"

#include <memory>
#include <new>
#include <variant>

namespace zoprotonode {
namespace {

// π/2 as the markers are turned with it.
constexpr float kHalfPi = 1.5707964f;
// The shape generators' default segment count.
constexpr int kDefaultSegments = -1;

ZoTransform3 Placement(ZoVector3 const& translation, float angle, ZoVector3 const& axis) {
  ZoTransform3 t;
  t.translation = translation;
  t.rotation.setValue(angle, axis);
  return t;
}

ZoTransform3 Offset(ZoVector3 const& translation) {
  ZoTransform3 t;
  t.translation = translation;
  return t;
}

// Merges a temporary shape into `into` and destroys it.
void MergeInto(ZoTriangleSet& into, ZoTriangleSet* shape, ZoTransform3 const& placement) {
  std::unique_ptr<ZoTriangleSet> owned(shape);
  if (owned != nullptr) into.Merge(*owned, placement);
}

// A cylinder with a grey plate or bar on it: the handle marker of kinds 0 to 3.
ZoTriangleSet* HandleMarker(ZoProtoHandleInfo const& handle) {
  float const radius = handle.radius;
  float const length = handle.length;
  bool const plate = handle.handleKind == 1 || handle.handleKind == 3;
  bool const green = handle.handleKind == 2 || handle.handleKind == 3;
  ZoMaterial material;
  if (green) {
    material.color2.Set(0.7f, 0.9f, 0.7f, 0.6f);
  } else {
    material.color2.Set(0.9f, 0.7f, 0.7f, 0.6f);
  }
  std::unique_ptr<ZoTriangleSet> marker(new (std::nothrow) ZoTriCylinder(material, radius, length, kDefaultSegments));
  if (marker == nullptr) return nullptr;
  material.color2.Set(0.5f, 0.5f, 0.5f, 0.6f);
  if (plate) {
    ZoVector3 size(0.005f, length * 0.625f, radius * 1.25f);
    MergeInto(*marker, new (std::nothrow) ZoTriCube(material, size),
              Offset(ZoVector3(0.0f, length * 0.3125f, radius * 0.625f)));
  } else {
    ZoVector3 size(radius * 0.125f, length * 0.5f, radius * 0.125f);
    MergeInto(*marker, new (std::nothrow) ZoTriCube(material, size), Offset(ZoVector3(0.0f, length * 0.75f, 0.0f)));
  }
  return marker.release();
}

// A box body with a lens in front and two reels on top.
ZoTriangleSet* CameraMarker() {
  ZoMaterial material;
  material.color2.Set(0.5f, 0.5f, 1.0f, 0.6f);
  std::unique_ptr<ZoTriangleSet> marker(new (std::nothrow) ZoTriCube(material, ZoVector3(0.05f, 0.1f, 0.25f)));
  if (marker == nullptr) return nullptr;
  MergeInto(*marker, new (std::nothrow) ZoTriCone(material, 0.06f, 0.06f, kDefaultSegments),
            Placement(ZoVector3(0.0f, 0.0f, -0.14f), kHalfPi, ZoVector3(1.0f, 0.0f, 0.0f)));
  for (float z : {0.06f, -0.06f})
    MergeInto(*marker, new (std::nothrow) ZoTriCylinder(material, 0.06f, 0.05f, kDefaultSegments),
              Placement(ZoVector3(0.0f, 0.11f, z), kHalfPi, ZoVector3(0.0f, 0.0f, 1.0f)));
  return marker.release();
}

// A cone in the light's colour, turned to point along z.
ZoTriangleSet* LightMarker(ZoLight const& light) {
  ZoMaterial material;
  material.color2.Set(light.color2.r, light.color2.g, light.color2.b, 0.6f);
  std::unique_ptr<ZoTriangleSet> marker(new (std::nothrow) ZoTriCone(material, 0.1f, 0.2f, kDefaultSegments));
  if (marker == nullptr) return nullptr;
  marker->ApplyTransform(Placement(ZoVector3(), kHalfPi, ZoVector3(1.0f, 0.0f, 0.0f)));
  return marker.release();
}

// A flat square in the record's own material, when the record asks for one.
ZoTriangleSet* SquareMarker(ZoProtoGeomInfo const& geometry) {
  if (geometry.squareKind == 0) return nullptr;
  return new (std::nothrow) ZoTriSquare(geometry.material, geometry.width, geometry.height);
}

// A bluish sphere for kind 4, else a cylinder with a plate or a bar.
ZoTriangleSet* HandleOrSphereMarker(ZoProtoHandleInfo const& handle) {
  if (handle.handleKind != 4) return HandleMarker(handle);
  ZoMaterial material;
  material.color2.Set(0.7f, 0.7f, 0.9f, 0.6f);
  return new (std::nothrow) ZoTriSphere(material, handle.radius, kDefaultSegments);
}

}  // namespace

ZoTriangleSet* NewMarkerShape(ZoProtoStyleRecord const& record) {
  return std::visit(Overloaded{[](ZoProtoGeomInfo const& geometry) { return SquareMarker(geometry); },
                               [](ZoProtoHandleInfo const& handle) { return HandleOrSphereMarker(handle); },
                               [](ZoCamera const&) { return CameraMarker(); },
                               [](ZoLight const& light) { return LightMarker(light); },
                               // Floors, splines and styles without a record show nothing.
                               [](auto const&) -> ZoTriangleSet* { return nullptr; }},
                    record);
}

}  // namespace zoprotonode
