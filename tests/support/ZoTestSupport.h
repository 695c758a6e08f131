// Helpers shared by the tests: building expected byte strings by hand from
// field lists, temporary folders, and a reference-counting engine object.
#ifndef ZOACTOR_TESTS_SUPPORT_ZOTESTSUPPORT_H
#define ZOACTOR_TESTS_SUPPORT_ZOTESTSUPPORT_H

#include <zoactor/foundation/ZoAi.h>
#include <zoactor/foundation/ZoPlatform.h>
#include <zoactor/foundation/ZoString.h>
#include <zoactor/foundation/ZoStringList.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace zotest {

using Bytes = std::vector<uint8_t>;

// Builds a little-endian byte string field by field, independently of the
// library's own writers.
class ByteBuilder {
 public:
  ByteBuilder& u8(uint8_t v) { bytes.push_back(v); return *this; }
  ByteBuilder& i16(int16_t v) { return le(static_cast<uint16_t>(v), 2); }
  ByteBuilder& u16(uint16_t v) { return le(v, 2); }
  ByteBuilder& i32(int32_t v) { return le(static_cast<uint32_t>(v), 4); }
  ByteBuilder& u32(uint32_t v) { return le(v, 4); }
  ByteBuilder& f32(float v) { uint32_t bits; std::memcpy(&bits, &v, 4); return le(bits, 4); }
  ByteBuilder& f64(double v) { uint64_t bits; std::memcpy(&bits, &v, 8); return le(bits, 8); }
  // Characters as they are, no length, no terminator.
  ByteBuilder& chars(char const* text) { while (*text) bytes.push_back(static_cast<uint8_t>(*text++)); return *this; }
  // An int32 length followed by the characters.
  ByteBuilder& str(char const* text) { i32(static_cast<int32_t>(std::strlen(text))); return chars(text); }
  ByteBuilder& raw(std::initializer_list<uint8_t> list) { bytes.insert(bytes.end(), list); return *this; }
  ByteBuilder& append(Bytes const& more) { bytes.insert(bytes.end(), more.begin(), more.end()); return *this; }
  Bytes const& get() const { return bytes; }
  operator Bytes const&() const { return bytes; }  // NOLINT

 private:
  ByteBuilder& le(uint64_t v, int n) {
    for (int i = 0; i < n; ++i) bytes.push_back(static_cast<uint8_t>(v >> (8 * i)));
    return *this;
  }
  Bytes bytes;
};

// `size` bytes of a pattern that does not repeat every 256 bytes, so that a
// byte read from the wrong place shows.
inline Bytes Counting(size_t size) {
  Bytes bytes(size);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 13 + i / 251);
  return bytes;
}

// Bytes from a buffer.
inline Bytes ToBytes(void const* data, size_t size) {
  auto const* p = static_cast<uint8_t const*>(data);
  return Bytes(p, p + size);
}

// The bytes of a golden file under tests/data/ (empty, and a test failure,
// when it cannot be read).
Bytes DataFile(std::string const& relative);

// A readable rendering of bytes for failure messages ("FE FF FF FF").
std::string Hex(Bytes const& bytes);

// The texts of a string list, in order.
std::vector<std::string> Texts(ZoStringList const& list);

// An engine object (user data) that counts its references and releases; it
// never deletes itself.
class CountingAi : public ZoAi {
 public:
  int GetInterfaceName(char* buffer, int size, int& major, int& minor) override {
    major = minor = 1;
    if (size > 0) buffer[0] = '\0';
    return 0;
  }
  int32_t AddRef() override { return ++references; }
  int32_t Release() override {
    ++releases;
    return --references;
  }
  int32_t references = 1;
  int32_t releases = 0;
};

// A fresh folder under the system's temporary folder, removed with its
// contents when the object goes.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(TempFolder const&) = delete;
  TempFolder& operator=(TempFolder const&) = delete;

  std::string const& path() const { return root; }
  // `root`/`relative`.
  std::string operator/(std::string const& relative) const { return root + "/" + relative; }
  // Writes a file (creating its folders) and returns its path.
  std::string WriteFile(std::string const& relative, Bytes const& content) const;
  Bytes ReadFile(std::string const& relative) const;

 private:
  std::string root;
};

}  // namespace zotest

#endif
