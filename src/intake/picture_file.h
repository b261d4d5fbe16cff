#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

#include "intake/picture_format.h"
#include "surface/picture.h"

namespace quern {

// Files are read and checked without the general picture reader, which only
// decodes what the quick BMP path leaves over. A build without that reader
// (the lean batch driver) throws NeedsGeneralReader there instead.
[[noreturn]] void refuseLoad(const std::string& what, const std::string& why);
void checkPictureClaim(const std::string& what, long long w, long long h, long long maxPixels);
Picture decodeWithReader(const unsigned char* data, std::size_t size, const std::string& what, PictureKind kind,
                         long long maxPixels);

struct NeedsGeneralReader : std::runtime_error {
  NeedsGeneralReader() : std::runtime_error("this picture needs the general picture reader") {}
};

}  // namespace quern
