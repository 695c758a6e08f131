// ZoCallBack: a polymorphic callback object. Users derive from it and
// override the arity they need; the base versions do nothing and return 0.
// Lists call the one-pointer form for each item, hash tables the
// three-pointer form for each entry (key, datum, unused), and file streams
// the two-pointer form for their notifications (event code, stream).
#ifndef ZOACTOR_FOUNDATION_ZOCALLBACK_H
#define ZOACTOR_FOUNDATION_ZOCALLBACK_H

#include <zoactor/ZoExport.h>

class ZOACTOR_API ZoCallBack {
 public:
  virtual ~ZoCallBack();
  virtual int CallBack(void* first, void* second, void* third);
  virtual int CallBack(void* first, void* second);
  virtual int CallBack(void* first);
};

#endif
