#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "processing/filter_store.h"
#include "processing/filters.h"
#include "raster_fixtures.h"

namespace quern {
namespace {

using testing::at;
using testing::boxWith;
using testing::grey;

using Kernel = std::function<void(PictureBox&, Host&)>;

const FilterArray kOnes3(3, {1, 1, 1, 1, 1, 1, 1, 1, 1});
const FilterArray kOnes5(5, {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1});
const FilterArray kEdge3(3, {-1, -1, -1, -1, 8, -1, -1, -1, -1});

struct NamedKernel {
  std::string name;
  Kernel run;
  Int32 band;
};

std::vector<NamedKernel> linearKernels() {
  return {
      {"smooth", [](PictureBox& b, Host& h) { runsmooth(b, h); }, 1},
      {"sharpen", [](PictureBox& b, Host& h) { runsharpen(b, h); }, 1},
      {"cust3", [](PictureBox& b, Host& h) { runcust3(b, kOnes3, 9, 0, false, h); }, 1},
      {"cust5", [](PictureBox& b, Host& h) { runcust5(b, kOnes5, 25, 0, false, h); }, 2},
  };
}

TEST(LinearFilters, UniformPictureIsUnchanged) {
  for (const NamedKernel& k : linearKernels()) {
    QuietHost host;
    const Picture flat = makeFilledPicture(12, 11, rgb(200, 17, 93));
    PictureBox box = boxWith(flat);
    k.run(box, host);
    EXPECT_EQ(box.Image()->pixels(), flat->pixels()) << k.name;
  }
}

TEST(LinearFilters, OuterBandOfTheRadiusKeepsItsColours) {
  for (const NamedKernel& k : linearKernels()) {
    QuietHost host;
    const Picture src = testing::noisePicture(14, 12);
    PictureBox box = boxWith(src);
    k.run(box, host);
    Int32 changedInside = 0;
    for (Int32 y = 0; y < 12; ++y) {
      for (Int32 x = 0; x < 14; ++x) {
        const bool inBand = x < k.band || y < k.band || x >= 14 - k.band || y >= 12 - k.band;
        if (inBand) {
          EXPECT_EQ(at(box, x, y), src->pixel(x, y)) << k.name << " " << x << "," << y;
        } else if (at(box, x, y) != src->pixel(x, y)) {
          ++changedInside;
        }
      }
    }
    EXPECT_GT(changedInside, 0) << k.name;
  }
}

// Records PB(1).Value at each chance the interface gets.
class BarWatcher : public QuietHost {
 public:
  void DoEvents() override {
    QuietHost::DoEvents();
    seen.push_back(bars[1].Value);
  }
  std::vector<float> seen;
};

TEST(Smooth, PicturesUnder10HighAreLeftAloneAndTheBarUntouched) {
  struct Case {
    Int32 w, h;
    bool works;
  };
  for (const Case c : {Case{20, 9, false}, {20, 10, true}}) {
    BarWatcher host;
    host.bars[1] = {0.0F, 100.0F, 55.0F};
    std::vector<Colour> px(static_cast<std::size_t>(c.w) * c.h, kBlack);
    px[static_cast<std::size_t>(4 * c.w + 4)] = kWhite;
    PictureBox box = boxWith(makePicture(c.w, c.h, px));
    runsmooth(box, host);
    EXPECT_EQ(at(box, 5, 5), c.works ? grey(28) : kBlack) << c.h;
    EXPECT_EQ(host.bars[1].Max, c.works ? static_cast<float>(c.h - 1) : 100.0F);
    EXPECT_EQ(host.bars[1].Value, c.works ? 0.0F : 55.0F);
  }
}

TEST(Smooth, NarrowPictureRunsTheBarThroughEveryRowAndPaintsNothing) {
  BarWatcher host;
  const Picture src = testing::noisePicture(2, 100);
  PictureBox box = boxWith(src);
  runsmooth(box, host);
  EXPECT_EQ(box.Image()->pixels(), src->pixels());
  EXPECT_EQ(host.bars[1].Max, 99.0F);
  EXPECT_EQ(host.bars[1].Value, 0.0F);
  // 100 rows loaded, then rows 1..98 of the kernel, each reporting its row.
  ASSERT_EQ(host.seen.size(), 100U + 98U);
  for (Int32 y = 1; y <= 98; ++y) EXPECT_EQ(host.seen[99 + y], static_cast<float>(y));
}

TEST(Smooth, MatchesTheMeanOfEachWindowOnNoise) {
  QuietHost host;
  const Picture src = testing::noisePicture(23, 17, 11);
  PictureBox box = boxWith(src);
  runsmooth(box, host);
  for (Int32 y = 1; y < 16; ++y) {
    for (Int32 x = 1; x < 22; ++x) {
      Int32 sum[3] = {0, 0, 0};
      for (Int32 i = -1; i <= 1; ++i) {
        for (Int32 j = -1; j <= 1; ++j) {
          const Colour c = src->pixel(x + j, y + i);
          sum[0] += redOf(c);
          sum[1] += greenOf(c);
          sum[2] += blueOf(c);
        }
      }
      const Colour want = rgb(roundToInt32(sum[0] / 9.0), roundToInt32(sum[1] / 9.0), roundToInt32(sum[2] / 9.0));
      ASSERT_EQ(at(box, x, y), want) << x << "," << y;
    }
  }
}

TEST(Sharpen, ComparesWithTheUpperLeftNeighbourOnlyAndRoundsTiesToEven) {
  struct Case {
    Int32 c, d, out;
  };
  for (const Case k : {Case{11, 10, 12}, {10, 9, 10}, {100, 100, 100}, {250, 100, 255}, {20, 100, 0}}) {
    // Upper-left neighbour d, the pixel c, everything else something else again.
    std::vector<Colour> px(9, grey(77));
    px[0] = grey(k.d);
    px[4] = grey(k.c);
    QuietHost host;
    PictureBox box = boxWith(makePicture(3, 3, px));
    runsharpen(box, host);
    EXPECT_EQ(at(box, 1, 1), grey(k.out)) << k.c << " after " << k.d;
  }
}

TEST(Cust3, KernelIsLaidOnAsWrittenWithoutFlipping) {
  // Weight only at row 0, column 2: the pixel above and to the right.
  const FilterArray upRight(3, {0, 0, 1, 0, 0, 0, 0, 0, 0});
  QuietHost host;
  const Picture src = testing::noisePicture(6, 5);
  PictureBox box = boxWith(src);
  runcust3(box, upRight, 1, 0, false, host);
  for (Int32 y = 1; y < 4; ++y) {
    for (Int32 x = 1; x < 5; ++x) EXPECT_EQ(at(box, x, y), src->pixel(x + 1, y - 1)) << x << "," << y;
  }
}

TEST(Cust3, EdgeKernelWithAbsBiasOrCut) {
  // A vertical edge: black left half, grey 100 right half.
  std::vector<Colour> px(8 * 5);
  for (Int32 i = 0; i < 40; ++i) px[i] = i % 8 < 4 ? kBlack : grey(100);
  const Picture edge = makePicture(8, 5, px);
  const FilterArray leftMinusRight(3, {1, 0, -1, 1, 0, -1, 1, 0, -1});
  struct Case {
    Int16 norm, bias;
    bool takeabs;
    Int32 atDarkSide, atLightSide, onFlat;
  };
  // Column 3 sees 0 - 100 three times (-300), column 4 sees 0 - 100 too; flat areas 0.
  const Case cases[] = {
      {3, 0, true, 100, 100, 0},     // edges light on black
      {3, 0, false, 0, 0, 0},        // the negative half cut to 0
      {1, 128, false, 0, 0, 128},    // grey 128 on flat areas
      {6, 128, false, 78, 78, 128},  // -50 + 128
  };
  for (const Case& c : cases) {
    QuietHost host;
    PictureBox box = boxWith(edge);
    runcust3(box, leftMinusRight, c.norm, c.bias, c.takeabs, host);
    EXPECT_EQ(at(box, 3, 2), grey(c.atDarkSide)) << c.norm << " " << c.bias << " " << c.takeabs;
    EXPECT_EQ(at(box, 4, 2), grey(c.atLightSide)) << c.norm << " " << c.bias << " " << c.takeabs;
    EXPECT_EQ(at(box, 1, 2), grey(c.onFlat)) << c.norm << " " << c.bias << " " << c.takeabs;
    EXPECT_EQ(at(box, 6, 2), grey(c.onFlat)) << c.norm << " " << c.bias << " " << c.takeabs;
  }
}

TEST(Cust3, SumsAreCheckedAfterEveryTermNotOnlyAtTheEnd) {
  QuietHost host;
  // 255 * 200 leaves 16 bits at the first term, though the kernel sums to 0.
  const FilterArray swing(3, {200, -200, 0, 0, 0, 0, 0, 0, 0});
  PictureBox box = boxWith(makeFilledPicture(3, 3, kWhite));
  EXPECT_THROW(runcust3(box, swing, 1, 0, false, host), OverflowError);
  // 128 * 255 = 32640 stays inside; one more unit does not.
  const FilterArray justFits(3, {128, 0, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_NO_THROW(runcust3(box, justFits, 1, 0, false, host));
  const FilterArray justOver(3, {128, 1, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_THROW(runcust3(box, justOver, 1, 0, false, host), OverflowError);
}

}  // namespace
}  // namespace quern
