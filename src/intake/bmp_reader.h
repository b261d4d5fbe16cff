#pragma once

#include <cstddef>
#include <optional>

#include "surface/picture.h"

namespace quern {

// Decodes the common kind of BMP file without the general picture reader: an
// info header of 40 bytes or more, no compression, 1, 4, 8 or 24 bits a
// pixel, and a full palette where there is one. Anything else, and any file
// whose parts do not fit within its bytes, gives nullopt, and the caller
// hands the file to the general reader.
std::optional<Picture> readPlainBmp(const unsigned char* data, std::size_t size);

}  // namespace quern
