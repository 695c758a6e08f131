// Writes a string through a memory stream and reads it back, using only the
// installed headers and library.
#include <zoactor/zoactor.h>

#include <cstdio>

int main() {
  ZoMemoryStream stream;
  stream << ZoString("installed") << int32_t{106};
  int32_t length = 0;
  char* bytes = stream.GetBuffer(length);
  ZoMemoryStream reader(bytes, length);
  ZoString text;
  int32_t number = 0;
  reader >> text >> number;
  ::operator delete(bytes);
  bool ok = reader.Status() == ZoStreamOk && text == "installed" && number == 106;
  std::printf("zoactor %s: %s\n", ZoActorVersion(), ok ? "ok" : "FAILED");
  return ok ? 0 : 1;
}
