#pragma once

#include <string>

#include "base/errors.h"
#include "surface/picture.h"

namespace quern {

// The threshold modes refuse a picture past the caller's pixel limit before
// they take any memory for it.
inline void checkThresholdLimit(const PictureData& picture, long long pixelLimit) {
  const auto pixels = static_cast<long long>(picture.area());
  if (pixels > pixelLimit) {
    throw LimitError("black and white takes pictures of up to " + std::to_string(pixelLimit) + " pixels; this one (" +
                     std::to_string(picture.pixelWidth()) + " by " + std::to_string(picture.pixelHeight()) + ") has " +
                     std::to_string(pixels));
  }
}

}  // namespace quern
