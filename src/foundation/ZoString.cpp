#include <zoactor/foundation/ZoString.h>

#include "foundation/ZoCLocale.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <charconv>

ZoNullString const NULL_STRING{};

int32_t const ZoStringRef::nNumPadChars = 15;

ZoStringRef ZoString::zosrNullInitializer{ZoStringRef::NullTag{}};

namespace {

char* AllocateChars(int32_t capacity) {
  char* chars = new (std::nothrow) char[static_cast<size_t>(capacity) + 1];
  if (chars != nullptr) chars[0] = '\0';
  return chars;
}

inline char AsciiUpper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

int32_t LengthOf(char const* text) {
  if (text == nullptr) return 0;
  size_t n = std::strlen(text);
  return n > INT32_MAX ? INT32_MAX : static_cast<int32_t>(n);
}

}  // namespace

// --- ZoStringRef ----------------------------------------------------------

ZoStringRef::ZoStringRef(int32_t cap) : chars(nullptr), length(0), capacity(0), refCount(1) {
  if (cap < nNumPadChars) cap = nNumPadChars;
  chars = AllocateChars(cap);
  if (chars == nullptr) {
    chars = const_cast<char*>("");
  } else {
    capacity = cap;
  }
}

ZoStringRef::ZoStringRef(ZoStringRef const& other) : ZoStringRef(other.length) { MakeCopy(other); }

ZoStringRef::~ZoStringRef() {
  if (capacity > 0) delete[] chars;
}

bool ZoStringRef::IsNull() const { return this == &ZoString::zosrNullInitializer; }

void ZoStringRef::AddRef() {
  if (!IsNull()) refCount.fetch_add(1, std::memory_order_relaxed);
}

