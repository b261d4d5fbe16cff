#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "surface/picture_box.h"

namespace quern {
namespace {

Picture noise(Int32 w, Int32 h, std::uint32_t seed) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h);
  for (Colour& c : px) {
    seed = seed * 1664525U + 1013904223U;
    c = static_cast<Colour>(seed >> 8) & 0xFFFFFF;
  }
  return makePicture(w, h, std::move(px));
}

// Destination pixel d of a stretch covers source [floor(L d / D), floor(L (d + 1) / D)),
// at least one pixel; a stretch paints the AND of what it covers.
Colour slowStretch(const Picture& p, Int32 dw, Int32 dh, Int32 x, Int32 y) {
  auto span = [](Int32 d, Int32 len, Int32 dlen) {
    const auto a = static_cast<Int32>(std::floor(static_cast<double>(len) * d / dlen));
    const auto b = static_cast<Int32>(std::floor(static_cast<double>(len) * (d + 1) / dlen));
    return std::pair{a, std::max(b, a + 1)};
  };
  const auto [x0, x1] = span(x, p->pixelWidth(), dw);
  const auto [y0, y1] = span(y, p->pixelHeight(), dh);
  Colour c = 0xFFFFFF;
  for (Int32 v = y0; v < y1; ++v) {
    for (Int32 u = x0; u < x1; ++u) c &= p->pixel(u, v);
  }
  return c;
}

TEST(Stretch, EveryDestinationPixelIsTheAndOfTheSourcePixelsItCovers) {
  struct Case {
    Int32 sw, sh, dw, dh;
  };
  for (const Case c : {Case{17, 13, 5, 4}, {17, 13, 40, 29}, {17, 13, 17, 13}, {9, 30, 31, 7}, {6, 6, 1, 1}}) {
    const Picture src = noise(c.sw, c.sh, static_cast<std::uint32_t>(c.dw * 7 + c.dh));
    PictureBox box;
    box.setWidth(static_cast<float>(c.dw));
    box.setHeight(static_cast<float>(c.dh));
    box.PaintPicture(src, 0.0F, 0.0F, static_cast<float>(c.dw), static_cast<float>(c.dh));
    for (Int32 y = 0; y < c.dh; ++y) {
      for (Int32 x = 0; x < c.dw; ++x) {
        ASSERT_EQ(GetPixel(box.hDC(), x, y), slowStretch(src, c.dw, c.dh, x, y))
            << c.sw << "x" << c.sh << " -> " << c.dw << "x" << c.dh << " at " << x << "," << y;
      }
    }
  }
}

TEST(Stretch, ACopyPartlyOutsideTheBoxCombinesOnlyWhereItFalls) {
  const Picture src = noise(4, 4, 3);
  for (const Int32 op : {kOpcodeCopy, kOpcodeAnd}) {
    PictureBox box;
    box.setWidth(5.0F);
    box.setHeight(5.0F);
    box.setBackColor(0x7F7F7F);
    box.PaintPicture(src, -2.0F, -1.0F, std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                     std::nullopt, op);
    for (Int32 y = 0; y < 5; ++y) {
      for (Int32 x = 0; x < 5; ++x) {
        const bool covered = x < 2 && y < 3;
        const Colour s = covered ? src->pixel(x + 2, y + 1) : 0;
        const Colour want = !covered ? 0x7F7F7F : op == kOpcodeAnd ? (s & 0x7F7F7F) : s;
        EXPECT_EQ(GetPixel(box.hDC(), x, y), want) << op << " at " << x << "," << y;
      }
    }
  }
}

TEST(Stretch, TakeImageHandsOverTheBitmapAndEmptiesTheBox) {
  PictureBox box;
  box.AutoSize = true;
  box.setPicture(noise(6, 3, 9));
  SetPixelV(box.hDC(), 1, 1, kRed);
  const Picture drawn = box.Image();
  const Picture taken = box.takeImage();
  EXPECT_EQ(taken->pixels(), drawn->pixels());
  EXPECT_EQ(handleOf(box.picture()), 0);
  EXPECT_EQ(box.pixelWidth(), 1);
  EXPECT_EQ(box.pixelHeight(), 1);
}

}  // namespace
}  // namespace quern
