// Reads a chunked container from arbitrary bytes, as a memory block and as a
// file (header first, through the 2048-byte read buffer), with a registered
// object type among the records. The records read are written into a new
// container and read back in the same order: the two reads must agree.
#include <zoactor/serialization/ZoFile.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

// One record as read: an object, a string, or a short and a float.
struct Record {
  enum Kind { Object, Text, Numbers } kind = Numbers;
  int32_t number = 0;
  uint32_t bits = 0;
  std::string text;
  bool operator==(Record const& o) const {
    return kind == o.kind && number == o.number && bits == o.bits && text == o.text;
  }
};

bool ReadRecord(ZoFile& file, Record::Kind kind, Record& record) {
  record = Record();
  record.kind = kind;
  if (kind == Record::Object) {
    ZoFileObject* object = file.ReadObject();
    auto* pair = dynamic_cast<Pair*>(object);
    if (pair != nullptr) {
      record.number = pair->number;
      record.text = pair->text.c_str();
    }
    delete object;
    return pair != nullptr;
  }
  if (kind == Record::Text) {
    ZoString text;
    if (file.Read(text) == 0) return false;
    record.text = text.c_str();
    return true;
  }
  int16_t a = 0;
  float b = 0;
  if (file.Read(a) == 0 || file.Read(b) == 0) return false;
  record.number = a;
  std::memcpy(&record.bits, &b, 4);
  return true;
}

// Reads records until one fails; the peeked type decides each record's kind.
std::vector<Record> ReadAll(ZoFile& file) {
  std::vector<Record> records;
  for (int i = 0; i < 256; ++i) {
    ZoFileType type;
    if (file.PeekType(type) == 0) break;
    Record::Kind kind = type == ZoFileType("Pair")                    ? Record::Object
                        : (static_cast<int32_t>(type) & 0xFF) < 0x20 ? Record::Text
                                                                      : Record::Numbers;
    Record record;
    if (!ReadRecord(file, kind, record)) break;
    records.push_back(record);
  }
  return records;
}

void CheckRoundTrip(std::vector<Record> const& records) {
  ZoFile out;
  out.Open(1, nullptr, 0);
  for (Record const& r : records) {
    if (r.kind == Record::Object) {
      Pair pair;
      pair.number = r.number;
      pair.text = r.text.c_str();
      out.Write(pair);
    } else if (r.kind == Record::Text) {
      out.Write(ZoString(r.text.c_str()));
    } else {
      float b;
      std::memcpy(&b, &r.bits, 4);
      out.Write(static_cast<int16_t>(r.number));
      out.Write(b);
    }
  }
  int length = 0;
  char* bytes = out.GetBuffer(length);
  std::vector<char> copy(bytes, bytes + length);
  out.Close();
  ZoFile in;
  in.Open(0, copy.data(), static_cast<int>(copy.size()));
  for (Record const& r : records) {
    Record again;
    if (!ReadRecord(in, r.kind, again) || !(again == r)) {
      std::fprintf(stderr, "a container record does not read back as written\n");
      std::abort();
    }
  }
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
  if (memory.Open(0, block.data(), static_cast<int>(block.size())) == 1) CheckRoundTrip(ReadAll(memory));

  int fd = ::memfd_create("container", 0);
  if (fd < 0) return 0;
  if (size == 0 || ::write(fd, data, size) == static_cast<ssize_t>(size)) {
    std::string name = "/proc/self/fd/" + std::to_string(fd);
    ZoFile file;
    if (file.Open(ZoString(name.c_str()), 0) == 1) CheckRoundTrip(ReadAll(file));
  }
  ::close(fd);
  return 0;
}
