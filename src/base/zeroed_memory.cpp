#include "base/zeroed_memory.h"

#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>

namespace quern {

namespace {

constexpr std::size_t kMappedFrom = 256 * 1024;
// The size of a large page where the system has them, and the smallest
// block worth advising: below it most of the block would lie outside the
// large pages it holds.
constexpr std::size_t kLargePage = 2 * 1024 * 1024;
constexpr std::size_t kAdvisedFrom = 4 * kLargePage;

}  // namespace

void* allocateZeroed(std::size_t bytes, std::size_t& mapped, bool mapLarge) {
  mapped = 0;
  if (bytes < kMappedFrom || !mapLarge) return std::calloc(bytes == 0 ? 1 : bytes, 1);
  void* p = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED) return nullptr;
  adviseLargePages(p, bytes);
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

void adviseLargePages(void* block, std::size_t bytes) noexcept {
#ifdef MADV_HUGEPAGE
  if (block == nullptr || bytes < kAdvisedFrom) return;
  // Only whole large pages inside the block: the advice covers whole pages,
  // and its neighbours on the heap are none of this block's business.
  const auto start = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (start + kLargePage - 1) & ~(kLargePage - 1);
  const std::uintptr_t last = (start + bytes) & ~(kLargePage - 1);
  // Advice, not a demand: where it is refused the block keeps small pages.
  if (last > first) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#else
  (void)block;
  (void)bytes;
#endif
}

}  // namespace quern
