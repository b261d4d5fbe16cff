#include "surface/picture_box.h"

#include <gtest/gtest.h>

#include <vector>

namespace quern {
namespace {

// A picture whose every pixel tells where it is: rgb(x, y, 0).
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
  EXPECT_EQ(p->Width(), 18521);  // 700 / 96 inch
  EXPECT_EQ(p->Height(), 14737);
  const PictureBox box;
  EXPECT_EQ(roundToInt32(box.ScaleX(static_cast<float>(p->Width()), kScaleHimetric, kScalePixels)), 700);
  EXPECT_EQ(roundToInt32(box.ScaleY(static_cast<float>(p->Height()), kScaleHimetric, kScalePixels)), 557);
  for (const Int32 w : {1, 12, 36, 1500, 5600, 5601}) {
    const Picture q = makeFilledPicture(w, 1, kWhite);
    EXPECT_EQ(roundToInt32(box.ScaleX(static_cast<float>(q->Width()), kScaleHimetric, kScalePixels)), w);
  }
  EXPECT_NE(p->Handle(), 0);
  EXPECT_NE(p->Handle(), makeFilledPicture(700, 557, kWhite)->Handle());
}

TEST(PictureBox, PointGivesMinusOneOutsideTheBox) {
  PictureBox box = boxOf(4, 3);
  struct Case {
    float x, y;
    Colour expected;
  };
  for (const Case c : {Case{0, 0, kWhite}, Case{3, 2, kWhite}, Case{-1, 0, kNoColour}, Case{0, -1, kNoColour},
                       Case{4, 0, kNoColour}, Case{0, 3, kNoColour}, Case{1e9F, 1e9F, kNoColour}}) {
    EXPECT_EQ(box.Point(c.x, c.y), c.expected) << c.x << "," << c.y;
  }
  EXPECT_EQ(GetPixel(box.hDC(), 4, 0), kNoColour);
  EXPECT_EQ(GetPixel(box.hDC(), 0, -1), kNoColour);
  EXPECT_FALSE(SetPixelV(box.hDC(), 4, 0, kBlack));
}

TEST(PictureBox, AUserScaleMapsItsRangeAcrossTheBox) {
  PictureBox box = boxOf(100, 50);
  box.setScaleWidth(10);
  box.setScaleHeight(5);
  EXPECT_EQ(box.ScaleMode(), kScaleUser);
  box.PSet(2.5F, 1.0F, kRed);
  EXPECT_EQ(GetPixel(box.hDC(), 25, 10), kRed) << "device pixels ignore the scale";
  EXPECT_EQ(box.Point(2.5F, 1.0F), kRed);
  EXPECT_EQ(box.Point(10.0F, 0.0F), kNoColour) << "the written width is the far edge";

  SetPixelV(box.hDC(), 90, 40, kBlue);
  EXPECT_EQ(box.Point(9.0F, 4.0F), kBlue);

  box.setScaleMode(kScalePixels);
  EXPECT_EQ(box.Point(25, 10), kRed);
  EXPECT_EQ(box.ScaleWidth(), 100.0F);
  EXPECT_EQ(box.ScaleHeight(), 50.0F);
  EXPECT_THROW(box.setScaleWidth(0), SurfaceError);
}

TEST(PictureBox, SizesCountInTheContainersUnitAndWholePixels) {
  PictureBox inTwips(static_cast<float>(kTwipsPerPixel), 0);
  inTwips.setWidth(1500);
  inTwips.setHeight(1000);
  EXPECT_EQ(inTwips.pixelWidth(), 100);
  EXPECT_EQ(inTwips.pixelHeight(), 67);  // 66.7 pixels round to 67
  EXPECT_EQ(inTwips.Height(), 1005.0F);

  PictureBox framed(1.0F, 2);  // a viewport with a 2-pixel frame
  framed.setWidth(104);
  framed.setHeight(54);
  EXPECT_EQ(framed.ScaleWidth(), 100.0F);
  EXPECT_EQ(framed.ScaleHeight(), 50.0F);
  EXPECT_THROW(framed.setWidth(-1), SurfaceError);
}

TEST(PictureBox, AutoSizeTakesThePicturesSizeAndAPlainBoxClipsIt) {
  const Picture pic = coordinatePicture(6, 4);
  PictureBox sized = boxOf(2, 2);
  sized.AutoSize = true;
  sized.setPicture(pic);
  EXPECT_EQ(sized.pixelWidth(), 6);
  EXPECT_EQ(sized.pixelHeight(), 4);
  EXPECT_EQ(sized.Point(5, 3), rgb(5, 3, 0));

  PictureBox plain = boxOf(3, 8, kBlue);
  plain.setPicture(pic);
  EXPECT_EQ(plain.pixelWidth(), 3);
  EXPECT_EQ(plain.Point(2, 3), rgb(2, 3, 0));
  EXPECT_EQ(plain.Point(2, 5), kBlue) << "below the picture the background shows";

  plain.setPicture(nullptr);
  EXPECT_EQ(handleOf(plain.picture()), 0);
  EXPECT_EQ(plain.Point(2, 3), kBlue);
}

TEST(PictureBox, ANewPictureReplacesWhatWasDrawn) {
  PictureBox box = boxOf(4, 4);
  box.PSet(1, 1, kRed);
  box.setPicture(makeFilledPicture(4, 4, kGreen));
  EXPECT_EQ(box.Point(1, 1), kGreen);
}

TEST(PictureBox, ImageIsASnapshotThatLaterDrawingLeavesAlone) {
  PictureBox box = boxOf(4, 4);
  box.PSet(1, 1, kRed);
  const Picture snap = box.Image();
  box.PSet(1, 1, kBlue);
  box.Cls();
  EXPECT_EQ(snap->pixel(1, 1), kRed);
  EXPECT_EQ(snap->pixelWidth(), 4);
}

TEST(PictureBox, ClsAndBackColorDropTheDrawingButKeepThePicture) {
  PictureBox box = boxOf(6, 6);
  box.setPicture(makeFilledPicture(3, 3, kGreen));
  box.Line(0, 5, 5, 5, kRed);
  box.CurrentX = 4;
  box.Cls();
  EXPECT_EQ(box.Point(2, 5), kWhite);
  EXPECT_EQ(box.Point(1, 1), kGreen);
  EXPECT_EQ(box.CurrentX, 0.0F);

  box.PSet(5, 5, kRed);
  box.setBackColor(kBlue);
  EXPECT_EQ(box.Point(5, 5), kBlue);
  EXPECT_EQ(box.Point(1, 1), kGreen);
  // A grown box keeps its background colour.
  box.setWidth(8);
  EXPECT_EQ(box.Point(7, 0), kBlue);
}

TEST(PictureBox, PaintPictureFillsOmittedArgumentsFromTheSource) {
  const Picture pic = coordinatePicture(4, 3);
  PictureBox box = boxOf(10, 10);
  box.PaintPicture(pic, 2, 1);  // whole picture, its own size
  EXPECT_EQ(box.Point(2, 1), rgb(0, 0, 0));
  EXPECT_EQ(box.Point(5, 3), rgb(3, 2, 0));
  EXPECT_EQ(box.Point(6, 3), kWhite);
  EXPECT_EQ(box.Point(5, 4), kWhite);

  PictureBox part = boxOf(10, 10);
  part.PaintPicture(pic, 0, 0, std::nullopt, std::nullopt, 1, 1, 2, 2);  // a 2 by 2 cut, unstretched
  EXPECT_EQ(part.Point(0, 0), rgb(1, 1, 0));
  EXPECT_EQ(part.Point(1, 1), rgb(2, 2, 0));
  EXPECT_EQ(part.Point(2, 0), kWhite);
}

TEST(PictureBox, PaintPictureStretches) {
  const Picture pic = coordinatePicture(2, 2);
  PictureBox box = boxOf(8, 8);
  box.PaintPicture(pic, 0, 0, 4, 4);
  for (Int32 y = 0; y < 4; ++y) {
    for (Int32 x = 0; x < 4; ++x) EXPECT_EQ(box.Point(x, y), rgb(x / 2, y / 2, 0)) << x << "," << y;
  }
  EXPECT_EQ(box.Point(4, 0), kWhite);

  // Shrinking keeps dark line work: a one-pixel black line survives a halving.
  std::vector<Colour> lines(16, kWhite);
  lines[1 * 4 + 1] = kBlack;
  PictureBox small = boxOf(2, 2);
  small.PaintPicture(makePicture(4, 4, lines), 0, 0, 2, 2);
  EXPECT_EQ(small.Point(0, 0), kBlack);
  EXPECT_EQ(small.Point(1, 1), kWhite);
}

TEST(PictureBox, PaintPictureAndOpcodeMasksWhatTheBoxHolds) {
  PictureBox box = boxOf(2, 1, rgb(0xF0, 0x0F, 0xFF));
  box.PaintPicture(makeFilledPicture(1, 1, rgb(0x3C, 0xFF, 0x00)), 0, 0, std::nullopt, std::nullopt, std::nullopt,
                   std::nullopt, std::nullopt, std::nullopt, kOpcodeAnd);
  EXPECT_EQ(box.Point(0, 0), rgb(0x30, 0x0F, 0x00));
  EXPECT_EQ(box.Point(1, 0), rgb(0xF0, 0x0F, 0xFF));
}

TEST(PictureBox, PaintPictureSourceCoordinatesFollowTheBoxScale) {
  PictureBox box = boxOf(10, 10);
  box.setScaleWidth(5);  // two pixels a unit
  box.setScaleHeight(5);
  box.PaintPicture(coordinatePicture(4, 4), 1, 1, std::nullopt, std::nullopt, 1, 1, 1, 1);
  // A 2 by 2 source at (2, 2) lands at device pixel (2, 2).
  EXPECT_EQ(GetPixel(box.hDC(), 2, 2), rgb(2, 2, 0));
  EXPECT_EQ(GetPixel(box.hDC(), 3, 3), rgb(3, 3, 0));
  EXPECT_EQ(GetPixel(box.hDC(), 4, 4), kWhite);
}

TEST(PictureBox, DrawingUsesForeColorAndFill) {
  PictureBox box = boxOf(21, 21);
  box.ForeColor = kGreen;
  box.Line(0, 0, 4, 0);
  EXPECT_EQ(box.Point(0, 0), kGreen);
  EXPECT_EQ(box.Point(4, 0), kGreen);
  EXPECT_EQ(box.CurrentX, 4.0F);

  box.Circle(10, 10, 5, kRed);
  EXPECT_EQ(box.Point(15, 10), kRed);
  EXPECT_EQ(box.Point(10, 5), kRed);
  EXPECT_EQ(box.Point(10, 10), kWhite) << "FillStyle 1 leaves the inside";
  box.FillStyle = 0;
  box.FillColor = kBlue;
  box.Circle(10, 10, 5, kRed);
  EXPECT_EQ(box.Point(10, 10), kBlue);
  EXPECT_EQ(box.Point(15, 10), kRed);
}

}  // namespace
}  // namespace quern
