#pragma once

#include <string>

#include "surface/picture_box.h"

namespace quern {

// The box's bitmap as an uncompressed 24-bit BMP file. The review page's
// pictures are written this way: a browser shows them as well as a PNG, and
// they cost a copy instead of a compression, which on a noisy scan is most of
// what a PNG preview takes.
std::string bmpFileOf(const PictureBox& box);

// The box's bitmap saved with the careful writer: a BMP when the name ends in
// ".bmp", a PNG otherwise. Throws FileError.
void saveBoxPicture(const PictureBox& box, const std::string& path);

}  // namespace quern
