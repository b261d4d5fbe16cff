#include "vector/reorder.h"

#include <gtest/gtest.h>

#include <random>

#include "literal_passes.h"
#include "table_helpers.h"
#include "vector/session.h"

namespace quern {
namespace {

using testing::records;
using testing::segment;
using testing::separator;

LineRecord reversed(const LineRecord& r) {
  return segment(r.x2, r.y2, r.x1, r.y1);
}

TEST(ReorderPass, StringsTheSegmentsByNearestEnd) {
  const LineRecord a = segment(1, 1, 5, 1);
  const LineRecord b = segment(5, 1, 9, 1);
  const LineRecord c = segment(9, 1, 9, 5);
  const LineRecord far = segment(0, 1000000, 0, 2000000);      // exactly 1e6 from (0, 0)
  const LineRecord farther = segment(1, 1000000, 1, 2000000);  // sqrt(1e12 + 1): the same 32-bit float
  struct Case {
    const char* name;
    std::vector<LineRecord> table;
    std::vector<LineRecord> expected;
  };
  const Case cases[] = {
      {"two segments: the first forward and back, the second stays out", {a, c}, {a, reversed(a)}},
      {"separators and empty records take no part",
       {a, separator(), segment(0, 0), segment(3, 4, 1, 2), separator(), b},
       {a, reversed(a), segment(1, 2, 3, 4)}},
      {"equal distances: the lower record",
       {a, segment(1, 4, 1, 8), segment(1, 9, 1, 5), segment(1, -2, 1, -9)},
       {a, reversed(a), segment(1, 4, 1, 8), segment(1, 9, 1, 5)}},
      {"both ends equally near: entered at its start",
       {a, segment(0, 2, 0, 0), segment(3, 1, 3, 9)},
       {a, reversed(a), segment(0, 2, 0, 0)}},
      {"distances that round to the same float: the lower record",
       {segment(0, 0), farther, far, far},
       {segment(0, 0), farther, reversed(far)}},
      {"nothing to take: the pass ends at once", {separator(), separator(), segment(0, 0)}, {separator()}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Session s;
    testing::put(s.ChainTable, c.table);
    ReorderPass(s);
    const auto n = static_cast<Int32>(c.expected.size());
    EXPECT_EQ(s.ChainTable.count(), n);
    EXPECT_EQ(records(s.ChainTable, 1, n), c.expected);
    EXPECT_EQ(s.OrderTable.count(), static_cast<Int32>(c.table.size()));
  }
}

// Random tables whose small coordinate ranges make ties and exact hits
// common, and odd values round the float limits.
std::vector<LineRecord> tableFor(int trial, std::mt19937& rng) {
  std::vector<LineRecord> table(rng() % 80);
  if (trial % 4 == 1) {
    const float values[] = {-1, 0, 0.5F, 1, 2.25F, 3, 16777216.0F, 16777217.0F, 2e9F, 1e-30F};
    for (auto& r : table) r = segment(values[rng() % 10], values[rng() % 10], values[rng() % 10], values[rng() % 10]);
    return table;
  }
  std::uniform_int_distribution<int> v(-1, 1 + static_cast<int>(rng() % (trial % 4 == 0 ? 400 : 12)));
  for (auto& r : table) {
    const auto f = [&] { return static_cast<float>(v(rng)); };
    switch (rng() % 8) {
      case 0:
        r = separator();
        break;
      case 1:
        r = segment(0, 0);
        break;
      case 2:
        r = segment(1000000, f(), 3, 3);
        break;  // marked by its x1 alone
      default:
        r = segment(f(), f(), f(), f());
    }
    r.count = v(rng);
  }
  return table;
}

TEST(ReorderPass, MatchesTheLiteralPassRecordForRecordAndInTheUsedUpOrderTable) {
  std::mt19937 rng(11);
  Session fast;
  Session slow;
  for (int trial = 0; trial < 4000; ++trial) {
    SCOPED_TRACE(trial);
    const std::vector<LineRecord> table = tableFor(trial, rng);
    const auto n = static_cast<Int32>(table.size());
    testing::fillLeftovers(fast.OrderTable, n + 1, rng);
    for (Int32 i = 1; i <= n + 1; ++i) {
      slow.OrderTable[i] = fast.OrderTable[i];
      fast.ChainTable[i] = slow.ChainTable[i] = i <= n ? table[static_cast<std::size_t>(i - 1)] : LineRecord{};
    }
    fast.ChainTable.count() = slow.ChainTable.count() = n;
    ReorderPass(fast);
    testing::literalReorder(slow.ChainTable, slow.OrderTable);
    ASSERT_EQ(fast.ChainTable.count(), slow.ChainTable.count());
    ASSERT_EQ(records(fast.ChainTable, 1, n + 1), records(slow.ChainTable, 1, n + 1));
    ASSERT_EQ(records(fast.OrderTable, 0, n + 1), records(slow.OrderTable, 0, n + 1));
  }
}

}  // namespace
}  // namespace quern
