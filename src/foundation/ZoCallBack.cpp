#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoListItemInterface.h>

ZoCallBack::~ZoCallBack() = default;
int ZoCallBack::CallBack(void*, void*, void*) { return 0; }
int ZoCallBack::CallBack(void*, void*) { return 0; }
int ZoCallBack::CallBack(void*) { return 0; }

ZoListItemInterface::~ZoListItemInterface() = default;
void* ZoListItemInterface::CopyItem(void* item) { return item; }
void ZoListItemInterface::DestroyItem(void*) {}
void ZoListItemInterface::Visit(void*) {}
