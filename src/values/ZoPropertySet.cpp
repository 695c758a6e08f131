#include <zoactor/values/ZoPropertySet.h>

#include <new>

namespace {

// Adds a copy of every property it is handed to a target set.
class CopyInto : public ZoCallBack {
 public:
  explicit CopyInto(ZoPropertySet& set) : target(set) {}
  using ZoCallBack::CallBack;
  int CallBack(void*, void* property, void*) override {
    auto* copy = new (std::nothrow) ZoProperty(*static_cast<ZoProperty const*>(property));
    if (copy != nullptr && target.Add(copy) == 0) delete copy;
    return 0;
  }

 private:
  ZoPropertySet& target;
};

}  // namespace

int ZoPropertySet::SetValue(ZoString const& name, ZoTypedValue* value) {
  ZoProperty* existing = Find(name);
  if (existing != nullptr) {
    existing->SetValue(value);
    return 1;
  }
  auto* property = new (std::nothrow) ZoProperty(name, value);
  if (property == nullptr) {
    if (value != nullptr) value->Destroy();
    return 0;
  }
  int added = Add(property);
  if (added == 0) delete property;
  return added;
}

void ZoPropertySet::Copy(ZoPropertySet const& other) {
  if (&other == this) return;
  CopyInto callBack(*this);
  other.Iterate(callBack);
}
