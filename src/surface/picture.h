#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "base/host.h"
#include "base/numbers.h"

namespace quern {

// Screen resolution the surfaces count with: 96 dots per inch, 15 twips per pixel.
inline constexpr Int32 kTwipsPerPixel = kDefaultTwipsPerPixel;
inline constexpr double kHimetricPerPixel = 2540.0 / 96.0;  // hundredths of a millimetre

// Pixels 0x00BBGGRR, row by row from the top left. A buffer is shared by
// pictures and persistent bitmaps alike; whoever writes to one first makes
// sure nobody else holds it (copy on write).
using PixelBuffer = std::shared_ptr<Colour[]>;

// The most pixels one surface may hold unless its owner allows more: 8192 by
// 8192. Every surface is checked against its limit before it is allocated,
// so an absurd size is an error, not gigabytes of memory.
inline constexpr long long kDefaultSurfacePixelLimit = 8192LL * 8192LL;

// A buffer for `count` pixels whose contents the caller writes whole: it is
// not cleared. Throws LimitError when `count` is over `limit`.
PixelBuffer allocatePixels(long long count, long long limit = kDefaultSurfacePixelLimit);

// Greys a byte a pixel, for pictures of greys kept that way.
using GreyBuffer = std::shared_ptr<std::uint8_t[]>;
GreyBuffer allocateGreys(long long count, long long limit = kDefaultSurfacePixelLimit);

// The pixels of a picture, read only, comparable as a whole.
class PixelView {
 public:
  PixelView(const Colour* data, std::size_t size) : data_(data), size_(size) {}
  const Colour* data() const { return data_; }
  std::size_t size() const { return size_; }
  const Colour* begin() const { return data_; }
  const Colour* end() const { return data_ + size_; }
  Colour operator[](std::size_t i) const { return data_[i]; }
  friend bool operator==(const PixelView& a, const PixelView& b) {
    return a.size_ == b.size_ && std::equal(a.begin(), a.end(), b.begin());
  }

 private:
  const Colour* data_;
  std::size_t size_;
};

// An immutable raster. Shared between boxes; a hand-on copies the pointer,
// and two pictures (each with its own Handle) may share one pixel buffer.
class PictureData {
 public:
  PictureData(Int32 width, Int32 height, PixelBuffer pixels, bool grey = false);
  // A picture of greys kept a byte a pixel, rows top down: a quarter of the
  // memory, and what the stages read of such a picture. Its colours are
  // made the first time anything asks for them.
  PictureData(Int32 width, Int32 height, GreyBuffer greys);

  Int32 pixelWidth() const { return width_; }
  Int32 pixelHeight() const { return height_; }
  PixelView pixels() const { return {colours(), area()}; }
  const Colour* data() const { return colours(); }
  Colour pixel(Int32 x, Int32 y) const { return colours()[static_cast<std::size_t>(y) * width_ + x]; }
  std::size_t area() const { return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_); }

  // Native size in hundredths of a millimetre at the screen's resolution.
  Int32 Width() const;
  Int32 Height() const;
  // Non-zero and unique in the process while the picture lives.
  Int32 Handle() const { return handle_; }

  // The buffer itself, for surfaces that show the picture without a copy.
  const PixelBuffer& buffer() const {
    colours();
    return pixels_;
  }
  // The greys of a picture kept a byte a pixel; null for any other.
  const std::uint8_t* greys() const { return greys_.get(); }
  // Known to be all greys: every pixel's red, green and blue equal (and its
  // top byte clear), so that work on one channel serves all three. False
  // says nothing.
  bool grey() const { return grey_; }

 private:
  const Colour* colours() const {
    if (greys_) std::call_once(expanded_, [this] { expand(); });
    return pixels_.get();
  }
  void expand() const;

  Int32 width_;
  Int32 height_;
  mutable PixelBuffer pixels_;  // made from greys_ on first use when those are kept
  GreyBuffer greys_;
  mutable std::once_flag expanded_;
  Int32 handle_;
  bool grey_;
};

// A picture object: null means "no picture" (Handle 0).
using Picture = std::shared_ptr<const PictureData>;

// Takes a picture's rows as a pass reads them: the row's number and pixels,
// or for a picture kept as greys, its greys.
using RowSink = std::function<void(Int32, const Colour*)>;
using GreyRowSink = std::function<void(Int32, const std::uint8_t*)>;

// A picture on pixels that nobody else writes to any more.
Picture makePicture(Int32 width, Int32 height, PixelBuffer pixels, bool grey = false);
// A picture of greys kept a byte a pixel.
Picture makeGreyPicture(Int32 width, Int32 height, GreyBuffer greys);
// A picture with a copy of `pixels`, which hold width by height colours.
Picture makePicture(Int32 width, Int32 height, const std::vector<Colour>& pixels);
Picture makeFilledPicture(Int32 width, Int32 height, Colour colour);
inline Int32 handleOf(const Picture& p) {
  return p ? p->Handle() : 0;
}
// The size a box takes for a picture: 1 by 1 without one.
inline Int32 pictureWidth(const Picture& p) {
  return p ? p->pixelWidth() : 1;
}
inline Int32 pictureHeight(const Picture& p) {
  return p ? p->pixelHeight() : 1;
}

}  // namespace quern
