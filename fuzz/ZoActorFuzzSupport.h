// Shared by the actor and skill harnesses: writing an object back and
// deciding when two writes may differ.
#ifndef ZOACTOR_FUZZ_ZOACTORFUZZSUPPORT_H
#define ZOACTOR_FUZZ_ZOACTORFUZZSUPPORT_H

#include <zoactor/actor/ZoProtoActor.h>
#include <zoactor/actor/ZoProtoSkill.h>
#include <zoactor/serialization/ZoMemoryStream.h>
#include <zoactor/skeleton/ZoProtoNode.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace zoactorfuzz {

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

// The bytes a writer put into a growable stream; aborts when it failed.
inline std::vector<char> Taken(ZoMemoryStream& out) {
  int32_t length = 0;
  char* bytes = out.GetBuffer(length);
  std::vector<char> copy(bytes, bytes + length);
  ::operator delete(bytes);
  if (out.Status() != ZoStreamOk) {
    std::fprintf(stderr, "the library could not write back what it read\n");
    std::abort();
  }
  return copy;
}

// Aborts unless two writes agree (or may differ only by a tree rebuild).
inline void ExpectSameWrites(std::vector<char> const& first, std::vector<char> const& second,
                             ZoStreamObject const* reread) {
  if (second.size() != first.size() || (second != first && !RebuildsOnRead(reread))) {
    std::fprintf(stderr, "an object read back writes different bytes\n");
    std::abort();
  }
}

// Releases actors and skills, deletes anything else.
inline void Dispose(ZoStreamObject* object) {
  if (auto* actor = dynamic_cast<ZoProtoActor*>(object)) {
    actor->Release();
  } else if (auto* skill = dynamic_cast<ZoProtoSkill*>(object)) {
    skill->Release();
  } else {
    delete object;
  }
}

}  // namespace zoactorfuzz

#endif
