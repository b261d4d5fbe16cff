#include "intake/picture_loader.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "../temp_files.h"
#include "../unprivileged.h"
#include "base/errors.h"
#include "intake/builtin_pictures.h"
#include "picture_bytes.h"

namespace quern {
namespace {

using testing::Bytes;
using testing::cut;
using testing::failure;
using testing::fixture;
using testing::makeBmp;
using testing::pngClaiming;
using testing::put16;
using testing::tiffWith;

// The first half of a fixture.
Bytes half(const char* name) {
  const Bytes b = fixture(name);
  return cut(b, b.size() / 2);
}

// A GIF that claims w x h pixels on a two-colour palette. `lzw` is the image
// data as one sub-block; with `trailer` the file is complete in its blocks.
Bytes gif(unsigned w, unsigned h, const Bytes& lzw, bool trailer = true) {
  Bytes b = {'G', 'I', 'F', '8', '9', 'a'};
  put16(b, w);
  put16(b, h);
  for (unsigned char v : {0x80, 0, 0, 0, 0, 0, 255, 255, 255}) b.push_back(v);  // black and white
  b.push_back(0x2C);
  for (unsigned v : {0U, 0U, w, h}) put16(b, v);
  b.push_back(0);
  b.push_back(2);  // LZW minimum code size
  b.push_back(static_cast<unsigned char>(lzw.size()));
  b.insert(b.end(), lzw.begin(), lzw.end());
  b.push_back(0);
  if (trailer) b.push_back(0x3B);
  return b;
}

// A 4 x 2 RLE8 BMP, a row of black under a row of white; without its
// end-of-picture mark when `cut`.
Bytes rleBmp(bool cut) {
  Bytes b = makeBmp({"RLE8", 8, 4, 2, 1, 2}, 1);
  const Bytes ends = {0, 0, 0, 0, 255, 255, 255, 0, 4, 0, 0, 0, 4, 1, 0, 1};  // the palette, two rows, the end mark
  std::copy(ends.begin(), ends.end(), b.end() - 16);
  if (cut) b.resize(b.size() - 2);
  return b;
}

// A file of a kind the intake does not read.
const Bytes kPdf = {'%', 'P', 'D', 'F', '-', '1', '.', '4', '\n'};

// A JPEG whose frame header claims another size than its scans hold.
Bytes claiming(Bytes b, unsigned w, unsigned h) {
  for (std::size_t i = 2; i + 9 < b.size(); ++i) {
    if (b[i] == 0xFF && (b[i + 1] == 0xC0 || b[i + 1] == 0xC2)) {
      b[i + 5] = static_cast<unsigned char>(h >> 8);
      b[i + 6] = static_cast<unsigned char>(h & 255);
      b[i + 7] = static_cast<unsigned char>(w >> 8);
      b[i + 8] = static_cast<unsigned char>(w & 255);
      break;
    }
  }
  return b;
}

// A TIFF fixture whose first directory is said to lie at `at`.
Bytes directoryAt(Bytes b, std::uint32_t at) {
  for (int k = 0; k < 4; ++k) b[4 + k] = static_cast<unsigned char>(at >> (8 * k));
  return b;
}

// A BMP of w by h 4-bit pixels cut to its first `keep` bytes; the header and
// the 16-colour palette take 118.
Bytes cutBmp(std::int32_t w, std::int32_t h, std::size_t keep) {
  return cut(makeBmp({"4 bit", 4, w, h}, 1), keep);
}

TEST(PictureLoader, IncompleteLyingOrForeignFilesAreRefusedWithTheReason) {
  struct Case {
    const char* name;
    Bytes bytes;
    const char* reason;
    long long maxPixels = kMaxPicturePixels;
  };
  const Bytes png = fixture("grey.png");
  const Bytes g4 = fixture("g4.tif");
  const Case cases[] = {
      {"BMP header alone claiming 6000 x 6000", cutBmp(6000, 6000, 118),
       "not a complete BMP picture: its 6000 by 6000 pixels need 18000118 bytes, the file holds 118"},
      {"BMP one row short", cutBmp(8, 3, 118 + 8), "not a complete BMP picture"},
      {"RLE BMP without its end mark", rleBmp(true), "not a complete BMP picture: the file ends before its end"},
      {"35-byte GIF claiming 6320 x 6320", gif(6320, 6320, {0x44, 0x01}),
       "not a complete GIF picture: its image data gives 1 of its 39942400 pixels"},
      {"GIF claiming more than the cap", gif(60000, 60000, {}, false),
       "the picture is 60000 by 60000 pixels, more than 40000000"},
      {"GIF without its trailer", gif(1, 1, {0x44, 0x01}, false), "not a complete GIF picture: the file ends"},
      // A size whose square is past 64 bits.
      {"PNG claiming 4177066232 x 4177066232", pngClaiming(0xF8F8F8F8U, 0xF8F8F8F8U),
       "the picture is 4177066232 by 4177066232 pixels, more than 40000000"},
      {"GIF cut in half", half("drawing.gif"), "not a complete GIF picture"},
      {"interlaced GIF cut in half", half("interlaced.gif"), "not a complete GIF picture"},
      {"BMP cut in half", half("colour.bmp"), "not a complete BMP picture"},
      {"JPEG cut in half", half("grey.jpg"), "not a complete JPEG picture: the file ends before its end"},
      {"progressive JPEG cut in half", half("progressive.jpg"), "not a complete JPEG picture"},
      {"JPEG claiming more rows than its scan", claiming(fixture("colour420.jpg"), 40, 300),
       "the JPEG decoder stopped: Corrupt JPEG data: premature end of data segment"},
      {"progressive JPEG claiming more rows", claiming(fixture("progressive.jpg"), 40, 300),
       "the JPEG decoder stopped"},
      {"PDF bytes", kPdf, "it is not a JPEG, BMP, GIF, PNG or TIFF picture"},
      {"text", Bytes{'G', 'I', 'F', '8', '9', 'b'}, "it is not a JPEG, BMP, GIF, PNG or TIFF picture"},
      {"JPEG claiming 6000 x 6000", claiming(fixture("grey.jpg"), 6000, 6000), "not a complete JPEG picture: its "},
      {"progressive JPEG claiming 6000 x 6000", claiming(fixture("progressive.jpg"), 6000, 6000),
       "not a complete JPEG picture: its "},
      {"PNG cut in half", cut(png, png.size() / 2), "not a complete PNG picture: a chunk of"},
      {"PNG without IEND", cut(png, png.size() - 12),
       "not a complete PNG picture: the file ends before its IEND chunk"},
      {"PNG claiming more rows than its data", pngClaiming(40, 300), "the PNG decoder stopped"},
      {"PNG over the pixel limit", pngClaiming(100000, 100000),
       "the picture is 100000 by 100000 pixels, more than 40000000"},
      {"PNG over a small limit", png, "the picture is 40 by 30 pixels, more than 1000", 1000},
      {"TIFF cut in half", cut(g4, g4.size() / 2), "not a complete TIFF picture"},
      {"TIFF header only", cut(g4, 8), "not a complete TIFF picture"},
      {"TIFF strip past the end", tiffWith("mono_raw.tif", 279, 5000),
       "not a complete TIFF picture: its strip 1 of 1 needs bytes"},
      {"TIFF claiming more rows than its strips", tiffWith("mono_raw.tif", 257, 3000), "its pixels cannot be read"},
      {"G4 TIFF claiming more rows than its data", tiffWith("g4.tif", 257, 3000), "its pixels cannot be read"},
      {"TIFF over the pixel limit", tiffWith("g4.tif", 257, 60000),
       "the picture is 40 by 60000 pixels, more than 1000000", 1'000'000},
      {"TIFF directory outside the file", directoryAt(g4, 100000),
       "not a complete TIFF picture: a directory of its pages lies outside the file"},
  };
  for (const Case& c : cases) {
    const std::string message = failure(c.bytes, c.maxPixels);
    EXPECT_TRUE(message.starts_with(std::string("cannot load x: ") + c.reason)) << c.name << ": " << message;
  }
}

// Every picture file is checked against Qt's pixels in qt_match_test; an RLE
// BMP is made here, so it is checked here.
TEST(PictureLoader, ACompleteRleBmpLoads) {
  const Bytes rle = rleBmp(false);
  const Picture r = decodePictureFile(rle.data(), rle.size(), "rle.bmp");
  EXPECT_EQ(r->pixel(0, 0), kWhite);
  EXPECT_EQ(r->pixel(0, 1), kBlack);
}

// The content decides, not which of the accepted names the file has.
TEST(PictureLoader, FilesAreReadByContentAndRefusedByWhatTheyAre) {
  const testing::TempFolder dir;
  std::filesystem::create_directories(dir / "folder.gif");
  auto write = [&](const char* name, const Bytes& b) {
    std::ofstream(dir / name, std::ios::binary).write(reinterpret_cast<const char*>(b.data()), b.size());
    return (dir / name).string();
  };
  const std::string bmpNamedGif = write("drawing.gif", fixture("colour.bmp"));
  const std::string pdfNamedGif = write("pdf.gif", kPdf);
  const std::string fifo = (dir / "pipe.bmp").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);

