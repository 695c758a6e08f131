#include <zoactor/values/ZoListValue.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include <new>

namespace {

// The smallest framed item: the null marker.
constexpr uint32_t kMinFramedItem = 4;

ZoTypedValue* ItemOf(void* item) { return static_cast<ZoTypedValue*>(item); }

}  // namespace

ZoListValue::ZoListValue() = default;

// The copy starts without a callback (the base's default constructor) and
// with its own copies of the items (never the list's shallow copy).
ZoListValue::ZoListValue(ZoListValue const& other) : ZoTypedValue(), ZoDblList() { CopyItems(other); }

ZoListValue& ZoListValue::operator=(ZoListValue const& other) {
  if (this != &other) {
    Clear();
    CopyItems(other);
  }
  return *this;
}

ZoListValue::~ZoListValue() { ZoListValue::Clear(); }

void ZoListValue::CopyItems(ZoListValue const& other) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = other.GetFirst(cursor); item != nullptr; item = other.GetNext(cursor)) {
    ZoTypedValue* copy = ItemOf(item)->Copy();
    if (copy != nullptr && Append(copy) == nullptr) copy->Destroy();
  }
}

void ZoListValue::Clear() {
  ZoDblListItem* cursor = nullptr;
  for (void* item = GetFirst(cursor); item != nullptr; item = GetNext(cursor)) ItemOf(item)->Destroy();
  ZoDblList::Clear();
}

int ZoListValue::Search(ZoTypedValue* value, ZoDblListItem*& cursor) const {
  if (value == nullptr) return 0;
  for (void* item = GetFirst(cursor); item != nullptr; item = GetNext(cursor))
    if (ItemOf(item)->Compare(*value) == 0) return 1;
  return 0;
}

ZoStreamError ZoListValue::ReadFromStream(ZoStream& stream) {
  int32_t itemCount = 0;
  if (!stream.ReadLoopCount(itemCount, kMinFramedItem)) return stream.Status();
  for (int32_t i = 0; i < itemCount; ++i) {
    ZoTypedValue* item = stream.ReadObjectAs<ZoTypedValue>(nullptr);
    // An item whose body failed is still returned by the stream; it is not
    // kept, and the read stops there (a later successful read could
    // otherwise clear the error).
    if (stream.Status() != ZoStreamOk) {
      if (item != nullptr) item->Destroy();
      break;
    }
    if (item != nullptr && Append(item) == nullptr) item->Destroy();
  }
  return stream.Status();
}

ZoStreamError ZoListValue::WriteToStream(ZoStream& stream) const {
  stream << GetCount();
  ZoDblListItem* cursor = nullptr;
  for (void* item = GetFirst(cursor); item != nullptr; item = GetNext(cursor)) stream.WriteObject(ItemOf(item));
  return stream.Status();
}

ZoTypedValue* ZoListValue::Copy() const {
  auto* copy = new (std::nothrow) ZoListValue;
  if (copy == nullptr) return nullptr;
  copy->CopyItems(*this);
  if (copy->GetCount() != GetCount()) {
    copy->Destroy();
    return nullptr;
  }
  return copy;
}

ZoStreamObject* ZoListValue::Create() { return new (std::nothrow) ZoListValue; }

int ZoListValueSearchItr::Matches(void* item, void* key) {
  if (item == nullptr || key == nullptr) return 0;
  return ItemOf(item)->Compare(*ItemOf(key)) == 0 ? 1 : 0;
}

static ZoStreamConstructorEntry const kRegisterListValue(ZoTypeCode::ListValue, &ZoListValue::Create);
