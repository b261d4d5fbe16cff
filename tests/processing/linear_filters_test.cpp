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

TEST(Smooth, OneWhitePixelInBlackSpreadsAs28OverItsWindow) {
  QuietHost host;
  std::vector<Colour> px(12 * 12, kBlack);
  px[5 * 12 + 5] = kWhite;
  PictureBox box = boxWith(makePicture(12, 12, px));
  runsmooth(box, host);
  for (Int32 y = 0; y < 12; ++y) {
    for (Int32 x = 0; x < 12; ++x) {
      const bool near = std::abs(x - 5) <= 1 && std::abs(y - 5) <= 1;
      EXPECT_EQ(at(box, x, y), near ? grey(28) : kBlack) << x << "," << y;
    }
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

}  // namespace
}  // namespace quern
