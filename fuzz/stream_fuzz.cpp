// Reads framed objects of every registered class from arbitrary bytes. Each
// object read whole is written back, read again and written again: the two
// writes must agree, so a reader and its writer stay each other's inverse on
// whatever a reader accepts. The first byte chooses the stream version the
// input is read under (older layouts below 100).
#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/skeleton/ZoProtoNode.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/serialization/ZoStream.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

std::vector<char> WriteFramed(ZoStreamObject const* object) {
  ZoMemoryStream out;
  out.version = kZoCurrentVersion;
  out.WriteObject(object);
  int32_t length = 0;
  char* bytes = out.GetBuffer(length);
  std::vector<char> copy(bytes, bytes + length);
  ::operator delete(bytes);
  if (out.Status() != ZoStreamOk) std::abort();
  return copy;
}

// True when reading `object` back rebuilds a sphere tree from a stored
// triangle set: a node of model format 3, or one with such a descendant.
bool RebuildsOnRead(ZoStreamObject const& object) {
  auto const* root = dynamic_cast<ZoProtoNode const*>(&object);
  if (root == nullptr) return false;
  std::vector<ZoTreeNode const*> pending{root};
  while (!pending.empty()) {
    ZoTreeNode const* node = pending.back();
    pending.pop_back();
    auto const* proto = dynamic_cast<ZoProtoNode const*>(node);
    if (proto != nullptr && proto->GetModelFormat() == 3) return true;
    for (ZoTreeNode const* child = node->firstChild(); child != nullptr; child = child->nextSibling())
      pending.push_back(child);
  }
  return false;
}

void CheckRoundTrip(ZoStreamObject const& object) {
  std::vector<char> first = WriteFramed(&object);
  ZoMemoryStream again(first.data(), static_cast<int32_t>(first.size()));
  // An actor body starts with its version, which a reader takes only from a
  // stream whose version is not set yet.
  again.version = dynamic_cast<ZoProtoActor const*>(&object) != nullptr ? 0 : kZoCurrentVersion;
  std::unique_ptr<ZoStreamObject> reread(again.ReadObject(nullptr));
  if (reread == nullptr || again.Status() != ZoStreamOk) {
    std::fprintf(stderr, "an object written by the library does not read back\n");
    std::abort();
  }
  // Classes that rebuild a sphere tree when read (a triangle set stored
  // without its tree) reorder their triangles on every read, so their bytes
  // may move about; everything else must write back to the same bytes.
  std::vector<char> second = WriteFramed(reread.get());
  if (second.size() != first.size() || (second != first && !RebuildsOnRead(*reread))) {
    std::fprintf(stderr, "an object read back writes different bytes\n");
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  if (size < 1 || size > (1u << 20)) return 0;
  static int32_t const versions[] = {0, 27, 41, 42, 45, 47, 99, 100, 103, 104, 105, 106};
  std::vector<uint8_t> input(data + 1, data + size);
  ZoMemoryStream in(input.data(), static_cast<int32_t>(input.size()));
  in.version = versions[data[0] % (sizeof versions / sizeof versions[0])];

  for (int i = 0; i < 64 && in.Status() == ZoStreamOk && in.BytesLeft() >= 4; ++i) {
    std::unique_ptr<ZoStreamObject> object(in.ReadObject(nullptr));
    if (object != nullptr && in.Status() == ZoStreamOk) CheckRoundTrip(*object);
  }
  // Strings, with their own bound.
  ZoMemoryStream strings(input.data(), static_cast<int32_t>(input.size()));
  ZoString text;
  for (int i = 0; i < 16 && strings.Status() == ZoStreamOk; ++i) strings >> text;
  return 0;
}
