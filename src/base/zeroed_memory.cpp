#include "base/zeroed_memory.h"

#include <sys/mman.h>

#include <cstdlib>

namespace quern {

namespace {

constexpr std::size_t kMappedFrom = 256 * 1024;

}  // namespace

void* allocateZeroed(std::size_t bytes) {
  if (bytes < kMappedFrom) return std::calloc(bytes == 0 ? 1 : bytes, 1);
  void* p = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return p == MAP_FAILED ? nullptr : p;
}

void freeZeroed(void* block, std::size_t bytes) noexcept {
  if (block == nullptr) return;
  if (bytes < kMappedFrom) {
    std::free(block);
  } else {
    ::munmap(block, bytes);
  }
}

}  // namespace quern
