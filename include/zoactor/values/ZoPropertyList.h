// ZoPropertyList: properties in an ordered list. The order is the order of
// insertion, changed by use: Find moves the property it finds to the front,
// so repeated look-ups of the same names get faster, and Replace puts the
// new property at the end.
//
// Body: int32 number of properties, then each property's body in list
// order. Reading appends without checking for duplicate names (Find then
// sees the first of them).
//
// Edge cases: moving a property within the list never
// allocates, so Find and Replace cannot lose a property. Assignment is a
// deep copy.
#ifndef ZOACTOR_VALUES_ZOPROPERTYLIST_H
#define ZOACTOR_VALUES_ZOPROPERTYLIST_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/values/ZoPropertySet.h>

class ZOACTOR_API ZoPropertyList : public ZoPropertySet {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::PropertyList;

  ZoPropertyList();
  // Holds a copy of every property of `other`, in order.
  ZoPropertyList(ZoPropertyList const& other);
  // Destroys the properties held so far, then copies `other`'s in order.
  ZoPropertyList& operator=(ZoPropertyList const& other);
  // Destroys every property.
  ~ZoPropertyList() override;

  // Appends `property` and returns 1; 0 when it is null or a property of
  // the same name is held.
  int Add(ZoProperty const* property) override;
  // Adds a copy; 0 (the copy destroyed) when refused, otherwise 1.
  int Add(ZoProperty const& property);
  // The first property of that name, moved to the front of the list; null
  // when none.
  ZoProperty* Find(ZoString const& name) const override;
  // Unlinks the first property of that name and returns it; null when none.
  ZoProperty* Delete(ZoString const& name) override;
  void DeleteAll() override;
  // Finds the property of the same name (moving it to the front). When that
  // is `property` itself nothing more happens; otherwise the one found (if
  // any) is destroyed and `property` goes to the end of the list (it is
  // destroyed when no memory could be had for a new node).
  void Replace(ZoProperty* property) override;
  // Replace with a copy of `property`.
  void Replace(ZoProperty const& property);
  // Calls callBack.CallBack(null, property, null) in list order.
  void Iterate(ZoCallBack& callBack) const override;
  // Names in list order, sorted when `sort` is non-zero.
  void GetPropertyNames(ZoStringList& names, int sort) const override;

  // The number of properties held.
  int32_t GetCount() const { return list.GetCount(); }

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  static ZoStreamObject* Create();

 private:
  // The list of owned `ZoProperty*`, able to move an item to either end by
  // shifting item pointers between the existing nodes.
  class ZOACTOR_API Items : public ZoDblList {
   public:
    void MoveToFront(ZoDblListItem* node);
    void MoveToEnd(ZoDblListItem* node);
    void Put(ZoDblListItem* node, void* item) { SetItem(node, item); }
  };

  // The node of the first property named `name`, or null.
  ZoDblListItem* NodeOf(ZoString const& name) const;
  void CopyFrom(ZoPropertyList const& other);

  mutable Items list;
};

#endif
