#pragma once

#include <cstdint>
#include <functional>

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

// One row of `width` colours in black and white, as makeblackwhite paints it.
void shadeRow(const Colour* row, Colour* out, Int32 width, Int16 threshold);
// shadeRow for a row of greys, one byte a pixel: a grey's luminance is the
// grey itself.
void shadeGreyRow(const std::uint8_t* greys, Colour* out, Int32 width, Int16 threshold);

// How makeblackwhite paints a bitmap of width by height colours that it
// paints whole, for a caller that keeps the rows elsewhere: row y in black
// and white is written where `into(y)` says, then handed to `made`, if given.
// The bar follows the rows as makeblackwhite keeps it; its Max is the
// caller's to set.
void shadeRows(const Colour* from, Int32 width, Int32 height, Int16 threshold, Progress& progress,
               const std::function<Colour*(Int32)>& into, const std::function<void(Int32, const Colour*)>& made = {});

}  // namespace quern
