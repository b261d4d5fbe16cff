#pragma once

#include "base/numbers.h"
#include "base/progress.h"
#include "surface/picture_box.h"

namespace quern {

// Larger pictures are refused by makeblackwhite; the control tells the user so.
inline constexpr Int32 kBlackWhiteLimit = 1500;
inline constexpr const char* kImageTooLarge = "Image too large to process. Please try loading a smaller image.";

// Paints every pixel of `picture` white where its luminance
// (0.3 r + 0.59 g) + 0.11 b is above `threshold`, black otherwise. Keeps the
// bar at the row done and gives a chance to run after each row. A picture
// wider or higher than `limit` is left as it is: then the result is false, so
// that the caller need not commit an unchanged picture, and tells the user.
bool makeblackwhite(PictureBox& picture, Int16 threshold, Progress& progress, Int32 limit = kBlackWhiteLimit);

}  // namespace quern
