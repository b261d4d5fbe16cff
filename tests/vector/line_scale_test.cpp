#include <gtest/gtest.h>

#include <random>

#include "literal_passes.h"
#include "table_helpers.h"
#include "vector/reorder.h"
#include "vector/session.h"

namespace quern {
namespace {

using testing::records;
using testing::segment;
using testing::separator;

LineRecord reversed(const LineRecord& r) {
  return segment(r.x2, r.y2, r.x1, r.y1);
}

// Random tables seldom put two ends a million apart: distances that round
// to the same 32-bit float go to the lower record.
TEST(ReorderPass, DistancesEqualAsFloatsTakeTheLowerRecord) {
  const LineRecord far = segment(0, 1000000, 0, 2000000);      // exactly 1e6 from (0, 0)
  const LineRecord farther = segment(1, 1000000, 1, 2000000);  // sqrt(1e12 + 1): the same float
  Session s;
  testing::put(s.ChainTable, {segment(0, 0), farther, far, far});
  ReorderPass(s);
  EXPECT_EQ(s.ChainTable.count(), 3);
  EXPECT_EQ(records(s.ChainTable, 1, 3), (std::vector<LineRecord>{segment(0, 0), farther, reversed(far)}));
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
