// Actor folders for the glTF export's checks, shared by the round-trip
// tests and the program that writes them for the Node checks (validator,
// browser): an actor with a node of every style, an actor of faults the
// export must report and survive, and an actor file of the older layout.
#ifndef ZOACTOR_TESTS_TOOL_ZOGLTFFIXTURES_H
#define ZOACTOR_TESTS_TOOL_ZOGLTFFIXTURES_H

#include <string>

namespace zogltftest {

// `parent`/EveryStyle: "Body" (geometry: a textured quad of two triangles
// with two materials, the first naming "TEXTURES\CHECKER.PNG" for the file
// Textures/Checker.png, the second half transparent and two-sided), below
// it "Grip" (handle, a quarter turn about z), "Ground" (floor), "Cam"
// (camera), "Spot" (spot light shining down), "Bulb" (point light), "Sun"
// (directional light), "Path" (spline), "Odd" (style 7), and "Arm"
// (geometry, a cube) below Grip.
// Skill "Turn": Body moves and Arm turns, keys at 0, 100 and 200.
// Returns the actor folder.
std::string WriteEveryStyleActor(std::string const& parent);

// `parent`/Faulty: "Root" (geometry: a textured quad whose material names
// the missing "Missing.png") and "Empty" (geometry without a triangle
// set); skills "Moves" (keyed), "Blank" (no key at all), and a file
// Skills/Other.skl of a five-joint skeleton. Returns the actor folder.
std::string WriteFaultyActor(std::string const& parent);

// `parent`/Old: the older-layout actor file of version 45 ("hips" with a
// square, holding the handle "grip") and the version-30 skill "Step".
// Returns the actor folder.
std::string WriteOlderActor(std::string const& parent);

}  // namespace zogltftest

#endif
