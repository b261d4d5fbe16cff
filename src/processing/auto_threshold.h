#pragma once

#include <array>

#include "base/numbers.h"
#include "base/progress.h"
#include "surface/picture.h"

namespace quern {

// How many pixels of a picture fall at each luminance level. A pixel counts
// at the smallest whole level not below its luminance, so that a threshold T
// leaves the levels above T white, as the fixed threshold does.
using LuminanceHistogram = std::array<long long, 256>;

// The threshold (0 to 255) that splits the histogram into the two classes of
// the largest between-class variance. Where several thresholds do equally
// well (the empty levels between two modes) the middle one is taken. With
// nothing to split (one level, or no pixels) it gives 127: dark pictures go
// black and light ones white.
Int16 chooseThreshold(const LuminanceHistogram& histogram);

struct AutoThresholdResult {
  Picture picture;  // only 0x000000 and 0xFFFFFF
  Int16 threshold = 0;
};

// Black and white at the threshold chosen from the picture's own histogram:
// white where the luminance is above it, black elsewhere. The bar's Max is
// twice the height (one pass to count, one to paint); a chance to run comes
// after each row. Throws LimitError for a picture of more than `pixelLimit`
// pixels, before any memory is taken.
AutoThresholdResult autoThreshold(const Picture& picture, Progress& progress,
                                  long long pixelLimit = kDefaultSurfacePixelLimit);

}  // namespace quern
