#include "base/zeroed_memory.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace quern {

namespace {

constexpr std::size_t kMappedFrom = 256 * 1024;
// The page prefaultBlock counts in.
constexpr std::size_t kPage = 4096;

// Set once this thread's spares are gone: a table freed later, at the
// thread's or the process's end, is simply freed.
thread_local bool sparesGone = false;

// Heap blocks given back on this thread, each with the bytes that may not be zero.
class Spares {
 public:
  Spares() = default;
  Spares(const Spares&) = delete;
  Spares& operator=(const Spares&) = delete;
  ~Spares() {
    for (std::size_t i = 0; i < count_; ++i) std::free(spares_[i].block);
    sparesGone = true;
  }
  void* take(std::size_t bytes) {
    for (std::size_t i = 0; i < count_; ++i) {
      if (spares_[i].bytes != bytes) continue;
      const Spare s = spares_[i];
      spares_[i] = spares_[--count_];
      spares_[count_] = Spare{};
      std::memset(s.block, 0, std::min(s.dirty, s.bytes));
      return s.block;
    }
    return nullptr;
  }
  void keep(void* block, std::size_t bytes, std::size_t dirty) noexcept {
    if (count_ == spares_.size()) {
      std::free(block);
      return;
    }
    spares_[count_++] = {block, bytes, dirty};
  }

 private:
  struct Spare {
    void* block = nullptr;
    std::size_t bytes = 0;
    std::size_t dirty = 0;
  };
  std::array<Spare, 4> spares_{};
  std::size_t count_ = 0;
};

Spares& spares() {
  thread_local Spares kept;
  return kept;
}

}  // namespace

void* allocateZeroed(std::size_t bytes, std::size_t& mapped, bool mapLarge) {
  mapped = 0;
  if (bytes < kMappedFrom || !mapLarge) {
    if (void* kept = bytes >= kMappedFrom ? spares().take(bytes) : nullptr) return kept;
    return std::calloc(bytes == 0 ? 1 : bytes, 1);
  }
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

void recycleZeroed(void* block, std::size_t bytes, std::size_t dirty) noexcept {
  if (block == nullptr) return;
  if (bytes < kMappedFrom || sparesGone) {
    std::free(block);
    return;
  }
  spares().keep(block, bytes, dirty);
}

void prefaultBlock(void* block, std::size_t bytes, std::size_t smallest) noexcept {
#ifdef MADV_POPULATE_WRITE
  if (block == nullptr || bytes < smallest) return;
  // Whole pages inside the block only: its neighbours on the heap are none
  // of its business.
  const auto start = reinterpret_cast<std::uintptr_t>(block);
  const std::uintptr_t first = (start + kPage - 1) & ~(kPage - 1);
  const std::uintptr_t last = (start + bytes) & ~(kPage - 1);
  // Where the call is refused, the pages fault in as they are written.
  if (last > first) ::madvise(reinterpret_cast<void*>(first), last - first, MADV_POPULATE_WRITE);
#else
  (void)block;
  (void)bytes;
  (void)smallest;
#endif
}

}  // namespace quern
