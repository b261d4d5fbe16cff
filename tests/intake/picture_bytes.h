#pragma once

#include <cstdint>
#include <vector>

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

}  // namespace quern::testing
