#include "intake/bmp_reader.h"

#include <gtest/gtest.h>

#include <vector>

#include "intake/picture_loader.h"
#include "picture_bytes.h"
#include "qt_reference.h"

namespace quern {
namespace {

using testing::BmpCase;
using testing::Bytes;
using testing::makeBmp;

// Qt's reader, which the window once used, is the reference.
TEST(PlainBmp, GivesTheWindowsFormerReadersPixels) {
  const BmpCase cases[] = {
      {"1 bit, padded rows", 1, 37, 5},
      {"4 bit, odd width", 4, 13, 7},
      {"8 bit", 8, 31, 9},
      {"8 bit, from the top", 8, 5, -6},
      {"24 bit, padded rows", 24, 7, 4},
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
      {"32 bit", 32, 5, 4},
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
