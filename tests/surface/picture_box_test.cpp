#include "surface/picture_box.h"

#include <gtest/gtest.h>

#include <vector>

namespace quern {
namespace {

// Every pixel tells where it is: rgb(x, y, 0).
Picture coordinatePicture(Int32 w, Int32 h) {
  std::vector<Colour> px;
  for (Int32 y = 0; y < h; ++y) {
    for (Int32 x = 0; x < w; ++x) px.push_back(rgb(x, y, 0));
  }
  return makePicture(w, h, std::move(px));
}

PictureBox boxOf(Int32 w, Int32 h, Colour back = kWhite) {
  PictureBox box;
  box.setWidth(static_cast<float>(w));
  box.setHeight(static_cast<float>(h));
  box.setBackColor(back);
  return box;
}

TEST(Picture, NativeSizeIsInHundredthsOfAMillimetreAndScalesBackToPixels) {
  const Picture p = makeFilledPicture(700, 557, kWhite);
  EXPECT_EQ(p->Width(), 18521);
  EXPECT_EQ(p->Height(), 14737);
  const PictureBox box;
  for (const Int32 w : {1, 12, 36, 557, 700, 5600, 5601}) {
    const float himetric = static_cast<float>(makeFilledPicture(w, 1, kWhite)->Width());
    EXPECT_EQ(roundToInt32(box.ScaleX(himetric, kScaleHimetric, kScalePixels)), w);
  }
}

TEST(PictureBox, PointGivesMinusOneOutsideTheBox) {
  PictureBox box = boxOf(4, 3);
  const std::pair<float, float> outside[] = {{-1, 0}, {0, -1}, {4, 0}, {0, 3}, {1e9F, 0}};
  for (const auto& [x, y] : outside) EXPECT_EQ(box.Point(x, y), kNoColour) << x << "," << y;
  EXPECT_EQ(box.Point(3, 2), kWhite);
  EXPECT_EQ(GetPixel(box.hDC(), 4, 0), kNoColour);
  EXPECT_FALSE(SetPixelV(box.hDC(), 0, 3, kBlack));
}

TEST(PictureBox, AUserScaleMapsItsRangeAcrossTheBoxButNotDevicePixels) {
  PictureBox box = boxOf(100, 50);
  box.setScaleWidth(10);
  box.setScaleHeight(5);
  box.PSet(2.5F, 1.0F, kRed);
  EXPECT_EQ(GetPixel(box.hDC(), 25, 10), kRed);
  SetPixelV(box.hDC(), 90, 40, kBlue);
  EXPECT_EQ(box.Point(9.0F, 4.0F), kBlue);
  EXPECT_EQ(box.Point(10.0F, 0.0F), kNoColour) << "the written width is the far edge";

  box.setScaleMode(kScalePixels);
  EXPECT_EQ(box.Point(25, 10), kRed);
  EXPECT_EQ(box.ScaleWidth(), 100.0F);
  EXPECT_THROW(box.setScaleHeight(0), SurfaceError);
}

TEST(PictureBox, AutoSizeTakesThePicturesSizeAndAPlainBoxClipsIt) {
  const Picture pic = coordinatePicture(6, 4);
  PictureBox sized = boxOf(2, 2);
  sized.AutoSize = true;
  sized.PSet(1, 1, kRed);
  sized.setPicture(pic);
  EXPECT_EQ(sized.pixelWidth(), 6);
  EXPECT_EQ(sized.pixelHeight(), 4);
  EXPECT_EQ(sized.Point(1, 1), rgb(1, 1, 0)) << "a new picture replaces what was drawn";

  PictureBox plain = boxOf(3, 8, kBlue);
  plain.setPicture(pic);
  EXPECT_EQ(plain.pixelWidth(), 3);
  EXPECT_EQ(plain.Point(2, 3), rgb(2, 3, 0));
  EXPECT_EQ(plain.Point(2, 5), kBlue);
  plain.setPicture(nullptr);
  EXPECT_EQ(plain.Point(2, 3), kBlue);
}

TEST(PictureBox, ClsAndBackColorDropTheDrawingButKeepThePicture) {
  PictureBox box = boxOf(6, 6);
  box.setPicture(makeFilledPicture(3, 3, kGreen));
  box.Line(0, 5, 5, 5, kRed);
  const Picture before = box.Image();
  box.Cls();
  EXPECT_EQ(box.Point(2, 5), kWhite);
  EXPECT_EQ(box.Point(1, 1), kGreen);
  EXPECT_EQ(box.CurrentX, 0.0F);
  EXPECT_EQ(before->pixel(2, 5), kRed) << "an Image read earlier stays as it was";

  box.PSet(5, 5, kRed);
  box.setBackColor(kBlue);
  EXPECT_EQ(box.Point(5, 5), kBlue);
  EXPECT_EQ(box.Point(1, 1), kGreen);
  box.setWidth(8);
  EXPECT_EQ(box.Point(7, 0), kBlue) << "a grown box keeps its background";
}

TEST(PictureBox, PaintPictureFillsOmittedArgumentsFromTheSource) {
  const Picture pic = coordinatePicture(4, 3);
  PictureBox box = boxOf(10, 10);
  box.PaintPicture(pic, 2, 1);
  EXPECT_EQ(box.Point(2, 1), rgb(0, 0, 0));
  EXPECT_EQ(box.Point(5, 3), rgb(3, 2, 0));
  EXPECT_EQ(box.Point(6, 3), kWhite);
  EXPECT_EQ(box.Point(5, 4), kWhite);

  PictureBox part = boxOf(10, 10);
  part.PaintPicture(pic, 0, 0, std::nullopt, std::nullopt, 1, 1, 2, 2);
  EXPECT_EQ(part.Point(0, 0), rgb(1, 1, 0));
  EXPECT_EQ(part.Point(1, 1), rgb(2, 2, 0));
  EXPECT_EQ(part.Point(2, 0), kWhite);

  // Source coordinates are in the scale of the box painted on: two pixels a unit here.
  PictureBox scaled = boxOf(10, 10);
  scaled.setScaleWidth(5);
  scaled.setScaleHeight(5);
  scaled.PaintPicture(pic, 1, 1, std::nullopt, std::nullopt, 1, 0, 1, 1);
  EXPECT_EQ(GetPixel(scaled.hDC(), 2, 2), rgb(2, 0, 0));
  EXPECT_EQ(GetPixel(scaled.hDC(), 3, 3), rgb(3, 1, 0));
  EXPECT_EQ(GetPixel(scaled.hDC(), 4, 4), kWhite);
}

TEST(PictureBox, PaintPictureStretchesAndAndsWithTheBox) {
  PictureBox box = boxOf(8, 8);
  box.PaintPicture(coordinatePicture(2, 2), 0, 0, 4, 4);
  for (Int32 i = 0; i < 16; ++i) EXPECT_EQ(box.Point(i % 4, i / 4), rgb(i % 4 / 2, i / 8, 0)) << i;

  // A shrink keeps dark line work: a one-pixel black dot survives halving.
  std::vector<Colour> dot(16, kWhite);
  dot[5] = kBlack;
  PictureBox small = boxOf(2, 2);
  small.PaintPicture(makePicture(4, 4, dot), 0, 0, 2, 2);
  EXPECT_EQ(small.Point(0, 0), kBlack);
  EXPECT_EQ(small.Point(1, 1), kWhite);

  PictureBox masked = boxOf(2, 1, rgb(0xF0, 0x0F, 0xFF));
  masked.PaintPicture(makeFilledPicture(1, 1, rgb(0x3C, 0xFF, 0x00)), 0, 0, std::nullopt, std::nullopt, std::nullopt,
                      std::nullopt, std::nullopt, std::nullopt, kOpcodeAnd);
  EXPECT_EQ(masked.Point(0, 0), rgb(0x30, 0x0F, 0x00));
  EXPECT_EQ(masked.Point(1, 0), rgb(0xF0, 0x0F, 0xFF));
}

TEST(PictureBox, CircleIsFilledOnlyWithASolidFillStyle) {
  PictureBox box = boxOf(21, 21);
  box.Circle(10, 10, 5, kRed);
  EXPECT_EQ(box.Point(15, 10), kRed);
  EXPECT_EQ(box.Point(10, 10), kWhite);
  box.FillStyle = 0;
  box.FillColor = kBlue;
  box.Circle(10, 10, 5, kRed);
  EXPECT_EQ(box.Point(10, 10), kBlue);
  EXPECT_EQ(box.Point(10, 5), kRed);
}

}  // namespace
}  // namespace quern
