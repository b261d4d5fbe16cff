#include "vector/line_scale.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "literal_passes.h"
#include "table_helpers.h"
#include "vector/chains.h"
#include "vector/normalize.h"
#include "vector/session.h"

namespace quern {
namespace {

using testing::records;
using testing::segment;
using testing::separator;

LineRecord reversed(const LineRecord& r) {
  return segment(r.x2, r.y2, r.x1, r.y1);
}

void putChains(Session& s, const std::vector<LineRecord>& table) {
  for (std::size_t k = 0; k < table.size(); ++k) s.ChainTable[static_cast<Int32>(k + 1)] = table[k];
  s.ChainTable.count() = static_cast<Int32>(table.size());
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
      {"one segment stays alone", {a}, {a}},
      {"two segments: the first forward and back, the second stays out", {a, c}, {a, reversed(a)}},
      {"three in a row: back along the first, then the nearest", {a, b, c}, {a, reversed(a), b}},
      {"separators and empty records take no part",
       {a, separator(), segment(0, 0, 0, 0), segment(3, 4, 1, 2), separator(), b},
       {a, reversed(a), segment(1, 2, 3, 4)}},
      {"equal distances: the lower record",
       {a, segment(1, 4, 1, 8), segment(1, 9, 1, 5), segment(1, -2, 1, -9)},
       {a, reversed(a), segment(1, 4, 1, 8), segment(1, 9, 1, 5)}},
      {"both ends equally near: entered at its start",
       {a, segment(0, 2, 0, 0), segment(3, 1, 3, 9)},
       {a, reversed(a), segment(0, 2, 0, 0)}},
      {"a first segment of no length goes on forward",
       {segment(4, 4, 4, 4), a},
       {segment(4, 4, 4, 4), segment(4, 4, 4, 4)}},
      {"distances that round to the same float: the lower record",
       {segment(0, 0, 0, 0), farther, far, far},
       {segment(0, 0, 0, 0), farther, reversed(far)}},
      {"nothing to take: the pass ends at once", {separator(), separator(), segment(0, 0, 0, 0)}, {separator()}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Session s;
    putChains(s, c.table);
    ReorderPass(s);
    const auto n = static_cast<Int32>(c.expected.size());
    EXPECT_EQ(s.ChainTable.count(), n);
    EXPECT_EQ(records(s.ChainTable, 1, n), c.expected);
    EXPECT_EQ(s.OrderTable.count(), static_cast<Int32>(c.table.size()));
  }
}

// Both versions from the same tables must leave identical tables, records
// past the count and the used-up OrderTable included.
struct Twins {
  Session fast;
  Session slow;

  void expectSameAsLiteral(const std::vector<LineRecord>& table, std::mt19937& rng) {
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
};

TEST(ReorderPass, MatchesTheLiteralPassOnRandomTables) {
  std::mt19937 rng(11);
  Twins twins;
  for (int trial = 0; trial < 3000; ++trial) {
    SCOPED_TRACE(trial);
    // Small coordinate ranges make ties and exact hits common.
    const int range = 1 + static_cast<int>(rng() % (trial % 4 == 0 ? 400 : 12));
    std::uniform_int_distribution<int> v(-1, range);
    std::vector<LineRecord> table(rng() % 80);
    for (auto& r : table) {
      switch (rng() % 8) {
        case 0:
          r = separator();
          break;
        case 1:
          r = segment(0, 0, 0, 0);
          break;
        case 2:
          r = segment(1000000, static_cast<float>(v(rng)), 3, 3);
          break;  // marked by its x1 alone
        default:
          r = segment(static_cast<float>(v(rng)), static_cast<float>(v(rng)), static_cast<float>(v(rng)),
                      static_cast<float>(v(rng)));
      }
      r.count = v(rng);
    }
    twins.expectSameAsLiteral(table, rng);
  }
}

TEST(ReorderPass, MatchesTheLiteralPassOnOddValues) {
  std::mt19937 rng(5);
  Twins twins;
  const float values[] = {-1, 0, 0.5F, 1, 2.25F, 3, 16777216.0F, 16777217.0F, 2e9F, 1e-30F};
  for (int trial = 0; trial < 1000; ++trial) {
    SCOPED_TRACE(trial);
    std::vector<LineRecord> table(rng() % 25);
    for (auto& r : table) r = segment(values[rng() % 10], values[rng() % 10], values[rng() % 10], values[rng() % 10]);
    twins.expectSameAsLiteral(table, rng);
  }
}

TEST(ReorderPass, MatchesTheLiteralPassOnANormalisedDrawing) {
  std::mt19937 rng(9);
  Session s;
  QuietHost host;
  std::vector<testing::Pixel> pixels;
  for (int x = 1; x < 300; ++x) {
    for (int y = 1; y < 60; ++y) {
      if ((x * 7 + y * 13) % 11 == 0 || x % 37 == 0 || (x + y) % 53 == 0 || rng() % 50 == 0) pixels.emplace_back(x, y);
    }
  }
  testing::listPixels(s.LineTable, pixels);
  BuildChains(s, host);
  s.GeneralizeTolerance = 20;
  NormalizePass(s, 15);
  ASSERT_GT(s.ChainTable.count(), 300);
  Twins twins;
  twins.expectSameAsLiteral(records(s.ChainTable, 1, s.ChainTable.count()), rng);
}

TEST(DrawChainTable, DrawsEveryRecordScaledInRedWithElevenChancesEach) {
  Session s;
  putChains(s, {segment(1, 1, 4, 1), separator(), segment(2, 3, 2, 3)});
  PictureBox box;
  box.setWidth(20);
  box.setHeight(20);
  box.setBackColor(kWhite);
  QuietHost host;
  DrawChainTable(s.ChainTable, box, previewFactor(200, 100), host);
  EXPECT_EQ(host.doEventsCalls, 33);
  EXPECT_EQ(box.Point(2, 2), kRed);
  EXPECT_EQ(box.Point(5, 2), kRed);
  EXPECT_EQ(box.Point(8, 2), kRed);
  EXPECT_EQ(box.Point(9, 2), kWhite);
  EXPECT_EQ(box.Point(4, 6), kRed);  // the record past the last separator is drawn too
  EXPECT_EQ(box.Point(1, 1), kWhite);
}

}  // namespace
}  // namespace quern
