#pragma once

// The scanning and copying of thinning cells on the vector unit, where there
// is one; the same answers without it.

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "base/numbers.h"

namespace quern::thin_cells {

// The next cell from `pos` on, in scan order, that holds `v`; `stop` when
// none. Cells are 0 or 1, so eight at a time are tested as one word: after
// flipping for v = 0, the first non-zero byte is the cell sought. Lines are
// short, which makes this quicker than a library call per run.
template <bool Backward>
inline Int32 seek(const std::uint8_t* line, Int32 pos, Int32 stop, std::uint8_t v) {
  static_assert(std::endian::native == std::endian::little);
  const std::uint64_t flip = v ? 0 : 0x0101010101010101ULL;
  std::uint64_t word = 0;
#ifdef __SSE2__
  // Sixteen at a time where the vector unit is there for it: one compare gives
  // a bit for every cell that holds v.
  const __m128i want = _mm_set1_epi8(static_cast<char>(v));
  const auto hitsAt = [&](const std::uint8_t* at) {
    return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at)), want);
  };
  // Long empty stretches go by 64 cells a branch; the block that holds the
  // cell sought is then searched 16 at a time below.
  if constexpr (Backward) {
    for (; pos - 63 > stop; pos -= 64) {
      const std::uint8_t* at = line + pos - 63;
      const __m128i any =
          _mm_or_si128(_mm_or_si128(hitsAt(at), hitsAt(at + 16)), _mm_or_si128(hitsAt(at + 32), hitsAt(at + 48)));
      if (_mm_movemask_epi8(any)) break;
    }
    for (; pos - 15 > stop; pos -= 16) {
      const __m128i cells = _mm_loadu_si128(reinterpret_cast<const __m128i*>(line + pos - 15));
      const auto hits = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(cells, want)));
      if (hits) return pos - 15 + (31 - std::countl_zero(hits));
    }
  } else {
    for (; pos + 64 <= stop; pos += 64) {
      const std::uint8_t* at = line + pos;
      const __m128i any =
          _mm_or_si128(_mm_or_si128(hitsAt(at), hitsAt(at + 16)), _mm_or_si128(hitsAt(at + 32), hitsAt(at + 48)));
      if (_mm_movemask_epi8(any)) break;
    }
    for (; pos + 16 <= stop; pos += 16) {
      const __m128i cells = _mm_loadu_si128(reinterpret_cast<const __m128i*>(line + pos));
      const auto hits = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(cells, want)));
      if (hits) return pos + std::countr_zero(hits);
    }
  }
#endif
  if constexpr (Backward) {
    for (; pos - 7 > stop; pos -= 8) {
      std::memcpy(&word, line + pos - 7, sizeof word);
      word ^= flip;
      if (word) return pos - 7 + (63 - std::countl_zero(word)) / 8;
    }
    for (; pos > stop; --pos) {
      if (line[pos] == v) return pos;
    }
  } else {
    for (; pos + 8 <= stop; pos += 8) {
      std::memcpy(&word, line + pos, sizeof word);
      word ^= flip;
      if (word) return pos + std::countr_zero(word) / 8;
    }
    for (; pos < stop; ++pos) {
      if (line[pos] == v) return pos;
    }
  }
  return stop;
}

// Cells (x, y) of a block up to kBlock a side, from rows of `rowStride`
// into columns of `columnStride`. A whole block goes through the vector unit
// in four rounds of interleaving rows i and i + 8, which leave it transposed.
constexpr Int32 kBlock = 16;
inline void transposeBlock(const std::uint8_t* rows, std::size_t rowStride, std::uint8_t* columns,
                           std::size_t columnStride, Int32 width, Int32 height) {
#ifdef __SSE2__
  if (width == kBlock && height == kBlock) {
    __m128i v[kBlock];
    for (Int32 i = 0; i < kBlock; ++i) v[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows + i * rowStride));
    for (int round = 0; round < 4; ++round) {
      __m128i next[kBlock];
      for (Int32 i = 0; i < kBlock / 2; ++i) {
        next[2 * i] = _mm_unpacklo_epi8(v[i], v[i + kBlock / 2]);
        next[2 * i + 1] = _mm_unpackhi_epi8(v[i], v[i + kBlock / 2]);
      }
      std::copy(next, next + kBlock, v);
    }
    for (Int32 i = 0; i < kBlock; ++i) _mm_storeu_si128(reinterpret_cast<__m128i*>(columns + i * columnStride), v[i]);
    return;
  }
#endif
  for (Int32 x = 0; x < width; ++x) {
    for (Int32 y = 0; y < height; ++y) columns[x * columnStride + y] = rows[y * rowStride + x];
  }
}

}  // namespace quern::thin_cells
