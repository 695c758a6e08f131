// ZoString: a string with value semantics over a shared, reference-counted
// representation. Copies share the representation; every modification first
// makes it private (copy on write). Text is handled as bytes with ASCII rules
// and the C locale, whatever the process locale is.
#ifndef ZOACTOR_FOUNDATION_ZOSTRING_H
#define ZOACTOR_FOUNDATION_ZOSTRING_H

#include <zoactor/ZoExport.h>

#include <atomic>
#include <cstdint>

// The type of NULL_STRING: stands for the empty string in assignments and
// comparisons (`s = NULL_STRING`, `s == NULL_STRING` tests for emptiness).
class ZOACTOR_API ZoNullString {};

extern ZOACTOR_API ZoNullString const NULL_STRING;

// The shared representation of a ZoString. `chars` is always terminated by a
// zero byte; `length` excludes the terminator; `capacity` counts characters
// that fit without the terminator. The static null representation is never
// counted and never freed; every other one is freed when its count drops to 0.
class ZOACTOR_API ZoStringRef {
 public:
  // Minimum capacity of a representation made without text.
  static int32_t const nNumPadChars;

  // A private, empty representation able to hold `capacity` characters.
  explicit ZoStringRef(int32_t capacity);
  // A private copy of `other`'s text (count 1).
  ZoStringRef(ZoStringRef const& other);
  ~ZoStringRef();
  ZoStringRef& operator=(ZoStringRef const&) = delete;

  // Replaces this representation's text with `other`'s, growing if needed.
  void MakeCopy(ZoStringRef const& other);
  // Upper-cases the characters in place (ASCII a-z only).
  void ConvertToUpper();
  // Returns a representation that the caller may modify: this one when it is
  // not shared, otherwise a new private copy (one reference of this one is
  // then released on the caller's behalf).
  ZoStringRef* CopyOnWrite();

  char const* Chars() const { return chars; }
  int32_t Length() const { return length; }
  int32_t Capacity() const { return capacity; }
  int32_t RefCount() const { return refCount.load(std::memory_order_relaxed); }

  bool IsNull() const;
  void AddRef();
  // Drops one reference; frees the representation when it was the last one.
  void Release();

 private:
  friend class ZoString;
  struct NullTag {};
  constexpr explicit ZoStringRef(NullTag) : chars(const_cast<char*>("")), length(0), capacity(0), refCount(1) {}
  // Makes room for `needed` characters, keeping the text.
  bool Reserve(int32_t needed);

  char* chars;
  int32_t length;
  int32_t capacity;
  std::atomic<int32_t> refCount;
};

class ZOACTOR_API ZoString {
 public:
  // The representation shared by every empty string made without text.
  static ZoStringRef zosrNullInitializer;

  ZoString() : ref(&zosrNullInitializer) {}
  ZoString(char const* text);  // NOLINT: implicit by design, so that text literals pass as strings
  ZoString(char const* text, int32_t count);
  ZoString(ZoString const& other);
  ZoString(ZoString&& other) noexcept;
  ZoString(ZoNullString const&) : ref(&zosrNullInitializer) {}  // NOLINT
  // The decimal text of `number`.
  explicit ZoString(int number);
  ~ZoString();

  ZoString& operator=(ZoString const& other);
  ZoString& operator=(ZoString&& other) noexcept;
  ZoString& operator=(char const* text);
  ZoString& operator=(ZoNullString const&);

  operator char const*() const { return ref->chars; }  // NOLINT: implicit by design
  char const* c_str() const { return ref->chars; }
  int32_t Length() const { return ref->length; }
  bool IsEmpty() const { return ref->length == 0; }
  char operator[](int32_t index) const { return ref->chars[index]; }

  // Case-sensitive equality of the texts.
  bool operator==(ZoString const& other) const;
  bool operator!=(ZoString const& other) const { return !(*this == other); }
  bool operator==(char const* other) const;
  bool operator!=(char const* other) const { return !(*this == other); }
  // Against NULL_STRING: true when this string is (or is not) empty.
  bool operator==(ZoNullString const&) const { return ref->length == 0; }
  bool operator!=(ZoNullString const&) const { return ref->length != 0; }

  // Negative, 0 or positive as this text sorts before, equal to or after
  // `other`, comparing unsigned bytes.
  int Compare(ZoString const& other) const;
  // As Compare, ignoring ASCII case.
  int CompareNoCase(ZoString const& other) const;

  // The numeric value of the text: leading blanks are skipped and the longest
  // decimal prefix is read in the C locale; 0 when there is none.
  operator float() const;  // NOLINT: implicit by design

  ZoString operator+(ZoString const& other) const;
  // Appends to this string in place and returns it.
  ZoString& operator<<(ZoString const& other);
  ZoString& operator<<(char const* text);
  ZoString& operator<<(char c);
  ZoString& operator<<(int number);

  // Replaces the text with the printf-style formatting of the arguments, in
  // the C locale. Returns the new length, or -1 when formatting failed (the
  // text is then empty).
  int Format(char const* format, ...) __attribute__((format(printf, 2, 3)));

  // Splits a path into drive ("C:" only: a letter and a colon), directory
  // (up to and including the last separator), base name, and extension (from
  // the last dot of the last component, dot included). Both '\' and '/'
  // separate; the separators given are kept. A null pointer skips a part.
  void SplitPath(ZoString* drive, ZoString* directory, ZoString* name, ZoString* extension) const;

  // Upper-cases the text in place (ASCII rules), privatising it first.
  void ToUpper();
  // An upper-cased copy.
  ZoString Upper() const;
  // True when the texts are equal ignoring ASCII case.
  bool EqualsNoCase(ZoString const& other) const;

  // The substring of `count` characters from `start`, clamped to the text.
  ZoString Mid(int32_t start, int32_t count) const;
  // Index of the first occurrence of `c` at or after `from`, or -1.
  int32_t Find(char c, int32_t from = 0) const;
  // Index of the last occurrence of `c`, or -1.
  int32_t ReverseFind(char c) const;

  ZoStringRef const* Ref() const { return ref; }

 private:
  void Assign(char const* text, int32_t count);
  void Append(char const* text, int32_t count);
  // Makes the representation private and able to hold `needed` characters.
  bool MakeWritable(int32_t needed);

  ZoStringRef* ref;
};

ZOACTOR_API bool operator==(char const* a, ZoString const& b);
ZOACTOR_API bool operator!=(char const* a, ZoString const& b);

#endif
