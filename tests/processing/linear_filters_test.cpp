#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "processing/filter_store.h"
#include "processing/filters.h"
#include "raster_fixtures.h"

namespace quern {
namespace {

using testing::at;
using testing::boxWith;
using testing::grey;

// runcust3 and runcust5 as written, one channel of one pixel at a time.
Colour literalCust(const Picture& p, const std::vector<Int16>& w, Int32 r, Int16 norm, Int16 bias, bool takeabs,
                   Int32 x, Int32 y) {
  Int32 ch[3];
  for (int k = 0; k < 3; ++k) {
    Int16 sum = 0;
    for (Int32 i = -r; i <= r; ++i) {
      for (Int32 j = -r; j <= r; ++j) {
        const Colour c = p->pixel(x + j, y + i);
        const Int32 v = k == 0 ? redOf(c) : k == 1 ? greenOf(c) : blueOf(c);
        sum = roundToInt16(sum + v * static_cast<double>(w[static_cast<std::size_t>((i + r) * (2 * r + 1) + j + r)]));
      }
    }
    const double v = static_cast<double>(sum) / norm + bias;
    ch[k] = takeabs ? roundToInt16(std::fabs(v)) : std::clamp<Int32>(roundToInt16(v), 0, 255);
  }
  return rgb(std::min(ch[0], 255), std::min(ch[1], 255), std::min(ch[2], 255));
}

TEST(Cust, MatchesTheLiteralKernelWithItsNormBiasAndAbsAndKeepsTheOuterBand) {
  std::mt19937 rng(5);
  std::uniform_int_distribution<int> weight(-3, 3);
  for (int trial = 0; trial < 40; ++trial) {
    const Int32 r = 1 + trial % 2;
    std::vector<Int16> w(static_cast<std::size_t>((2 * r + 1) * (2 * r + 1)));
    for (Int16& v : w) v = static_cast<Int16>(weight(rng));
    const auto norm = static_cast<Int16>(trial % 5 == 0 ? -3 : 1 + rng() % 30);
    const auto bias = static_cast<Int16>(static_cast<int>(rng() % 300) - 150);
    const bool takeabs = trial % 3 == 0;
    const Picture src = testing::noisePicture(9 + trial % 4, 8, static_cast<std::uint32_t>(trial));
    const Int32 width = src->pixelWidth();
    PictureBox box = boxWith(src);
    testing::FilterRun run;
    if (r == 1) {
      runcust3(box, run.store, FilterArray(3, {w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8]}), norm, bias,
               takeabs, run.progress);
    } else {
      runcust5(box, run.store, FilterArray(5, {w[0],  w[1],  w[2],  w[3],  w[4],  w[5],  w[6],  w[7],  w[8],
                                               w[9],  w[10], w[11], w[12], w[13], w[14], w[15], w[16], w[17],
                                               w[18], w[19], w[20], w[21], w[22], w[23], w[24]}),
               norm, bias, takeabs, run.progress);
    }
    for (Int32 y = 0; y < 8; ++y) {
      for (Int32 x = 0; x < width; ++x) {
        const bool band = x < r || y < r || x >= width - r || y >= 8 - r;
        ASSERT_EQ(at(box, x, y), band ? src->pixel(x, y) : literalCust(src, w, r, norm, bias, takeabs, x, y))
            << "trial " << trial << " at " << x << "," << y;
      }
    }
  }
}

TEST(Cust3, SumsAreCheckedAfterEveryTermNotOnlyAtTheEnd) {
  testing::FilterRun run;
  PictureBox box = boxWith(makeFilledPicture(3, 3, kWhite));
  // 255 * 200 leaves 16 bits at the first term, though the kernel sums to 0.
  EXPECT_THROW(runcust3(box, run.store, FilterArray(3, {200, -200, 0, 0, 0, 0, 0, 0, 0}), 1, 0, false, run.progress),
               OverflowError);
  // 128 * 255 = 32640 stays inside; one more unit does not.
  EXPECT_NO_THROW(runcust3(box, run.store, FilterArray(3, {128, 0, 0, 0, 0, 0, 0, 0, 0}), 1, 0, false, run.progress));
  EXPECT_THROW(runcust3(box, run.store, FilterArray(3, {128, 1, 0, 0, 0, 0, 0, 0, 0}), 1, 0, false, run.progress),
               OverflowError);
}

// Records PB(1).Value at each chance the interface gets.
struct BarWatcher : QuietHost {
  void DoEvents() override { seen.push_back(bars[1].Value); }
  std::vector<float> seen;
};

TEST(Smooth, IsTheMeanOfNineFromTenHighMovingTheBarRowByRowAndLeavesLowerPicturesAlone) {
  const FilterArray ones(3, {1, 1, 1, 1, 1, 1, 1, 1, 1});
  for (const auto& [w, h] : {std::pair{20, 9}, {23, 10}, {2, 100}}) {
    BarWatcher host;
    HostProgress hostProgress(host, 1);
    FilterStore store;
    host.bars[1] = {0.0F, 100.0F, 55.0F};
    const Picture src = testing::noisePicture(w, h);
    PictureBox box = boxWith(src);
    runsmooth(box, store, hostProgress);
    const bool works = h >= 10;
    PictureBox mean = boxWith(src);
    testing::FilterRun other;
    runcust3(mean, other.store, ones, 9, 0, false, other.progress);
    EXPECT_EQ(box.Image()->pixels(), works ? mean.Image()->pixels() : src->pixels()) << w << "x" << h;
    EXPECT_EQ(host.bars[1].Max, works ? static_cast<float>(h - 1) : 100.0F);
    EXPECT_EQ(host.bars[1].Value, works ? 0.0F : 55.0F);
    if (works) {  // every row loaded, then rows 1..h-2 of the kernel, each reporting its row
      ASSERT_EQ(host.seen.size(), static_cast<std::size_t>(2 * h - 2));
      for (Int32 y = 1; y <= h - 2; ++y) EXPECT_EQ(host.seen[static_cast<std::size_t>(h - 1 + y)], y);
    }
  }
}

// Greys smoothed a byte a pixel are the greys of the colour smoothing, at
// every size, inside and on the outer band.
TEST(Smooth, GreysByTheByteAreTheColourSmoothingsGreys) {
  for (const auto& [w, h] : {std::pair{1, 12}, {2, 10}, {3, 11}, {17, 9}, {17, 10}, {33, 14}, {40, 23}}) {
    const Picture src = testing::greyNoisePicture(w, h, static_cast<std::uint32_t>(w * 7 + h));
    std::vector<Colour> colours;
    smoothEachRow(src->data(), w, h, [&](Int32, const Colour* row) { colours.insert(colours.end(), row, row + w); });
    std::vector<Colour> greys;
    std::vector<Int32> order;
    smoothEachGreyRow(src->data(), w, h, [&](Int32 y, const std::uint8_t* row) {
      order.push_back(y);
      for (Int32 x = 0; x < w; ++x) greys.push_back(grey(row[x]));
    });
    EXPECT_EQ(greys, colours) << w << "x" << h;
    ASSERT_EQ(order.size(), static_cast<std::size_t>(h)) << w << "x" << h;
    for (Int32 y = 0; y < h; ++y) EXPECT_EQ(order[static_cast<std::size_t>(y)], y);
  }
}

TEST(Sharpen, ComparesWithTheUpperLeftNeighbourOnlyAndRoundsTiesToEven) {
  for (const auto& [c, d, out] :
       {std::array{11, 10, 12}, {10, 9, 10}, {100, 100, 100}, {250, 100, 255}, {20, 100, 0}}) {
    testing::FilterRun run;
    PictureBox box = boxWith(testing::greys3({d, 77, 77, 77, c, 77, 77, 77, 77}));
    runsharpen(box, run.store, run.progress);
    EXPECT_EQ(at(box, 1, 1), grey(out)) << c << " after " << d;
  }
}

}  // namespace
}  // namespace quern
