#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "base/errors.h"
#include "processing/auto_threshold.h"
#include "processing/local_threshold.h"
#include "processing/luminance.h"
#include "raster_fixtures.h"

namespace quern {
namespace {

using testing::grey;
using testing::noisePicture;

// A picture made pixel by pixel.
Picture pictureOf(Int32 w, Int32 h, const std::function<Colour(Int32, Int32)>& colourAt) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h);
  for (Int32 y = 0; y < h; ++y) {
    for (Int32 x = 0; x < w; ++x) px[static_cast<std::size_t>(y) * w + x] = colourAt(x, y);
  }
  return makePicture(w, h, px);
}

// Reproducible noise of about `spread` grey levels either side.
Int32 jitter(Int32 x, Int32 y, Int32 spread) {
  const std::uint32_t h = (static_cast<std::uint32_t>(x) * 73856093U) ^ (static_cast<std::uint32_t>(y) * 19349663U);
  return static_cast<Int32>((h * 2654435761U) >> 16) % (2 * spread + 1) - spread;
}

Colour shade(double v) {
  return grey(std::clamp(static_cast<Int32>(v), 0, 255));
}

bool onlyBlackAndWhite(const Picture& p) {
  return std::all_of(p->pixels().begin(), p->pixels().end(), [](Colour c) { return c == kBlack || c == kWhite; });
}

long long inkIn(const Picture& p, Int32 x0, Int32 y0, Int32 x1, Int32 y1) {
  long long ink = 0;
  for (Int32 y = y0; y < y1; ++y) {
    for (Int32 x = x0; x < x1; ++x) ink += p->pixel(x, y) == kBlack;
  }
  return ink;
}

TEST(ChooseThreshold, SplitsBetweenTheClassesAndFallsBackWithNothingToSplit) {
  struct Case {
    const char* name;
    std::vector<std::pair<Int32, long long>> levels;  // level, count
    Int32 low;
    Int32 high;
  };
  const std::vector<Case> cases = {
      {"two equal modes: the middle of the empty levels between", {{40, 500}, {220, 500}}, 129, 130},
      {"a little ink on much paper", {{30, 40}, {35, 60}, {228, 3000}, {232, 5000}, {236, 2000}}, 35, 227},
      {"one grey only", {{180, 900}}, 127, 127},
      {"no pixels", {}, 127, 127},
  };
  for (const Case& c : cases) {
    LuminanceHistogram h{};
    for (auto [level, count] : c.levels) h[level] = count;
    const Int16 t = chooseThreshold(h);
    EXPECT_GE(t, c.low) << c.name;
    EXPECT_LE(t, c.high) << c.name;
  }
}

// Pencil strokes (grey, 150 to 160) on paper (220 to 240), and a row of red
// whose luminance (76.5) is no whole number: the threshold falls between
// strokes and paper, well above mid-grey, and is kept as the fixed one is,
// white only above it.
TEST(AutoThreshold, ChoosesBetweenInkAndPaperAndPaintsWhiteOnlyAboveIt) {
  const Picture p = pictureOf(256, 40, [](Int32 x, Int32 y) {
    if (y == 39) return rgb(255, 0, 0);
    return x % 16 < 3 ? grey(150 + (x + y) % 11) : grey(220 + (x * 7 + y) % 21);
  });
  FractionProgress progress;
  const AutoThresholdResult r = autoThreshold(p, progress);
  ASSERT_TRUE(r.picture);
  EXPECT_GE(r.threshold, 160);
  EXPECT_LT(r.threshold, 220);
  EXPECT_TRUE(onlyBlackAndWhite(r.picture));
  for (Int32 y = 0; y < 40; ++y) {
    for (Int32 x = 0; x < 256; ++x) {
      const bool white = luminanceOf(p->pixel(x, y)) > r.threshold;
      EXPECT_EQ(r.picture->pixel(x, y), white ? kWhite : kBlack) << x << "," << y << " at " << r.threshold;
    }
  }
  EXPECT_EQ(progress.fraction(), 1.0);
}

TEST(LocalWindow, ComesFromTheResolutionOrThePictureAndIsOdd) {
  EXPECT_EQ(localWindowForDpi(300, 1.0), 95);  // 8 mm = 94.5 pixels
  EXPECT_EQ(localWindowForDpi(300, 0.5), 47);  // the rescaled picture has half the pixels per millimetre
  EXPECT_EQ(localWindowForDpi(600, 1.0), 189);
  EXPECT_EQ(localWindowForDpi(10, 0.1), 3);
  EXPECT_EQ(localWindowForPicture(2480, 3508), 95);
  EXPECT_EQ(localWindowForPicture(3508, 2480), 95);
  EXPECT_EQ(localWindowForPicture(5, 5), 3);
  EXPECT_THROW(localWindowForDpi(0, 1.0), SurfaceError);
}

