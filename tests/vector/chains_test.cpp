#include "vector/chains.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "literal_passes.h"
#include "table_helpers.h"
#include "vector/session.h"

namespace quern {
namespace {

using testing::listing;
using testing::records;
using testing::segment;

TEST(IsNeighbour, TouchesOnlyTheEightSurroundingLivePixels) {
  const std::pair<std::array<float, 4>, bool> cases[] = {
      {{5, 5, 6, 6}, true},   {{5, 5, 4, 5}, true},  {{5, 5, 5, 5}, false},    // a point is not its own neighbour
      {{5, 5, 7, 5}, false},  {{5, 5, 5, 3}, false}, {{0, 5, 1, 5}, false},    // used-up tail
      {{5, 5, 5, 0}, false},  {{1, 1, 0, 0}, false}, {{-1, 5, -1, 4}, false},  // separator tail
      {{5, -1, 5, -2}, true},                                                  // only x marks a separator
  };
  for (const auto& [p, expected] : cases) {
    EXPECT_EQ(IsNeighbour(p[0], p[1], p[2], p[3]), expected) << p[0] << "," << p[1] << " / " << p[2] << "," << p[3];
  }
}

TEST(BuildChains, RefusesAListingPastTheTablesWithoutTouchingThem) {
  Session s;
  FractionProgress progress;
  s.LineTable.count() = kMaxChainPixels + 1;
  s.LineTable[1] = segment(7, 7);
  s.ChainTable.count() = 42;
  EXPECT_THROW(BuildChains(s, progress), LimitError);
  EXPECT_EQ(s.LineTable[1], segment(7, 7));
  EXPECT_EQ(s.ChainTable.count(), 42);
}

// Random listings, mostly in thin's order, some shuffled or with repeats as a
// table filled by hand could be, and odd values (separators, halves,
// negatives, values past the exact float range) that take the slow road of
// the index. Each is chained once or twice over.
std::vector<LineRecord> listingFor(int trial, std::mt19937& rng) {
  if (trial % 3 == 1) {
    const float values[] = {-2, -1, -1, 0.5F, 1, 1.5F, 2, 2, 3, 16777216.0F, 16777218.0F, 3e9F};
    std::vector<LineRecord> out(rng() % 30);
    for (auto& r : out) r = segment(values[rng() % 12], values[rng() % 12]);
    return out;
  }
  const int side = 2 + static_cast<int>(rng() % 14);
  const double density = 0.15 + 0.8 * static_cast<double>(rng() % 100) / 100.0;
  std::vector<testing::Pixel> pixels;
  for (int i = 0; i < side * side; ++i) {
    if (static_cast<double>(rng() % 1000) / 1000.0 < density) pixels.emplace_back(i / side, i % side);
  }
  if (trial % 5 == 3) std::shuffle(pixels.begin(), pixels.end(), rng);
  if (trial % 7 == 4 && !pixels.empty()) pixels.push_back(pixels[rng() % pixels.size()]);
  return listing(pixels);
}

TEST(BuildChains, MatchesTheLiteralWalkRecordForRecord) {
  std::mt19937 rng(20261122);
  Session fast;  // reused from trial to trial: a fresh one costs three full tables
  Session slow;
  FractionProgress progress;
  for (int trial = 0; trial < 4000; ++trial) {
    SCOPED_TRACE(trial);
    const std::vector<LineRecord> start = listingFor(trial, rng);
    const auto n = static_cast<Int32>(start.size());
    testing::fillLeftovers(fast.ChainTable, n + 2, rng);
    for (Int32 i = 1; i <= n + 2; ++i) {
      slow.ChainTable[i] = fast.ChainTable[i];
      fast.LineTable[i] = slow.LineTable[i] = i <= n ? start[static_cast<std::size_t>(i - 1)] : LineRecord{};
    }
    fast.LineTable.count() = slow.LineTable.count() = n;
    for (int run = 0; run < (trial % 2 == 0 ? 2 : 1); ++run) {
      const Int32 listed = fast.LineTable.count();
      progress.bar().Max = 100.0F;
      progress.bar().Value = 55.0F;
      BuildChains(fast, progress);
      ASSERT_EQ(progress.bar().Max, listed == 0 ? 100.0F : static_cast<float>(listed));
      ASSERT_EQ(progress.bar().Value, 0.0F);
      testing::literalBuildChains(slow.LineTable, slow.ChainTable);
      ASSERT_EQ(fast.LineTable.count(), slow.LineTable.count());
      ASSERT_EQ(fast.ChainTable.count(), slow.ChainTable.count());
      ASSERT_EQ(records(fast.LineTable, 1, n + 2), records(slow.LineTable, 1, n + 2));
      ASSERT_EQ(records(fast.ChainTable, 1, n + 2), records(slow.ChainTable, 1, n + 2));
    }
  }
}

}  // namespace
}  // namespace quern
