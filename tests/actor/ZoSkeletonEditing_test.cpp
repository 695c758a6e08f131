// Skeleton editing keeps every cached skill in step with the joints: each
// structural edit hands each skill one permutation, a re-pivot hands each
// skill its joint, a scale changes exactly the sizes it names, and random
// runs of edits never lose or mix up a joint's keys.
#include <zoactor/skeleton/ZoPermutation.h>

#include "actor/ZoActorTestSupport.h"


#include <functional>
#include <random>
#include <unordered_map>

using namespace zoacttest;
using zoskeletontest::About;
using zoskeletontest::ExpectSameTransform;

namespace {

// Float rounding of a few composed transforms on coordinates of a few
// units, in model units.
constexpr float kWorldTolerance = 1e-5f;

// A skill that records what the actor hands it.
class RecordingSkill : public ZoProtoSkill {
 public:
  std::vector<std::vector<int32_t>> permutations;  // newToOld of each PermuteJoints
  std::vector<int> pivotedJoints;                  // the joint of each TransformJoint

  void PermuteJoints(ZoProtoActor* actor, ZoPermutation* perm) override {
    permutations.emplace_back(perm->newToOld(), perm->newToOld() + perm->numNew());
    ZoProtoSkill::PermuteJoints(actor, perm);
  }
  void TransformJoint(int j, ZoTransform3 const& x, int adjustChildren) override {
    pivotedJoints.push_back(j);
    EXPECT_EQ(adjustChildren, 1);
    ZoProtoSkill::TransformJoint(j, x, adjustChildren);
  }
};

// Caches two recording skills sized to the actor; the actor owns them.
std::vector<RecordingSkill*> AddRecordingSkills(ZoProtoActor& actor) {
  std::vector<RecordingSkill*> made;
  for (char const* name : {"Walk", "Run"}) {
    auto* skill = new RecordingSkill;
    skill->SetName(name);
    skill->SetupFromPrototype(&actor);
    actor.AddSkill(skill);
    made.push_back(skill);
  }
  return made;
}

ZoTransform3 Offset(float x, float y, float z) { return ZoTransform3(ZoVector3(x, y, z), ZoRotation3()); }

// A → B → C, A → D → H (a handle): joints A 0, B 1, C 2, D 3, placed apart
// so that every node shifts the bounds.
ActorRef FourSolids() {
  ZoProtoNode* a = Solid("A", Offset(0, 0, 0));
  ZoProtoNode* b = Solid("B", ZoTransform3(ZoVector3(0, 1, 0), About(0.4f, ZoVector3(0, 0, 1))));
  b->addChild(Solid("C", ZoTransform3(ZoVector3(0.5f, 1, 0), About(-0.3f, ZoVector3(1, 0, 0)))));
  a->addChild(b);
  ZoProtoNode* d = Solid("D", ZoTransform3(ZoVector3(-2, 0, 0.5f), About(0.8f, ZoVector3(0, 1, 0))));
  d->addChild(Joint("H", ZoProtoNode::Handle, 0.1f));
  a->addChild(d);
  return ActorOf(a);
}

ZoProtoNode* Named(ZoProtoActor& actor, char const* name) { return actor.NodeTraversal()->NodeWithName(name); }

// Bounds of a fresh actor given a copy of the skeleton: what up-to-date
// bounds must be.
void ExpectFreshBounds(ZoProtoActor& actor) {
  ActorRef fresh = ActorOf(new ZoProtoNode(*actor.RootNode()));
  ZoVector3 min, max, freshMin, freshMax;
  actor.GetBoundingBox(min, max);
  fresh->GetBoundingBox(freshMin, freshMax);
  zotest::ExpectNear(min, freshMin);
  zotest::ExpectNear(max, freshMax);
}

// --- Structural edits ------------------------------------------------------------------------------

// An edit of a node that is not where it must be (empty `newToOld` and
// `pivots`) does nothing at all.
TEST(ZoSkeletonEditing, EachStructuralEditPermutesEverySkillOnceAndMisplacedEditsDoNothing) {
  ActorRef other = FourSolids();
  ZoProtoNode* foreign = Named(*other, "B");
  ZoTransform3 const foreignHome = foreign->HomeTransform();
  struct Case {
    char const* name;
    std::function<void(ZoProtoActor&)> edit;
    std::vector<int32_t> newToOld = {};  // the permutation each skill is handed
    std::vector<int> pivots = {};        // the joint each skill is handed by a re-pivot
  } const cases[] = {
      {"add two joints under a leaf",
       [](ZoProtoActor& actor) {
         ZoProtoNode* e = Solid("E", Offset(3, 0, 0));
         e->addChild(Solid("F", Offset(0, 3, 0)));
         actor.AddSubtree(e, Named(actor, "C"));
       },
       {0, 1, 2, -1, -1, 3}},
      {"remove a subtree",
       [](ZoProtoActor& actor) {
         ZoProtoNode* b = Named(actor, "B");
         ZoProtoNode* c = Named(actor, "C");
         actor.RemoveSubtree(b);
         // The removed nodes are the caller's, no longer the actor's.
         EXPECT_TRUE(b->parent() == nullptr && b->GetActor() == nullptr && c->GetActor() == nullptr);
         EXPECT_EQ(c->parent(), b);
         delete b;
       },
       {0, 3}},
      {"move a subtree, keeping its placement in the root's frame",
       [](ZoProtoActor& actor) {
         ZoProtoNode* b = Named(actor, "B");
         ZoTransform3 before, after;
         b->GetRelativeHomeTransform(actor.RootNode(), before);
         actor.MoveSubtree(b, Named(actor, "D"));
         b->GetRelativeHomeTransform(actor.RootNode(), after);
         ExpectSameTransform(after, before);
       },
       {0, 3, 1, 2}},
      {"move a leaf behind its new siblings",
       [](ZoProtoActor& actor) { actor.MoveSubtree(Named(actor, "C"), actor.RootNode()); }, {0, 1, 3, 2}},
      {"collapse one child", [](ZoProtoActor& actor) { actor.Collapse(Named(actor, "B")); }, {0, 1, 3}},
      {"re-pivot a joint, its home with it",
       [](ZoProtoActor& actor) {
         ZoTransform3 const home = Named(actor, "D")->HomeTransform();
         actor.TransformNode(Named(actor, "D"), Offset(0, 0.1f, 0));
         ExpectSameTransform(Named(actor, "D")->HomeTransform(), home * Offset(0, 0.1f, 0));
       },
       {},
       {3}},
      {"re-pivot a node that is no joint: -1",
       [](ZoProtoActor& actor) { actor.TransformNode(Named(actor, "H"), Offset(0, 0.1f, 0)); }, {}, {-1}},
      {"remove the root", [](ZoProtoActor& actor) { actor.RemoveSubtree(actor.RootNode()); }},
      {"move the root", [](ZoProtoActor& actor) { actor.MoveSubtree(actor.RootNode(), Named(actor, "D")); }},
      {"move below itself", [](ZoProtoActor& actor) { actor.MoveSubtree(Named(actor, "B"), Named(actor, "C")); }},
      {"add a node of a tree", [&](ZoProtoActor& actor) { actor.AddSubtree(foreign, Named(actor, "D")); }},
      {"add the root below itself", [](ZoProtoActor& actor) { actor.AddSubtree(actor.RootNode(), Named(actor, "D")); }},
      {"remove another actor's node", [&](ZoProtoActor& actor) { actor.RemoveSubtree(foreign); }},
      {"scale another actor's node", [&](ZoProtoActor& actor) { actor.ScaleSubtree(foreign, ZoVector3(2, 2, 2)); }},
      {"re-pivot another actor's node", [&](ZoProtoActor& actor) { actor.TransformNode(foreign, Offset(1, 0, 0)); }},
      {"collapse another actor's node", [&](ZoProtoActor& actor) { actor.Collapse(foreign); }},
      {"collapse a handle",
       [](ZoProtoActor& actor) {
         Named(actor, "B")->SetStyle(ZoProtoNode::Handle);
         actor.Collapse(Named(actor, "B"));
       }},
  };
  TempFolder folder;
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    ActorRef actor = FourSolids();
    std::vector<RecordingSkill*> skills = AddRecordingSkills(*actor);
    actor->Path() = (folder.path() + "/").c_str();
    ASSERT_EQ(actor->Save(ZoSkillFormatNone), 1);  // which clears the dirty flag
    ZoProtoNode* root = actor->RootNode();
    c.edit(*actor);
    bool const permuted = !c.newToOld.empty();
    std::vector<std::vector<int32_t>> const once(permuted ? 1 : 0, c.newToOld);
    for (RecordingSkill const* skill : skills) {
      EXPECT_EQ(skill->permutations, once);
      EXPECT_EQ(skill->pivotedJoints, c.pivots);
      EXPECT_EQ(skill->NumJoints(), permuted ? static_cast<int>(c.newToOld.size()) : 4);
    }
    EXPECT_EQ(actor->IsDirty(), permuted || !c.pivots.empty() ? 1 : 0);
    EXPECT_EQ(actor->RootNode(), root);
    ExpectFreshBounds(*actor);
  }
  EXPECT_EQ(other->NodeTraversal()->NumNodes(), 5);
  EXPECT_EQ(foreign->HomeTransform(), foreignHome);
  EXPECT_EQ(foreign->GetActor(), other.get());
}

