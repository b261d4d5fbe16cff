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

// The summed-area table of the band of rows a window spans: per column the
// sums of the luminance (in hundredths) and of its square over those rows,
// kept up to date as the window moves down a row at a time (a row in, a row
// out), and their running totals from the left edge, so that any window in
// the band is a difference of two totals. Everything is summed in 64-bit
// integers and is exact.
class WindowBand {
 public:
  explicit WindowBand(const PictureData& picture)
      : picture_(picture),
        width_(static_cast<std::size_t>(picture.pixelWidth())),
        columnSums_(width_, 0),
        columnSquares_(width_, 0),
        values_(width_),
        sums_(width_ + 1, 0),
        squares_(width_ + 1, 0) {}

  // Moves the band to the rows from `top` to `bottom` (not included); both
  // only ever grow.
  void moveTo(Int32 top, Int32 bottom) {
    for (; bottom_ < bottom; ++bottom_) addRow<+1>(bottom_);
    for (; top_ < top; ++top_) addRow<-1>(top_);
    std::int64_t runSum = 0;
    std::int64_t runSquare = 0;
    for (std::size_t x = 0; x < width_; ++x) {
      runSum += columnSums_[x];
      runSquare += columnSquares_[x];
      sums_[x + 1] = runSum;
      squares_[x + 1] = runSquare;
    }
  }

  // Totals from the left edge to before each column, 0 to width.
  const std::int64_t* sums() const { return sums_.data(); }
  const std::int64_t* squares() const { return squares_.data(); }

 private:
  template <int sign>
  void addRow(Int32 row) {
    const Colour* pixels = picture_.data() + static_cast<std::size_t>(row) * width_;
    // The luminances first, in a pass that vectorises (a square of
    // hundredths fits 32 bits), then into the 64-bit columns.
    for (std::size_t x = 0; x < width_; ++x) values_[x] = hundredths(pixels[x]);
    for (std::size_t x = 0; x < width_; ++x) {
      const std::int64_t v = values_[x];
      columnSums_[x] += sign * v;
      columnSquares_[x] += sign * v * v;
    }
  }

  const PictureData& picture_;
  std::size_t width_;
  std::vector<std::int64_t> columnSums_;
  std::vector<std::int64_t> columnSquares_;
  std::vector<std::int32_t> values_;
  std::vector<std::int64_t> sums_;
  std::vector<std::int64_t> squares_;
  Int32 top_ = 0;
  Int32 bottom_ = 0;
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
  WindowBand band(*picture);
  // A window's sums are whole numbers below 2^52 for any window under 2600
  // pixels a side, and then a conversion that vectorises is exact.
  const bool quickDoubles = static_cast<double>(2 * reach + 1) * (2 * reach + 1) * 650250000.0 < 4503599627370496.0;
  for (Int32 y = 0; y < height; ++y) {
    const Int32 top = std::max(0, y - reach);
    const Int32 bottom = std::min(height, y + reach + 1);
    band.moveTo(top, bottom);
    const double windowRows = bottom - top;
    const Colour* pixels = picture->data() + static_cast<std::size_t>(y) * width;
    Colour* dest = out.get() + static_cast<std::size_t>(y) * width;
    // luminanceOf, by masks: the same products and sums, so the same doubles.
    for (Int32 x = 0; x < width; ++x) {
      const Colour c = pixels[x];
      luminance[x] = (0.3 * (c & 0xFF) + 0.59 * ((c >> 8) & 0xFF)) + 0.11 * ((c >> 16) & 0xFF);
    }

    const double* lum = luminance.data();
    const std::int64_t* sums = band.sums();
    const std::int64_t* squares = band.squares();
    auto row = [&](auto toDouble) {
      auto between = [&](Int32 x, Int32 left, Int32 right, double perCount) {
        return colourOf(lum[x], toDouble(sums[right] - sums[left]), toDouble(squares[right] - squares[left]), perCount);
      };
      // Near the left and right edges the window is cut back to the picture.
      auto cutBack = [&](Int32 x) {
        const Int32 left = std::max(0, x - reach);
        const Int32 right = std::min(width, x + reach + 1);
        return between(x, left, right, 1.0 / (100.0 * (right - left) * windowRows));
      };
      for (Int32 x = 0; x < std::min(reach, width); ++x) dest[x] = cutBack(x);
      const double perCount = 1.0 / (100.0 * (2 * reach + 1) * windowRows);
      for (Int32 x = reach; x < width - reach; ++x) dest[x] = between(x, x - reach, x + reach + 1, perCount);
      for (Int32 x = std::max(reach, width - reach); x < width; ++x) dest[x] = cutBack(x);
    };
    if (quickDoubles) {
      row([](std::int64_t v) { return exactDouble(v); });
    } else {
      row([](std::int64_t v) { return static_cast<double>(v); });
    }
    progress.yield();
    bar.Value = static_cast<float>(y + 1);
  }
  return makePicture(width, height, std::move(out));
}

}  // namespace quern
