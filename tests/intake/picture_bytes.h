#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "../temp_files.h"
#include "base/errors.h"
#include "intake/picture_loader.h"

namespace quern::testing {

// Picture files written byte by byte, little-endian as BMP and GIF keep them.
using Bytes = std::vector<unsigned char>;

inline void put16(Bytes& b, unsigned v) {
  b.push_back(static_cast<unsigned char>(v & 0xFF));
  b.push_back(static_cast<unsigned char>(v >> 8 & 0xFF));
}
inline void put32(Bytes& b, std::uint32_t v) {
  put16(b, v & 0xFFFF);
  put16(b, v >> 16);
}

// A picture file of the test fixtures, as bytes.
inline Bytes fixture(const std::string& name) {
  const std::string bytes = readAll(std::string(QUERN_FIXTURES) + "/" + name);
  return Bytes(bytes.begin(), bytes.end());
}

// The reason the bytes, decoded as the file "x", are refused, or "loaded".
inline std::string failure(const Bytes& b, long long maxPixels = kMaxPicturePixels, int page = 1) {
  try {
    decodePictureFile(b.data(), b.size(), "x", maxPixels, page);
  } catch (const FileError& e) {
    return e.what();
  }
  return "loaded";
}

}  // namespace quern::testing
