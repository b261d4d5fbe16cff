#pragma once

#include <cstddef>
#include <optional>

#include "surface/picture.h"

namespace quern {

// Decodes the common kinds of BMP file: an info header of 40 bytes or more;
// 1, 4, 8, 16, 24 or 32 bits a pixel uncompressed, 8 and 4 bits run-length
// coded, 16 and 32 bits under masks of up to eight bits (with alpha, laid on
// white, from the larger headers); a palette, short or full, where there is
// one. Anything else, and any file whose
// parts do not fit within its bytes, gives nullopt: the caller refuses it.
std::optional<Picture> readPlainBmp(const unsigned char* data, std::size_t size);

}  // namespace quern
