#pragma once

#include <cstddef>
#include <memory>

namespace quern {

// Zeroed memory for large tables and stores. With `mapLarge`, large blocks
// are mapped from the system directly: its pages come zeroed and cost nothing
// until written. From the heap (where the batch driver keeps even large
// blocks for reuse) calloc would clear every byte up front, but unmapping in
// a process whose threads run on several cores interrupts every core to
// flush its address cache: with several pictures at a time, large blocks
// come from the heap instead. Null when there is no memory. `mapped` is set
// to the bytes mapped, 0 for a block from the heap; freeZeroed takes it.
void* allocateZeroed(std::size_t bytes, std::size_t& mapped, bool mapLarge = true);
void freeZeroed(void* block, std::size_t mapped) noexcept;
// Gives back a block of `bytes` from the heap (mapped 0) of which only the
// first `dirty` bytes may have been written: the next allocateZeroed of that
// size on this thread takes it back and clears only those, instead of
// clearing the whole block. A thread keeps a few such blocks.
void recycleZeroed(void* block, std::size_t bytes, std::size_t dirty) noexcept;

// Has the system fault in a large block that is about to be written whole,
// in one call instead of a trap per page: a picture of many megabytes then
// costs one call instead of tens of thousands of page faults. Blocks under
// `smallest` bytes (the heap mostly hands those on already faulted in), and
// systems without the call, are left to fault as they are written.
inline constexpr std::size_t kPrefaultFrom = 8 * 1024 * 1024;
void prefaultBlock(void* block, std::size_t bytes, std::size_t smallest = kPrefaultFrom) noexcept;

// An allocator for vectors of large working stores that are written whole
// as soon as they are made: prefaultBlock on every block it gives.
template <typename T>
struct PrefaultAllocator {
  using value_type = T;
  PrefaultAllocator() = default;
  template <typename U>
  PrefaultAllocator(const PrefaultAllocator<U>&) noexcept {}
  T* allocate(std::size_t n) {
    T* p = std::allocator<T>().allocate(n);
    prefaultBlock(p, n * sizeof(T));
    return p;
  }
  void deallocate(T* p, std::size_t n) noexcept { std::allocator<T>().deallocate(p, n); }
  template <typename U>
  bool operator==(const PrefaultAllocator<U>&) const noexcept {
    return true;
  }
};

}  // namespace quern
