// The window used to decode JPEG and GIF (and any BMP its own reader left)
// with Qt's reader; the format libraries must give the very same pixels, or
// every drawing made from such a file would change. Qt stays the reference
// here, in the tests only.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "intake/picture_loader.h"
#include "qt_reference.h"

namespace quern {
namespace {

std::vector<std::string> picturesUnder(const std::vector<std::string>& folders) {
  std::vector<std::string> found;
  for (const std::string& folder : folders) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
      const std::string ext = entry.path().extension().string();
      if (ext == ".jpg" || ext == ".gif" || ext == ".png" || ext == ".bmp") found.push_back(entry.path().string());
    }
  }
  return found;
}

TEST(QtMatch, EveryPictureFileOfTheProjectDecodesToQtsPixels) {
  const std::string root = QUERN_SOURCE_DIR;
  const std::vector<std::string> files = picturesUnder({root + "/tests", root + "/assets", root + "/fuzz/corpus"});
  ASSERT_GE(files.size(), 30U);
  for (const std::string& path : files) {
    const testing::QtPicture qt = testing::qtDecodeFile(path);
    const std::vector<Colour>& expected = qt.pixels;
    const int w = qt.width;
    const int h = qt.height;
    ASSERT_FALSE(expected.empty()) << path;
    const Picture p = loadPictureFile(path);
    ASSERT_EQ(p->pixelWidth(), w) << path;
    ASSERT_EQ(p->pixelHeight(), h) << path;
    std::size_t differ = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) differ += p->pixels()[i] != expected[i];
    EXPECT_EQ(differ, 0U) << path;
    // A picture marked as all greys is all greys.
    EXPECT_TRUE(!p->grey() || std::all_of(p->pixels().begin(), p->pixels().end(), isGrey)) << path;
  }
  for (const char* grey : {"grey.jpg", "grey.png", "grey16.png", "grey_alpha.png"}) {
    EXPECT_TRUE(loadPictureFile(root + "/tests/intake/fixtures/" + grey)->grey()) << grey;
  }
  for (const char* colour : {"colour420.jpg", "rgb.png", "palette.png", "colour.bmp"}) {
    EXPECT_FALSE(loadPictureFile(root + "/tests/intake/fixtures/" + colour)->grey()) << colour;
  }
}

}  // namespace
}  // namespace quern
