#include "processing/colour_normalise.h"

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

bool makeblackwhite(PictureBox& picture, Int16 threshold, Host& host) {
  float width = 0.0F;
  float height = 0.0F;
  skipOnError([&] { width = picture.ScaleWidth(); });
  skipOnError([&] { height = picture.ScaleHeight(); });
  skipOnError([&] {
    ProgressBar& bar = host.PB(2);
    bar.Max = height;
    bar.Value = 0.0F;
  });
  if (width > kBlackWhiteLimit || height > kBlackWhiteLimit) {
    skipOnError([&] { host.MsgBox(kImageTooLarge); });
    return false;
  }

  // In pixel scale Point reads the bitmap itself; under a user scale it is asked.
  const bool direct = picture.ScaleMode() == kScalePixels;
  Canvas canvas(picture);
  Colour c = 0;
  // The counters are 16-bit; the limit keeps them far from overflow.
  for (Int16 y = 0; y < height; ++y) {
    const Colour* src = direct ? canvas.row(y) : nullptr;
    for (Int16 x = 0; x < width; ++x) {
      if (src && x < canvas.width()) {
        c = src[x];
      } else {
        skipOnError([&] { c = picture.Point(x, y); });
      }
      const double luminance = (0.3 * redOf(c) + 0.59 * greenOf(c)) + 0.11 * blueOf(c);
      canvas.set(x, y, luminance > threshold ? kWhite : kBlack);
    }
    skipOnError([&] {
      host.DoEvents();
      host.PB(2).Value = y;
    });
  }
  skipOnError([&] { host.PB(2).Value = 0.0F; });
  return true;
}

}  // namespace quern