void ZoStringRef::Release() {
  if (IsNull()) return;
  if (refCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

bool ZoStringRef::Reserve(int32_t needed) {
  if (needed <= capacity) return true;
  int64_t grown = static_cast<int64_t>(capacity) * 2;
  int64_t target = grown > needed ? grown : needed;
  if (target > INT32_MAX - 1) target = INT32_MAX - 1;
  if (target < needed) return false;
  char* fresh = AllocateChars(static_cast<int32_t>(target));
  if (fresh == nullptr) return false;
  std::memcpy(fresh, chars, static_cast<size_t>(length) + 1);
  if (capacity > 0) delete[] chars;
  chars = fresh;
  capacity = static_cast<int32_t>(target);
  return true;
}

void ZoStringRef::MakeCopy(ZoStringRef const& other) {
  if (&other == this) return;
  if (!Reserve(other.length)) return;
  std::memcpy(chars, other.chars, static_cast<size_t>(other.length) + 1);
  length = other.length;
}

void ZoStringRef::ConvertToUpper() {
  for (int32_t i = 0; i < length; ++i) chars[i] = AsciiUpper(chars[i]);
}

ZoStringRef* ZoStringRef::CopyOnWrite() {
  if (IsNull()) return new (std::nothrow) ZoStringRef(nNumPadChars);
  if (RefCount() < 2) return this;
  ZoStringRef* copy = new (std::nothrow) ZoStringRef(*this);
  if (copy == nullptr) return nullptr;
  Release();
  return copy;
}

// --- ZoString ---------------------------------------------------------------

ZoString::ZoString(char const* text) : ref(&zosrNullInitializer) { Assign(text, LengthOf(text)); }

ZoString::ZoString(char const* text, int32_t count) : ref(&zosrNullInitializer) {
  Assign(text, text == nullptr || count < 0 ? 0 : count);
}

ZoString::ZoString(ZoString const& other) : ref(other.ref) { ref->AddRef(); }

ZoString::ZoString(ZoString&& other) noexcept : ref(other.ref) { other.ref = &zosrNullInitializer; }

ZoString::ZoString(int number) : ref(&zosrNullInitializer) {
  char digits[16];
  auto result = std::to_chars(digits, digits + sizeof digits, number);
  Assign(digits, static_cast<int32_t>(result.ptr - digits));
}

ZoString::~ZoString() { ref->Release(); }

ZoString& ZoString::operator=(ZoString const& other) {
  if (ref != other.ref) {
    other.ref->AddRef();
    ref->Release();
    ref = other.ref;
  }
  return *this;
}

ZoString& ZoString::operator=(ZoString&& other) noexcept {
  if (this != &other) {
    ref->Release();
    ref = other.ref;
    other.ref = &zosrNullInitializer;
  }
  return *this;
}

ZoString& ZoString::operator=(char const* text) {
  Assign(text, LengthOf(text));
  return *this;
}

ZoString& ZoString::operator=(ZoNullString const&) {
  ref->Release();
  ref = &zosrNullInitializer;
  return *this;
}

void ZoString::Assign(char const* text, int32_t count) {
  if (count <= 0) {
    ref->Release();
    ref = &zosrNullInitializer;
    return;
  }
  // The text may point into this string's own representation; build the new
  // representation before releasing the old one.
  ZoStringRef* fresh = new (std::nothrow) ZoStringRef(count);
  if (fresh == nullptr || fresh->capacity < count) {
    delete fresh;
    return;
  }
  std::memcpy(fresh->chars, text, static_cast<size_t>(count));
  fresh->chars[count] = '\0';
  fresh->length = count;
  ref->Release();
  ref = fresh;
}

bool ZoString::MakeWritable(int32_t needed) {
  ZoStringRef* writable = ref->CopyOnWrite();
  if (writable == nullptr) return false;
  ref = writable;
  return ref->Reserve(needed);
}

void ZoString::Append(char const* text, int32_t count) {
  if (text == nullptr || count <= 0) return;
  if (count > INT32_MAX - 1 - ref->length) return;
  // Appending a piece of this string to itself: keep the source alive while
  // the representation is replaced.
  bool aliases = text >= ref->chars && text <= ref->chars + ref->length;
  ZoString keep;
  if (aliases) keep = *this;
  int32_t total = ref->length + count;
  if (!MakeWritable(total)) return;
  std::memmove(ref->chars + ref->length, text, static_cast<size_t>(count));
  ref->length = total;
  ref->chars[total] = '\0';
}

bool ZoString::operator==(ZoString const& other) const {
  if (ref == other.ref) return true;
  return ref->length == other.ref->length &&
         std::memcmp(ref->chars, other.ref->chars, static_cast<size_t>(ref->length)) == 0;
}

bool ZoString::operator==(char const* other) const {
  if (other == nullptr) return ref->length == 0;
  return std::strcmp(ref->chars, other) == 0;
}

bool operator==(char const* a, ZoString const& b) { return b == a; }
bool operator!=(char const* a, ZoString const& b) { return !(b == a); }

int ZoString::Compare(ZoString const& other) const {
  int32_t shorter = ref->length < other.ref->length ? ref->length : other.ref->length;
  int order = std::memcmp(ref->chars, other.ref->chars, static_cast<size_t>(shorter));
  if (order != 0) return order < 0 ? -1 : 1;
  if (ref->length == other.ref->length) return 0;
  return ref->length < other.ref->length ? -1 : 1;
}

int ZoString::CompareNoCase(ZoString const& other) const {
  int32_t shorter = ref->length < other.ref->length ? ref->length : other.ref->length;
  for (int32_t i = 0; i < shorter; ++i) {
    auto a = static_cast<unsigned char>(AsciiUpper(ref->chars[i]));
    auto b = static_cast<unsigned char>(AsciiUpper(other.ref->chars[i]));
    if (a != b) return a < b ? -1 : 1;
  }
  if (ref->length == other.ref->length) return 0;
  return ref->length < other.ref->length ? -1 : 1;
}

bool ZoString::EqualsNoCase(ZoString const& other) const {
  return ref->length == other.ref->length && CompareNoCase(other) == 0;
}

ZoString::operator float() const {
  char const* p = ref->chars;
  char const* end = p + ref->length;
  while (p < end && (*p == ' ' || (*p >= '\t' && *p <= '\r'))) ++p;
  if (p < end && *p == '+') ++p;
  float value = 0.0f;
  auto result = std::from_chars(p, end, value);
  if (result.ec != std::errc()) return 0.0f;
  return value;
}

ZoString ZoString::operator+(ZoString const& other) const {
  ZoString sum(*this);
  sum << other;
  return sum;
}

ZoString& ZoString::operator<<(ZoString const& other) {
  if (ref->length == 0) return *this = other;
  Append(other.ref->chars, other.ref->length);
  return *this;
}

ZoString& ZoString::operator<<(char const* text) {
  Append(text, LengthOf(text));
  return *this;
}

ZoString& ZoString::operator<<(char c) {
  Append(&c, 1);
  return *this;
}

ZoString& ZoString::operator<<(int number) { return *this << ZoString(number); }

int ZoString::Format(char const* format, ...) {
  ZoCLocaleScope cLocale;
  char small[256];
  va_list args;
  va_start(args, format);
  int needed = std::vsnprintf(small, sizeof small, format, args);
  va_end(args);
  if (needed < 0) {
    *this = NULL_STRING;
    return -1;
  }
  if (static_cast<size_t>(needed) < sizeof small) {
    Assign(small, needed);
    return needed;
  }
  ZoStringRef* fresh = new (std::nothrow) ZoStringRef(needed);
  if (fresh == nullptr || fresh->capacity < needed) {
    delete fresh;
    *this = NULL_STRING;
    return -1;
  }
  va_start(args, format);
  std::vsnprintf(fresh->chars, static_cast<size_t>(needed) + 1, format, args);
  va_end(args);
  fresh->length = needed;
  ref->Release();
  ref = fresh;
  return needed;
}

void ZoString::SplitPath(ZoString* drive, ZoString* directory, ZoString* name, ZoString* extension) const {
  char const* text = ref->chars;
  int32_t length = ref->length;
  int32_t start = 0;
  char first = text[0];
  bool hasDrive = length >= 2 && text[1] == ':' &&
                  ((first >= 'A' && first <= 'Z') || (first >= 'a' && first <= 'z'));
  if (hasDrive) start = 2;
  // The directory runs up to and including the last separator of either kind.
  int32_t lastSeparator = -1;
  for (int32_t i = start; i < length; ++i)
    if (text[i] == '\\' || text[i] == '/') lastSeparator = i;
  int32_t nameStart = lastSeparator >= 0 ? lastSeparator + 1 : start;
  // The extension starts at the last dot of the last component.
  int32_t dot = -1;
  for (int32_t i = nameStart; i < length; ++i)
    if (text[i] == '.') dot = i;
  int32_t nameEnd = dot >= 0 ? dot : length;
  if (drive != nullptr) *drive = ZoString(text, start);
  if (directory != nullptr) *directory = ZoString(text + start, nameStart - start);
  if (name != nullptr) *name = ZoString(text + nameStart, nameEnd - nameStart);
  if (extension != nullptr) *extension = ZoString(text + nameEnd, length - nameEnd);
}

void ZoString::ToUpper() {
  // The null representation is replaced by a fresh empty one, a shared one by
  // a private copy, and the characters are then upper-cased in place.
  if (!MakeWritable(ref->length)) return;
  ref->ConvertToUpper();
}

ZoString ZoString::Upper() const {
  ZoString copy(*this);
  copy.ToUpper();
  return copy;
}

ZoString ZoString::Mid(int32_t start, int32_t count) const {
  if (start < 0) start = 0;
  if (start >= ref->length || count <= 0) return ZoString();
  if (count > ref->length - start) count = ref->length - start;
  return ZoString(ref->chars + start, count);
}

int32_t ZoString::Find(char c, int32_t from) const {
  if (from < 0) from = 0;
  for (int32_t i = from; i < ref->length; ++i)
    if (ref->chars[i] == c) return i;
  return -1;
}

int32_t ZoString::ReverseFind(char c) const {
  for (int32_t i = ref->length - 1; i >= 0; --i)
    if (ref->chars[i] == c) return i;
  return -1;
}
