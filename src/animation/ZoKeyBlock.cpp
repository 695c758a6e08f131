#include "animation/ZoKeyBlock.h"

#include <atomic>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
#define ZO_KEY_BLOCKS_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZO_KEY_BLOCKS_UNDER_ASAN 1
#endif
#endif

namespace zokeyblock {

// A block: its count of live pieces, then the pieces, each behind its
// header. While a carver carves the block the count is kCarving less the
// pieces deleted so far: the carver counts the pieces it carves itself and
// hands them over in one step when it lets the block go, which spares an
// atomic operation per piece and keeps the count above 0 meanwhile.
struct alignas(kPieceAlign) Block {
  std::atomic<int64_t> live;
};

namespace {

// Far above the pieces any block can hold.
constexpr int64_t kCarving = int64_t{1} << 40;

// How far ahead of the pieces being filled a carver asks for memory, in
// cache lines of kLine bytes.
constexpr size_t kLine = 64;
constexpr size_t kWriteAhead = 8 * kLine;

}  // namespace

namespace {

// The word in front of every piece. Eight bytes keep keys and nodes (whose
// members need at most eight) aligned, and keep a key or node allocated
// alone in the allocator's size class it had without a header.
struct Header {
  Block* block;
};
static_assert(sizeof(Header) == kPieceAlign, "a header keeps the piece behind it aligned");

constexpr size_t Rounded(size_t size) { return (size + kPieceAlign - 1) / kPieceAlign * kPieceAlign; }

Header* HeaderOf(void* object) { return static_cast<Header*>(object) - 1; }

void Drop(Block* block) noexcept {
  if (block->live.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    block->~Block();
    ::operator delete(block);
  }
}

}  // namespace

void* AllocateAlone(size_t size) noexcept {
  void* room = ::operator new(sizeof(Header) + size, std::nothrow);
  if (room == nullptr) return nullptr;
  Header* header = ::new (room) Header{nullptr};
  return header + 1;
}

void Release(void* object) noexcept {
  if (object == nullptr) return;
  Header* header = HeaderOf(object);
  if (header->block == nullptr) {
    ::operator delete(header);
  } else {
    Drop(header->block);
  }
}

void Carver::LetGo() noexcept {
  if (block == nullptr) return;
  int64_t const handed = kCarving - carved;
  if (block->live.fetch_sub(handed, std::memory_order_acq_rel) == handed) {
    block->~Block();
    ::operator delete(block);
  }
  block = nullptr;
}

Carver::~Carver() { LetGo(); }

size_t PieceBytes(size_t size) { return sizeof(Header) + Rounded(size); }

void* Carver::Carve(size_t size, size_t wanted) noexcept {
#ifdef ZO_KEY_BLOCKS_UNDER_ASAN
  // Under AddressSanitizer every piece is allocated alone, so that a key or
  // node used after it was deleted is caught as for any other object.
  (void)wanted;
  return AllocateAlone(size);
#endif
  size_t const piece = PieceBytes(size);
  if (block == nullptr || static_cast<size_t>(end - next) < piece) {
    size_t const most = kMaxBlockBytes - sizeof(Block);
    size_t room = wanted < most ? wanted : most;
    if (room < piece) room = piece;
    size_t bytes = sizeof(Block) + room;
    void* fresh = ::operator new(bytes, std::nothrow);
    if (fresh == nullptr) return nullptr;
    LetGo();
    block = ::new (fresh) Block{};
    block->live.store(kCarving, std::memory_order_relaxed);
    carved = 0;
    next = static_cast<char*>(fresh) + sizeof(Block);
    end = static_cast<char*>(fresh) + bytes;
  }
  Header* header = ::new (next) Header{block};
  next += piece;
  ++carved;
  // A block is fresh memory written front to back: ask for the lines a
  // couple of pieces ahead for writing now, so that their transfers overlap
  // with the filling of this one instead of stalling it.
  for (size_t line = 0; line < piece && next + kWriteAhead + line < end; line += kLine)
    __builtin_prefetch(next + kWriteAhead + line, 1);
  return header + 1;
}

}  // namespace zokeyblock
