#pragma once

#include <memory>
#include <vector>

#include "base/host.h"
#include "base/numbers.h"

namespace quern {

// Screen resolution the surfaces count with: 96 dots per inch, 15 twips per pixel.
inline constexpr Int32 kTwipsPerPixel = kDefaultTwipsPerPixel;
inline constexpr double kHimetricPerPixel = 2540.0 / 96.0;  // hundredths of a millimetre

// An immutable raster: pixels 0x00BBGGRR, row by row from the top left.
// Shared between boxes; a hand-on copies the pointer, never the pixels.
class PictureData {
 public:
  PictureData(Int32 width, Int32 height, std::vector<Colour> pixels);

  Int32 pixelWidth() const { return width_; }
  Int32 pixelHeight() const { return height_; }
  const std::vector<Colour>& pixels() const { return pixels_; }
  Colour pixel(Int32 x, Int32 y) const { return pixels_[static_cast<std::size_t>(y) * width_ + x]; }

  // Native size in hundredths of a millimetre at the screen's resolution.
  Int32 Width() const;
  Int32 Height() const;
  // Non-zero and unique while the picture lives.
  Int32 Handle() const { return handle_; }

 private:
  Int32 width_;
  Int32 height_;
  std::vector<Colour> pixels_;
  Int32 handle_;
};

// A picture object: null means "no picture" (Handle 0).
using Picture = std::shared_ptr<const PictureData>;

Picture makePicture(Int32 width, Int32 height, std::vector<Colour> pixels);
Picture makeFilledPicture(Int32 width, Int32 height, Colour colour);
inline Int32 handleOf(const Picture& p) { return p ? p->Handle() : 0; }

}  // namespace quern
