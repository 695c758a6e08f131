// ZoStringList: a list of strings that owns them. It is also the callback
// through which a tokenised string hands over its pieces.
#ifndef ZOACTOR_FOUNDATION_ZOSTRINGLIST_H
#define ZOACTOR_FOUNDATION_ZOSTRINGLIST_H

#include <zoactor/ZoExport.h>
#include <zoactor/foundation/ZoCallBack.h>
#include <zoactor/foundation/ZoDblList.h>
#include <zoactor/foundation/ZoString.h>

// Receives the pieces of a tokenised string: Tokenize calls the one-pointer
// CallBack with a `ZoString const*` for every piece.
class ZOACTOR_API ZoStringTokenizerCallBack : public ZoCallBack {
 public:
  using ZoCallBack::CallBack;
  // Splits `text` at any of the characters of `separators` and hands every
  // non-empty piece, in order, to CallBack. Returns the number of pieces.
  int Tokenize(ZoString const& text, char const* separators);
};

class ZOACTOR_API ZoStringList : public ZoDblList, public ZoStringTokenizerCallBack {
 public:
  ZoStringList() = default;
  // Deep copies: the new list owns copies of the strings.
  ZoStringList(ZoStringList const& other);
  ZoStringList& operator=(ZoStringList const& other);
  ~ZoStringList() override;

  // Removes and deletes all strings.
  void Clear() override;
  using ZoDblList::Clear;

  // Appends a copy of `text` at the end; returns its node (null when no
  // memory could be had).
  virtual ZoDblListItem* AppendString(ZoString const& text);
  // The node of the first string equal to `text` (case-sensitive), or null.
  virtual ZoDblListItem* FindString(ZoString const& text) const;
  // Sorts the strings by unsigned bytes: ascending when `ascending` is
  // non-zero, else descending. Equal strings keep their order.
  virtual void Sort(int ascending);

  // The string held by a node of this list.
  static ZoString* StringAt(ZoDblListItem* node) { return static_cast<ZoString*>(node->Item()); }

  // Tokenisation appends each piece.
  int CallBack(void* piece) override;
};

#endif
