#include <cmath>
#include <string>

#include "imgproc/imgproc.h"
#include "imgproc/scratch.h"

namespace quern {

namespace {
float intensityOf(Int32 red, Int32 green, Int32 blue) {
  return toFloat32(0.59 * green + 0.3 * red + 0.11 * blue);
}

struct ColourBox {
  std::size_t element;
  Int32 rLo, rHi, gLo, gHi, bLo, bHi;
  bool holds(Int32 r, Int32 g, Int32 b) const {
    return r >= rLo && r <= rHi && g >= gLo && g <= gHi && b >= bLo && b <= bHi;
  }
};

// In the order they are tried; the first that holds a pixel counts it.
constexpr ColourBox kColourBoxes[] = {
    {9, 245, 255, 146, 166, 158, 178},  // pink
    {8, 245, 255, 242, 255, 0, 10},     // yellow
    {7, 245, 255, 0, 18, 245, 255},     // magenta
    {6, 0, 10, 242, 255, 245, 255},     // cyan
    {0, 0, 10, 0, 10, 0, 10},           // black
    {1, 245, 255, 0, 10, 0, 10},        // red
    {2, 0, 10, 245, 255, 0, 10},        // green
    {3, 0, 10, 0, 10, 245, 255},        // blue
    {4, 0, 10, 90, 110, 86, 106},       // teal
    {5, 245, 255, 245, 255, 245, 255},  // white
};
}  // namespace

bool ImgProc::iscolorpresent(bool takeimage, Int16 r, Int16 g, Int16 b) {
  const auto [w, h] = nativeSize(Picture1);
  const PictureBox* box = &Picture1;
  if (!takeimage) {
    // The stored picture stays in Picture3 afterwards, as it always has.
    Picture3.setPicture(Picture1.picture());
    Picture3.Cls();
    box = &Picture3;
  }
  const Int32 iEnd = roundToInt32(w);
  const Int32 jEnd = roundToInt32(h);
  for (Int32 i = 0; i < iEnd; ++i) {
    for (Int32 j = 0; j < jEnd; ++j) {
      const Colour c = box->Point(static_cast<float>(i), static_cast<float>(j));
      if (redOf(c) == r && greenOf(c) == g && blueOf(c) == b) return true;
    }
  }
  return false;
}

double ImgProc::giveslope(Int16 X1, Int16 Y1, Int16 X2, Int16 Y2) const {
  const Int16 dy = sub16(Y1, Y2);
  const Int16 dx = sub16(X1, X2);
  if (dx == 0) {
    throw OverflowError(dy == 0 ? "Overflow: giveslope of two equal points has no value"
                                : "Division by zero: giveslope of a vertical line (X1 equals X2)");
  }
  return static_cast<double>(dy) / dx;
}

double ImgProc::giveslopeangle(double slope, bool DorR) const {
  const double angle = std::atan(slope);
  return DorR ? angle * 180.0 / 3.14159265358979 : angle;
}

float ImgProc::giveintensity(Int16 red, Int16 green, Int16 blue) const {
  return intensityOf(red, green, blue);
}

float ImgProc::giveintensityXY(Int16 X, Int16 Y) {
  const Colour c = GetPixel(Picture1.hDC(), X, Y);
  return intensityOf(redOf(c), greenOf(c), blueOf(c));
}

namespace {
// The picture's size in its scale, refused before any reading if the table
// can't hold it.
std::pair<Int16, Int16> cacheExtent(const PictureBox& box, const char* member) {
  const Int16 W = roundToInt16(box.ScaleWidth());
  const Int16 H = roundToInt16(box.ScaleHeight());
  if (W > ImgProc::kPixCacheSize || H > ImgProc::kPixCacheSize) {
    throw LimitError(std::string(member) + " counts pictures of up to " + std::to_string(ImgProc::kPixCacheSize) +
                     " by " + std::to_string(ImgProc::kPixCacheSize) + " pixels; this one is " + std::to_string(W) +
                     " by " + std::to_string(H));
  }
  return {W, H};
}

std::size_t cacheIndex(Int32 row, Int32 column) {
  return 3 * (static_cast<std::size_t>(row) * ImgProc::kPixCacheSize + static_cast<std::size_t>(column));
}
}  // namespace

template <typename Match>
Int32 ImgProc::countIntoCache(const char* member, Match match) {
  const auto [W, H] = cacheExtent(Picture1, member);
  if (pixcache_.empty()) pixcache_.assign(static_cast<std::size_t>(3) * kPixCacheSize * kPixCacheSize, 0);
  Int32 count = 0;
  for (Int32 i = 0; i < H; ++i) {
    for (Int32 j = 0; j < W; ++j) {
      const Colour c = GetPixel(Picture1.hDC(), j, i);
      Int16* entry = &pixcache_[cacheIndex(i, j)];
      entry[0] = static_cast<Int16>(redOf(c));
      entry[1] = static_cast<Int16>(greenOf(c));
      entry[2] = static_cast<Int16>(blueOf(c));
      if (match(entry[0], entry[1], entry[2])) ++count;
    }
    host().DoEvents();
  }
  pixcached_ = true;
  return count;
}

Int32 ImgProc::nofpixel(Int16 red, Int16 green, Int16 blue, bool useold) {
  const auto exact = [&](Int16 r, Int16 g, Int16 b) { return r == red && g == green && b == blue; };
  if (!(pixcached_ && useold)) return countIntoCache("nofpixel", exact);

  // The table as it was last filled; only the part the picture covers now.
  const auto [W, H] = cacheExtent(Picture1, "nofpixel");
  Int32 count = 0;
  for (Int32 i = 0; i < H; ++i) {
    for (Int32 j = 0; j < W; ++j) {
      const Int16* entry = &pixcache_[cacheIndex(i, j)];
      if (exact(entry[0], entry[1], entry[2])) ++count;
    }
    host().DoEvents();
  }
  return count;
}

Int32 ImgProc::nofpixelinrange(Int16 lred, Int16 lgreen, Int16 lblue, Int16 ured, Int16 ugreen, Int16 ublue) {
  return countIntoCache("nofpixelinrange", [&](Int16 r, Int16 g, Int16 b) {
    return lred <= r && r <= ured && lgreen <= g && g <= ugreen && lblue <= b && b <= ublue;
  });
}

std::array<Int32, 11> ImgProc::nopixall() {
  const Int16 W = roundToInt16(Picture1.ScaleWidth());
  const Int16 H = roundToInt16(Picture1.ScaleHeight());
  std::array<Int32, 11> counts{};
  for (Int32 i = 0; i < H; ++i) {
    for (Int32 j = 0; j < W; ++j) {
      const Colour c = GetPixel(Picture1.hDC(), j, i);
      const Int32 r = redOf(c);
      const Int32 g = greenOf(c);
      const Int32 b = blueOf(c);
      ++counts[10];
      for (const ColourBox& box : kColourBoxes) {
        if (box.holds(r, g, b)) {
          ++counts[box.element];
          break;
        }
      }
    }
    host().DoEvents();
  }
  return counts;
}

}  // namespace quern
