#include "surface/picture.h"

#include <atomic>
#include <string>

#include "base/errors.h"

namespace quern {

namespace {
Int32 nextHandle() {
  static std::atomic<Int32> counter{0};
  Int32 h = ++counter;
  if (h <= 0) {  // after two thousand million pictures, start again above 0
    counter = 1;
    h = 1;
  }
  return h;
}
}  // namespace

PictureData::PictureData(Int32 width, Int32 height, std::vector<Colour> pixels)
    : width_(width), height_(height), pixels_(std::move(pixels)), handle_(nextHandle()) {
  if (width < 1 || height < 1) {
    throw SurfaceError("Invalid picture size " + std::to_string(width) + " by " + std::to_string(height));
  }
  if (pixels_.size() != static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
    throw SurfaceError("Picture pixel count does not match its size");
  }
}

Int32 PictureData::Width() const { return roundToInt32(width_ * kHimetricPerPixel); }
Int32 PictureData::Height() const { return roundToInt32(height_ * kHimetricPerPixel); }

Picture makePicture(Int32 width, Int32 height, std::vector<Colour> pixels) {
  return std::make_shared<const PictureData>(width, height, std::move(pixels));
}

Picture makeFilledPicture(Int32 width, Int32 height, Colour colour) {
  if (width < 1 || height < 1) {
    throw SurfaceError("Invalid picture size " + std::to_string(width) + " by " + std::to_string(height));
  }
  return makePicture(width, height,
                     std::vector<Colour>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), colour));
}

}  // namespace quern
