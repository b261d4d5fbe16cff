#include "base/numbers.h"

#include <gtest/gtest.h>

#include "base/host.h"
#include "base/line_tables.h"

namespace quern {
namespace {

TEST(Numbers, RoundingGoesToTheEvenNeighbourOnTies) {
  struct Case {
    double in;
    Int32 out;
  };
  for (const Case c : {Case{0.5, 0}, {1.5, 2}, {2.5, 2}, {3.5, 4}, {-0.5, 0}, {-1.5, -2}, {-2.5, -2}, {2.4999, 2},
                       {2.5001, 3}, {11.5, 12}, {10.5, 10}}) {
    EXPECT_EQ(roundToInt32(c.in), c.out) << c.in;
    EXPECT_EQ(roundToInt16(c.in), c.out) << c.in;
  }
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
}

TEST(Numbers, ColourSplitGivesBytesAndTheDocumentedValuesForMinusOne) {
  const Colour c = rgb(0x12, 0x34, 0x56);
  EXPECT_EQ(c, 0x563412);
  EXPECT_EQ(redOf(c), 0x12);
  EXPECT_EQ(greenOf(c), 0x34);
  EXPECT_EQ(blueOf(c), 0x56);
  EXPECT_EQ(redOf(kNoColour), -1);
  EXPECT_EQ(greenOf(kNoColour), -1);
  EXPECT_EQ(blueOf(kNoColour), 255);
}

TEST(Numbers, Float32RoundingLosesWhatAFloatCannotHold) {
  EXPECT_EQ(toFloat32(16777217.0), 16777216.0F);
  EXPECT_EQ(toFloat32(0.1), 0.1F);
}

TEST(LineTables, RecordsRunFromZeroTo100000AndRecordZeroHoldsTheCount) {
  LineTables t;
  t.LineTable.count() = 5;
  EXPECT_EQ(t.LineTable[0].count, 5);
  t.LineTable[100000].x1 = 3.0F;
  EXPECT_EQ(t.LineTable[100000].x1, 3.0F);
  EXPECT_THROW(t.LineTable[100001], IndexError);
  EXPECT_THROW(t.ChainTable[-1], IndexError);
  EXPECT_EQ(t.OrderTable[1], LineRecord{});
}

TEST(LineTables, PointListsStartEmptyAndIndexZeroIsNeverAPoint) {
  PolyBuffer b;
  EXPECT_EQ(b[0].highest(), 0);
  EXPECT_THROW(b[1][1], IndexError);
  b[1].redim(3);
  b[1][3] = {4, 5};
  b[1].redimPreserve(4);
  EXPECT_EQ(b[1][3], (PolyPoint{4, 5}));
  b[1].clear();
  EXPECT_EQ(b[1].highest(), 0);
}

TEST(Host, ProgressBarsHaveNoIndexFour) {
  QuietHost h;
  for (Int16 i : {0, 1, 2, 3, 5, 6}) EXPECT_NO_THROW(h.PB(i));
  EXPECT_THROW(h.PB(4), IndexError);
  EXPECT_THROW(h.PB(7), IndexError);
}

}  // namespace
}  // namespace quern
