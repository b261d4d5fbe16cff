#include "intake/picture_loader.h"

#include <gtest/gtest.h>

#include <vector>

#include "intake/builtin_pictures.h"
#include "base/errors.h"

namespace quern {
namespace {

// The start of a GIF file that claims a picture of w x h pixels, with no pixels behind it.
std::vector<unsigned char> gifHeader(std::uint16_t w, std::uint16_t h) {
  std::vector<unsigned char> b = {'G', 'I', 'F', '8', '9', 'a'};
  auto put16 = [&b](std::uint16_t v) {
    b.push_back(static_cast<unsigned char>(v & 0xFF));
    b.push_back(static_cast<unsigned char>(v >> 8));
  };
  put16(w);
  put16(h);
  for (unsigned char v : {0, 0, 0, 0x2C}) b.push_back(v);  // no palette, then an image descriptor
  for (std::uint16_t v : {std::uint16_t{0}, std::uint16_t{0}, w, h}) put16(v);
  b.push_back(0);
  return b;
}

TEST(PictureLoader, AFileClaimingAHugeSizeIsRefusedWithoutDecoding) {
  const auto header = gifHeader(60000, 60000);
  try {
    decodePicture(header.data(), header.size(), "huge.gif");
    FAIL() << "a claim of 3.6 thousand million pixels was accepted";
  } catch (const FileError& e) {
    EXPECT_NE(std::string(e.what()).find("huge.gif"), std::string::npos);
    EXPECT_NE(std::string(e.what()).find("60000 by 60000"), std::string::npos) << e.what();
  }
}

TEST(PictureLoader, UnreadableFilesGiveAFileErrorNamingThem) {
  EXPECT_THROW(loadPictureFile("/no/such/picture.gif"), FileError);
  const unsigned char junk[] = "GIF89a but nothing more";
  EXPECT_THROW(decodePicture(junk, sizeof junk, "junk.gif"), FileError);
}

TEST(PictureLoader, TheBuiltInPicturesDecodeToTheirSizes) {
  const Picture p = builtinPicture();
  EXPECT_EQ(p->pixelWidth(), 700);
  EXPECT_EQ(p->pixelHeight(), 557);
  // A grey picture: every pixel has equal red, green and blue, with black ink and white paper.
  bool black = false;
  bool white = false;
  for (Colour c : p->pixels()) {
    ASSERT_TRUE(redOf(c) == greenOf(c) && greenOf(c) == blueOf(c));
    black = black || c == kBlack;
    white = white || c == kWhite;
  }
  EXPECT_TRUE(black && white);
  EXPECT_EQ(splashPicture()->pixelWidth(), 250);
  EXPECT_EQ(splashPicture()->pixelHeight(), 152);
}

}  // namespace
}  // namespace quern
