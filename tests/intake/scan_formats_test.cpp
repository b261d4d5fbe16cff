// PNG and TIFF, the formats scanners write: every kind decodes to the drawing
// of mono.bmp, and cut or lying copies of every kind are refused.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../temp_files.h"
#include "base/errors.h"
#include "intake/picture_format.h"
#include "intake/picture_loader.h"
#include "picture_bytes.h"

namespace quern {
namespace {

using testing::Bytes;
using testing::cut;
using testing::failure;
using testing::fixture;
using testing::pngClaiming;
using testing::tiffWith;

Picture decode(const Bytes& b, long long maxPixels = kMaxPicturePixels, int page = 1) {
  return decodePictureFile(b.data(), b.size(), "x", maxPixels, page);
}

const char* const kDrawings[] = {
    "mono.png",       "grey.png",          "interlaced.png",   "rgb.png",      "palette.png",
    "grey_alpha.png", "rgba.png",          "grey16.png",       "g4.tif",       "g3.tif",
    "mono_raw.tif",   "mono_packbits.tif", "min_is_white.tif", "grey_lzw.tif", "grey_deflate.tif",
    "rgb_lzw.tif",    "palette.tif",       "grey16.tif",       "tiled.tif",    "pages.tif",
};

TEST(ScanFormats, EveryKindOfPngAndTiffGivesTheDrawing) {
  const Picture reference = decode(fixture("mono.bmp"));
  for (const char* name : kDrawings) {
    const Picture p = decode(fixture(name));
    ASSERT_EQ(p->pixelWidth(), 40) << name;
    ASSERT_EQ(p->pixelHeight(), 30) << name;
    EXPECT_EQ(p->pixels(), reference->pixels()) << name;
  }
}

// Sixteen bits become eight by v * 255 / 65535 rounded to the nearest; alpha
// is laid on white as (c * a + 255 * (255 - a) + 127) / 255.
TEST(ScanFormats, SixteenBitsRoundAndAlphaLiesOnWhite) {
  struct Case {
    const char* name;
    std::vector<Colour> pixels;
  };
  auto grey = [](int v) { return rgb(v, v, v); };
  const Case cases[] = {
      // 0, 128, 129, 385, 65407, 65535
      {"deep16.png", {grey(0), grey(0), grey(1), grey(1), grey(255), grey(255)}},
      {"deep16.tif", {grey(0), grey(0), grey(1), grey(1), grey(255), grey(255)}},
      {"deep16_tiled.tif", {grey(0), grey(0), grey(1), grey(1), grey(255), grey(255)}},
      // (0,0,0,128) (255,0,0,0) (100,200,50,255) (10,20,30,1)
      {"alpha.png", {grey(127), kWhite, rgb(100, 200, 50), rgb(254, 254, 254)}},
      {"alpha.tif", {grey(127), kWhite, rgb(100, 200, 50), rgb(254, 254, 254)}},
      // (0,128,129) (385,65407,65535)
      {"rgb16.tif", {rgb(0, 0, 1), rgb(1, 255, 255)}},
      // palette black, red (transparent by tRNS), blue
      {"trns.png", {kBlack, kWhite, rgb(0, 0, 255)}},
  };
  for (const Case& c : cases) {
    const Picture p = decode(fixture(c.name));
    EXPECT_EQ(std::vector<Colour>(p->pixels().begin(), p->pixels().end()), c.pixels) << c.name;
  }
}

TEST(ScanFormats, PagesAreCountedFromOne) {
  const Bytes pages = fixture("pages.tif");
  EXPECT_EQ(inspectPictureFile(pages.data(), pages.size()).pages, 2);
  const Picture second = decode(pages, kMaxPicturePixels, 2);
  EXPECT_EQ(second->pixelWidth(), 20);
  EXPECT_EQ(second->pixelHeight(), 10);
  EXPECT_EQ(failure(pages, kMaxPicturePixels, 3), "cannot load x: it has 2 pages, not 3");
  EXPECT_EQ(failure(fixture("grey.png"), kMaxPicturePixels, 2), "cannot load x: it has 1 page, not 2");
}

// Every kind, cut short or claiming twice its rows, is refused with a reason
// (and without a crash, which the sanitizer builds of this test would see).
TEST(ScanFormats, EveryKindCutShortOrClaimingMoreRowsIsRefused) {
  for (const char* name : kDrawings) {
    const Bytes whole = fixture(name);
    const bool png = std::string(name).ends_with(".png");
    for (std::size_t keep : {whole.size() / 3, whole.size() * 2 / 3}) {
      const std::string message = failure(cut(whole, keep));
      EXPECT_TRUE(message.starts_with("cannot load x: ")) << name << " cut to " << keep << ": " << message;
    }
    const std::string message = failure(png ? pngClaiming(40, 60, name) : tiffWith(name, 257, 60));
    EXPECT_TRUE(message.starts_with("cannot load x: ")) << name << " claiming 60 rows: " << message;
  }
}

TEST(ScanFormats, BatchNamesTakeSevenEndingsInAnyCase) {
  for (const char* name : {"a.jpg", "a.JPEG", "a.Bmp", "scan.gif", "b.PNG", "c.tif", "d.TiFf", "x/y.z.png"})
    EXPECT_TRUE(isBatchPictureName(name)) << name;
  for (const char* name : {"a.jpe", "png", "a.tga", "a.tiff.txt", "", "a.pn", "tif"})
    EXPECT_FALSE(isBatchPictureName(name)) << name;
}

}  // namespace
}  // namespace quern
