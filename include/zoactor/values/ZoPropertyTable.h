// ZoPropertyTable: properties in a hash table keyed by name (53 buckets to
// start with, growing with the contents).
//
// Body: int32 number of properties, then each property's body in the
// table's iteration order. Reading keeps the last of several properties of
// the same name (also replacing one held before the read).
//
// A table has no order the caller can rely on; GetPropertyNames sorts on
// request. Renaming a property while the table holds it leaves it filed
// under its old name.
//
// Edge cases:
// - The properties read in one ReadFromStream are filed in an order that
//   depends only on their names, so a table written, read back and written
//   again gives the same bytes.
// - Assignment is a deep copy.
#ifndef ZOACTOR_VALUES_ZOPROPERTYTABLE_H
#define ZOACTOR_VALUES_ZOPROPERTYTABLE_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoHashTable.h>
#include <zoactor/values/ZoPropertySet.h>

class ZOACTOR_API ZoPropertyTable : public ZoPropertySet {
 public:
  static constexpr int32_t STREAM_TYPE = ZoTypeCode::PropertyTable;

  ZoPropertyTable();
  // A new table holding copies of `other`'s properties.
  ZoPropertyTable(ZoPropertyTable const& other);
  // Destroys the properties held so far, then copies `other`'s.
  ZoPropertyTable& operator=(ZoPropertyTable const& other);
  // Destroys every property.
  ~ZoPropertyTable() override;

  // Files `property` under its name and returns 1; 0 when it is null, the
  // name is already a key, or no memory could be had.
  int Add(ZoProperty const* property) override;
  // Adds a copy; 0 (the copy destroyed) when refused, otherwise 1.
  int Add(ZoProperty const& property);
  ZoProperty* Find(ZoString const& name) const override;
  ZoProperty* Delete(ZoString const& name) override;
  void DeleteAll() override;
  // Files `property` under its name; the property it displaces, if any and
  // not `property` itself, is destroyed. When no memory could be had for a
  // new entry, `property` is destroyed.
  void Replace(ZoProperty* property) override;
  // Replace with a copy of `property`.
  void Replace(ZoProperty const& property);
  // Calls callBack.CallBack(&name, property, null) in the table's order.
  void Iterate(ZoCallBack& callBack) const override;
  // The keys in the table's order, sorted when `sort` is non-zero.
  void GetPropertyNames(ZoStringList& names, int sort) const override;

  // The number of properties held.
  int32_t GetCount() const { return table.GetCount(); }

  int32_t StreamType() const override { return STREAM_TYPE; }
  ZoStreamError ReadFromStream(ZoStream& stream) override;
  ZoStreamError WriteToStream(ZoStream& stream) const override;

  static ZoStreamObject* Create();

 private:
  void CopyFrom(ZoPropertyTable const& other);

  ZoDictionary table;
};

#endif
