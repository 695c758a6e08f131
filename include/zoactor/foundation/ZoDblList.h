// ZoDblList: a doubly linked list of untyped item pointers. The list owns
// its nodes (ZoDblListItem); the items stay the caller's. Classes whose items
// are owned objects derive from it and override Clear() and the destructor.
//
// Iteration protocol: the caller keeps a cursor (`ZoDblListItem*`) of its own.
// GetFirst/GetLast set it to an end node, GetNext/GetPrev move it, and each
// returns the item there or null past the end. A null cursor stands for the
// position outside the list, between the last and the first node: GetNext of
// it gives the first item and GetPrev the last. Delete(cursor) unlinks the
// node and moves the cursor to the node before it, so a loop that deletes
// while walking forwards continues with the right item. Lists never hold null
// items; adding one is refused.
#ifndef ZOACTOR_FOUNDATION_ZODBLLIST_H
#define ZOACTOR_FOUNDATION_ZODBLLIST_H

#include <zoactor/ZoExport.h>

#include <cstdint>

class ZoCallBack;
class ZoListItemInterface;
class ZoDblList;

// A node of a ZoDblList.
class ZOACTOR_API ZoDblListItem {
 public:
  void* Item() const { return item; }
  ZoDblListItem* Next() const { return next; }
  ZoDblListItem* Prev() const { return prev; }

 private:
  friend class ZoDblList;
  ZoDblListItem* prev = nullptr;
  ZoDblListItem* next = nullptr;
  void* item = nullptr;
};

class ZOACTOR_API ZoDblList {
 public:
  // Where Insert and Merge put new items relative to a node.
  enum EnumListPosition { Before = 0, After = 1 };

  ZoDblList();
  // Copies the item pointers (not the items).
  ZoDblList(ZoDblList const& other);
  ZoDblList& operator=(ZoDblList const& other);
  // Unlinks every node; the items are not touched.
  virtual ~ZoDblList();

  // Adds an item at the front; returns its node, or null when `item` is null
  // or no node could be allocated.
  virtual ZoDblListItem* Prepend(void* const item);
  // Adds an item at the end; returns its node or null as Prepend.
  virtual ZoDblListItem* Append(void* const item);
  // Puts `item` before (Before) or after (After) `node`, which must belong to
  // this list. A null node stands for the outside position: Before it is the
  // end of the list, After it the front.
  virtual ZoDblListItem* Insert(void* item, EnumListPosition position, ZoDblListItem* node);
  // Moves every node of `other` beside `node` (as Insert places one item),
  // keeping their order; `other` is left empty. Merging a list into itself
  // does nothing.
  virtual void Merge(ZoDblList& other, EnumListPosition position, ZoDblListItem* node);
  // Adds an item; appends, so a list read back with Add keeps its order.
  virtual ZoDblListItem* Add(void* const item);
  // Appends `iface.CopyItem(item)` for every item of `other`.
  virtual void Copy(ZoDblList const& other, ZoListItemInterface& iface);
  // Appends every item of `other`, calling `callBack.CallBack(item)` on each
  // appended item (for instance to take a reference on shared items).
  virtual void Copy(ZoDblList const& other, ZoCallBack& callBack);
  // Appends the item pointers of `other`.
  virtual void Copy(ZoDblList const& other);

  virtual void* GetFirst(ZoDblListItem*& cursor) const;
  virtual void* GetNext(ZoDblListItem*& cursor) const;
  // The item at the cursor, which is not moved; null for a null cursor.
  virtual void* GetCurrent(ZoDblListItem*& cursor) const;
  virtual void* GetPrev(ZoDblListItem*& cursor) const;
  virtual void* GetLast(ZoDblListItem*& cursor) const;

  // Calls `iface.Visit(item)` for every item, in order.
  virtual void Iterate(ZoListItemInterface& iface) const;
  // Calls the one-pointer `callBack.CallBack(item)` for every item, in order.
  virtual void Iterate(ZoCallBack& callBack) const;

  // Unlinks the first (last) node and returns its item; null when empty.
  virtual void* DeleteFirst();
  virtual void* DeleteLast();
  // Unlinks `node` and returns its item (the caller releases the item); the
  // cursor moves to the node before (null when it was the first). A null
  // node returns null.
  virtual void* Delete(ZoDblListItem*& node);
  // Calls `iface.DestroyItem(item)` for every item, then unlinks all nodes.
  virtual void Clear(ZoListItemInterface& iface);
  // Calls `callBack.CallBack(item)` for every item, then unlinks all nodes.
  virtual void Clear(ZoCallBack& callBack);
  // Unlinks all nodes without touching the items.
  virtual void Clear();

  // Searches start at `start` (null: at the first node); `includeStart`
  // non-zero examines `start` itself, zero begins behind it. Each returns the
  // first matching node or null.
  // Matches when `iface.Matches(item, key)` is non-zero.
  virtual ZoDblListItem* Find(void* key, ZoDblListItem* start, int includeStart, ZoListItemInterface& iface) const;
  // Matches when the two-pointer `callBack.CallBack(item, key)` is non-zero.
  virtual ZoDblListItem* Find(void* key, ZoDblListItem* start, int includeStart, ZoCallBack& callBack) const;
  // Matches the node holding exactly the pointer `item`.
  virtual ZoDblListItem* Find(void* item, ZoDblListItem* start, int includeStart) const;
  virtual ZoDblListItem* Find(void* key, ZoListItemInterface& iface) const;
  virtual ZoDblListItem* Find(void* key, ZoCallBack& callBack) const;
  virtual ZoDblListItem* Find(void* item) const;

  // The number of items.
  int32_t GetCount() const { return count; }
  bool IsEmpty() const { return count == 0; }

 protected:
  // Replaces the item a node holds (used to reorder items in place).
  static void SetItem(ZoDblListItem* node, void* item) { node->item = item; }

  ZoDblListItem* first;
  ZoDblListItem* last;
  int32_t count;

 private:
  ZoDblListItem* NewNode(void* item);
  void Link(ZoDblListItem* node, EnumListPosition position, ZoDblListItem* at);
  void Unlink(ZoDblListItem* node);
  // The node where a search with these arguments begins.
  ZoDblListItem* SearchStart(ZoDblListItem* start, int includeStart) const;
};

#endif
