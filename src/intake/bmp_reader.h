#pragma once

#include <cstddef>
#include <optional>

#include "surface/picture.h"

namespace quern {

// Decodes the common kinds of BMP file: an info header of 40 bytes or more,
// 1, 4, 8 or 24 bits a pixel uncompressed or 8 and 4 bits run-length coded,
// and a full palette where there is one. Anything else, and any file whose
// parts do not fit within its bytes, gives nullopt: the caller refuses it.
std::optional<Picture> readPlainBmp(const unsigned char* data, std::size_t size);

}  // namespace quern
