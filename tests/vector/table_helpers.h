#pragma once

#include <random>
#include <utility>
#include <vector>

#include "base/line_tables.h"

namespace quern::testing {

using Pixel = std::pair<int, int>;

inline LineRecord segment(float x1, float y1, float x2 = 0, float y2 = 0) {
  return {x1, y1, x2, y2, 0};
}
inline LineRecord separator() {
  return segment(-1, -1, -1, -1);
}

// Pixels as thinning lists them: x1, y1 per record, in the given order.
inline std::vector<LineRecord> listing(const std::vector<Pixel>& pixels) {
  std::vector<LineRecord> out;
  for (const auto& [x, y] : pixels) out.push_back(segment(static_cast<float>(x), static_cast<float>(y)));
  return out;
}

// Makes `recs` records 1..n of the table and n its count.
inline void put(RecordTable& table, const std::vector<LineRecord>& recs) {
  for (std::size_t k = 0; k < recs.size(); ++k) table[static_cast<Int32>(k + 1)] = recs[k];
  table.count() = static_cast<Int32>(recs.size());
}

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
