#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quern {

enum class PictureKind { Unknown, Jpeg, Bmp, Gif };

// What the bytes of a picture file say about themselves, read from their
// structure alone, before any pixel is decoded.
struct PictureShape {
  PictureKind kind = PictureKind::Unknown;
  // The size the file claims: the frame a reader allocates for it.
  std::int64_t width = 0;
  std::int64_t height = 0;
  // Why the file is not a complete JPEG, BMP or GIF; empty when it is.
  std::string problem;
};

// Recognises JPEG, BMP and GIF content by its first bytes, whatever the name,
// and walks the file's structure to its end: every block present, the pixel
// data as long as the header promises, the closing marker where the format has
// one. Readers fill in a truncated picture silently, so this is where a cut or
// lying file is caught.
PictureShape inspectPictureFile(const unsigned char* data, std::size_t size);

// "JPEG", "BMP", "GIF", or "JPEG, BMP or GIF" for Unknown.
const char* kindName(PictureKind kind);

}  // namespace quern