TEST(ZoSkeletonEditing, CollapseMergesTheSubtreeIntoTheNodesFrameAndDestroysTheChildren) {
  for (bool ownShape : {true, false}) {
    SCOPED_TRACE(ownShape ? "the node has a shape" : "the first shape is a child's");
    ZoProtoNode* n = Solid("N", ZoTransform3(ZoVector3(0, 1, 0), About(0.3f, ZoVector3(0, 1, 0))));
    if (!ownShape) n->SetColModel(static_cast<ZoColModel*>(nullptr));
    ZoProtoNode* g1 = Solid("G1", ZoTransform3(ZoVector3(1, 0, 0), About(0.7f, ZoVector3(0, 0, 1))));
    ZoProtoNode* grip = Joint("Grip", ZoProtoNode::Handle, 0.1f);
    grip->CreateColModel();  // a marker, which is not merged
    g1->addChild(grip);
    g1->addChild(Solid("G1a", Offset(0, 0, 1)));
    n->addChild(g1);
    n->addChild(Solid("G2", Offset(0, 1, 0)));
    ZoProtoNode* root = Solid("Root", Offset(0, 0, 0));
    root->addChild(n);
    ActorRef actor = ActorOf(root);
    std::vector<RecordingSkill*> skills = AddRecordingSkills(*actor);

    // Every geometry node's vertices placed in N's frame.
    std::vector<ZoVector3> expected, got;
    ZoProtoTraversal parts(n, ZoProtoNode::Geometry);
    for (int i = 0; i < parts.NumNodes(); ++i) {
      if (parts.Node(i)->ColModel() == nullptr) continue;
      ZoTransform3 placement;
      parts.Node(i)->GetRelativeHomeTransform(n, placement);
      ZoTriangleSet const* set = parts.Node(i)->ColModel()->GetTriangleSet();
      for (int v = 0; v < set->GetNumVertices(); ++v) expected.push_back(placement * set->Vertex(v));
    }
    actor->Collapse(n);

    EXPECT_EQ(n->firstChild(), nullptr);
    EXPECT_EQ(actor->NodeTraversal()->NumNodes(), 2);
    EXPECT_EQ(n->GetModelFormat(), ZoProtoNode::ModelWithTree);
    ASSERT_TRUE(n->ColModel() != nullptr && n->ColModel()->GetRoot() != nullptr);
    ZoTriangleSet const* merged = n->ColModel()->GetTriangleSet();
    EXPECT_EQ(merged->GetNumTriangles(), (ownShape ? 4 : 3) * 12);
    EXPECT_NE(merged->GetFlags() & ZoTriSetNormals, 0);
    for (int v = 0; v < merged->GetNumVertices(); ++v) got.push_back(merged->Vertex(v));
    zoskeletontest::ExpectSamePointsInAnyOrder(got, expected, kWorldTolerance);
    for (RecordingSkill const* skill : skills)  // once per child
      EXPECT_EQ(skill->permutations, (std::vector<std::vector<int32_t>>{{0, 1, 4}, {0, 1}}));
    EXPECT_EQ(actor->IsDirty(), 1);
    ExpectFreshBounds(*actor);
  }
}

