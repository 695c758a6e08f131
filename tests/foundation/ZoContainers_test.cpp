// Lists and hash tables.
#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoHashTable.h>
#include <zoactor/foundation/ZoListItemInterface.h>

#include "support/ZoTestSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <tuple>

namespace {

int gItems[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
void* Item(int i) { return &gItems[i]; }
int Value(void* item) { return *static_cast<int*>(item); }

// The items of a list front to back, checked against a walk back to front
// and against its count.
std::vector<int> Items(ZoDblList const& list) {
  std::vector<int> forward, backward;
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor)) forward.push_back(Value(item));
  for (void* item = list.GetLast(cursor); item != nullptr; item = list.GetPrev(cursor)) backward.push_back(Value(item));
  EXPECT_EQ(std::vector<int>(backward.rbegin(), backward.rend()), forward) << "walking back";
  EXPECT_EQ(list.GetCount(), static_cast<int32_t>(forward.size()));
  return forward;
}

ZoDblList Make(std::initializer_list<int> values) {
  ZoDblList list;
  for (int v : values) list.Append(Item(v));
  return list;
}

class IsValue : public ZoListItemInterface {
 public:
  int Matches(void* item, void* key) override { return Value(item) == *static_cast<int*>(key); }
};

class Collect : public ZoCallBack {
 public:
  using ZoCallBack::CallBack;
  std::vector<int> seen;
  int CallBack(void* item) override {
    seen.push_back(Value(item));
    return 0;
  }
  int CallBack(void* item, void* key) override { return Value(item) > *static_cast<int*>(key); }
};

}  // namespace

TEST(ZoDblListProtocol, IterationBothWaysAndTheOutsidePosition) {
  ZoDblList list = Make({1, 2, 3});
  EXPECT_EQ(Items(list), (std::vector<int>{1, 2, 3}));
  ZoDblListItem* cursor = nullptr;
  // A null cursor stands before the first; past the last it is null again.
  ZoDblList empty;
  std::vector<void*> const seen{list.GetNext(cursor), list.GetCurrent(cursor), list.GetLast(cursor), list.GetNext(cursor),
                                cursor, list.GetCurrent(cursor), empty.DeleteFirst(), empty.DeleteLast()};
  EXPECT_EQ(seen, std::vector<void*>({Item(1), Item(1), Item(3), nullptr, nullptr, nullptr, nullptr, nullptr}));
  EXPECT_TRUE(Items(empty).empty());
}

TEST(ZoDblListProtocol, DeleteWhileWalkingForwardsVisitsEveryItem) {
  ZoDblList list = Make({0, 1, 2, 3, 4, 5});
  std::vector<int> visited;
  ZoDblListItem* cursor = nullptr;
  for (void* item = list.GetFirst(cursor); item != nullptr; item = list.GetNext(cursor)) {
    visited.push_back(Value(item));
    if (Value(item) % 2 == 0) {
      EXPECT_EQ(list.Delete(cursor), item);
    }
  }
  EXPECT_EQ(visited, (std::vector<int>{0, 1, 2, 3, 4, 5}));
  EXPECT_EQ(Items(list), (std::vector<int>{1, 3, 5}));
  ZoDblListItem* tail = nullptr;
  list.GetLast(tail);
  EXPECT_EQ(Value(list.Delete(tail)), 5);  // the last one: its neighbour becomes the end
  list.Append(Item(7));
  EXPECT_EQ(Items(list), (std::vector<int>{1, 3, 7}));
  ZoDblListItem* none = nullptr;
  EXPECT_EQ(list.Delete(none), nullptr);
}

TEST(ZoDblListProtocol, InsertBeforeAndAfterNodesAndTheEnds) {
  ZoDblList list = Make({2, 4});
  ZoDblListItem* four = list.Find(Item(4));
  list.Insert(Item(3), ZoDblList::Before, four);
  list.Insert(Item(5), ZoDblList::After, four);
  list.Insert(Item(1), ZoDblList::Before, list.Find(Item(2)));
  list.Insert(Item(6), ZoDblList::Before, nullptr);  // before the outside: the end
  list.Insert(Item(0), ZoDblList::After, nullptr);   // after the outside: the front
  list.Prepend(Item(9));
  EXPECT_EQ(list.Append(nullptr), nullptr);  // null items are refused
  EXPECT_EQ(Items(list), (std::vector<int>{9, 0, 1, 2, 3, 4, 5, 6}));
}

TEST(ZoDblListProtocol, MergeMovesAllNodesInOrder) {
  ZoDblList target = Make({0, 9});
  ZoDblList middle = Make({1, 2, 3});
  target.Merge(middle, ZoDblList::After, target.Find(Item(0)));
  EXPECT_EQ(Items(target), (std::vector<int>{0, 1, 2, 3, 9}));
  EXPECT_TRUE(Items(middle).empty());
  ZoDblList front = Make({7, 8});
  target.Merge(front, ZoDblList::After, nullptr);
  ZoDblList back = Make({4, 5});
  target.Merge(back, ZoDblList::Before, nullptr);
  target.Merge(target, ZoDblList::Before, nullptr);  // merging a list into itself changes nothing
  EXPECT_EQ(Items(target), (std::vector<int>{7, 8, 0, 1, 2, 3, 9, 4, 5}));
}

