#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "surface/picture.h"

namespace quern {

// The extension test of the intake: the last three characters of the path,
// case included; nothing when the path is shorter than three characters. Only
// "jpg", "JPG", "BMP", "bmp", "gif" and "GIF" are accepted.
std::optional<std::string> pictureExtension(const std::string& path);
bool isPictureExtension(const std::string& extension);

// The names the batch driver takes: ending in .jpg, .jpeg, .bmp, .gif, .png,
// .tif or .tiff, in any mix of cases. The window keeps its own rule above.
bool isBatchPictureName(const std::string& path);
// The endings above, for messages.
inline constexpr const char* kBatchPictureEndings = ".jpg, .jpeg, .bmp, .gif, .png, .tif or .tiff";

class PictureBox;

// Largest picture the loader takes, in pixels (about 6300 by 6300); bigger
// files are refused before their pixels are decoded.
inline constexpr long long kMaxPicturePixels = 40'000'000;

// Loads a JPEG, BMP, GIF, PNG or TIFF file, recognised by its content
// whatever its name, into a picture. A file that is missing, not a regular
// file, not readable, too large, of another format, or not complete (cut
// short, or a header that promises more than the file holds) is refused with
// a FileError naming the file and the reason. Transparent pixels come out
// white. `maxPixels` is the largest picture taken (and, at eight bytes a
// pixel plus its headers, the largest file read). `page` counts the pages of a TIFF
// file from 1; every other format has one page.
Picture loadPictureFile(const std::string& path, long long maxPixels = kMaxPicturePixels, int page = 1);
// A picture file's bytes, read whole with the same refusals, for a caller
// that looks at the header before it decodes.
struct PictureFileBytes {
  std::unique_ptr<unsigned char[]> data;
  std::size_t size = 0;
};
PictureFileBytes readPictureFile(const std::string& path, long long maxPixels = kMaxPicturePixels);
// The same for a file's bytes in memory; `what` names them in an error.
Picture decodePictureFile(const unsigned char* data, std::size_t size, const std::string& what,
                          long long maxPixels = kMaxPicturePixels, int page = 1);
// Decodes the program's own pictures through the same readers; throws
// FileError when they cannot be decoded.
Picture decodePicture(const unsigned char* data, std::size_t size, const std::string& what);
// A box's persistent bitmap as the bytes of an eight-bit RGB PNG file, for an
// OutputSet that writes it with the other outputs of a run; throws FileError.
std::string encodeBitmapPng(const PictureBox& box);
// Writes encodeBitmapPng(box) as a file on its own, as replaceFile does;
// throws FileError.
void saveBitmapPng(const PictureBox& box, const std::string& path);

}  // namespace quern