// --- Scales ----------------------------------------------------------------------

ZoVector3 Times(ZoVector3 v, ZoVector3 const& s) { return v *= s; }

// What scaling a subtree by `s` must make of a copy of it, field by field.
void ScaleByHand(ZoProtoNode& node, ZoVector3 const& s, bool top) {
  ZoTransform3 home = node.HomeTransform();
  if (!top) node.SetHomeTransform(ZoTransform3(Times(home.translation, s), home.rotation));
  for (ZoColSphere& sphere : node.ColSpheres()) sphere.center = Times(sphere.center, s), sphere.radius *= s.x;
  if (ZoProtoHandleInfo* handle = node.HandleInfo()) handle->radius *= s.x, handle->length *= s.y;
  if (ZoProtoGeomInfo* geometry = node.GeomInfo(); geometry != nullptr && geometry->squareKind != 0)
    geometry->width *= s.x, geometry->height *= s.y;
  for (int i = 0; node.SplineInfo() != nullptr && i < node.SplineInfo()->NumControlPoints(); ++i) {
    ZoSplineControlPoint* point = node.SplineInfo()->ControlPoint(i);
    for (ZoTransform3* t : {&point->transform, &point->inControl, &point->outControl})
      t->translation = Times(t->translation, s);
  }
  for (ZoTreeNode* c = node.firstChild(); c != nullptr; c = c->nextSibling())
    ScaleByHand(*static_cast<ZoProtoNode*>(c), s, false);
}

