// The demo actor of `zoactor demo`: a small robot built from primitive
// shapes, with everything an actor folder can hold, so that every command of
// the tool has something to show. Tests and later tasks load the folder
// SaveDemoActor writes.
//
// Skeleton (10 nodes; the 7 geometry nodes are the skills' joints, in this
// order: Hips, Torso, Head, ArmL, ArmR, LegL, LegR):
//   Hips (cube, translation box) ─ Torso (cube, Euler limit)
//     ├ Head (sphere, hinge, one collision sphere) ─ Eye (camera)
//     ├ ArmL (cylinder, Euler limit) ─ HandL (handle)
//     └ ArmR (cylinder, Euler limit)
//   Hips ├ LegL, LegR (cylinders, hinges)  └ Lamp (light)
// Properties "ZO_faceNode" = "Head", "ZO_locoSkill" = "Walk", "mass" = 42;
// a default and a "Greet" proximity definition; behaviour maps "Idle" and
// "Patrol". Skills "Walk" (keys every 250 from 0 to 1000) and "Wave" (every
// 200 from 0 to 800), all keys smooth (blend mode 1), every joint keyed.
#ifndef ZOACTOR_TOOLS_DEMOFIGURE_H
#define ZOACTOR_TOOLS_DEMOFIGURE_H

#include <zoactor/zoactor.h>

#include <filesystem>

namespace zotool {

constexpr char const* kDemoActorName = "Robo";
constexpr int kDemoNodes = 10;
constexpr int kDemoJoints = 7;

// The demo actor with its two skills in its skill cache.
ZoRef<ZoProtoActor> BuildDemoActor();

// Saves the actor's folder as `parent`/Robo (the actor file and
// Skills/Walk.skl, Skills/Wave.skl) through the library's Save, creating
// `parent` when missing. Returns the actor folder, or an empty path when
// saving failed.
std::filesystem::path SaveDemoActor(ZoProtoActor& actor, std::filesystem::path const& parent);

}  // namespace zotool

#endif
