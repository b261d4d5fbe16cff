#include "batch/report_pictures.h"

#include <algorithm>

#include "base/replace_file.h"
#include "intake/picture_loader.h"

namespace quern {

namespace {

void putLittle(std::string& out, std::size_t at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out[at + static_cast<std::size_t>(i)] = static_cast<char>(value >> (8 * i) & 0xFF);
}

}  // namespace

std::string bmpFileOf(const PictureBox& box) {
  const auto w = static_cast<std::size_t>(box.pixelWidth());
  const auto h = static_cast<std::size_t>(box.pixelHeight());
  const std::size_t row = (w * 3 + 3) / 4 * 4;
  constexpr std::size_t kHeader = 14 + 40;
  std::string out(kHeader + row * h, '\0');
  out[0] = 'B';
  out[1] = 'M';
  putLittle(out, 2, static_cast<std::uint32_t>(out.size()), 4);
  putLittle(out, 10, kHeader, 4);
  putLittle(out, 14, 40, 4);
  putLittle(out, 18, static_cast<std::uint32_t>(w), 4);
  putLittle(out, 22, static_cast<std::uint32_t>(h), 4);
  putLittle(out, 26, 1, 2);
  putLittle(out, 28, 24, 2);
  putLittle(out, 34, static_cast<std::uint32_t>(row * h), 4);
  putLittle(out, 38, 3780, 4);  // 96 dots per inch
  putLittle(out, 42, 3780, 4);
  const Colour* bits = box.bits();
  // Rows bottom up, each pixel blue, green, red.
  for (std::size_t y = 0; y < h; ++y) {
    char* to = out.data() + kHeader + (h - 1 - y) * row;
    const Colour* from = bits + y * w;
    for (std::size_t x = 0; x < w; ++x) {
      const auto c = static_cast<std::uint32_t>(from[x]);
      *to++ = static_cast<char>(c >> 16 & 0xFF);
      *to++ = static_cast<char>(c >> 8 & 0xFF);
      *to++ = static_cast<char>(c & 0xFF);
    }
  }
  return out;
}

PictureBox shrunkKeeping(const PictureBox& box, Int32 by, Colour line) {
  const Int32 w = box.pixelWidth();
  const Int32 h = box.pixelHeight();
  PictureBox small(1.0F, 0);
  small.setWidth(static_cast<float>((w + by - 1) / by));
  small.setHeight(static_cast<float>((h + by - 1) / by));
  const Colour* from = box.bits();
  Colour* to = small.overwriteBits();
  const Int32 sw = small.pixelWidth();
  for (Int32 y = 0; y < small.pixelHeight(); ++y) {
    for (Int32 x = 0; x < sw; ++x) {
      Colour all = -1;
      bool onLine = false;
      for (Int32 v = y * by; v < std::min(h, (y + 1) * by); ++v) {
        for (Int32 u = x * by; u < std::min(w, (x + 1) * by); ++u) {
          const Colour c = from[static_cast<std::size_t>(v) * w + u];
          onLine = onLine || c == line;
          all &= c;
        }
      }
      to[static_cast<std::size_t>(y) * sw + x] = onLine ? line : all & 0xFFFFFF;
    }
  }
  small.bitsChanged();
  return small;
}

void saveBoxPicture(const PictureBox& box, const std::string& path) {
  if (path.ends_with(".bmp")) {
    replaceFile(path, bmpFileOf(box));
  } else {
    saveBitmapPng(box, path);
  }
}

}  // namespace quern