TEST(ZoSkeletonEditing, ScalingASubtreeChangesExactlyItsSizesAndTheBoundsFollow) {
  for (ZoVector3 const s : {ZoVector3(2, 1, 1), ZoVector3(2, 3, 5)}) {
    SCOPED_TRACE(::testing::Message() << "scale " << s.x << ", " << s.y << ", " << s.z);
    // Every style, and one measured solid so that the bounds have a source.
    std::unique_ptr<ZoProtoNode> root = zoskeletontest::Skeleton();
    root->SetHomeTransform(ZoTransform3());
    root->addChild(Solid("body", Offset(1, 0, 0)));
    ZoProtoNode expected(*root);
    ScaleByHand(expected, s, true);
    ActorRef actor = ActorOf(root.release());
    ZoVector3 boxMin, boxMax, min, max;
    actor->GetBoundingBox(boxMin, boxMax);
    ZoProtoNode original(*actor->RootNode());

    actor->ScaleSubtree(actor->RootNode(), s);

    EXPECT_EQ(zoskeletontest::BodyWithoutGeometry(*actor->RootNode()), zoskeletontest::BodyWithoutGeometry(expected));
    ZoProtoTraversal now(actor->RootNode(), 0), was(&original, 0);
    for (int i = 0; i < now.NumNodes(); ++i) {
      if (was.Node(i)->ColModel() == nullptr) continue;
      SCOPED_TRACE(was.Node(i)->Name().c_str());
      ZoVector3 lo, hi, scaledLo, scaledHi;
      was.Node(i)->ColModel()->GetTriangleSet()->FindBoundingBox(lo, hi);
      now.Node(i)->ColModel()->GetTriangleSet()->FindBoundingBox(scaledLo, scaledHi);
      zotest::ExpectNear(scaledLo, Times(lo, s));
      zotest::ExpectNear(scaledHi, Times(hi, s));
    }
    actor->GetBoundingBox(min, max);
    zotest::ExpectNear(min, Times(boxMin, s));
    zotest::ExpectNear(max, Times(boxMax, s));
    EXPECT_EQ(actor->IsDirty(), 1);
  }
}

// --- Random runs of edits against a model ------------------------------------------------------

constexpr int kSkills = 3;
constexpr int kMaxNodes = 40;

// Which keys each node's joint must carry: a node's tag, 0 for a node added
// after the skills were made (its joint has no keys).
class EditModel {
 public:
  explicit EditModel(uint32_t seed) : rng(seed) {}

  int Below(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng); }

  // `count` nodes, each below a random earlier one; geometry three times in
  // five, half of them with a cube.
  ZoProtoNode* NewSubtree(int count, bool tagged) {
    static int32_t const kStyles[] = {ZoProtoNode::Geometry, ZoProtoNode::Geometry, ZoProtoNode::Geometry,
                                      ZoProtoNode::Handle, ZoProtoNode::Floor};
    std::vector<ZoProtoNode*> made;
    for (int i = 0; i < count; ++i) {
      ZoProtoNode* node = Joint("", kStyles[Below(5)], 0.1f * static_cast<float>(Below(5)));
      if (node->Style() == ZoProtoNode::Geometry && Below(2) == 0)
        node->SetColModel(new ZoTriCube(ZoMaterial(), ZoVector3(0.1f, 0.1f, 0.1f)));
      tags[node] = tagged ? nextTag++ : 0;
      if (i > 0) made[static_cast<size_t>(Below(i))]->addChild(node);
      made.push_back(node);
    }
    return made.empty() ? nullptr : made.front();
  }

  // Forgets the nodes of `subtree` (itself included unless `keepTop`).
  void Forget(ZoProtoNode* subtree, bool keepTop) {
    ZoProtoTraversal all(subtree, 0);
    for (int i = keepTop ? 1 : 0; i < all.NumNodes(); ++i) tags.erase(all.Node(i));
  }

  std::mt19937 rng;
  std::unordered_map<ZoProtoNode const*, int> tags;
  int nextTag = 1;
};

