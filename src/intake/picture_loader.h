#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "surface/picture.h"

namespace quern {

class PictureBox;

// Largest picture the loader takes, in pixels (about 6300 by 6300); bigger
// files are refused before their pixels are decoded.
inline constexpr long long kMaxPicturePixels = 40'000'000;

// The extension test of the intake: the last three characters of the path,
// case included; nothing when the path is shorter than three characters. Only
// "jpg", "JPG", "BMP", "bmp", "gif" and "GIF" are accepted.
std::optional<std::string> pictureExtension(const std::string& path);
bool isPictureExtension(const std::string& extension);

// Decodes a JPEG, BMP or GIF file (or any format the readers know, chosen by
// content) into a picture. Transparent pixels come out white. Throws
// FileError naming the file and the reason when it cannot.
Picture loadPictureFile(const std::string& path);
// The same for bytes in memory; `what` names them in an error.
Picture decodePicture(const unsigned char* data, std::size_t size, const std::string& what);
// Writes a box's persistent bitmap as a PNG file; throws FileError.
void saveBitmapPng(const PictureBox& box, const std::string& path);

}  // namespace quern
