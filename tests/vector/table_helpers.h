#pragma once

#include <random>
#include <utility>
#include <vector>

#include "base/line_tables.h"

namespace quern::testing {

using Pixel = std::pair<int, int>;

// Lists pixels in LineTable as thinning does: x1, y1 per record, in the given order.
inline void listPixels(RecordTable& table, const std::vector<Pixel>& pixels) {
  for (std::size_t k = 0; k < pixels.size(); ++k) {
    LineRecord& r = table[static_cast<Int32>(k + 1)];
    r.x1 = static_cast<float>(pixels[k].first);
    r.y1 = static_cast<float>(pixels[k].second);
  }
  table.count() = static_cast<Int32>(pixels.size());
}

inline LineRecord segment(float x1, float y1, float x2, float y2) {
  return {x1, y1, x2, y2, 0};
}
inline LineRecord separator() {
  return segment(-1, -1, -1, -1);
}

// Records first..last of a table, for whole-table comparisons.
inline std::vector<LineRecord> records(const RecordTable& table, Int32 first, Int32 last) {
  std::vector<LineRecord> out;
  for (Int32 i = first; i <= last; ++i) out.push_back(table[i]);
  return out;
}

// Fills records 1..n with leftovers of an imagined earlier pass, so that a
// reader of a record it should not touch shows up in a comparison.
inline void fillLeftovers(RecordTable& table, Int32 n, std::mt19937& rng) {
  std::uniform_int_distribution<int> v(-1, 40);
  for (Int32 i = 1; i <= n; ++i) {
    table[i] = {static_cast<float>(v(rng)), static_cast<float>(v(rng)), static_cast<float>(v(rng)),
                static_cast<float>(v(rng)), v(rng)};
  }
}

}  // namespace quern::testing
