#ifndef ZOACTOR_FOUNDATION_ZOLISTITEMINTERFACE_H
#define ZOACTOR_FOUNDATION_ZOLISTITEMINTERFACE_H

#include <zoactor/ZoExport.h>

// An abstract matcher and visitor of list items. `Matches` decides the
// searches of ZoDblList::Find; the other operations serve the forms of
// Copy, Clear and Iterate that take an interface, and by default copy an
// item as the same pointer, destroy nothing and visit nothing.
class ZOACTOR_API ZoListItemInterface {
 public:
  virtual ~ZoListItemInterface();
  // Non-zero when `item` matches `key`.
  virtual int Matches(void* item, void* key) = 0;
  // The item to append when a list is copied through this interface.
  virtual void* CopyItem(void* item);
  // Releases an item when a list is cleared through this interface.
  virtual void DestroyItem(void* item);
  // Visits an item during Iterate.
  virtual void Visit(void* item);
};

#endif