TEST(LocalThreshold, PlainAreasKeepTheirColour) {
  struct Case {
    const char* name;
    std::function<Colour(Int32, Int32)> colour;
    Int32 x0, y0, x1, y1;  // the region to look at
    bool black;            // what it must all be
  };
  const std::vector<Case> cases = {
      {"white paper with noise", [](Int32 x, Int32 y) { return shade(240 + jitter(x, y, 12)); }, 0, 0, 160, 120, false},
      {"grey paper with noise", [](Int32 x, Int32 y) { return shade(120 + jitter(x, y, 8)); }, 0, 0, 160, 120, false},
      // Far wider than the window: inside it there is no paper to compare with.
      {"the inside of a large black area",
       [](Int32 x, Int32 y) { return shade((x >= 30 && x < 130 && y >= 30 && y < 90 ? 25 : 235) + jitter(x, y, 10)); },
       30, 30, 130, 90, true},
  };
  for (const Case& c : cases) {
    const Picture p = pictureOf(160, 120, c.colour);
    FractionProgress progress;
    const Picture bw = localThreshold(p, {.window = 15}, progress);
    ASSERT_TRUE(onlyBlackAndWhite(bw)) << c.name;
    const long long ink = inkIn(bw, c.x0, c.y0, c.x1, c.y1);
    EXPECT_EQ(ink, c.black ? static_cast<long long>(c.x1 - c.x0) * (c.y1 - c.y0) : 0) << c.name;
  }
}

// The ring of summed rows against windows summed pixel by pixel, at sizes
// from one pixel to larger than the picture, on random colours.
TEST(LocalThreshold, MatchesWindowsSummedPixelByPixel) {
  const Picture p = noisePicture(37, 23, 11);
  for (const Int32 window : {1, 2, 3, 7, 21, 99}) {
    for (const double sensitivity : {0.0, 0.5, 0.8, 1.0}) {
      FractionProgress progress;
      const Picture bw = localThreshold(p, {.window = window, .sensitivity = sensitivity}, progress);
      const Int32 reach = window / 2;
      for (Int32 y = 0; y < 23; ++y) {
        for (Int32 x = 0; x < 37; ++x) {
          double n = 0;
          double sum = 0;
          double squares = 0;
          for (Int32 v = std::max(0, y - reach); v <= std::min(22, y + reach); ++v) {
            for (Int32 u = std::max(0, x - reach); u <= std::min(36, x + reach); ++u) {
              const double l = luminanceHundredths(p->pixel(u, v)) / 100.0;
              ++n;
              sum += l;
              squares += l * l;
            }
          }
          const double mean = sum / n;
          const double spread = std::sqrt(std::max(0.0, squares / n - mean * mean));
          const double l = luminanceOf(p->pixel(x, y));
          const double t = mean * (sensitivity + (1.0 - sensitivity) * spread / 128.0);
          // Below 64 the dark floor (a quarter of the median) may decide; near
          // the threshold itself rounding may.
          if (l < 64.0 || std::abs(l - t) < 1e-6) continue;
          const bool black = l <= t;
          ASSERT_EQ(bw->pixel(x, y), black ? kBlack : kWhite)
              << x << "," << y << " window " << window << " sensitivity " << sensitivity;
        }
      }
    }
  }
}

TEST(LocalThreshold, ReportsEachRowAndRefusesPastThePixelLimit) {
  const Picture p = noisePicture(30, 20);
  long long yields = 0;
  FractionProgress progress([&](double) { ++yields; });
  localThreshold(p, {.window = 5}, progress);
  EXPECT_EQ(yields, 20);
  EXPECT_EQ(progress.fraction(), 1.0);
  EXPECT_THROW(localThreshold(p, {.window = 5}, progress, 599), LimitError);
  EXPECT_THROW(autoThreshold(p, progress, 599), LimitError);
  EXPECT_THROW(localThreshold(p, {.window = 0}, progress), SurfaceError);
  EXPECT_THROW(localThreshold(p, {.window = 5, .sensitivity = 1.5}, progress), SurfaceError);
}

}  // namespace
}  // namespace quern
