// Demonstrates typed values and properties: a property table holding values
// of several kinds is written to a memory stream, read back and printed.
#include "Demo.h"

#include <zoactor/zoactor.h>

#include <algorithm>
#include <memory>

namespace {

// A short description of a value: its text when it converts to one,
// otherwise its kind.
ZoString Describe(ZoTypedValue const* value) {
  ZoString text;
  if (value == nullptr) return ZoString("(no value)");
  if (value->ConvertToString(text)) return ZoString("\"") << text << "\"";
  if (auto const* vector = dynamic_cast<ZoVector3Value const*>(value)) {
    ZoVector3 const& v = *vector;
    text.Format("vector (%g, %g, %g)", static_cast<double>(v.x), static_cast<double>(v.y), static_cast<double>(v.z));
    return text;
  }
  if (auto const* list = dynamic_cast<ZoListValue const*>(value)) {
    text = "list [";
    ZoDblListItem* cursor = nullptr;
    char const* separator = "";
    for (void* item = list->GetFirst(cursor); item != nullptr; item = list->GetNext(cursor)) {
      text << separator << Describe(static_cast<ZoTypedValue const*>(item));
      separator = ", ";
    }
    return text << "]";
  }
  if (dynamic_cast<ZoMaterial const*>(value) != nullptr) return ZoString("a material");
  return ZoString("a value of another kind");
}

bool DemoValues(std::FILE* out) {
  bool ok = true;

  ZoPropertyTable table;
  table.SetValue("health", new ZoIntValue(100));
  table.SetValue("speed", new ZoFloatValue(2.5f));
  table.SetValue("title", new ZoStringValue(ZoString("Hero")));
  table.SetValue("offset", new ZoVector3Value(ZoVector3(0.0f, 1.5f, -2.0f)));
  auto* tags = new ZoListValue;
  tags->Append(new ZoStringValue(ZoString("brave")));
  tags->Append(new ZoIntValue(7));
  table.SetValue("tags", tags);
  auto* skin = new ZoMaterial;
  skin->SetOpacityMask("hair_mask");
  table.SetValue("skin", skin);

  ZoMemoryStream stream;
  stream.version = kZoCurrentVersion;
  stream.WriteObject(&table);
  int32_t length = 0;
  char* bytes = stream.GetBuffer(length);
  std::unique_ptr<char, void (*)(char*)> owned(bytes, [](char* p) { ::operator delete(p); });
  std::fprintf(out, "a property table of %d properties written framed: %d bytes\n", table.GetCount(), length);

  ZoMemoryStream reader(bytes, length);
  reader.version = kZoCurrentVersion;
  std::unique_ptr<ZoPropertyTable> back(reader.ReadObjectAs<ZoPropertyTable>());
  ok = ok && back != nullptr && reader.Status() == ZoStreamOk;
  if (back == nullptr) return false;

  ZoStringList names;
  back->GetPropertyNames(names, 1);
  std::fprintf(out, "read back (status %d), names sorted:\n", reader.Status());
  ZoDblListItem* cursor = nullptr;
  for (void* item = names.GetFirst(cursor); item != nullptr; item = names.GetNext(cursor)) {
    ZoString const& name = *static_cast<ZoString*>(item);
    ZoProperty* property = back->Find(name);
    std::fprintf(out, "  %-8s %s\n", name.c_str(), Describe(property->Value()).c_str());
  }

  // Comparison converts the other side to this side's kind.
  ZoProperty* health = back->Find("health");
  ZoProperty hundred("", new ZoStringValue(ZoString("100")));
  std::fprintf(out, "health equals the string \"100\": %s\n", *health == hundred ? "yes" : "no");
  ok = ok && (*health == hundred) == 1 && static_cast<int>(*health) == 100;

  auto* material = dynamic_cast<ZoMaterial*>(back->Find("skin")->GetValue());
  ok = ok && material != nullptr && material->GetOpacityMask() == ZoString("hair_mask");
  if (material != nullptr)
    std::fprintf(out, "the material's opacity mask: \"%s\"\n", material->GetOpacityMask().c_str());

  // Writing the copy gives the same bytes.
  ZoMemoryStream again;
  again.version = kZoCurrentVersion;
  again.WriteObject(back.get());
  int32_t againLength = 0;
  std::unique_ptr<char, void (*)(char*)> againBytes(again.GetBuffer(againLength), [](char* p) { ::operator delete(p); });
  bool same = againLength == length && std::equal(bytes, bytes + length, againBytes.get());
  std::fprintf(out, "written again: %s bytes\n", same ? "the same" : "different");
  return ok && same;
}

}  // namespace

ZO_DEMO_SECTION(30, "values", DemoValues);
