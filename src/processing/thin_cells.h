#pragma once

// Lines of thinning cells as bits, sixty-four to a word, and the scans and
// copies over them. A grid of 5000 by 5000 cells is then 3 MB a copy instead
// of 25: the peeling, which reads the lines beside the one it scans, finds
// them in cache.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/numbers.h"

namespace quern::thin_cells {

// Words a line of `cells` cells takes: cell p is bit p % 64 of word p / 64,
// and one spare word past the last cell lets cells p - 1 to p + 1 be read
// with one load anywhere in the line.
inline std::size_t wordsFor(Int32 cells) {
  return (static_cast<std::size_t>(cells) + 63) / 64 + 1;
}

inline bool cellAt(const std::uint64_t* line, Int32 p) {
  return (line[p >> 6] >> (p & 63) & 1) != 0;
}

inline void clearCell(std::uint64_t* line, Int32 p) {
  line[p >> 6] &= ~(std::uint64_t{1} << (p & 63));
}

// Cells p - 1, p and p + 1 of a line, p at least 1, as bits 0, 1 and 2.
inline unsigned threeCells(const std::uint64_t* line, Int32 p) {
  static_assert(std::endian::native == std::endian::little);
  std::uint64_t word = 0;
  std::memcpy(&word, reinterpret_cast<const unsigned char*>(line) + ((p - 1) >> 3), sizeof word);
  return static_cast<unsigned>(word >> ((p - 1) & 7)) & 7U;
}

// The next cell from `pos` on, in scan order (forward up to `stop`, or
// backward down to it), that holds `v`; `stop` when none. A word of 64
// cells is tested at a time.
template <bool Backward>
inline Int32 seek(const std::uint64_t* line, Int32 pos, Int32 stop, std::uint8_t v) {
  const std::uint64_t flip = v ? 0 : ~std::uint64_t{0};
  if constexpr (Backward) {
    if (pos <= stop) return stop;
    Int32 i = pos >> 6;
    std::uint64_t word = (line[i] ^ flip) & (~std::uint64_t{0} >> (63 - (pos & 63)));
    const Int32 first = (stop + 1) >> 6;
    while (word == 0) {
      if (--i < first) return stop;
      word = line[i] ^ flip;
    }
    const Int32 p = i * 64 + 63 - std::countl_zero(word);
    return p > stop ? p : stop;
  } else {
    if (pos >= stop) return stop;
    Int32 i = pos >> 6;
    std::uint64_t word = (line[i] ^ flip) & (~std::uint64_t{0} << (pos & 63));
    const Int32 last = (stop - 1) >> 6;
    while (word == 0) {
      if (++i > last) return stop;
      word = line[i] ^ flip;
    }
    const Int32 p = i * 64 + std::countr_zero(word);
    return p < stop ? p : stop;
  }
}

// A block of 64 by 64 cells turned over its diagonal in place: bit j of
// word i becomes bit i of word j. Halves, quarters and so on down to single
// bits change places, each step a shift and a masked exchange.
inline void transpose64(std::uint64_t block[64]) {
  std::uint64_t mask = 0x00000000FFFFFFFFULL;
  for (int j = 32; j != 0; j >>= 1, mask ^= mask << j) {
    for (int k = 0; k < 64; k = ((k | j) + 1) & ~j) {
      const std::uint64_t t = ((block[k] >> j) ^ block[k | j]) & mask;
      block[k] ^= t << j;
      block[k | j] ^= t;
    }
  }
}

}  // namespace quern::thin_cells
