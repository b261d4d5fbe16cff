#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "surface/picture_box.h"

namespace quern {

// The box's bitmap as an uncompressed 24-bit BMP file. The review page's
// previews are written this way: a browser shows them as well as a PNG, and
// they cost a copy instead of a compression, which on a noisy scan is most of
// what a PNG preview takes.
std::string bmpFileOf(const PictureBox& box);

// A preview in the review page's colours: each pixel the grey of the box's
// pixel, 0 to 254, or 255 where it shows the line colour. The lines stand
// out on any paper, and a pixel is a byte: a third of a colour preview's.
struct ReviewPicture {
  Int32 width = 0;
  Int32 height = 0;
  std::vector<std::uint8_t> pixels;  // rows top down
};
inline constexpr std::uint8_t kReviewLine = 255;
ReviewPicture reviewPicture(const PictureBox& box, Colour line);

// Half as wide and high, rounded up: each pixel the line when its block of
// two by two holds it, otherwise the block's darkest grey, so that every line
// and the dark line work under it survive.
ReviewPicture halved(const ReviewPicture& picture);

// As an eight-bit BMP file whose palette holds the greys and `line`.
std::string bmpFileOf(const ReviewPicture& picture, Colour line);

// Bytes as a data: URI of this media type, in base64.
std::string dataUri(std::string_view mediaType, std::string_view bytes);

// The box's bitmap saved with the careful writer: a BMP when the name ends in
// ".bmp", a PNG otherwise. Throws FileError.
void saveBoxPicture(const PictureBox& box, const std::string& path);

}  // namespace quern
