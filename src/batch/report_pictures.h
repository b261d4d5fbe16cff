#pragma once

#include <string>

#include "surface/picture_box.h"

namespace quern {

// The box's bitmap as an uncompressed 24-bit BMP file. The review page's
// pictures are written this way: a browser shows them as well as a PNG, and
// they cost a copy instead of a compression, which on a noisy scan is most of
// what a PNG preview takes.
std::string bmpFileOf(const PictureBox& box);

// The box's bitmap made `by` times smaller a side (rounded up). Each pixel
// stands for a block of the bitmap: `line` when the block holds a pixel of
// that colour, otherwise the AND of the block as PaintPicture shrinks, so that
// every line drawn in `line` and the dark line work under it both survive.
PictureBox shrunkKeeping(const PictureBox& box, Int32 by, Colour line);

// The box's bitmap saved with the careful writer: a BMP when the name ends in
// ".bmp", a PNG otherwise. Throws FileError.
void saveBoxPicture(const PictureBox& box, const std::string& path);

}  // namespace quern
