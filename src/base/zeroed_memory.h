#pragma once

#include <cstddef>

namespace quern {

// Zeroed memory for large tables and stores. Large blocks are mapped from the
// system directly: its pages come zeroed and cost nothing until written. From
// the heap (where the batch driver keeps even large blocks for reuse) calloc
// would clear every byte up front. Null when there is no memory.
void* allocateZeroed(std::size_t bytes);
// Gives back a block of `bytes` from allocateZeroed; null is ignored.
void freeZeroed(void* block, std::size_t bytes) noexcept;

}  // namespace quern
