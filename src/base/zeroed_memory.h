#pragma once

#include <cstddef>

namespace quern {

// Zeroed memory for large tables and stores. Large blocks are mapped from the
// system directly: its pages come zeroed and cost nothing until written. From
// the heap (where the batch driver keeps even large blocks for reuse) calloc
// would clear every byte up front. Null when there is no memory. `mapped` is
// set to the bytes mapped, 0 for a block from the heap; freeZeroed takes it.
void* allocateZeroed(std::size_t bytes, std::size_t& mapped);
void freeZeroed(void* block, std::size_t mapped) noexcept;

// Unmapping in a process whose threads run on several cores interrupts every
// core to flush its address cache: with several pictures at a time, large
// blocks come from the heap instead. On by default.
void setMapLargeBlocks(bool map);

}  // namespace quern
