#include "processing/local_threshold.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "processing/auto_threshold.h"
#include "processing/luminance.h"
#include "processing/threshold_support.h"

namespace quern {

namespace {

// luminanceHundredths for the colours a picture holds (never -1), by masks.
inline std::int32_t hundredths(Colour c) {
  return 30 * (c & 0xFF) + 59 * ((c >> 8) & 0xFF) + 11 * ((c >> 16) & 0xFF);
}

// A whole number from 0 to 2^52 as a double, by placing its bits under the
// exponent of 2^52: the same value as a conversion, in steps that vectorise.
inline double exactDouble(std::int64_t v) {
  return std::bit_cast<double>(static_cast<std::uint64_t>(v) | 0x4330000000000000ULL) - 4503599627370496.0;
}

Int32 oddWindow(double side) {
  const Int32 whole = std::max<Int32>(3, roundToInt32(side));
  return whole % 2 == 0 ? whole + 1 : whole;
}

// The picture's median luminance from every fourth pixel of every fourth
// row: plenty for a level that only has to tell paper from ink.
double medianLuminance(const PictureData& picture) {
  LuminanceHistogram histogram{};
  long long samples = 0;
  for (Int32 y = 0; y < picture.pixelHeight(); y += 4) {
    const Colour* row = picture.data() + static_cast<std::size_t>(y) * picture.pixelWidth();
    for (Int32 x = 0; x < picture.pixelWidth(); x += 4) {
      ++histogram[std::clamp(luminanceHundredths(row[x]) / 100, 0, 255)];
      ++samples;
    }
  }
  long long seen = 0;
  for (Int32 v = 0; v < 256; ++v) {
    seen += histogram[v];
    if (2 * seen >= samples) return v;
  }
  return 255.0;
}

// Summed-area rows of the luminance (in hundredths) and of its square, kept
// in a ring just deep enough for the rows one window spans. Row k holds the
// sums over all pixels above row k and left of each column, so any window
// is four lookups in two rows.
class SummedRows {
 public:
  SummedRows(const PictureData& picture, Int32 depth)
      : picture_(picture),
        stride_(static_cast<std::size_t>(picture.pixelWidth()) + 1),
        depth_(depth),
        sums_(stride_ * depth, 0),
        squares_(stride_ * depth, 0),
        values_(stride_),
        valueSquares_(stride_) {}

  // Makes sure rows up to `k` are there; the caller asks in rising order and
  // never for a row more than depth - 1 below the newest.
  void fillTo(Int32 k) {
    for (; ready_ < k; ++ready_) {
      const std::int64_t* aboveSums = sums(ready_);
      const std::int64_t* aboveSquares = squares(ready_);
      std::int64_t* rowSums = slot(sums_, ready_ + 1);
      std::int64_t* rowSquares = slot(squares_, ready_ + 1);
      const Colour* pixels = picture_.data() + static_cast<std::size_t>(ready_) * picture_.pixelWidth();
      // The luminances first, in a pass that vectorises (a square of
      // hundredths fits 32 bits), then the running sums, which cannot.
      for (std::size_t x = 0; x + 1 < stride_; ++x) {
        values_[x] = hundredths(pixels[x]);
        valueSquares_[x] = values_[x] * values_[x];
      }
      std::int64_t runSum = 0;
      std::int64_t runSquare = 0;
      rowSums[0] = rowSquares[0] = 0;
      for (std::size_t x = 0; x + 1 < stride_; ++x) {
        runSum += values_[x];
        runSquare += valueSquares_[x];
        rowSums[x + 1] = aboveSums[x + 1] + runSum;
        rowSquares[x + 1] = aboveSquares[x + 1] + runSquare;
      }
    }
  }

  const std::int64_t* sums(Int32 k) const { return sums_.data() + stride_ * static_cast<std::size_t>(k % depth_); }
  const std::int64_t* squares(Int32 k) const {
    return squares_.data() + stride_ * static_cast<std::size_t>(k % depth_);
  }

 private:
  std::int64_t* slot(std::vector<std::int64_t>& table, Int32 k) {
    return table.data() + stride_ * static_cast<std::size_t>(k % depth_);
  }

