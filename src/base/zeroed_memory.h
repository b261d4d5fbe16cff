#pragma once

#include <cstddef>

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

}  // namespace quern
