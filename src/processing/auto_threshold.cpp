#include "processing/auto_threshold.h"

#include <algorithm>
#include <vector>

#include "processing/luminance.h"
#include "processing/threshold_support.h"

namespace quern {

namespace {

// The level a colour counts at: its luminance in hundredths, rounded up to
// a whole level, so that a threshold T splits the levels as it splits the
// pixels (white above T).
Int32 levelOf(Colour c) {
  return std::min((luminanceHundredths(c) + 99) / 100, 255);
}

}  // namespace

Int16 chooseThreshold(const LuminanceHistogram& histogram) {
  double total = 0.0;
  double weighted = 0.0;
  for (Int32 v = 0; v < 256; ++v) {
    total += static_cast<double>(histogram[v]);
    weighted += static_cast<double>(v) * static_cast<double>(histogram[v]);
  }
  // Counts and sums of whole numbers stay exact in doubles for any picture a
  // surface may hold, so empty levels give bit-equal variances and the
  // plateau between two modes is found whole.
  double dark = 0.0;
  double darkWeighted = 0.0;
  double best = 0.0;
  Int32 first = -1;
  Int32 last = -1;
  for (Int32 t = 0; t < 255; ++t) {
    dark += static_cast<double>(histogram[t]);
    darkWeighted += static_cast<double>(t) * static_cast<double>(histogram[t]);
    const double light = total - dark;
    if (dark == 0.0 || light == 0.0) continue;
    const double meanDiff = darkWeighted / dark - (weighted - darkWeighted) / light;
    const double between = dark * light * meanDiff * meanDiff;
    if (between > best) {
      best = between;
      first = last = t;
    } else if (between == best && first >= 0 && last == t - 1) {
      last = t;
    }
  }
  if (first < 0) return 127;
  return static_cast<Int16>((first + last) / 2);
}

AutoThresholdResult autoThreshold(const Picture& picture, Progress& progress, long long pixelLimit) {
  if (!picture) return {};
  checkThresholdLimit(*picture, pixelLimit);
  const Int32 width = picture->pixelWidth();
  const Int32 height = picture->pixelHeight();
  ProgressBar& bar = progress.bar();
  bar.Max = static_cast<float>(2.0 * height);
  bar.Value = 0.0F;

  // Four counts per level, taken in turn, so that a run of equal pixels
  // does not wait on its own last increment.
  std::vector<long long> counts(4 * 256, 0);
  for (Int32 y = 0; y < height; ++y) {
    const Colour* row = picture->data() + static_cast<std::size_t>(y) * width;
    for (Int32 x = 0; x < width; ++x) ++counts[4 * levelOf(row[x]) + (x & 3)];
    progress.yield();
    bar.Value = static_cast<float>(y + 1);
  }
  LuminanceHistogram histogram{};
  for (Int32 v = 0; v < 256; ++v)
    histogram[v] = counts[4 * v] + counts[4 * v + 1] + counts[4 * v + 2] + counts[4 * v + 3];

  AutoThresholdResult result;
  result.threshold = chooseThreshold(histogram);
  const double threshold = result.threshold;
  PixelBuffer out = allocatePixels(static_cast<long long>(picture->area()), pixelLimit);
  for (Int32 y = 0; y < height; ++y) {
    const std::size_t at = static_cast<std::size_t>(y) * width;
    const Colour* row = picture->data() + at;
    Colour* dest = out.get() + at;
    // luminanceOf, by masks (a picture holds no -1): the same doubles, and a loop that vectorises.
    for (Int32 x = 0; x < width; ++x) {
      const Colour c = row[x];
      const double luminance = (0.3 * (c & 0xFF) + 0.59 * ((c >> 8) & 0xFF)) + 0.11 * ((c >> 16) & 0xFF);
      dest[x] = luminance > threshold ? kWhite : kBlack;
    }
    progress.yield();
    bar.Value = static_cast<float>(height + y + 1);
  }
  result.picture = makePicture(width, height, std::move(out));
  return result;
}

}  // namespace quern
