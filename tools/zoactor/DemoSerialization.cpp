// Demonstrates the stream format: primitives, strings and framed objects
// through a memory stream, and a chunked container file.
#include "Demo.h"

#include <zoactor/zoactor.h>

#include <cstdlib>
#include <string>

namespace {

void PrintBytes(std::FILE* out, char const* label, char const* bytes, int32_t length) {
  std::fprintf(out, "%s (%d bytes):", label, length);
  for (int32_t i = 0; i < length; ++i) std::fprintf(out, " %02X", static_cast<unsigned char>(bytes[i]));
  std::fprintf(out, "\n");
}

}  // namespace

namespace {

bool DemoSerialization(std::FILE* out) {
  bool ok = true;

  ZoMemoryStream stream;
  stream.version = kZoCurrentVersion;
  stream << int32_t{7} << 1.5f << ZoString("Hero");
  stream.WriteObject(nullptr);
  int32_t length = 0;
  char* bytes = stream.GetBuffer(length);
  PrintBytes(out, "int32 7, float 1.5, string \"Hero\", null object", bytes, length);

  ZoMemoryStream reader(bytes, length);
  int32_t number = 0;
  float real = 0;
  ZoString text;
  reader >> number >> real >> text;
  ZoStreamObject* none = reader.ReadObject(nullptr);
  std::fprintf(out, "read back: %d, %g, \"%s\", %s object; status %d\n", number, static_cast<double>(real),
               text.c_str(), none == nullptr ? "null" : "a", reader.Status());
  ok = ok && number == 7 && real == 1.5f && text == "Hero" && none == nullptr && reader.Status() == ZoStreamOk;
  ::operator delete(bytes);

  int32_t ignored = 0;
  reader >> ignored;
  std::fprintf(out, "reading past the end: status %d (read error)\n", reader.Status());
  ok = ok && reader.Status() == ZoStreamReadError;

  // A chunked container in a temporary folder.
  char folderTemplate[] = "/tmp/zoactor-demo-XXXXXX";
  char* folder = mkdtemp(folderTemplate);
  if (folder == nullptr) return false;
  ZoString fileName = ZoPlatform::JoinPath(ZoString(folder), ZoString("Demo.seq"));
  ZoFile container;
  container.Open(fileName, 1);
  container.SetType(ZoFileType("Sequ"));
  container.SetVersion(1);
  container.Write(int32_t{42});
  container.Write(ZoString("Hero"));
  container.Close();

  ZoFile again;
  int opened = again.Open(ZoString(folder) << "/DEMO.SEQ", 0);
  int32_t frames = 0;
  ZoString actor;
  again.Read(frames);
  again.Read(actor);
  std::fprintf(out, "container %s opened as DEMO.SEQ: %s, version %u, %d frames, actor \"%s\"\n",
               fileName.c_str(), opened != 0 ? "yes" : "no", again.GetVersion(), frames, actor.c_str());
  ok = ok && opened != 0 && again.GetType() == ZoFileType("Sequ") && frames == 42 && actor == "Hero";
  again.Close();
  ZoPlatform::DeleteFolder(ZoString(folder));
  return ok;
}

}  // namespace

ZO_DEMO_SECTION(20, "serialization", DemoSerialization);
