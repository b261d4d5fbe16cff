#include "surface/picture.h"

#include <atomic>
#include <string>

#include "base/errors.h"
#include "base/zeroed_memory.h"

namespace quern {

namespace {
// Handles are unique in the whole process, whichever chain made the picture;
// the counter is the one thing all chains share, and it changes no result.
Int32 nextHandle() {
  static std::atomic<Int32> counter{0};
  Int32 h = ++counter;
  if (h <= 0) {  // after two thousand million pictures, start again above 0
    counter = 1;
    h = 1;
  }
  return h;
}

void checkSize(Int32 width, Int32 height) {
  if (width < 1 || height < 1) {
    throw SurfaceError("Invalid picture size " + std::to_string(width) + " by " + std::to_string(height));
  }
}
}  // namespace

PixelBuffer allocatePixels(long long count, long long limit) {
  if (count < 0 || count > limit) {
    throw LimitError("Out of memory: a surface of " + std::to_string(count) + " pixels is over the limit of " +
                     std::to_string(limit) + " pixels");
  }
  // Left uninitialised: every caller writes the whole buffer before reading it.
  const auto n = static_cast<std::size_t>(std::max(count, 1LL));
  PixelBuffer pixels(new Colour[n]);
  prefaultBlock(pixels.get(), n * sizeof(Colour));
  return pixels;
}

PictureData::PictureData(Int32 width, Int32 height, PixelBuffer pixels, bool grey)
    : width_(width), height_(height), pixels_(std::move(pixels)), handle_(nextHandle()), grey_(grey) {
  checkSize(width, height);
  if (!pixels_) throw SurfaceError("Picture without pixels");
}

Int32 PictureData::Width() const {
  return roundToInt32(width_ * kHimetricPerPixel);
}
Int32 PictureData::Height() const {
  return roundToInt32(height_ * kHimetricPerPixel);
}

Picture makePicture(Int32 width, Int32 height, PixelBuffer pixels, bool grey) {
  return std::make_shared<const PictureData>(width, height, std::move(pixels), grey);
}

Picture makePicture(Int32 width, Int32 height, const std::vector<Colour>& pixels) {
  checkSize(width, height);
  const long long area = static_cast<long long>(width) * height;
  if (pixels.size() != static_cast<std::size_t>(area))
    throw SurfaceError("Picture pixel count does not match its size");
  PixelBuffer buffer = allocatePixels(area, std::max(area, kDefaultSurfacePixelLimit));
  std::copy(pixels.begin(), pixels.end(), buffer.get());
  return makePicture(width, height, std::move(buffer));
}

Picture makeFilledPicture(Int32 width, Int32 height, Colour colour) {
  checkSize(width, height);
  const long long area = static_cast<long long>(width) * height;
  PixelBuffer buffer = allocatePixels(area, std::max(area, kDefaultSurfacePixelLimit));
  std::fill_n(buffer.get(), area, colour);
  return makePicture(width, height, std::move(buffer));
}

}  // namespace quern
