// Storage for keyframes and key-list nodes (private to the library).
//
// Every keyframe and every list node is allocated with a header in front of
// it that names the block it was carved from, or none when it was allocated
// alone. A list that reads its keys carves them, with their nodes, out of a
// few blocks instead of allocating twice per key; `delete` of a key or a
// node works the same either way: one alone is freed, one in a block
// drops the block's count of live pieces, and the last piece to go frees
// the block. Ownership is therefore exactly that of separately allocated
// objects: a key taken out with Remove, or replaced by Insert, is deleted
// by whoever owns it, whenever, on any thread.
//
// Edge cases:
//   - A block lives as long as any piece carved from it: a key kept after
//     its list is gone keeps its block's memory (at most kMaxBlockBytes).
//   - The count of live pieces is atomic, so pieces of one block may be
//     deleted on different threads.
//   - Built with AddressSanitizer, a carver allocates every piece alone, so
//     that a use after delete is caught; ownership and results are the same.
#ifndef ZOACTOR_SRC_ANIMATION_ZOKEYBLOCK_H
#define ZOACTOR_SRC_ANIMATION_ZOKEYBLOCK_H

#include <cstddef>
#include <cstdint>

namespace zokeyblock {

// The largest block a carver allocates (below the allocator's threshold for
// mapping pages of its own).
constexpr size_t kMaxBlockBytes = 64 * 1024;
// The alignment of every piece: objects placed here may need no more.
constexpr size_t kPieceAlign = 8;

// Room for `size` bytes with a header of its own: the object's address, or
// null when no memory could be had.
void* AllocateAlone(size_t size) noexcept;
// Frees an object's storage from AllocateAlone or a carver (null allowed).
void Release(void* object) noexcept;

struct Block;

// The bytes a piece of `size` bytes takes in a block, its header included.
size_t PieceBytes(size_t size);

// Carves pieces for one reader out of blocks it allocates as it goes.
class Carver {
 public:
  Carver() = default;
  // Lets go of the block being carved; the block is freed now when no
  // piece of it is alive.
  ~Carver();
  Carver(Carver const&) = delete;
  Carver& operator=(Carver const&) = delete;

  // Room for `size` bytes, from the current block or from a new one with
  // room for `wanted` bytes of pieces (PieceBytes each; at least this one,
  // at most kMaxBlockBytes in all); null when no memory could be had. The
  // piece counts as alive until Release.
  void* Carve(size_t size, size_t wanted) noexcept;

 private:
  // Hands the pieces carved from the block over to it and lets it go (it is
  // freed now when none of them is alive).
  void LetGo() noexcept;

  Block* block = nullptr;
  // The pieces carved from `block`.
  int64_t carved = 0;
  char* next = nullptr;
  char* end = nullptr;
};

}  // namespace zokeyblock

#endif
