#pragma once

#include "base/host.h"
#include "base/numbers.h"
#include "surface/picture_box.h"

namespace quern {

// Larger pictures are refused by makeblackwhite, with a message.
inline constexpr Int32 kBlackWhiteLimit = 1500;
inline constexpr const char* kImageTooLarge = "Image too large to process. Please try loading a smaller image.";

// Paints every pixel of `picture` white where its luminance
// (0.3 r + 0.59 g) + 0.11 b is above `threshold`, black otherwise. Moves
// PB(2) and lets the interface run after each row. A picture wider or higher
// than 1500 pixels is left as it is and the user is told: then the result is
// false, so that the caller need not commit an unchanged picture.
bool makeblackwhite(PictureBox& picture, Int16 threshold, Host& host, Int32 limit = kBlackWhiteLimit);

}  // namespace quern
