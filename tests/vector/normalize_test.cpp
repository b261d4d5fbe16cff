#include "vector/normalize.h"

#include <gtest/gtest.h>

#include "table_helpers.h"
#include "vector/chains.h"
#include "vector/session.h"

namespace quern {
namespace {

using testing::listPixels;
using testing::records;
using testing::segment;
using testing::separator;

constexpr Int32 kTwips = 15;

// A session whose LineTable holds the chains of the given listing, with the
// usual starting tolerance of one twip: 1/15 of a pixel.
struct Chained {
  Session s;
  explicit Chained(const std::vector<testing::Pixel>& listing) {
    QuietHost host;
    listPixels(s.LineTable, listing);
    BuildChains(s, host);
    s.GeneralizeTolerance = 1;
  }
};

std::vector<testing::Pixel> row(int from, int to, int y) {
  std::vector<testing::Pixel> out;
  for (int x = from; x <= to; ++x) out.emplace_back(x, y);
  return out;
}

TEST(NormalizePass, TenPixelChainEndsAtItsNinthPixel) {
  Chained c(row(1, 10, 4));
  c.s.ChainTable[3] = segment(8, 8, 8, 8);  // left from an earlier pass
  NormalizePass(c.s, kTwips);
  EXPECT_EQ(c.s.ChainTable.count(), 3);
  EXPECT_EQ(records(c.s.ChainTable, 1, 3),
            (std::vector<LineRecord>{segment(1, 4, 9, 4), separator(), segment(8, 8, 8, 8)}));
  // LineTable is only read: the pass can run again with the same result.
  NormalizePass(c.s, kTwips);
  EXPECT_EQ(records(c.s.ChainTable, 1, 3),
            (std::vector<LineRecord>{segment(1, 4, 9, 4), separator(), segment(8, 8, 8, 8)}));
  EXPECT_EQ(c.s.LastPolyBound, 0);
}

TEST(NormalizePass, WritesEachPolylineAsSegmentsAndASeparator) {
  struct Case {
    const char* name;
    std::vector<testing::Pixel> listing;
    std::vector<LineRecord> expected;  // records 1..count - 1
  };
  const Case cases[] = {
      {"two-pixel chains leave only separators", {{2, 2}, {3, 2}, {6, 6}, {6, 7}}, {separator(), separator()}},
      {"three pixels give a segment one pixel long", {{2, 2}, {3, 3}, {4, 4}}, {segment(2, 2, 3, 3), separator()}},
      {"a lone first pixel gives a separator in record 1",
       {{2, 2}, {5, 5}, {5, 6}, {5, 7}},
       {separator(), segment(5, 5, 5, 6), separator()}},
      {"a bend is kept",
       {{2, 2}, {3, 3}, {4, 4}, {5, 4}, {6, 4}, {7, 4}},
       {segment(2, 2, 4, 4), segment(4, 4, 6, 4), separator()}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Chained chained(c.listing);
    NormalizePass(chained.s, kTwips);
    const auto n = static_cast<Int32>(c.expected.size());
    EXPECT_EQ(chained.s.ChainTable.count(), n + 1);
    EXPECT_EQ(records(chained.s.ChainTable, 1, n), c.expected);
  }
}

TEST(NormalizePass, RecordPastTheLastSeparatorStaysInSlotZero) {
  Session s;
  s.LineTable.count() = 1;  // chain assembly of an empty listing
  s.ChainTable[1] = segment(4, 5, 6, 7);
  NormalizePass(s, kTwips);
  EXPECT_EQ(s.ChainTable.count(), 1);
  EXPECT_EQ(s.ChainTable[1], segment(4, 5, 6, 7));
  ASSERT_EQ(s.polyBuffer[0].highest(), 1);
  EXPECT_EQ(s.polyBuffer[0][1], (PolyPoint{0, 0}));
}

TEST(NormalizeAsOnePolyline, JoinsTheChainsAcrossTheirGaps) {
  Chained c({{2, 2}, {3, 2}, {4, 2}, {9, 2}, {10, 2}, {11, 2}});
  // Chains (2..4, 2) and (9..11, 2): live starts 2, 3 and 9, 10.
  c.s.ChainTable.count() = 1;
  normalizeAsOnePolyline(c.s, kTwips);
  EXPECT_EQ(c.s.ChainTable.count(), 3);
  EXPECT_EQ(records(c.s.ChainTable, 1, 2), (std::vector<LineRecord>{segment(2, 2, 10, 2), separator()}));
  // A second use appends at the present count.
  c.s.GeneralizeTolerance = 0;
  normalizeAsOnePolyline(c.s, kTwips);
  EXPECT_EQ(c.s.ChainTable.count(), 5);
  EXPECT_EQ(records(c.s.ChainTable, 3, 4), (std::vector<LineRecord>{segment(2, 2, 10, 2), separator()}));
}

TEST(FanFromGeneralized, LeavesTheTableAloneWithoutAPointToFanFrom) {
  Session s;
  s.ChainTable.count() = 7;
  EXPECT_FALSE(fanFromGeneralized(s));
  EXPECT_EQ(s.ChainTable.count(), 7);
}

}  // namespace
}  // namespace quern
