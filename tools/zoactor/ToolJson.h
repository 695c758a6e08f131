// JSON of the library's objects, as `zoactor dump` prints them (docs/cli.md
// documents every shape). Floats print in their shortest exact form (0.1,
// not 0.10000000149011612); a value that is not finite prints as null.
// Vertices, normals and triangles of a mesh appear only when `geometry` is
// set; counts and boxes always do.
#ifndef ZOACTOR_TOOLS_TOOLJSON_H
#define ZOACTOR_TOOLS_TOOLJSON_H

#include "ToolReport.h"

#include <zoactor/zoactor.h>

namespace zotool {

Json JsonOf(float value);
Json JsonOf(ZoVector3 const& v);
// [w, x, y, z].
Json JsonOf(ZoRotation3 const& q);
// {"translation":[x,y,z],"rotation":[w,x,y,z]}.
Json JsonOf(ZoTransform3 const& t);
// [r, g, b, a].
Json JsonOf(ZoColor const& c);
Json JsonOf(ZoMaterial const& material);
// The value itself for ints, floats, strings, vectors, colours, materials
// and transforms; the text it converts to, or null, for other classes.
Json JsonOfValue(ZoTypedValue const* value);
// [{"name","type","value"}...] in name order.
Json JsonOf(ZoPropertySet const& properties);
Json JsonOf(ZoJLimit const* limit);
Json JsonOf(ZoTriangleSet const& set, bool geometry);
Json JsonOf(ZoColModel const* model, bool geometry);
// The style's name ("geometry", "handle", "floor", "camera", "light",
// "spline", or "style N").
std::string StyleName(int32_t style);
// A node and its subtree; "joint" is its index in `joints` (null when the
// node is not a joint).
Json JsonOf(ZoProtoNode const& node, ZoProtoTraversal const* joints, bool geometry);
// Every stored field of the actor, its bounds and its skeleton.
Json JsonOf(ZoProtoActor& actor, bool geometry);
Json JsonOf(ZoJointKeyframe const& key);
// An annotation record with its type and fields.
Json JsonOfAnnotation(ZoStreamObject const* record);
// Every stored field of the skill, each joint's keys included.
Json JsonOf(ZoProtoSkill const& skill);

}  // namespace zotool

#endif
