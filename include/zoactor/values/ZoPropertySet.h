// ZoPropertySet: the interface shared by the property containers
// (ZoPropertyList, an ordered list; ZoPropertyTable, a hash table by name).
//
// Ownership: a container owns the properties it holds and destroys them with
// their values. A property handed to Add or Replace by pointer is taken over
// (Add only when it returns 1); one passed by reference is copied. Delete
// hands the removed property back to the caller, who destroys it. Names are
// compared case-sensitively; Add keeps at most one property per name.
//
// Both containers stream as an int32 count followed by the bodies of the
// properties (name and framed value, no property frame). Reading appends to
// what the container holds, drops properties that come without a value, and
// stops at the first property that fails to read (it is not kept).
#ifndef ZOACTOR_VALUES_ZOPROPERTYSET_H
#define ZOACTOR_VALUES_ZOPROPERTYSET_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoStringList.h>
#include <zoactor/serialization/ZoStreamObject.h>
#include <zoactor/values/ZoProperty.h>

class ZOACTOR_API ZoPropertySet : public ZoStreamObject {
 public:
  // Takes over `property` and returns 1; returns 0 and takes nothing when it
  // is null, its name is already held, or no memory could be had.
  virtual int Add(ZoProperty const* property) = 0;
  // The property of that name (still owned by the container), or null.
  virtual ZoProperty* Find(ZoString const& name) const = 0;
  // Removes the property of that name and returns it to the caller; null
  // when none.
  virtual ZoProperty* Delete(ZoString const& name) = 0;
  // Destroys every property.
  virtual void DeleteAll() = 0;
  // Takes over `property` (null does nothing) in place of any property of
  // the same name, which is destroyed.
  virtual void Replace(ZoProperty* property) = 0;
  // Calls the three-pointer callBack.CallBack(key, property, null) for every
  // property; the key is the name (a ZoString*) in a table, null in a list.
  // The container must not be changed from inside the callback.
  virtual void Iterate(ZoCallBack& callBack) const = 0;
  // Appends every property's name to `names` (which is not cleared), then
  // sorts `names` ascending by bytes when `sort` is non-zero.
  virtual void GetPropertyNames(ZoStringList& names, int sort) const = 0;

  // Gives the property `name` the value `value` (taken over in every case):
  // sets it on the property of that name when there is one and returns 1;
  // otherwise adds a new property and returns what Add returned (the value
  // is destroyed when that is 0).
  int SetValue(ZoString const& name, ZoTypedValue* value);
  // Adds a copy of every property of `other` whose name this set does not
  // hold yet.
  void Copy(ZoPropertySet const& other);

 protected:
  ZoPropertySet() = default;
  ZoPropertySet(ZoPropertySet const&) = default;
  ZoPropertySet& operator=(ZoPropertySet const&) = default;
};

#endif
