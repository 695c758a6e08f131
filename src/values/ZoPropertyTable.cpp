#include <zoactor/values/ZoPropertyTable.h>

#include <zoactor/serialization/ZoStream.h>
#include <zoactor/serialization/ZoStreamConstructorEntry.h>

#include "serialization/ZoStreamIo.h"

#include <algorithm>
#include <memory>
#include <new>

namespace {

constexpr int kTableBuckets = 53;

// The smallest property body: an empty name and the null marker (or, in the
// oldest layout, a kind and an empty name).
constexpr uint32_t kMinPropertyBody = 8;

ZoProperty* PropertyOf(void* datum) { return static_cast<ZoProperty*>(datum); }

// Destroys every property it is handed (through the one-pointer form that
// ClearItems calls).
class DestroyProperty : public ZoCallBack {
 public:
  using ZoCallBack::CallBack;
  int CallBack(void* datum) override {
    delete PropertyOf(datum);
    return 0;
  }
};

// Appends every key to a string list.
class CollectNames : public ZoCallBack {
 public:
  explicit CollectNames(ZoStringList& list) : names(list) {}
  using ZoCallBack::CallBack;
  int CallBack(void* key, void*, void*) override {
    names.AppendString(*static_cast<ZoString const*>(key));
    return 0;
  }

 private:
  ZoStringList& names;
};

// Writes the body of every property.
class WriteBodies : public ZoCallBack {
 public:
  explicit WriteBodies(ZoStream& out) : stream(out) {}
  using ZoCallBack::CallBack;
  int CallBack(void*, void* property, void*) override {
    stream << *PropertyOf(property);
    return 0;
  }

 private:
  ZoStream& stream;
};

// Adds a copy of every property to a table.
class AddCopies : public ZoCallBack {
 public:
  explicit AddCopies(ZoPropertyTable& into) : table(into) {}
  using ZoCallBack::CallBack;
  int CallBack(void*, void* property, void*) override {
    table.Add(*PropertyOf(property));
    return 0;
  }

 private:
  ZoPropertyTable& table;
};

}  // namespace

ZoPropertyTable::ZoPropertyTable() : table(kTableBuckets) {}

ZoPropertyTable::ZoPropertyTable(ZoPropertyTable const& other) : ZoPropertySet(other), table(kTableBuckets) {
  CopyFrom(other);
}

ZoPropertyTable& ZoPropertyTable::operator=(ZoPropertyTable const& other) {
  if (this != &other) {
    DeleteAll();
    CopyFrom(other);
  }
  return *this;
}

ZoPropertyTable::~ZoPropertyTable() { ZoPropertyTable::DeleteAll(); }

void ZoPropertyTable::CopyFrom(ZoPropertyTable const& other) {
  AddCopies callBack(*this);
  other.table.Iterate(callBack);
}

int ZoPropertyTable::Add(ZoProperty const* property) {
  if (property == nullptr || table.Find(property->Name()) != nullptr) return 0;
  return table.Add(property->Name(), const_cast<ZoProperty*>(property)) != nullptr ? 1 : 0;
}

int ZoPropertyTable::Add(ZoProperty const& property) {
  auto* copy = new (std::nothrow) ZoProperty(property);
  if (copy == nullptr) return 0;
  if (Add(copy) == 0) {
    delete copy;
    return 0;
  }
  return 1;
}

ZoProperty* ZoPropertyTable::Find(ZoString const& name) const { return PropertyOf(table.Find(name)); }

ZoProperty* ZoPropertyTable::Delete(ZoString const& name) { return PropertyOf(table.Delete(name)); }

void ZoPropertyTable::DeleteAll() {
  DestroyProperty callBack;
  table.ClearItems(&callBack);
}

void ZoPropertyTable::Replace(ZoProperty* property) {
  if (property == nullptr) return;
  ZoProperty* previous = PropertyOf(table.Find(property->Name()));
  if (previous == property) return;
  if (previous != nullptr) {
    table.Replace(property->Name(), property);
    delete previous;
  } else if (table.Add(property->Name(), property) == nullptr) {
    delete property;
  }
}

void ZoPropertyTable::Replace(ZoProperty const& property) {
  auto* copy = new (std::nothrow) ZoProperty(property);
  if (copy != nullptr) Replace(copy);
}

void ZoPropertyTable::Iterate(ZoCallBack& callBack) const { table.Iterate(callBack); }

void ZoPropertyTable::GetPropertyNames(ZoStringList& names, int sort) const {
  CollectNames callBack(names);
  table.Iterate(callBack);
  if (sort != 0) names.Sort(1);
}

ZoStreamError ZoPropertyTable::ReadFromStream(ZoStream& stream) {
  int32_t propertyCount = 0;
  if (!stream.ReadLoopCount(propertyCount, kMinPropertyBody, sizeof(ZoProperty*))) return stream.Status();
  std::unique_ptr<ZoProperty*[]> read;
  if (propertyCount > 0) {
    read.reset(new (std::nothrow) ZoProperty*[static_cast<size_t>(propertyCount)]);
    if (read == nullptr) return zostreamio::OutOfMemory(stream, ZoStreamFormatError);
  }
  int32_t kept = 0;
  for (int32_t i = 0; i < propertyCount; ++i) {
    auto* property = new (std::nothrow) ZoProperty;
    if (property == nullptr) {
      zostreamio::OutOfMemory(stream, ZoStreamFormatError);
      break;
    }
    stream >> *property;
    if (stream.Status() != ZoStreamOk || property->Value() == nullptr) {
      delete property;
      if (stream.Status() != ZoStreamOk) break;
      continue;
    }
    read[kept++] = property;
  }

  // File what was read in an order that depends on the names only, so that
  // the table's own order (and what it writes) does not depend on the order
  // of the stream: sorted by name, the last of equal names winning, filed
  // from the greatest name down (each chain of the table then runs in
  // ascending order).
  ZoProperty** begin = read.get();
  std::stable_sort(begin, begin + kept,
                   [](ZoProperty const* a, ZoProperty const* b) { return a->Name().Compare(b->Name()) < 0; });
  ZoString filed;
  for (int32_t i = kept - 1; i >= 0; --i) {
    if (i + 1 < kept && read[i]->Name() == filed) {
      delete read[i];  // an earlier property of the name just filed
      continue;
    }
    filed = read[i]->Name();
    Replace(read[i]);
  }
  return stream.Status();
}

ZoStreamError ZoPropertyTable::WriteToStream(ZoStream& stream) const {
  stream << table.GetCount();
  WriteBodies callBack(stream);
  table.Iterate(callBack);
  return stream.Status();
}

ZoStreamObject* ZoPropertyTable::Create() { return new (std::nothrow) ZoPropertyTable; }

static ZoStreamConstructorEntry const kRegisterPropertyTable(ZoTypeCode::PropertyTable, &ZoPropertyTable::Create);
