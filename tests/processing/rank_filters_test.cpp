#include "processing/rank_filters.h"

#include <gtest/gtest.h>

#include <array>

#include "raster_fixtures.h"

namespace quern {
namespace {

using testing::at;
using testing::boxWith;
using testing::grey;
using testing::greys3;

using Median = void (*)(PictureBox&, Int16, bool, Host&);
const std::pair<const char*, Median> kMedians[] = {{"median", runmedian}, {"medianKC", runmedianKC}};

TEST(RankPasses, LeaveSomeListsUnsortedAndPositionFourAsItStands) {
  Int16 descending[9] = {9, 8, 7, 6, 5, 4, 3, 2, 1};
  rankPasses(descending, [](Int16 a, Int16 b) { return a > b; });
  EXPECT_EQ(std::vector<Int16>(descending, descending + 9), (std::vector<Int16>{8, 6, 4, 2, 1, 3, 5, 7, 9}));
  for (const auto& [name, median] : kMedians) {
    for (const auto& [window, want] :
         {std::pair{std::array{1, 2, 3, 4, 5, 6, 7, 8, 9}, 5}, {std::array{9, 8, 7, 6, 5, 4, 3, 2, 1}, 1}}) {
      QuietHost host;
      PictureBox box = boxWith(greys3(window));
      median(box, 0, false, host);
      EXPECT_EQ(at(box, 1, 1), grey(want)) << name;
    }
  }
}

TEST(RankFilters, OneColourWindowGivesThatColourPlusBias) {
  struct Case {
    Int16 bias;
    bool takeabs;
    Colour out;
  };
  // Channels 30, 200, 90.
  for (const Case c : {Case{0, false, rgb(30, 200, 90)},
                       {100, false, rgb(130, 255, 190)},
                       {-50, false, rgb(0, 150, 40)},
                       {-50, true, rgb(20, 150, 40)}}) {
    for (const auto& [name, median] : kMedians) {
      QuietHost host;
      PictureBox box = boxWith(makeFilledPicture(4, 4, rgb(30, 200, 90)));
      median(box, c.bias, c.takeabs, host);
      EXPECT_EQ(at(box, 1, 2), c.out) << name << " bias " << c.bias << " abs " << c.takeabs;
      EXPECT_EQ(at(box, 0, 0), rgb(30, 200, 90));
    }
  }
}

TEST(Diffuse, OffsetsThatLeaveTheStoreAreAnErrorNotAStrayRead) {
  QuietHost host;
  RandomSource random;
  PictureBox box = boxWith(testing::noisePicture(12, 10));
  EXPECT_THROW(rundiffuse(box, 0, 100, random, host), IndexError);
}

}  // namespace
}  // namespace quern
