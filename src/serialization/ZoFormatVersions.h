// The format versions at which stream bodies changed, each named once after
// what it gates. A body read at a stream version v has a field (or layout)
// exactly when v >= the named version; every reader compares that way.
// docs/formats.md has the same table with the bodies each version touched.
#ifndef ZOACTOR_SRC_SERIALIZATION_ZOFORMATVERSIONS_H
#define ZOACTOR_SRC_SERIALIZATION_ZOFORMATVERSIONS_H

#include <zoactor/serialization/ZoStream.h>

#include <cstdint>

namespace zoversion {

// --- Older layouts (below kCurrentLayout) ----------------------------------------

// Older material record: a trailing string that readers drop.
constexpr int32_t kMaterialTrailingString = 10;
// Older material record: a trailing int32 that readers drop.
constexpr int32_t kMaterialExtraInt = 20;
// Older actor body: the actor's own version is stored (below, it is 1).
constexpr int32_t kActorRevision = 24;
// Older floor record: one word (below, none).
constexpr int32_t kFloorWord = 25;
// Collision-sphere records of 20 bytes (below, 16).
constexpr int32_t kLongSphereRecords = 26;
// Hinge limits store whether they take the long arc.
constexpr int32_t kLimitLongArc = 27;
// Older geometry record: square kind, material and size.
constexpr int32_t kNodeSquare = 28;
// Older floor record: both words.
constexpr int32_t kFloorRecord = 30;
// Older node: the property table is stored.
constexpr int32_t kNodeProperties = 31;
// Older geometry record: geomInt0.
constexpr int32_t kNodeGeomInt0 = 32;
// Older handle record: kinds 1 and 2 in today's order (below, swapped).
constexpr int32_t kHandleKindOrder = 33;
// Older actor body: proximity definitions carry their flag (below, it is 1).
constexpr int32_t kProximityFlag = 34;
// Older geometry record: geomInt1 to geomInt3.
constexpr int32_t kNodeGeomInts = 35;
// Older node: one ignored int32 behind the style record.
constexpr int32_t kNodeIgnoredWord = 36;
// Skill body: the forward-facing transform.
constexpr int32_t kSkillForwardFacing = 37;
// Skill body: sample rate and interpolate; from here on (and at 0) a skill
// body starts with its own version and format.
constexpr int32_t kSkillSampleRate = 38;
// Older node: model format 1 means what it says (below, it means 3).
constexpr int32_t kNodeFormatOne = 40;
// Properties hold framed values (below, a kind and an unframed body).
constexpr int32_t kFramedPropertyValues = 42;
// Older geometry record: 24 trailing bytes.
constexpr int32_t kGeometryTrailer = 43;
// Older light record: a 64-character name.
constexpr int32_t kLightShortName = 44;
// Older node: the UV flag is stored.
constexpr int32_t kNodeUVFlag = 45;
// Older light record: a 76-character name.
constexpr int32_t kLightLongName = 46;
// Older camera record: 16 bytes (below, 8).
constexpr int32_t kCameraSixteenBytes = 47;
// Older camera record: an int32 and three floats.
constexpr int32_t kCameraFields = 48;

// --- Current layouts -------------------------------------------------------------

// The current bodies of nodes, materials and properties (values of unknown
// classes kept as opaque values). Collision models read at exactly this
// version carry 16-byte tree records (see IsShortTreeVersion).
constexpr int32_t kCurrentLayout = 100;
// Sphere-tree records of 20 bytes again after the 16-byte ones of version 100.
constexpr int32_t kLongTreeRecords = 101;
// Skill body: the skill type and the annotation records.
constexpr int32_t kSkillAnnotations = 102;
// Skill body: the conversion rotation.
constexpr int32_t kSkillConversion = 103;
// Node body: the stiffness.
constexpr int32_t kNodeStiffness = 104;
// Collision models carry their oriented box, so a stored sphere tree is
// complete and kept as read (below, readers rebuild it).
constexpr int32_t kOrientedBox = 106;

static_assert(kOrientedBox == kZoCurrentVersion, "the newest gate is the version current bodies carry");

// Tree records are 16 bytes at version 100 only: 20 bytes before the current
// layout (version 0 included) and again from kLongTreeRecords.
constexpr bool IsShortTreeVersion(int32_t version) { return version >= kCurrentLayout && !(version >= kLongTreeRecords); }

}  // namespace zoversion

#endif
