#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quern {

enum class PictureKind { Unknown, Jpeg, Bmp, Gif, Png, Tiff };

// What the bytes of a picture file say about themselves, read from their
// structure alone, before any pixel is decoded.
struct PictureShape {
  PictureKind kind = PictureKind::Unknown;
  // The size the file claims: the frame a reader allocates for it.
  std::int64_t width = 0;
  std::int64_t height = 0;
  // Pages of a TIFF file (the size above is the first page's); 1 otherwise.
  int pages = 1;
  // Why the file is not a complete picture of its kind; empty when it is.
  std::string problem;
};

// Recognises JPEG, BMP, GIF, PNG and TIFF content by its first bytes, whatever
// the name, and walks the file's structure to its end: every block or chunk
// present, the pixel data as long as the header promises (every TIFF strip or
// tile inside the file), the closing marker where the format has one. Some
// decoders fill in a truncated picture silently, so this is where a cut or
// lying file is caught first.
PictureShape inspectPictureFile(const unsigned char* data, std::size_t size);

// "JPEG", "BMP", "GIF", "PNG", "TIFF", or all five for Unknown.
const char* kindName(PictureKind kind);

}  // namespace quern
