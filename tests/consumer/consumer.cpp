// Writes a string through a memory stream and reads it back, then reads a
// framed integer value from its bytes through the type registry, using only
// the library's public headers. The program names nothing of the values
// subsystem, so the read also shows that a static library was linked whole
// (its type registrations kept).
#include <zoactor/zoactor.h>

#include <cstdio>
#include <memory>

namespace {

bool StringsRoundTrip() {
  ZoMemoryStream stream;
  stream << ZoString("consumer") << int32_t{106};
  int32_t length = 0;
  char* bytes = stream.GetBuffer(length);
  ZoMemoryStream reader(bytes, length);
  ZoString text;
  int32_t number = 0;
  reader >> text >> number;
  ::operator delete(bytes);
  return reader.Status() == ZoStreamOk && text == "consumer" && number == 106;
}

bool RegistryReadsAFramedValue() {
  // A sized frame: -1, the code "tnIV", a declared size of 4, the value 7.
  char bytes[] = {'\xFF', '\xFF', '\xFF', '\xFF', 't', 'n', 'I', 'V', 4, 0, 0, 0, 7, 0, 0, 0};
  ZoMemoryStream reader(bytes, static_cast<int32_t>(sizeof bytes));
  std::unique_ptr<ZoStreamObject> value(reader.ReadObject(nullptr));
  return reader.Status() == ZoStreamOk && value != nullptr && value->StreamType() == ZoTypeCode::IntValue;
}

}  // namespace

int main() {
  bool ok = StringsRoundTrip() && RegistryReadsAFramedValue();
  std::printf("zoactor %s: %s\n", ZoActorVersion(), ok ? "ok" : "FAILED");
  return ok ? 0 : 1;
}
