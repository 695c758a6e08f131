// Shared by the harnesses that read an object, write it back, read that
// again and write it again: the two writes must agree, so a reader and its
// writer stay each other's inverse on whatever a reader accepts.
#ifndef ZOACTOR_FUZZ_ZOROUNDTRIPFUZZ_H
#define ZOACTOR_FUZZ_ZOROUNDTRIPFUZZ_H

#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/actor/ZoRef.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/skeleton/ZoProtoNode.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace zoroundtrip {

// The largest input the harnesses read.
constexpr size_t kMaxInput = 1u << 20;

inline void Check(bool condition, char const* what) {
  if (!condition) {
    std::fprintf(stderr, "%s\n", what);
    std::abort();
  }
}

// Releases actors and skills, deletes anything else.
struct Dispose {
  void operator()(ZoStreamObject* object) const {
    if (auto* actor = dynamic_cast<ZoProtoActor*>(object)) {
      actor->Release();
    } else if (auto* skill = dynamic_cast<ZoProtoSkill*>(object)) {
      skill->Release();
    } else {
      delete object;
    }
  }
};
using Owned = std::unique_ptr<ZoStreamObject, Dispose>;

// True when reading `object` back rebuilds a sphere tree from a stored
// triangle set (a node of model format 3 anywhere inside it), which
// reorders triangles: such objects may write other bytes of the same size.
inline bool RebuildsOnRead(ZoStreamObject const* object, int depth = 0) {
  if (object == nullptr || depth > 512) return false;
  if (auto const* node = dynamic_cast<ZoProtoNode const*>(object)) {
    if (node->GetModelFormat() == ZoProtoNode::SetRebuildTree) return true;
    for (ZoTreeNode const* child = node->firstChild(); child != nullptr; child = child->nextSibling())
      if (RebuildsOnRead(dynamic_cast<ZoProtoNode const*>(child), depth + 1)) return true;
    return false;
  }
  if (auto const* actor = dynamic_cast<ZoProtoActor const*>(object)) return RebuildsOnRead(actor->RootNode(), depth + 1);
  if (auto const* skill = dynamic_cast<ZoProtoSkill const*>(object)) {
    ZoDblList const* records = skill->SubclassData();
    ZoDblListItem* cursor = nullptr;
    for (void* item = records != nullptr ? records->GetFirst(cursor) : nullptr; item != nullptr;
         item = records->GetNext(cursor))
      if (RebuildsOnRead(static_cast<ZoStreamObject const*>(item), depth + 1)) return true;
  }
  return false;
}

// Reads a bare body of class T; null when the read fails.
template <class T>
ZoStreamObject* ReadBody(ZoMemoryStream& in) {
  ZoRef<T> object(new T);
  return (in >> *object).Status() == ZoStreamOk ? object.release() : nullptr;
}

template <class T>
void WriteBody(ZoMemoryStream& out, ZoStreamObject const& object) {
  out << static_cast<T const&>(object);
}

// The bytes `write` puts into a growable stream; aborts when it fails.
template <class Write>
std::vector<char> Written(Write const& write, ZoStreamObject const& object) {
  ZoMemoryStream out;
  write(out, object);
  int32_t length = 0;
  char* bytes = out.GetBuffer(length);
  std::vector<char> copy(bytes, bytes + length);
  ::operator delete(bytes);
  Check(out.Status() == ZoStreamOk, "the library could not write back what it read");
  return copy;
}

// Writes `object`, reads that back with `read` (null when refused) and
// writes it again: aborts unless the read succeeds and the two writes agree.
template <class Read, class Write>
void CheckRoundTrip(ZoStreamObject const& object, Read const& read, Write const& write) {
  std::vector<char> first = Written(write, object);
  ZoMemoryStream again(first.data(), static_cast<int32_t>(first.size()));
  Owned reread(read(again));
  Check(reread != nullptr, "an object written by the library does not read back");
  std::vector<char> second = Written(write, *reread);
  Check(second.size() == first.size() && (second == first || RebuildsOnRead(reread.get())),
        "an object read back writes different bytes");
}

// Reads an object from `in` with `read` and checks the round trip of whatever
// reads whole.
template <class Read, class Write>
void ReadAndCheck(ZoMemoryStream& in, Read const& read, Write const& write) {
  Owned object(read(in));
  if (object != nullptr) CheckRoundTrip(*object, read, write);
}

// The entry of a harness that reads the fuzzer's bytes as a whole file of
// class T with `Read` and writes it with `Write`; a refused file must say why.
template <class T, T* (*Read)(ZoStream&, ZoReadReport*), ZoStreamError (*Write)(ZoStream&, T const*)>
int RunFileHarness(uint8_t const* data, size_t size) {
  auto read = [](ZoMemoryStream& in) -> ZoStreamObject* {
    ZoReadReport report;
    T* object = Read(in, &report);
    Check(object != nullptr || report.Failed(), "a refused file does not say why");
    return object;
  };
  auto write = [](ZoMemoryStream& out, ZoStreamObject const& object) { Write(out, static_cast<T const*>(&object)); };
  if (size > kMaxInput) return 0;
  std::vector<uint8_t> input(data, data + size);
  ZoMemoryStream in(input.data(), static_cast<int32_t>(input.size()));
  ReadAndCheck(in, read, write);
  return 0;
}

}  // namespace zoroundtrip

#endif
