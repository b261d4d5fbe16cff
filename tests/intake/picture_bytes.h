#pragma once

#include <array>
#include <cstdint>
#include <random>
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

// The first `keep` bytes.
inline Bytes cut(Bytes b, std::size_t keep) {
  b.resize(keep);
  return b;
}

// A PNG fixture whose header claims `w` by `h` pixels, its CRC made right
// again, so that only the size lies.
inline Bytes pngClaiming(std::uint32_t w, std::uint32_t h, const char* name = "grey.png") {
  Bytes b = fixture(name);
  auto put = [&b](std::size_t at, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<unsigned char>(v >> (24 - 8 * i));
  };
  put(16, w);
  put(20, h);
  std::uint32_t crc = 0xFFFFFFFF;
  for (std::size_t i = 12; i < 29; ++i) {
    crc ^= b[i];
    for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320U & (0U - (crc & 1)));
  }
  put(29, ~crc);
  return b;
}

// A TIFF fixture with the value of tag `tag` (a LONG or SHORT held in its
// entry) replaced.
inline Bytes tiffWith(const char* name, unsigned tag, std::uint32_t value) {
  Bytes b = fixture(name);
  const std::size_t ifd = b[4] | b[5] << 8 | b[6] << 16 | static_cast<std::size_t>(b[7]) << 24;
  const unsigned n = b[ifd] | b[ifd + 1] << 8;
  for (unsigned i = 0; i < n; ++i) {
    const std::size_t e = ifd + 2 + 12 * i;
    if (static_cast<unsigned>(b[e] | b[e + 1] << 8) != tag) continue;
    for (int k = 0; k < 4; ++k) b[e + 8 + k] = static_cast<unsigned char>(value >> (8 * k));
  }
  return b;
}

struct BmpCase {
  const char* name;
  unsigned bpp;
  std::int32_t w;
  std::int32_t h;  // negative: rows from the top
  std::uint32_t compression = 0;
  std::uint32_t used = 0;  // palette colours claimed, 0 for all
  unsigned dibSize = 40;
  std::array<std::uint32_t, 4> masks{};  // red, green, blue, alpha of bit fields
  // The 256 greys in order, as grey pictures are saved, but for this entry
  // (none: -1), which is another colour.
  bool greys = false;
  int notGrey = -1;
};

// A BMP of random pixels and a random palette whose spare byte is not zero.
inline Bytes makeBmp(const BmpCase& c, unsigned seed) {
  std::mt19937 random(seed);
  const unsigned colours = c.bpp <= 8 ? (c.used != 0 ? c.used : 1U << c.bpp) : 0;
  const bool fields = c.compression == 3;
  const std::uint32_t offBits = 14 + c.dibSize + 4 * colours + (fields && c.dibSize == 40 ? 12 : 0);
  const std::int64_t stride = (static_cast<std::int64_t>(c.w) * c.bpp + 31) / 32 * 4;
  const auto pixelBytes = static_cast<std::uint32_t>(stride * (c.h < 0 ? -c.h : c.h));
  Bytes b = {'B', 'M'};
  put32(b, offBits + pixelBytes);
  put32(b, 0);
  put32(b, offBits);
  put32(b, c.dibSize);
  put32(b, static_cast<std::uint32_t>(c.w));
  put32(b, static_cast<std::uint32_t>(c.h));
  put16(b, 1);
  put16(b, c.bpp);
  put32(b, c.compression);
  put32(b, pixelBytes);
  put32(b, 2835);
  put32(b, 2835);
  put32(b, c.used);
  put32(b, 0);
  b.resize(14 + c.dibSize, 0);
  if (fields) {
    b.resize(offBits, 0);
    for (std::size_t i = 0; i < 4; ++i) {
      if (i < 3 || c.dibSize >= 108) {
        for (int k = 0; k < 4; ++k) b[54 + 4 * i + k] = static_cast<unsigned char>(c.masks[i] >> (8 * k));
      }
    }
  }
  for (unsigned i = 0; i < 4 * colours + pixelBytes; ++i) b.push_back(static_cast<unsigned char>(random()));
  for (unsigned i = 0; c.greys && i < colours; ++i) {
    const auto grey = static_cast<unsigned char>(static_cast<int>(i) == c.notGrey ? i ^ 1 : i);
    std::fill_n(b.begin() + offBits - 4 * colours + 4 * i, 3, grey);
    if (static_cast<int>(i) == c.notGrey) b[offBits - 4 * colours + 4 * i] = static_cast<unsigned char>(i);
  }
  return b;
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