  EXPECT_EQ(loadPictureFile(bmpNamedGif)->pixelWidth(), 40);
  const std::pair<std::string, std::string> refusals[] = {
      {pdfNamedGif, "it is not a JPEG, BMP, GIF, PNG or TIFF picture"},
      {(dir / "missing.jpg").string(), "there is no such file"},
      {(dir / "folder.gif").string(), "it is a folder, not a picture file"},
      {fifo, "it is not a regular file"},
  };
  auto reasonFor = [](const std::string& path) -> std::string {
    try {
      loadPictureFile(path);
    } catch (const FileError& e) {
      return e.what();
    }
    return "loaded";
  };
  for (const auto& [path, reason] : refusals) EXPECT_EQ(reasonFor(path), "cannot load " + path + ": " + reason);
  // Permission bits bind only a user who is not root.
  const std::string secret = write("secret.bmp", fixture("colour.bmp"));
  ::chmod(dir.path.c_str(), 0755);
  ::chmod(secret.c_str(), 0600);
  EXPECT_EQ(testing::asUnprivileged([&] { return reasonFor(secret); }),
            "cannot load " + secret + ": no permission to read it");
}

TEST(PictureLoader, TheBuiltInPicturesDecodeToTheirSizes) {
  const Picture p = builtinPicture();
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
