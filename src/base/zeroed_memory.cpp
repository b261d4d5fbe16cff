#include "base/zeroed_memory.h"

#include <sys/mman.h>

#include <cstdlib>

namespace quern {

namespace {

constexpr std::size_t kMappedFrom = 256 * 1024;

}  // namespace

void* allocateZeroed(std::size_t bytes, std::size_t& mapped, bool mapLarge) {
  mapped = 0;
  if (bytes < kMappedFrom || !mapLarge) return std::calloc(bytes == 0 ? 1 : bytes, 1);
  void* p = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  mapped = bytes;
  return p;
}

void freeZeroed(void* block, std::size_t mapped) noexcept {
  if (block == nullptr) return;
  if (mapped == 0) {
    std::free(block);
  } else {
    ::munmap(block, mapped);
  }
}

}  // namespace quern
