// PNG and TIFF, the formats scanners write: every kind decodes to the drawing
// of mono.bmp, cut or lying copies are refused with their reason, and the
// pixel limit holds before anything is decoded.
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
using testing::failure;
using testing::fixture;

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

Bytes cut(Bytes b, std::size_t keep) {
  b.resize(keep);
  return b;
}
// The header's width and height set to `w` by `h`, at their places in the file.
// with the header chunk's CRC made right again, so that only the size lies.
Bytes pngClaiming(std::uint32_t w, std::uint32_t h, const char* name = "grey.png") {
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
// mono_raw.tif with the value of tag `tag` (a LONG or SHORT held in its entry) replaced.
Bytes tiffWith(const char* name, unsigned tag, std::uint32_t value) {
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

Bytes directoryAt(Bytes b, std::uint32_t at) {
  for (int k = 0; k < 4; ++k) b[4 + k] = static_cast<unsigned char>(at >> (8 * k));
  return b;
}

TEST(ScanFormats, CutLyingOrHugeFilesAreRefusedWithTheReason) {
  struct Case {
    const char* name;
    Bytes bytes;
    long long maxPixels;
    const char* reason;
  };
  const Bytes png = fixture("grey.png");
  const Bytes g4 = fixture("g4.tif");
  const Case cases[] = {
      {"PNG cut in half", cut(png, png.size() / 2), kMaxPicturePixels, "not a complete PNG picture: a chunk of"},
      {"PNG without IEND", cut(png, png.size() - 12), kMaxPicturePixels,
       "not a complete PNG picture: the file ends before its IEND chunk"},
      {"PNG claiming more rows than its data", pngClaiming(40, 300), kMaxPicturePixels, "the PNG decoder stopped"},
      {"PNG over the pixel limit", pngClaiming(100000, 100000), kMaxPicturePixels,
       "the picture is 100000 by 100000 pixels, more than 40000000"},
      {"PNG over a small limit", png, 1000, "the picture is 40 by 30 pixels, more than 1000"},
      {"TIFF cut in half", cut(g4, g4.size() / 2), kMaxPicturePixels, "not a complete TIFF picture"},
      {"TIFF header only", cut(g4, 8), kMaxPicturePixels, "not a complete TIFF picture"},
      {"TIFF strip past the end", tiffWith("mono_raw.tif", 279, 5000), kMaxPicturePixels,
       "not a complete TIFF picture: its strip 1 of 1 needs bytes"},
      {"TIFF claiming more rows than its strips", tiffWith("mono_raw.tif", 257, 3000), kMaxPicturePixels,
       "its pixels cannot be read"},
      {"G4 TIFF claiming more rows than its data", tiffWith("g4.tif", 257, 3000), kMaxPicturePixels,
       "its pixels cannot be read"},
      {"TIFF over the pixel limit", tiffWith("g4.tif", 257, 60000), 1'000'000,
       "the picture is 40 by 60000 pixels, more than 1000000"},
      {"TIFF directory outside the file", directoryAt(g4, 100000), kMaxPicturePixels,
       "not a complete TIFF picture: a directory of its pages lies outside the file"},
  };
  for (const Case& c : cases) {
    const std::string message = failure(c.bytes, c.maxPixels);
    EXPECT_TRUE(message.starts_with(std::string("cannot load x: ") + c.reason)) << c.name << ": " << message;
  }
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