// Every joint of every skill carries one key, tagged by its node and skill.
ZoProtoSkill* TaggedSkill(ZoProtoActor* actor, EditModel const& model, int s) {
  auto* skill = new ZoProtoSkill;
  skill->SetName(ZoString("Skill") + ZoString(s));
  skill->SetupFromPrototype(actor);
  for (int i = 0; i < skill->NumJoints(); ++i) {
    auto* key = new ZoJointKeyframe;
    key->tag = model.tags.at(actor->GeomTraversal()->Node(i)) * kSkills + s;
    skill->InitJoint(i)->Insert(key);
  }
  return skill;
}

void ExpectSkillsFollowTheirNodes(ZoProtoActor& actor, EditModel const& model, std::vector<ZoProtoSkill*> const& skills) {
  ZoProtoTraversal const* joints = actor.GeomTraversal();
  for (int s = 0; s < kSkills; ++s) {
    ZoProtoSkill* skill = skills[static_cast<size_t>(s)];
    ASSERT_EQ(skill->NumJoints(), joints->NumNodes());
    // Per joint, its parent joint and the tag of its one key (-1: no keys; a
    // new joint has none), as the tree and the model say and as the skill has.
    std::vector<std::pair<int, int>> want, got;
    for (int i = 0; i < joints->NumNodes(); ++i) {
      auto* up = static_cast<ZoProtoNode*>(joints->Node(i)->parent());
      int tag = model.tags.count(joints->Node(i)) != 0 ? model.tags.at(joints->Node(i)) : -99;
      want.emplace_back(up != nullptr ? joints->NodeIndex(up) : -1, tag == 0 ? -1 : tag * kSkills + s);
      ZoJointKeyList* keys = skill->Joint(i);
      ZoKeyListNode* p = nullptr;
      ZoJointKeyframe const* key = keys != nullptr && keys->NumKeyframes() == 1 ? keys->GetFirst(p) : nullptr;
      got.emplace_back(skill->ParentIndex(i), key != nullptr ? key->tag : keys == nullptr ? -1 : -2);
    }
    ASSERT_EQ(got, want) << "skill " << s;
  }
  ZoProtoTraversal const* all = actor.NodeTraversal();
  for (int i = 0; i < all->NumNodes(); ++i) ASSERT_EQ(all->Node(i)->GetActor(), &actor);
}

}  // namespace

TEST(ZoSkeletonEditing, RandomEditsKeepEveryJointsKeysWithItsNode) {
  for (uint32_t seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(::testing::Message() << "seed " << seed);
    EditModel model(seed);
    ActorRef actor = ActorOf(model.NewSubtree(12, true));
    std::vector<ZoProtoSkill*> skills;
    for (int s = 0; s < kSkills; ++s) {
      skills.push_back(TaggedSkill(actor.get(), model, s));
      actor->AddSkill(skills.back());
    }
    for (int step = 0; step < 300 && !::testing::Test::HasFailure(); ++step) {
      ZoProtoTraversal const* all = actor->NodeTraversal();
      int n = all->NumNodes();
      ZoProtoNode* node = all->Node(model.Below(n));
      ZoProtoNode* other = all->Node(model.Below(n));
      // Adds three times as often as removals and collapses, moves twice.
      static int const kEdits[] = {0, 0, 0, 1, 2, 2, 3};
      int edit = n < 4 ? 0 : n > kMaxNodes ? 1 : kEdits[model.Below(7)];
      SCOPED_TRACE(::testing::Message() << "step " << step << ", edit " << edit << " of a tree of " << n);
      if (edit == 0) {
        actor->AddSubtree(model.NewSubtree(1 + model.Below(3), false), node);
      } else if (edit == 1 && node->parent() != nullptr) {
        actor->RemoveSubtree(node);
        model.Forget(node, false);
        delete node;
      } else if (edit == 2 && node->parent() != nullptr && !node->hasDescendant(other)) {
        actor->MoveSubtree(node, other);
      } else if (edit == 3 && node->Style() == ZoProtoNode::Geometry) {
        model.Forget(node, true);
        actor->Collapse(node);
      }
      ExpectSkillsFollowTheirNodes(*actor, model, skills);
    }
  }
}
