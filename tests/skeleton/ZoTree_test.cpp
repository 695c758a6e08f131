// Trees, traversals and permutations: child-list edits at their edges,
// ownership on destruction, pre-order listing with filters, name look-up
// ignoring case, unique names, and index maps between two traversals.
#include <zoactor/skeleton/ZoPermutation.h>
#include <zoactor/skeleton/ZoTreeTraversal.h>

#include "ZoSkeletonTestSupport.h"

using zoskeletontest::Names;

namespace {

// A tree node of a chosen type that counts its destructions.
class Counted : public ZoTreeNode {
 public:
  explicit Counted(int* counter, int32_t type = TREE_TYPE) : destroyed(counter), nodeType(type) {}
  ~Counted() override { ++*destroyed; }
  int32_t Type() const override { return nodeType; }

 private:
  int* destroyed;
  int32_t nodeType;
};

using Nodes = std::vector<ZoTreeNode*>;

Nodes Children(ZoTreeNode const& parent) {
  Nodes list;
  for (ZoTreeNode* c = parent.firstChild(); c != nullptr; c = c->nextSibling()) list.push_back(c);
  return list;
}

ZoProtoNode* Named(char const* name, int32_t style = ZoProtoNode::Geometry) {
  auto* node = new ZoProtoNode;
  node->SetName(name);
  node->SetStyle(style);
  return node;
}

TEST(ZoTreeNode, InsertChildPutsTheChildAtItsIndexOrAtAnEnd) {
  int destroyed = 0;
  {
    ZoTreeNode parent;
    Nodes n;
    for (int i = 0; i < 6; ++i) n.push_back(new Counted(&destroyed));
    parent.insertChild(n[0], 99);  // no children yet: the only child whatever the position
    parent.addChild(n[1]);
    parent.insertChild(n[2], 0);
    parent.insertChild(n[3], -5);
    parent.insertChild(n[4], 2);
    parent.insertChild(n[5], 99);  // past the end: the last
    EXPECT_EQ(Children(parent), Nodes({n[3], n[2], n[4], n[0], n[1], n[5]}));
    for (ZoTreeNode* child : n) EXPECT_EQ(child->parent(), &parent);
  }
  EXPECT_EQ(destroyed, 6);
}

TEST(ZoTreeNode, RemoveChildUnlinksChildrenAndClearsTheLinksOfStrangers) {
  ZoTreeNode parent;
  ZoTreeNode* kids[3] = {new ZoTreeNode, new ZoTreeNode, new ZoTreeNode};
  for (ZoTreeNode* k : kids) parent.addChild(k);

  // A node of another parent: that parent's list is left alone, the node's
  // own links are cleared.
  ZoTreeNode other, stranger, strangerSibling;
  other.DestroyChildrenOnDestruct(0);  // its children are locals
  other.addChild(&stranger);
  other.addChild(&strangerSibling);
  parent.removeChild(&stranger);
  EXPECT_EQ(Children(parent), Nodes({kids[0], kids[1], kids[2]}));
  EXPECT_EQ(Nodes({stranger.parent(), stranger.nextSibling(), other.firstChild()}), Nodes({nullptr, nullptr, &stranger}));

  parent.removeChild(kids[1]);  // middle, first, then the last
  EXPECT_EQ(Children(parent), Nodes({kids[0], kids[2]}));
  parent.removeChild(kids[0]);
  parent.removeChild(kids[2]);
  EXPECT_EQ(parent.firstChild(), nullptr);
  for (ZoTreeNode* k : kids) {
    EXPECT_EQ(Nodes({k->parent(), k->nextSibling()}), Nodes(2, nullptr));
    delete k;  // detached: the caller's
  }
}

TEST(ZoTreeNode, MembershipCountsAndCopies) {
  int destroyed = 0;
  int32_t const other = 0x4F746872;
  ZoTreeNode root;
  auto* a = new Counted(&destroyed, other);
  auto* b = new Counted(&destroyed);
  auto* grandchild = new Counted(&destroyed);
  auto* deep = new Counted(&destroyed, other);
  root.addChild(a);
  root.addChild(b);
  a->addChild(grandchild);
  grandchild->addChild(deep);
  EXPECT_EQ(std::vector<int>({root.hasChild(&root), root.hasDescendant(&root), root.hasChild(a),
                              root.hasChild(grandchild), root.hasDescendant(deep), b->hasDescendant(deep)}),
            std::vector<int>({0, 1, 1, 0, 1, 0}));
  // The walk descends through nodes of another type: deep is under two of them.
  EXPECT_EQ(std::vector<int>({root.numChildren(0), root.numChildren(other), root.treeSize(0), root.treeSize(other),
                              root.treeSize(ZoTreeNode::TREE_TYPE), b->treeSize(other)}),
            std::vector<int>({2, 1, 5, 2, 3, 0}));

  // A copy duplicates the subtree in order, every node a plain one.
  ZoTreeNode copy(root);
  Nodes kids = Children(copy);
  ASSERT_EQ(kids.size(), 2u);
  EXPECT_EQ(std::vector<int>({copy.treeSize(ZoTreeNode::TREE_TYPE), kids[0] != a, kids[0]->parent() == &copy,
                              copy.parent() == nullptr, kids[0]->treeSize(0), kids[1]->numChildren(0)}),
            std::vector<int>({5, 1, 1, 1, 3, 0}));
}

TEST(ZoTreeNode, DestroysChildrenOnlyWhenTheFlagIsExactlyOne) {
  for (int32_t flag : {1, 0, 2}) {
    int destroyed = 0;
    auto* kept = new Counted(&destroyed);
    kept->addChild(new Counted(&destroyed));
    {
      ZoTreeNode parent;
      parent.DestroyChildrenOnDestruct(flag);
      parent.addChild(kept);
    }
    EXPECT_EQ(destroyed, flag == 1 ? 2 : 0) << "flag " << flag;
    if (flag != 1) {
      EXPECT_NE(kept->parent(), nullptr);  // the destructor does not unlink
      delete kept;
      EXPECT_EQ(destroyed, 2);
    }
  }
}

TEST(ZoTreeTraversal, ListsInPreOrderWithTheTypeFilter) {
  int destroyed = 0;
  int32_t const joint = 0x4A6E7420;
  Counted root(&destroyed);  // not a joint
  auto* a = new Counted(&destroyed, joint);
  auto* b = new Counted(&destroyed);
  auto* c = new Counted(&destroyed, joint);
  auto* d = new Counted(&destroyed, joint);
  root.addChild(a);
  root.addChild(d);
  a->addChild(b);
  b->addChild(c);
  auto listed = [](ZoTreeTraversal const& t) {
    Nodes nodes;
    for (int i = 0; i < t.numNodes(); ++i) nodes.push_back(t.node(i));
    return nodes;
  };
  EXPECT_EQ(listed(ZoTreeTraversal(&root, 0, 1)), Nodes({&root, a, b, c, d}));
  ZoTreeTraversal joints(&root, joint, 1);
  EXPECT_EQ(listed(joints), Nodes({a, c, d}));  // c below a node that is not a joint
  // A copy owns an array of its own; an unfilled slot holds null.
  ZoTreeTraversal copy(joints), manual(2);
  copy.setNode(0, d);
  manual.setNode(1, b);
  EXPECT_EQ(joints.node(0), a);
  EXPECT_EQ(std::vector<int>({joints.nodeIndex(&root), joints.nodeIndex(d), ZoTreeTraversal(&root, 0, 0).numNodes(),
                              copy.nodeIndex(d), manual.nodeIndex(b), manual.nodeIndex(nullptr)}),
            std::vector<int>({-1, 2, 0, 0, 1, 0}));
}

TEST(ZoProtoTraversal, FiltersByStyleFindsNamesIgnoringCaseAndMakesUniqueOnes) {
  ZoProtoNode* root = Named("Root", ZoProtoNode::Handle);
  ZoProtoNode* hips = Named("hips");
  ZoProtoNode* light = Named("Lamp", ZoProtoNode::Light);
  ZoProtoNode* arm = Named("arm");
  root->addChild(hips);
  root->addChild(arm);
  hips->addChild(light);
  light->addChild(Named("Thigh"));
  arm->addChild(Named("ARM1"));
  using Strings = std::vector<std::string>;
  ZoProtoTraversal joints(root, ZoProtoNode::Geometry), all(root, 0);
  EXPECT_EQ(Names(joints), Strings({"hips", "Thigh", "arm", "ARM1"}));
  EXPECT_EQ(Names(all), Strings({"Root", "hips", "Lamp", "Thigh", "arm", "ARM1"}));
  // Copies hold the same nodes and outlive their source.
  ZoProtoTraversal copy(joints), assigned(root, ZoProtoNode::Light);
  EXPECT_EQ(Names(copy), Names(joints));
  assigned = all;
  assigned = assigned;  // NOLINT: self-assignment keeps the nodes
  EXPECT_EQ(Names(assigned), Names(all));
  {
    ZoProtoTraversal source(hips, 0);
    copy = source;
  }
  EXPECT_EQ(Names(copy), Strings({"hips", "Lamp", "Thigh"}));
  EXPECT_EQ(copy.NodeWithName("thigh"), light->firstChild());

  EXPECT_EQ(std::vector<int>({all.IndexWithName("THIGH"), all.IndexWithName("root"), joints.IndexWithName("root"),
                              all.NodeIndex(arm), joints.NodeIndex(root)}),
            std::vector<int>({3, 0, -1, 4, -1}));
  EXPECT_EQ(std::make_pair(all.NodeWithName("LaMp"), all.NodeWithName("tail")),
            std::make_pair(light, static_cast<ZoProtoNode*>(nullptr)));
  EXPECT_STREQ(light->Name().c_str(), "Lamp");  // names are compared on copies

  // Unique names count up past names taken in any case; a free prefix is
  // returned as it stands.
  EXPECT_EQ(Strings({all.UniqueNameWithPrefix("Arm").c_str(), all.UniqueNameWithPrefix("Leg").c_str(),
                     all.UniqueNameWithPrefix("root").c_str(), ZoProtoTraversal(nullptr, 0).UniqueNameWithPrefix("Joint").c_str()}),
            Strings({"Arm2", "Leg", "root1", "Joint"}));
  delete root;
}

TEST(ZoPermutation, MapsNodesByIdentityBetweenTraversals) {
  ZoProtoNode* root = Named("root");
  ZoProtoNode* a = Named("a");
  ZoProtoNode* b = Named("b");
  root->addChild(a);
  root->addChild(b);
  root->addChild(Named("c"));
  ZoProtoTraversal before(root, ZoProtoNode::Geometry);
  using Map = std::vector<int32_t>;
  auto maps = [](ZoPermutation const& p) {
    auto map = [](int32_t const* m, int32_t n) { return n > 0 ? Map(m, m + n) : Map(); };
    return std::make_pair(map(p.oldToNew(), p.numOld()), map(p.newToOld(), p.numNew()));
  };
  EXPECT_EQ(maps(ZoPermutation(&before, &before)), std::make_pair(Map({0, 1, 2, 3}), Map({0, 1, 2, 3})));

  // b leaves; a newcomer with b's name arrives under a: matched by pointer,
  // never by name.
  root->removeChild(b);
  a->addChild(Named("b"));
  ZoProtoTraversal after(root, ZoProtoNode::Geometry);  // root, a, newcomer, c
  EXPECT_EQ(maps(ZoPermutation(&before, &after)), std::make_pair(Map({0, 1, -1, 3}), Map({0, 1, -1, 3})));
  ZoPermutation fromNothing(nullptr, &after);
  EXPECT_EQ(fromNothing.oldToNew(), nullptr);
  EXPECT_EQ(maps(fromNothing), std::make_pair(Map(), Map(4, -1)));
  delete b;
  delete root;
}

}  // namespace
