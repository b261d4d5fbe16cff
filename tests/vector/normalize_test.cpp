#include "vector/normalize.h"

#include <gtest/gtest.h>

#include "table_helpers.h"
#include "vector/chains.h"
#include "vector/session.h"

namespace quern {
namespace {

using testing::records;
using testing::segment;
using testing::separator;

constexpr Int32 kTwips = 15;

// A session whose LineTable holds the chains of the given pixels, with the
// usual starting tolerance of one twip: 1/15 of a pixel.
struct Chained {
  Session s;
  explicit Chained(const std::vector<testing::Pixel>& pixels) {
    FractionProgress progress;
    testing::put(s.LineTable, testing::listing(pixels));
    BuildChains(s, progress);
    s.GeneralizeTolerance = 1;
  }
};

TEST(NormalizePass, WritesEachPolylineAsSegmentsAndASeparator) {
  std::vector<testing::Pixel> row;
  for (int x = 1; x <= 10; ++x) row.emplace_back(x, 4);
  struct Case {
    const char* name;
    std::vector<testing::Pixel> pixels;
    std::vector<LineRecord> expected;  // records 1..count - 1
  };
  const Case cases[] = {
      {"a ten-pixel chain ends at its ninth pixel", row, {segment(1, 4, 9, 4), separator()}},
      {"two-pixel chains leave only separators", {{2, 2}, {3, 2}, {6, 6}, {6, 7}}, {separator(), separator()}},
      {"a lone first pixel gives a separator in record 1",
       {{2, 2}, {5, 5}, {5, 6}, {5, 7}},
       {separator(), segment(5, 5, 5, 6), separator()}},
      {"a bend is kept",
       {{2, 2}, {3, 3}, {4, 4}, {5, 4}, {6, 4}, {7, 4}},
       {segment(2, 2, 4, 4), segment(4, 4, 6, 4), separator()}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Chained chained(c.pixels);
    const auto n = static_cast<Int32>(c.expected.size());
    chained.s.ChainTable[n + 1] = segment(8, 8, 8, 8);  // left from an earlier pass
    for (int run = 0; run < 2; ++run) {                 // LineTable is only read: a second run gives the same
      NormalizePass(chained.s, kTwips);
      EXPECT_EQ(chained.s.ChainTable.count(), n + 1);
      std::vector<LineRecord> want = c.expected;
      want.push_back(segment(8, 8, 8, 8));
      EXPECT_EQ(records(chained.s.ChainTable, 1, n + 1), want);
    }
  }
}

}  // namespace
}  // namespace quern
