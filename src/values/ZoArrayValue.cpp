#include <zoactor/values/ZoArrayValue.h>

#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoStreamIo.h"

#include <new>
#include <utility>

namespace {

// The smallest framed item: the null marker.
constexpr uint32_t kMinFramedItem = 4;

}  // namespace

ZoArrayValue::ZoArrayValue() : numItems(0) {}

ZoArrayValue::ZoArrayValue(ZoArrayValue const& other) : ZoTypedValue(), numItems(0) { CopyItems(other); }

ZoArrayValue& ZoArrayValue::operator=(ZoArrayValue const& other) {
  if (this != &other) {
    Release();
    CopyItems(other);
  }
  return *this;
}

ZoArrayValue::~ZoArrayValue() { Release(); }

void ZoArrayValue::Release() {
  for (int32_t i = 0; i < numItems; ++i)
    if (items[i] != nullptr) items[i]->Destroy();
  items.reset();
  numItems = 0;
}

bool ZoArrayValue::CopyItems(ZoArrayValue const& other) {
  if (other.numItems == 0) return true;
  items.reset(new (std::nothrow) ZoTypedValue*[static_cast<size_t>(other.numItems)]());
  if (items == nullptr) return false;
  numItems = other.numItems;
  bool complete = true;
  for (int32_t i = 0; i < numItems; ++i) {
    if (other.items[i] == nullptr) continue;
    items[i] = other.items[i]->Copy();
    if (items[i] == nullptr) complete = false;
  }
  return complete;
}

ZoTypedValue* ZoArrayValue::GetItem(int index) const {
  if (index < 0 || index >= numItems) return nullptr;
  return items[index];
}

void ZoArrayValue::SetItem(int index, ZoTypedValue* value) {
  if (index < 0 || index >= numItems) return;
  if (items[index] != nullptr && items[index] != value) items[index]->Destroy();
  items[index] = value;
}

int ZoArrayValue::SetNumItems(int count) {
  if (count < 0) count = 0;
  std::unique_ptr<ZoTypedValue*[]> fresh;
  if (count > 0) {
    fresh.reset(new (std::nothrow) ZoTypedValue*[static_cast<size_t>(count)]());
    if (fresh == nullptr) return 0;
  }
  int32_t kept = count < numItems ? count : numItems;
  for (int32_t i = 0; i < kept; ++i) fresh[i] = items[i];
  for (int32_t i = kept; i < numItems; ++i)
    if (items[i] != nullptr) items[i]->Destroy();
  items = std::move(fresh);
  numItems = count;
  return 1;
}

ZoStreamError ZoArrayValue::ReadFromStream(ZoStream& stream) {
  Release();
  int32_t count = 0;
  if (!stream.ReadLoopCount(count, kMinFramedItem, sizeof(ZoTypedValue*))) return stream.Status();
  if (SetNumItems(count) == 0) {
    return zostreamio::OutOfMemory(stream, ZoStreamFormatError);
  }
  for (int32_t i = 0; i < numItems; ++i) {
    ZoTypedValue* item = stream.ReadObjectAs<ZoTypedValue>(nullptr);
    // An item whose body failed is not kept and the read stops there.
    if (stream.Status() != ZoStreamOk) {
      if (item != nullptr) item->Destroy();
      break;
    }
    items[i] = item;
  }
  return stream.Status();
}

ZoStreamError ZoArrayValue::WriteToStream(ZoStream& stream) const {
  stream << numItems;
  for (int32_t i = 0; i < numItems; ++i) stream.WriteObject(items[i]);
  return stream.Status();
}

ZoTypedValue* ZoArrayValue::Copy() const {
  auto* copy = new (std::nothrow) ZoArrayValue;
  if (copy == nullptr) return nullptr;
  if (!copy->CopyItems(*this)) {
    copy->Destroy();
    return nullptr;
  }
  return copy;
}

ZoStreamObject* ZoArrayValue::Create() { return new (std::nothrow) ZoArrayValue; }

static ZoStreamConstructorEntry const kRegisterArrayValue(ZoTypeCode::ArrayValue, &ZoArrayValue::Create);
