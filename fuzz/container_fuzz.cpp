// Reads a chunked container from arbitrary bytes, as a memory block and as a
// file (header first, through the 2048-byte read buffer), with a registered
// object type among the records. Each record read is written into a new
// container as it is read; that container is read the same way into another,
// and the two written containers must agree. The records of a file must be
// those of its bytes after the header read from memory.
#include <zoactor/serialization/ZoFile.h>

#include "ZoRoundTripFuzz.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

// A record of the type "Pair": an int and a string.
class Pair : public ZoFileObject {
 public:
  int32_t number = 0;
  ZoString text;
  ZoFileType TypeInFile() const override { return ZoFileType("Pair"); }
  int ReadFromFile(ZoFile& file) override { return file.Read(number) && file.Read(text) ? 1 : 0; }
  int WriteToFile(ZoFile& file) override { return file.Write(number) && file.Write(text) ? 1 : 0; }
  static ZoFileObject* Construct(ZoFile& file) {
    auto* pair = new Pair;
    if (pair->ReadFromFile(file) > 0) return pair;
    delete pair;
    return nullptr;
  }
};

// Copies one record from `in` to `out`: an object of type "Pair", a string
// (a peeked word whose low byte is below 0x20), or else a short and a float.
bool CopyRecord(ZoFile& in, ZoFile& out) {
  ZoFileType type;
  if (in.PeekType(type) == 0) return false;
  if (type == ZoFileType("Pair")) {
    ZoFileObject* object = in.ReadObject();
    auto* pair = dynamic_cast<Pair*>(object);
    if (pair != nullptr) out.Write(*pair);
    delete object;
    return pair != nullptr;
  }
  if ((static_cast<int32_t>(type) & 0xFF) < 0x20) {
    ZoString text;
    return in.Read(text) != 0 && out.Write(ZoString(text.c_str())) != 0;
  }
  int16_t number = 0;
  float value = 0;
  return in.Read(number) != 0 && in.Read(value) != 0 && out.Write(number) != 0 && out.Write(value) != 0;
}

// The records of `in` (up to 256, until one fails) written into a new
// memory container.
std::vector<char> CopyAll(ZoFile& in) {
  ZoFile out;
  out.Open(1, nullptr, 0);
  int copied = 0;
  while (copied < 256 && CopyRecord(in, out)) ++copied;
  int length = 0;
  char* bytes = out.GetBuffer(length);
  std::vector<char> copy(bytes, bytes + length);
  out.Close();
  return copy;
}

// Copies the records again from the copy: the second copy must be the
// first, which is returned.
std::vector<char> CheckRoundTrip(ZoFile& in) {
  std::vector<char> first = CopyAll(in);
  ZoFile again;
  again.Open(0, first.data(), static_cast<int>(first.size()));
  zoroundtrip::Check(CopyAll(again) == first, "a container record does not read back as written");
  return first;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  static bool const registered = [] {
    ZoFile::RegisterClass(&Pair::Construct, ZoFileType("Pair"));
    return true;
  }();
  (void)registered;
  if (size > (1u << 20)) return 0;

  std::vector<char> block(data, data + size);
  ZoFile memory;
  if (memory.Open(0, block.data(), static_cast<int>(block.size())) == 1) CheckRoundTrip(memory);

  int fd = ::memfd_create("container", 0);
  if (fd < 0) return 0;
  if (size == 0 || ::write(fd, data, size) == static_cast<ssize_t>(size)) {
    std::string name = "/proc/self/fd/" + std::to_string(fd);
    ZoFile file;
    if (file.Open(ZoString(name.c_str()), 0) == 1) {
      std::vector<char> fromFile = CheckRoundTrip(file);
      ZoFile body;
      body.Open(0, block.data() + 16, static_cast<int>(size - 16));
      zoroundtrip::Check(CopyAll(body) == fromFile, "a file gives other records than its bytes in memory");
    }
  }
  ::close(fd);
  return 0;
}
