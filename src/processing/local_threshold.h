#pragma once

#include "base/numbers.h"
#include "base/progress.h"
#include "surface/picture.h"

namespace quern {

// The side of the window of the local threshold on paper: large beside a
// stroke (so the window's mean is the paper's), small beside the way light
// changes across a page.
inline constexpr double kLocalWindowMillimetres = 8.0;
// Without a resolution: the same share of an A4 page's short side.
inline constexpr double kLocalWindowShare = kLocalWindowMillimetres / 210.0;
// Paper darker than this share of its window's mean is ink; see LocalThreshold.
inline constexpr double kDefaultSensitivity = 0.8;

struct LocalThreshold {
  // Side of the square window in pixels; an even side is taken one larger.
  Int32 window = 0;
  // A pixel on plain paper is ink when its luminance is at most this share
  // of its window's mean; where the window holds strokes (a large spread)
  // the threshold moves up towards the mean. Higher finds fainter ink.
  // 0.8 puts the threshold of white paper near 200, today's fixed threshold,
  // while a dimmed page gets a threshold dimmed in proportion.
  double sensitivity = kDefaultSensitivity;
};

// The window for a scan of `dpi` dots per inch, rescaled by `scale`:
// kLocalWindowMillimetres on the paper, at least 3 pixels, odd.
Int32 localWindowForDpi(double dpi, double scale);
// The window for a picture of unknown resolution: kLocalWindowShare of its
// short side, at least 3 pixels, odd.
Int32 localWindowForPicture(Int32 width, Int32 height);

// Black and white at a threshold of its own for every pixel, from the mean m
// and standard deviation s of the luminance in the window around it (cut
// back to the picture at its edges):
//
//   white where  luminance > m * (sensitivity + (1 - sensitivity) * s / 128)
//
// and black where the luminance is at most a quarter of the picture's median
// luminance, whatever the window says: inside a black area larger than the
// window there is no paper to compare with, and without this its noise
// would come out half white. The window sums (64-bit, exact) come from a
// summed-area table of the band of rows the window spans, moved down a row
// at a time, so the cost per pixel does not depend on the window and the
// memory is a few rows. Result: only 0x000000 and 0xFFFFFF.
//
// The bar's Max is the height; a chance to run comes after each row. Throws
// LimitError for a picture of more than `pixelLimit` pixels before any
// memory is taken, and SurfaceError for a window below 1 or a sensitivity
// outside 0 to 1.
Picture localThreshold(const Picture& picture, const LocalThreshold& options, Progress& progress,
                       long long pixelLimit = kDefaultSurfacePixelLimit);

}  // namespace quern
