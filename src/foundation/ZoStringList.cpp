#include <zoactor/foundation/ZoStringList.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

int ZoStringTokenizerCallBack::Tokenize(ZoString const& text, char const* separators) {
  int pieces = 0;
  char const* chars = text.c_str();
  int32_t length = text.Length();
  int32_t start = 0;
  for (int32_t i = 0; i <= length; ++i) {
    bool boundary = i == length || (separators != nullptr && std::strchr(separators, chars[i]) != nullptr);
    if (!boundary) continue;
    if (i > start) {
      ZoString piece(chars + start, i - start);
      CallBack(&piece);
      ++pieces;
    }
    start = i + 1;
  }
  return pieces;
}

ZoStringList::ZoStringList(ZoStringList const& other)
    : ZoDblList(), ZoStringTokenizerCallBack(other) {
  ZoDblListItem* cursor = nullptr;
  for (void* item = other.GetFirst(cursor); item != nullptr; item = other.GetNext(cursor))
    AppendString(*static_cast<ZoString*>(item));
}

ZoStringList& ZoStringList::operator=(ZoStringList const& other) {
  if (this != &other) {
    ZoStringList copy(other);
    Clear();
    Merge(copy, Before, nullptr);
  }
  return *this;
}

ZoStringList::~ZoStringList() { ZoStringList::Clear(); }

void ZoStringList::Clear() {
  ZoDblListItem* cursor = nullptr;
  for (void* item = GetFirst(cursor); item != nullptr; item = GetNext(cursor)) delete static_cast<ZoString*>(item);
  ZoDblList::Clear();
}

ZoDblListItem* ZoStringList::AppendString(ZoString const& text) {
  auto* copy = new (std::nothrow) ZoString(text);
  if (copy == nullptr) return nullptr;
  ZoDblListItem* node = Append(copy);
  if (node == nullptr) delete copy;
  return node;
}

ZoDblListItem* ZoStringList::FindString(ZoString const& text) const {
  for (ZoDblListItem* node = first; node != nullptr; node = node->Next())
    if (*StringAt(node) == text) return node;
  return nullptr;
}

void ZoStringList::Sort(int ascending) {
  std::vector<void*> items;
  items.reserve(static_cast<size_t>(count));
  ZoDblListItem* cursor = nullptr;
  for (void* item = GetFirst(cursor); item != nullptr; item = GetNext(cursor)) items.push_back(item);
  std::stable_sort(items.begin(), items.end(), [ascending](void* a, void* b) {
    int order = static_cast<ZoString*>(a)->Compare(*static_cast<ZoString*>(b));
    return ascending != 0 ? order < 0 : order > 0;
  });
  // Put the items back into the same nodes, in their new order.
  size_t index = 0;
  for (ZoDblListItem* node = first; node != nullptr; node = node->Next()) SetItem(node, items[index++]);
}

int ZoStringList::CallBack(void* piece) {
  return AppendString(*static_cast<ZoString const*>(piece)) != nullptr ? 1 : 0;
}
