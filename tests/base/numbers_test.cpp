#include "base/numbers.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <limits>

#include "base/host.h"
#include "base/line_tables.h"

namespace quern {
namespace {

TEST(Numbers, RoundingGoesToTheEvenNeighbourOnTies) {
  const std::pair<double, Int32> cases[] = {{0.5, 0},   {1.5, 2},    {2.5, 2},    {-0.5, 0},  {-1.5, -2},
                                            {-2.5, -2}, {2.4999, 2}, {2.5001, 3}, {11.5, 12}, {10.5, 10}};
  for (const auto& [in, out] : cases) {
    EXPECT_EQ(roundToInt32(in), out) << in;
    EXPECT_EQ(roundToInt16(in), out) << in;
  }
  EXPECT_EQ(toFloat32(16777217.0), 16777216.0F);
}

TEST(Numbers, NarrowIntegersThrowInsteadOfWrapping) {
  EXPECT_EQ(add16(32000, 767), 32767);
  EXPECT_THROW(add16(32000, 768), OverflowError);
  EXPECT_THROW(mul16(256, 128), OverflowError);
  EXPECT_EQ(sub16(-32767, 1), -32768);
  EXPECT_THROW(sub16(-32768, 1), OverflowError);
  EXPECT_THROW(add32(2147483647, 1), OverflowError);
  EXPECT_THROW(roundToInt16(32767.5), OverflowError);
  EXPECT_EQ(roundToInt16(-32768.4), -32768);
  EXPECT_THROW(roundToInt32(2147483647.5), OverflowError);
  // The ends of the range, and what lies just past them or is no number.
  EXPECT_EQ(roundToInt32(-2147483648.4), std::numeric_limits<Int32>::min());
  EXPECT_EQ(roundToInt32(2147483647.4), std::numeric_limits<Int32>::max());
  for (const double outside : {-2147483648.6, 2147483648.0, 1e300, -1e300, std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_THROW(roundToInt32(outside), OverflowError) << outside;
  }
}

TEST(Numbers, ColourSplitGivesBytesAndTheDocumentedValuesForMinusOne) {
  const Colour c = rgb(0x12, 0x34, 0x56);
  EXPECT_EQ(c, 0x563412);
  EXPECT_EQ((std::array{redOf(c), greenOf(c), blueOf(c)}), (std::array<Int32, 3>{0x12, 0x34, 0x56}));
  EXPECT_EQ((std::array{redOf(kNoColour), greenOf(kNoColour), blueOf(kNoColour)}), (std::array<Int32, 3>{-1, -1, 255}));
}

TEST(LineTables, FreshTablesReadZeroToTheirLastRecordAndCopiesAreWhole) {
  for (const Int32 last : {RecordTable::kLastRecord, Int32{3}, Int32{250000}}) {
    RecordTable t = last == RecordTable::kLastRecord ? RecordTable("LineTable") : RecordTable("LineTable", last);
    EXPECT_EQ(t.lastRecord(), last);
    for (const Int32 i : {Int32{0}, Int32{1}, last / 2, last}) EXPECT_EQ(t[i], LineRecord{}) << last << " " << i;
    EXPECT_THROW(t[last + 1], IndexError) << last;
    t[last] = {1, 2, 3, 4, 5};
    t.count() = 7;
    const RecordTable copy = t;
    t[last].x1 = 9;
    EXPECT_EQ(copy[last], (LineRecord{1, 2, 3, 4, 5})) << "a copy shares no records";
    EXPECT_EQ(copy.count(), 7);
    RecordTable moved = std::move(t);
    EXPECT_EQ(moved[last].x1, 9.0F);
    EXPECT_THROW(t[0], IndexError) << "a table moved from holds nothing";  // NOLINT(bugprone-use-after-move)
  }
}

// Tables from the heap hand their blocks on to the next table of their size
// on the thread, cleared only as far as they were written: whatever wrote
// them, the next table reads zero throughout.
TEST(LineTables, AHeapTableReadsZeroWhereTheTableBeforeItWrote) {
  constexpr Int32 kLast = 20000;
  struct Case {
    const char* name;
    std::function<void()> use;  // writes tables of kLast and 2 * kLast records, then lets them go
  };
  const Case cases[] = {
      {"records written", [] { RecordTable("T", kLast, false)[kLast - 1] = {1, 2, 3, 4, 5}; }},
      {"the count", [] { RecordTable("T", kLast, false).count() = 9; }},
      {"a copy",
       [] {
         RecordTable t("T", kLast, false);
         t[kLast] = {1, 1, 1, 1, 1};
         const RecordTable copy = t;
       }},
      {"a table moved over another",
       [] {
         RecordTable t("T", kLast, false);
         t[kLast / 2].x1 = 3;
         RecordTable other("T", kLast, false);
         other[7].y2 = 4;
         t = std::move(other);
       }},
      {"a grown table",
       [] {
         RecordTable t("T", kLast, false);
         t.setGrowable(true);
         t[kLast].x2 = 6;
         ASSERT_TRUE(t.reserve(2 * kLast));
         t[2 * kLast - 1].y1 = 8;
       }},
  };
  for (const Case& c : cases) {
    c.use();
    for (const Int32 last : {kLast, 2 * kLast}) {
      const RecordTable next("T", last, false);
      for (Int32 i = 0; i <= last; ++i) {
        ASSERT_EQ(next[i], LineRecord{}) << c.name << ": record " << i << " of " << last;
      }
    }
  }
}

TEST(LineTables, TablesEndAtRecord100000AndPointListsAtTheirHighest) {
  LineTables t;
  EXPECT_EQ(t.LineTable.lastRecord(), 100000);
  EXPECT_THROW(t.ChainTable[-1], IndexError);
  PolyBuffer b;
  EXPECT_THROW(b[1][1], IndexError);
  b[1].redim(3);
  b[1][3] = {4, 5};
  b[1].redimPreserve(4);
  EXPECT_EQ(b[1][3], (PolyPoint{4, 5}));
  QuietHost h;
  EXPECT_NO_THROW(h.PB(5));
  EXPECT_THROW(h.PB(4), IndexError);
  EXPECT_THROW(h.PB(7), IndexError);
}

}  // namespace
}  // namespace quern