TEST(ZoDblListProtocol, FindFormsAndStartingNodes) {
  ZoDblList list = Make({1, 5, 3, 5, 7});
  IsValue isValue;
  Collect greater;
  int five = 5, four = 4;
  ZoDblListItem* first = list.Find(&five, isValue);
  ZoDblListItem* second = list.Find(&five, first, 0, isValue);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(std::vector<ZoDblListItem*>({first, list.Find(&five, first, 1, isValue), list.Find(&five, second, 0, isValue),
                                         list.Find(Item(8)), second->Next()}),
            std::vector<ZoDblListItem*>({list.Find(Item(5)), first, nullptr, nullptr, list.Find(Item(7))}));
  EXPECT_EQ(Value(list.Find(&four, greater)->Item()), 5);
}

TEST(ZoDblListProtocol, CopyClearAndIterateForms) {
  ZoDblList source = Make({1, 2, 3});
  ZoDblList copy(source);
  EXPECT_EQ(Items(copy), Items(source));
  Collect visited, cleared, copied;
  source.Iterate(visited);
  copy.Clear(cleared);
  EXPECT_TRUE(Items(copy).empty());
  copy.Copy(source, copied);
  for (Collect const* c : {&visited, &cleared, &copied}) EXPECT_EQ(c->seen, (std::vector<int>{1, 2, 3}));
  copy = Make({9});
  EXPECT_EQ(Items(copy), (std::vector<int>{9}));
}

TEST(ZoStringListOwnership, AppendFindSortDeepCopyAndTokenize) {
  ZoStringList names;
  for (char const* name : {"walk", "Run", "idle", "Run"}) names.AppendString(name);
  EXPECT_EQ(std::make_pair(names.FindString(ZoString("Run")), names.FindString("run")),  // case-sensitive
            std::make_pair(names.FindString("Run"), static_cast<ZoDblListItem*>(nullptr)));
  ZoStringList copy(names);
  names.Sort(1);
  EXPECT_EQ(zotest::Texts(names), (std::vector<std::string>{"Run", "Run", "idle", "walk"}));
  names.Sort(0);
  EXPECT_EQ(zotest::Texts(names), (std::vector<std::string>{"walk", "idle", "Run", "Run"}));
  EXPECT_EQ(*ZoStringList::StringAt(names.FindString("walk")), "walk");
  // The copy owns its own strings and kept the original order.
  names.Clear();
  EXPECT_EQ(zotest::Texts(copy), (std::vector<std::string>{"walk", "Run", "idle", "Run"}));
  // Tokenize skips empty pieces.
  ZoStringList pieces;
  EXPECT_EQ(pieces.Tokenize(ZoString(",a,,bc ,d,"), ", "), 3);
  EXPECT_EQ(zotest::Texts(pieces), (std::vector<std::string>{"a", "bc", "d"}));
}

// --- Hash tables ------------------------------------------------------------

namespace {

// Gathers the entries of a table (keys stored as `Stored`, kept as `Key`)
// and the data handed to a release.
template <class Stored, class Key>
class GatherEntries : public ZoCallBack {
 public:
  using ZoCallBack::CallBack;
  std::map<Key, void*> entries;
  std::vector<void*> released;
  int CallBack(void* key, void* datum, void*) override {
    entries[Key(*static_cast<Stored*>(key))] = datum;
    return 0;
  }
  int CallBack(void* datum) override {
    released.push_back(datum);
    return 0;
  }
};

}  // namespace

TEST(ZoHashTables, DictionaryAddFindReplaceDelete) {
  ZoDictionary table(53);
  // Keys are case-sensitive; replacing an absent key adds it.
  std::vector<void*> const seen{table.Add("WALK", Item(1)),     table.Add("RUN", Item(2)),
                                table.Find("WALK"),             table.Find("walk"),
                                table.Replace("WALK", Item(3)), table.Find("WALK"),
                                table.Replace("JUMP", Item(4)), table.Find("JUMP"),
                                table.Delete("RUN"),            table.Delete("RUN")};
  EXPECT_EQ(seen, std::vector<void*>(
                      {Item(1), Item(2), Item(1), nullptr, Item(1), Item(3), nullptr, Item(4), Item(2), nullptr}));
  EXPECT_EQ(table.GetCount(), 2);
  GatherEntries<ZoString, std::string> gather;
  table.Iterate(gather);
  EXPECT_EQ(gather.entries, (std::map<std::string, void*>{{"JUMP", Item(4)}, {"WALK", Item(3)}}));
  table.ClearItems(&gather);
  EXPECT_EQ(std::make_tuple(gather.released.size(), table.GetCount(), table.Find("WALK")),
            std::make_tuple(2u, 0, static_cast<void*>(nullptr)));
}

// Finding keys again after the table grew is driven by the prototype
// database's threaded test.
TEST(ZoHashTables, TheTableGrowsAsKeysAreAdded) {
  ZoDictionary dictionary(53);
  for (int i = 0; i < 107; ++i) dictionary.Add(ZoString(i), Item(i % 10));
  EXPECT_EQ(dictionary.GetBucketCount(), 107);
  EXPECT_EQ(dictionary.Find(ZoString(106)), Item(6));
}

TEST(ZoHashTables, IndexIterateHandsOverIntegerKeys) {
  ZoIndex index(1);
  index.Add(0x50726F70, Item(1));  // one bucket, until the table grows, holds both
  index.Add(0x536B6C50, Item(2));
  GatherEntries<uint32_t, uint32_t> keys;
  index.Iterate(keys);
  EXPECT_EQ(keys.entries, (std::map<uint32_t, void*>{{0x50726F70u, Item(1)}, {0x536B6C50u, Item(2)}}));
}
