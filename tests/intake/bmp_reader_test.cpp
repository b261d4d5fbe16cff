#include "intake/bmp_reader.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <vector>

#include "intake/picture_loader.h"
#include "picture_bytes.h"
#include "qt_reference.h"

namespace quern {
namespace {

using testing::Bytes;
using testing::put16;
using testing::put32;

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
Bytes makeBmp(const BmpCase& c, unsigned seed) {
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

// Qt's reader, which the window once used, is the reference.
TEST(PlainBmp, GivesTheWindowsFormerReadersPixels) {
  const BmpCase cases[] = {
      {"1 bit, padded rows", 1, 37, 5},
      {"1 bit, from the top", 1, 64, -3},
      {"4 bit, odd width", 4, 13, 7},
      {"4 bit, from the top", 4, 8, -4},
      {"8 bit", 8, 31, 9},
      {"8 bit, from the top", 8, 5, -6},
      {"24 bit, padded rows", 24, 7, 4},
      {"24 bit, from the top", 24, 9, -5},
      {"1 pixel", 24, 1, 1},
      {"version 5 header", 8, 11, 3, 0, 0, 124},
      {"short palette", 8, 6, 5, 0, 16},
      {"8 bit greys, in steps and a tail", 8, 37, 3, 0, 0, 40, {}, true},
      {"8 bit greys, from the top", 8, 16, -2, 0, 0, 40, {}, true},
      {"8 bit greys but one", 8, 35, 4, 0, 0, 40, {}, true, 200},
      {"8 bit greys, short palette", 8, 19, 3, 0, 255, 40, {}, true},
      {"1 bit greys", 1, 45, 3, 0, 0, 40, {}, true},
      {"4 bit greys", 4, 9, 5, 0, 0, 40, {}, true},
      {"4 bit greys but one", 4, 9, 5, 0, 0, 40, {}, true, 3},
      {"16 bit", 16, 5, 4},
      {"16 bit, from the top", 16, 6, -3},
      {"32 bit", 32, 5, 4},
      {"32 bit, from the top", 32, 3, -6},
      {"16-bit fields 5-6-5", 16, 7, 3, 3, 0, 40, {0xF800, 0x7E0, 0x1F, 0}},
      {"32-bit fields, blue and red swapped", 32, 5, 2, 3, 0, 40, {0xFF, 0xFF00, 0xFF0000, 0}},
      {"32-bit fields with alpha", 32, 5, 4, 3, 0, 124, {0xFF0000, 0xFF00, 0xFF, 0xFF000000}},
  };
  for (const BmpCase& c : cases) {
    const Bytes file = makeBmp(c, static_cast<unsigned>(c.w * 131 + c.h));
    const std::optional<Picture> quick = readPlainBmp(file.data(), file.size());
    ASSERT_TRUE(quick.has_value()) << c.name;
    const testing::QtPicture general = testing::qtDecodeBytes(file);
    ASSERT_EQ((*quick)->pixelWidth(), general.width) << c.name;
    ASSERT_EQ((*quick)->pixelHeight(), general.height) << c.name;
    EXPECT_TRUE(std::equal(general.pixels.begin(), general.pixels.end(), (*quick)->pixels().begin())) << c.name;
    // A palette of greys keeps the picture as its greys.
    EXPECT_EQ((*quick)->grey(), c.greys && c.notGrey < 0) << c.name;
    EXPECT_EQ((*quick)->greys() != nullptr, c.greys && c.notGrey < 0) << c.name;
  }
}

TEST(PlainBmp, RefusesTheRareKinds) {
  const BmpCase cases[] = {
      {"ten-bit fields", 32, 4, 4, 3, 0, 40, {0x3FF00000, 0xFFC00, 0x3FF, 0}},
      {"core header", 24, 4, 4, 0, 0, 12},
  };
  for (const BmpCase& c : cases) {
    const Bytes file = makeBmp(c, 7);
    EXPECT_FALSE(readPlainBmp(file.data(), file.size()).has_value()) << c.name;
  }
  const Bytes whole = makeBmp({"cut", 24, 8, 8}, 7);
  EXPECT_FALSE(readPlainBmp(whole.data(), whole.size() - 1).has_value());
}

}  // namespace
}  // namespace quern
