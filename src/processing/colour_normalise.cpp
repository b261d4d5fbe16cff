#include "processing/colour_normalise.h"

#include <algorithm>
#include <cmath>

#include "processing/filter_store.h"

namespace quern {

namespace {
// A step that fails is skipped and the run goes on.
template <typename Step>
void skipOnError(Step&& step) {
  try {
    step();
  } catch (const std::exception&) {
  }
}
}  // namespace

bool makeblackwhite(PictureBox& picture, Int16 threshold, Progress& progress, Int32 limit) {
  float width = 0.0F;
  float height = 0.0F;
  skipOnError([&] { width = picture.ScaleWidth(); });
  skipOnError([&] { height = picture.ScaleHeight(); });
  skipOnError([&] {
    ProgressBar& bar = progress.bar();
    bar.Max = height;
    bar.Value = 0.0F;
  });
  if (width > limit || height > limit) return false;

  // In pixel scale Point reads the bitmap itself; under a user scale it is asked.
  const bool direct = picture.ScaleMode() == kScalePixels;
  Canvas canvas(picture);
  // Line work has long runs of one colour: the last colour's answer is kept.
  Colour c = 0;
  Colour lastIn = kNoColour;
  Colour lastOut = kWhite;
  auto shade = [&](Colour colour) {
    if (colour != lastIn) {
      const double luminance = (0.3 * redOf(colour) + 0.59 * greenOf(colour)) + 0.11 * blueOf(colour);
      lastOut = luminance > threshold ? kWhite : kBlack;
      lastIn = colour;
    }
    return lastOut;
  };
  // The counters are 16-bit; the limit keeps them far from overflow.
  for (Int16 y = 0; y < height; ++y) {
    Colour* row = direct ? canvas.row(y) : nullptr;
    if (row) {
      const Int32 inside = std::min<Int32>(static_cast<Int32>(std::ceil(width)), canvas.width());
      for (Int32 x = 0; x < inside; ++x) row[x] = shade(row[x]);
    } else {
      for (Int16 x = 0; x < width; ++x) {
        skipOnError([&] { c = picture.Point(x, y); });
        canvas.set(x, y, shade(c));
      }
    }
    skipOnError([&] {
      progress.yield();
      progress.bar().Value = y;
    });
  }
  skipOnError([&] { progress.bar().Value = 0.0F; });
  return true;
}

}  // namespace quern