  const PictureData& picture_;
  std::size_t stride_;
  Int32 depth_;
  std::vector<std::int64_t> sums_;
  std::vector<std::int64_t> squares_;
  std::vector<std::int32_t> values_;
  std::vector<std::int32_t> valueSquares_;
  Int32 ready_ = 0;  // row 0, all zeros, is there from the start
};

}  // namespace

Int32 localWindowForDpi(double dpi, double scale) {
  if (!(dpi > 0.0) || !(scale > 0.0)) throw SurfaceError("a local threshold needs a resolution and a scale above 0");
  return oddWindow(kLocalWindowMillimetres / 25.4 * dpi * scale);
}

Int32 localWindowForPicture(Int32 width, Int32 height) {
  return oddWindow(kLocalWindowShare * std::max<Int32>(0, std::min(width, height)));
}

Picture localThreshold(const Picture& picture, const LocalThreshold& options, Progress& progress,
                       long long pixelLimit) {
  if (options.window < 1) throw SurfaceError("the window of a local threshold must be at least 1 pixel");
  if (!(options.sensitivity >= 0.0 && options.sensitivity <= 1.0)) {
    throw SurfaceError("the sensitivity of a local threshold runs from 0 to 1");
  }
  if (!picture) return {};
  checkThresholdLimit(*picture, pixelLimit);
  const Int32 width = picture->pixelWidth();
  const Int32 height = picture->pixelHeight();
  ProgressBar& bar = progress.bar();
  bar.Max = static_cast<float>(height);
  bar.Value = 0.0F;
  if (picture->area() == 0) return picture;

  PixelBuffer out = allocatePixels(static_cast<long long>(picture->area()), pixelLimit);
  const Int32 reach = options.window / 2;
  // Rows y - reach and y + reach + 1 of the sums are read together.
  SummedRows rows(*picture, std::min(height + 1, 2 * reach + 2));
  const double darkFloor = medianLuminance(*picture) / 4.0;
  const double share = options.sensitivity;
  // The spread term in luminance units: (1 - sensitivity) / 128, and the
  // sums are in hundredths.
  const double spreadWeight = (1.0 - options.sensitivity) / 128.0;

  // One pixel's verdict from its window's sums, `perCount` being 1 / (100 n):
  // luminance <= mean * (share + spreadWeight * spread), without a root
  // (past the share of the mean, compare squares) and without branches, so
  // the long run across the middle of a row vectorises.
  auto colourOf = [&](double luminance, double sum, double square, double perCount) {
    const double mean = sum * perCount;
    const double variance = square * perCount * 0.01 - mean * mean;
    const double over = luminance - share * mean;
    const double reachUp = spreadWeight * mean;
    const bool paper = (luminance > darkFloor) & (over > 0.0) & (over * over > reachUp * reachUp * variance);
    return paper ? kWhite : kBlack;
  };

  std::vector<double> luminance(static_cast<std::size_t>(width));
  // The sums of the band of rows a window spans, per column from the left
  // edge: whole numbers, exact as doubles while below 2^52, so a window is a
  // difference of two doubles.
  std::vector<double> bandSums(static_cast<std::size_t>(width) + 1);
  std::vector<double> bandSquares(static_cast<std::size_t>(width) + 1);
  const bool quickDoubles =
      static_cast<double>(std::min(height, 2 * reach + 1)) * width * 650250000.0 < 4503599627370496.0;
  for (Int32 y = 0; y < height; ++y) {
    const Int32 top = std::max(0, y - reach);
    const Int32 bottom = std::min(height, y + reach + 1);
    rows.fillTo(bottom);
    const std::int64_t* sumsTop = rows.sums(top);
    const std::int64_t* sumsBottom = rows.sums(bottom);
    const std::int64_t* squaresTop = rows.squares(top);
    const std::int64_t* squaresBottom = rows.squares(bottom);
    if (quickDoubles) {
      for (Int32 x = 0; x <= width; ++x) {
        bandSums[x] = exactDouble(sumsBottom[x] - sumsTop[x]);
        bandSquares[x] = exactDouble(squaresBottom[x] - squaresTop[x]);
      }
    } else {
      for (Int32 x = 0; x <= width; ++x) {
        bandSums[x] = static_cast<double>(sumsBottom[x] - sumsTop[x]);
        bandSquares[x] = static_cast<double>(squaresBottom[x] - squaresTop[x]);
      }
    }
    const double windowRows = bottom - top;
    const Colour* pixels = picture->data() + static_cast<std::size_t>(y) * width;
    Colour* dest = out.get() + static_cast<std::size_t>(y) * width;
    // luminanceOf, by masks: the same products and sums, so the same doubles.
    for (Int32 x = 0; x < width; ++x) {
      const Colour c = pixels[x];
      luminance[x] = (0.3 * (c & 0xFF) + 0.59 * ((c >> 8) & 0xFF)) + 0.11 * ((c >> 16) & 0xFF);
    }

    auto between = [&](Int32 x, Int32 left, Int32 right, double perCount) {
      return colourOf(luminance[x], bandSums[right] - bandSums[left], bandSquares[right] - bandSquares[left], perCount);
    };
    // Near the left and right edges the window is cut back to the picture.
    auto cutBack = [&](Int32 x) {
      const Int32 left = std::max(0, x - reach);
      const Int32 right = std::min(width, x + reach + 1);
      return between(x, left, right, 1.0 / (100.0 * (right - left) * windowRows));
    };
    for (Int32 x = 0; x < std::min(reach, width); ++x) dest[x] = cutBack(x);
    const double perCount = 1.0 / (100.0 * (2 * reach + 1) * windowRows);
    const double* lum = luminance.data();
    const double* sums = bandSums.data();
    const double* squares = bandSquares.data();
    for (Int32 x = reach; x < width - reach; ++x) {
      dest[x] = colourOf(lum[x], sums[x + reach + 1] - sums[x - reach], squares[x + reach + 1] - squares[x - reach],
                         perCount);
    }
    for (Int32 x = std::max(reach, width - reach); x < width; ++x) dest[x] = cutBack(x);
    progress.yield();
    bar.Value = static_cast<float>(y + 1);
  }
  return makePicture(width, height, std::move(out));
}

}  // namespace quern
