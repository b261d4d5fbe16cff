#include "processing/rank_filters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>

#include "raster_fixtures.h"

namespace quern {
namespace {

using testing::at;
using testing::boxWith;
using testing::grey;

Picture windowOf(const std::array<Int32, 9>& values) {
  std::vector<Colour> px;
  for (Int32 v : values) px.push_back(grey(v));
  return makePicture(3, 3, px);
}

TEST(RankPasses, LeaveSomeListsUnsortedAndPositionFourAsItStands) {
  Int16 descending[9] = {9, 8, 7, 6, 5, 4, 3, 2, 1};
  rankPasses(descending, [](Int16 a, Int16 b) { return a > b; });
  EXPECT_EQ(std::vector<Int16>(descending, descending + 9), (std::vector<Int16>{8, 6, 4, 2, 1, 3, 5, 7, 9}));

  struct Case {
    std::array<Int32, 9> window;
    Int32 median;
  };
  for (const Case& c : {Case{{1, 2, 3, 4, 5, 6, 7, 8, 9}, 5}, {{9, 8, 7, 6, 5, 4, 3, 2, 1}, 1}}) {
    QuietHost host;
    PictureBox plain = boxWith(windowOf(c.window));
    runmedian(plain, 0, false, host);
    EXPECT_EQ(at(plain, 1, 1), grey(c.median));
    PictureBox byColour = boxWith(windowOf(c.window));
    runmedianKC(byColour, 0, false, host);
    EXPECT_EQ(at(byColour, 1, 1), grey(c.median));
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
    for (int kc = 0; kc < 2; ++kc) {
      QuietHost host;
      PictureBox box = boxWith(makeFilledPicture(4, 4, rgb(30, 200, 90)));
      if (kc) {
        runmedianKC(box, c.bias, c.takeabs, host);
      } else {
        runmedian(box, c.bias, c.takeabs, host);
      }
      EXPECT_EQ(at(box, 1, 2), c.out) << "KC " << kc << " bias " << c.bias << " abs " << c.takeabs;
      EXPECT_EQ(at(box, 0, 0), rgb(30, 200, 90));
    }
  }
}

TEST(RankFilters, MedianRemovesALoneWhitePixel) {
  QuietHost host;
  std::vector<Colour> px(7 * 7, kBlack);
  px[3 * 7 + 3] = kWhite;
  PictureBox box = boxWith(makePicture(7, 7, px));
  runmedian(box, 0, false, host);
  const Picture out = box.Image();
  for (Colour c : out->pixels()) EXPECT_EQ(c, kBlack);
}

TEST(RankFilters, MedianKCKeepsWindowColoursWhereMedianMixesChannels) {
  // Channels ranked apart: red rises, green falls, blue is constant, over the nine pixels.
  std::vector<Colour> px;
  for (Int32 k = 0; k < 9; ++k) px.push_back(rgb(10 * k, 240 - 25 * k, 7));
  const Picture src = makePicture(3, 3, px);
  const std::set<Colour> window(px.begin(), px.end());

  QuietHost host;
  PictureBox kc = boxWith(src);
  runmedianKC(kc, 0, false, host);
  EXPECT_TRUE(window.count(at(kc, 1, 1)));

  PictureBox mixed = boxWith(src);
  runmedian(mixed, 0, false, host);
  EXPECT_FALSE(window.count(at(mixed, 1, 1)));
}

TEST(PointFilters, SolarizeAndEmbossFollowTheirRules) {
  QuietHost host;
  PictureBox same = boxWith(testing::noisePicture(9, 8));
  const Picture before = same.Image();
  runsolarize(same, 0, 255, host);
  EXPECT_EQ(same.Image()->pixels(), before->pixels());

  PictureBox solar = boxWith(testing::noisePicture(9, 8));
  runsolarize(solar, 128, 255, host);
  for (Int32 y = 1; y < 7; ++y) {
    for (Int32 x = 1; x < 8; ++x) {
      const Colour c = at(solar, x, y);
      EXPECT_GE(std::min({redOf(c), greenOf(c), blueOf(c)}), 128) << x << "," << y;
    }
  }

  PictureBox flat = boxWith(makeFilledPicture(5, 5, rgb(9, 99, 199)));
  runemboss(flat, 128, host);
  EXPECT_EQ(at(flat, 2, 2), grey(128));

  // Brighter than the lower-right neighbour by 200: 200 + 128 is limited to 255;
  // darker by 200: |-200 + 128| = 72.
  std::vector<Colour> px(9, grey(50));
  px[4] = grey(250);
  PictureBox bright = boxWith(makePicture(3, 3, px));
  runemboss(bright, 128, host);
  EXPECT_EQ(at(bright, 1, 1), grey(255));
  px[4] = grey(0);
  px[8] = grey(200);
  PictureBox dark = boxWith(makePicture(3, 3, px));
  runemboss(dark, 128, host);
  EXPECT_EQ(at(dark, 1, 1), grey(72));
}

TEST(RandomSource, FreshSourcesRepeatTheSameFloatsInZeroToOne) {
  RandomSource a;
  RandomSource b;
  for (int i = 0; i < 10000; ++i) {
    const float u = a.next();
    ASSERT_EQ(u, b.next());
    ASSERT_GE(u, 0.0F);
    ASSERT_LT(u, 1.0F);
  }
}

TEST(RandomFilters, DiffuseMovesColoursOnlyWithinItsOffsets) {
  const Picture src = testing::noisePicture(12, 10);
  QuietHost host;
  RandomSource random;
  PictureBox still = boxWith(src);
  rundiffuse(still, 0, 0, random, host);
  EXPECT_EQ(still.Image()->pixels(), src->pixels());

  PictureBox moved = boxWith(src);
  rundiffuse(moved, 4, 2, random, host);
  Int32 changed = 0;
  for (Int32 y = 0; y < 10; ++y) {
    for (Int32 x = 0; x < 12; ++x) {
      const Colour c = at(moved, x, y);
      if (x < 2 || y < 2 || x >= 10 || y >= 8) {
        EXPECT_EQ(c, src->pixel(x, y));
        continue;
      }
      bool near = false;
      for (Int32 i = -2; i <= 2; ++i) {
        for (Int32 j = -2; j <= 2; ++j) near = near || src->pixel(x + j, y + i) == c;
      }
      EXPECT_TRUE(near) << x << "," << y;
      changed += c != src->pixel(x, y);
    }
  }
  EXPECT_GT(changed, 20);

  // Offsets that leave the 1501-pixel store are an error, not a stray read.
  PictureBox wild = boxWith(src);
  EXPECT_THROW(rundiffuse(wild, 0, 100, random, host), IndexError);
}

TEST(RandomFilters, PixelizeRepeatsWithAFreshSourceAndPaintsOnlyPictureColours) {
  const Picture src = testing::noisePicture(30, 27);
  QuietHost host;
  RandomSource first;
  RandomSource second;
  PictureBox a = boxWith(src);
  PictureBox b = boxWith(src);
  runpixelize(a, 4, 2, 3, 2, first, host);
  runpixelize(b, 4, 2, 3, 2, second, host);
  EXPECT_EQ(a.Image()->pixels(), b.Image()->pixels());
  EXPECT_NE(a.Image()->pixels(), src->pixels());
  // Nine rows of ten discs use 270 numbers; the rows let the interface run.
  RandomSource counter;
  for (int i = 0; i < 270; ++i) counter.next();
  EXPECT_EQ(first.next(), counter.next());
  EXPECT_EQ(host.doEventsCalls, 2 * (27 + 9));
  // Discs beyond the picture's right and lower edges take black from the store.
  const std::set<Colour> colours(src->pixels().begin(), src->pixels().end());
  const Picture painted = a.Image();
  for (Colour c : painted->pixels()) EXPECT_TRUE(colours.count(c) || c == kBlack);
}

}  // namespace
}  // namespace quern
