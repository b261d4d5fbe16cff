#include "processing/rank_filters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "raster_fixtures.h"

namespace quern {
namespace {

using testing::at;
using testing::boxWith;
using testing::grey;
using testing::greys3;

using Median = void (*)(PictureBox&, FilterStore&, Int16, bool, Progress&);
const std::pair<const char*, Median> kMedians[] = {{"median", runmedian}, {"medianKC", runmedianKC}};

TEST(RankPasses, LeaveSomeListsUnsortedAndPositionFourAsItStands) {
  Int16 descending[9] = {9, 8, 7, 6, 5, 4, 3, 2, 1};
  rankPasses(descending, [](Int16 a, Int16 b) { return a > b; });
  EXPECT_EQ(std::vector<Int16>(descending, descending + 9), (std::vector<Int16>{8, 6, 4, 2, 1, 3, 5, 7, 9}));
  for (const auto& [name, median] : kMedians) {
    for (const auto& [window, want] :
         {std::pair{std::array{1, 2, 3, 4, 5, 6, 7, 8, 9}, 5}, {std::array{9, 8, 7, 6, 5, 4, 3, 2, 1}, 1}}) {
      testing::FilterRun run;
      PictureBox box = boxWith(greys3(window));
      median(box, run.store, 0, false, run.progress);
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
      testing::FilterRun run;
      PictureBox box = boxWith(makeFilledPicture(4, 4, rgb(30, 200, 90)));
      median(box, run.store, c.bias, c.takeabs, run.progress);
      EXPECT_EQ(at(box, 1, 2), c.out) << name << " bias " << c.bias << " abs " << c.takeabs;
      EXPECT_EQ(at(box, 0, 0), rgb(30, 200, 90));
    }
  }
}

TEST(PointFilters, ZeroRangesLeaveThePictureAndEmbossAndSolarizeFollowTheirRules) {
  testing::FilterRun run;
  RandomSource random;
  const Picture src = testing::noisePicture(12, 10);
  PictureBox still = boxWith(src);
  rundiffuse(still, run.store, 0, 0, random, run.progress);
  runsolarize(still, run.store, 0, 255, run.progress);
  EXPECT_EQ(still.Image()->pixels(), src->pixels());
  EXPECT_THROW(rundiffuse(still, run.store, 0, 100, random, run.progress), IndexError) << "offsets leaving the store";

  PictureBox solar = boxWith(src);
  runsolarize(solar, run.store, 128, 255, run.progress);
  for (Int32 y = 1; y < 9; ++y) {
    for (Int32 x = 1; x < 11; ++x) {
      const Colour c = at(solar, x, y);
      EXPECT_GE(std::min({redOf(c), greenOf(c), blueOf(c)}), 128) << x << "," << y;
    }
  }

  // Flat: the bias alone. Brighter than the lower-right neighbour by 200:
  // 200 + 128 is limited to 255; darker by 200: |-200 + 128| = 72.
  struct Case {
    Colour centre, lowerRight, want;
  };
  for (const Case k :
       {Case{grey(50), grey(50), grey(128)}, {grey(250), grey(50), grey(255)}, {grey(0), grey(200), grey(72)}}) {
    std::vector<Colour> px(9, grey(50));
    px[4] = k.centre;
    px[8] = k.lowerRight;
    PictureBox box = boxWith(makePicture(3, 3, px));
    runemboss(box, run.store, 128, run.progress);
    EXPECT_EQ(at(box, 1, 1), k.want);
  }
}

}  // namespace
}  // namespace quern
