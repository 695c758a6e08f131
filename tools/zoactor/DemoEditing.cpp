// Demonstrates skeleton editing: the demo actor, its skills loaded, gets a
// club in its left hand, which is then scaled and collapsed; every skill
// follows each edit, so each joint keeps its keys and the club's joints
// have none.
#include "DemoEditing.h"

#include "Demo.h"
#include "DemoFigure.h"

#include <cmath>
#include <vector>

namespace zotool {

namespace {

constexpr char const* kHand = "HandL";
// A joint after the hand in traversal order, whose index the club shifts.
constexpr char const* kFollower = "ArmR";
// The club grows by half along its length (the y axis).
ZoVector3 const kClubScale(1.0f, 1.5f, 1.0f);
// Float rounding of a scaled length of under a unit.
constexpr float kLengthTolerance = 1e-5f;

// A key list as a skill held it for a node before the edits.
struct HeldKeys {
  ZoProtoSkill* skill;
  ZoProtoNode const* node;
  ZoJointKeyList* keys;
};

std::vector<HeldKeys> KeysByNode(ZoProtoActor const& actor) {
  std::vector<HeldKeys> held;
  ZoProtoTraversal const* joints = actor.GeomTraversal();
  ZoDblListItem* cursor = nullptr;
  for (void* item = actor.Skills().GetFirst(cursor); item != nullptr; item = actor.Skills().GetNext(cursor)) {
    auto* skill = static_cast<ZoProtoSkill*>(item);
    for (int j = 0; j < skill->NumJoints(); ++j) held.push_back({skill, joints->Node(j), skill->Joint(j)});
  }
  return held;
}

// True when each skill holds the recorded keys at its node's current joint
// and, for every other joint, no keys at all.
bool KeysFollowTheirNodes(ZoProtoActor const& actor, std::vector<HeldKeys> const& held) {
  ZoProtoTraversal const* joints = actor.GeomTraversal();
  size_t matched = 0;
  ZoDblListItem* cursor = nullptr;
  for (void* item = actor.Skills().GetFirst(cursor); item != nullptr; item = actor.Skills().GetNext(cursor)) {
    auto* skill = static_cast<ZoProtoSkill*>(item);
    if (skill->NumJoints() != joints->NumNodes()) return false;
    for (int j = 0; j < skill->NumJoints(); ++j) {
      ZoJointKeyList const* expected = nullptr;
      for (HeldKeys const& h : held)
        if (h.skill == skill && h.node == joints->Node(j)) {
          expected = h.keys;
          ++matched;
        }
      if (skill->Joint(j) != expected) return false;
    }
  }
  return matched == held.size();
}

void PrintJointCounts(std::FILE* out, ZoProtoActor const& actor, char const* what) {
  std::fprintf(out, "  %-34s", what);
  char const* separator = " ";
  ZoDblListItem* cursor = nullptr;
  for (void* item = actor.Skills().GetFirst(cursor); item != nullptr; item = actor.Skills().GetNext(cursor)) {
    auto const* skill = static_cast<ZoProtoSkill const*>(item);
    std::fprintf(out, "%s%s %d joints", separator, skill->Name().c_str(), skill->NumJoints());
    separator = ", ";
  }
  std::fprintf(out, "\n");
}

// A shaft with a head: two geometry nodes with meshes.
ZoProtoNode* NewClub() {
  auto* shaft = new ZoProtoNode;
  shaft->SetName("Club");
  shaft->SetHomeTransform(ZoTransform3(ZoVector3(0, -0.05f, 0), ZoRotation3()));
  shaft->SetColModel(new ZoTriCylinder(ZoMaterial(), 0.02f, 0.4f, -1));
  auto* head = new ZoProtoNode;
  head->SetName("ClubHead");
  head->SetHomeTransform(ZoTransform3(ZoVector3(0, 0.4f, 0), ZoRotation3()));
  head->SetColModel(new ZoTriSphere(ZoMaterial(), 0.06f, -1));
  shaft->addChild(head);
  return shaft;
}

// The extent of a node's mesh along y.
float Length(ZoProtoNode const& node) {
  ZoVector3 lo, hi;
  node.ColModel()->GetTriangleSet()->FindBoundingBox(lo, hi);
  return hi.y - lo.y;
}

int Triangles(ZoProtoNode const& node) {
  ZoColModel const* model = node.ColModel();
  return model != nullptr && model->GetTriangleSet() != nullptr ? model->GetTriangleSet()->GetNumTriangles() : 0;
}

bool DemoEditing(std::FILE* out) {
  ZoRef<ZoProtoActor> actor = BuildDemoActor();
  return EditDemoActor(*actor, out);
}

}  // namespace

bool EditDemoActor(ZoProtoActor& actor, std::FILE* out) {
  ZoProtoNode* hand = actor.NodeTraversal() != nullptr ? actor.NodeTraversal()->NodeWithName(kHand) : nullptr;
  if (hand == nullptr || actor.Skills().IsEmpty()) return false;
  std::vector<HeldKeys> const held = KeysByNode(actor);
  std::fprintf(out, "editing %s with its skills loaded:\n", actor.Name().c_str());
  PrintJointCounts(out, actor, "before:");

  ZoProtoNode* follower = actor.NodeTraversal()->NodeWithName(kFollower);
  int followerWas = actor.GeomTraversal()->NodeIndex(follower);
  ZoProtoNode* club = NewClub();
  actor.AddSubtree(club, hand);
  PrintJointCounts(out, actor, "added a club (2 joints) to HandL:");
  std::fprintf(out, "  (%s, joint %d before, is joint %d now, its keys with it)\n", kFollower, followerWas,
               actor.GeomTraversal()->NodeIndex(follower));
  bool ok = KeysFollowTheirNodes(actor, held) && actor.GeomTraversal()->NodeIndex(club) >= 0;

  float before = Length(*club);
  actor.ScaleSubtree(club, kClubScale);
  PrintJointCounts(out, actor, "scaled it by 1.5 along its length:");
  ok = ok && KeysFollowTheirNodes(actor, held) && std::fabs(Length(*club) - before * kClubScale.y) < kLengthTolerance;

  int triangles = Triangles(*club) + Triangles(*static_cast<ZoProtoNode*>(club->firstChild()));
  actor.Collapse(club);
  PrintJointCounts(out, actor, "collapsed it into one joint:");
  ok = ok && KeysFollowTheirNodes(actor, held) && club->firstChild() == nullptr && Triangles(*club) == triangles;
  std::fprintf(out, "  the club holds %d triangles in one node; every joint %s its keys, the club's joint has none\n",
               Triangles(*club), ok ? "kept" : "did NOT keep");
  std::fprintf(out, "  the shaft was %.3f long before the scale, %.3f after\n", static_cast<double>(before),
               static_cast<double>(before * kClubScale.y));
  return ok;
}

ZO_DEMO_SECTION(75, "skeleton editing", DemoEditing);

}  // namespace zotool
