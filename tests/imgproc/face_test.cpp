#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <tuple>
#include <vector>

#include "face_fixtures.h"

namespace quern {
namespace {

using testing::numbered;
using testing::Rect;
using testing::scratchEmpty;
using testing::twipsFor;
using testing::whiteWithBlack;

TEST(FacePixels, ReadersGiveMinusOneOutsideAndRoundTiesToEven) {
  ImgProc c;
  c.setPicture(numbered(10, 5));
  const Int16 past = 10;
  const Int16 zero = 0;
  const std::tuple<const char*, Colour, Colour> cases[] = {
      {"Point left", c.Point(-1, 0), -1},
      {"PointFAST left", c.PointFAST(-1, 0), -1},
      {"PointI right", c.PointI(past, zero), -1},
      {"PointS below", c.PointS(0, 5), -1},
      {"PointFAST 2.5", c.PointFAST(2.5F, 0), 2},
      {"PointFAST 3.5", c.PointFAST(3.5F, 0), 4},
      {"PointFAST 1.5, 2.5", c.PointFAST(1.5F, 2.5F), 2002},
  };
  for (const auto& [what, got, want] : cases) EXPECT_EQ(got, want) << what;
}

TEST(FaceMeasure, PicturesPastTheTableAreRefusedBeforeReading) {
  for (const auto& [w, h] : {std::pair{602, 10}, {10, 602}, {601, 601}}) {
    ImgProc c;
    c.setPicture(makeFilledPicture(w, h, kWhite));
    if (w == h) {
      EXPECT_EQ(c.nofpixel(255, 255, 255), 601 * 601);
      continue;
    }
    EXPECT_THROW(c.nofpixel(255, 255, 255), LimitError);
    EXPECT_THROW(c.nofpixelinrange(0, 0, 0, 255, 255, 255), LimitError);
    EXPECT_FALSE(c.pixcached());
  }
}

TEST(FaceCrop, ClampsMovesAndCutsOneToOneAndRefusesOverflowAndEmptyRectangles) {
  struct Case {
    Int16 x, y, w, h;
    Int32 wantW, wantH;
    Colour wantTopLeft;
  };
  for (const Case& k : {Case{-5, -5, 10, 10, 10, 10, 0},             // moves in, keeps its size
                        Case{600, 0, 200, 50, 100, 50, 600},         // shortened at the right edge
                        Case{3, 550, 20, 20, 20, 7, 3 + 550000}}) {  // and at the bottom
    ImgProc c;
    c.setPicture(numbered(700, 557));
    c.HScroll1.Value = 7;
    c.crop(k.x, k.y, k.w, k.h);
    EXPECT_EQ(c.picwidth(), k.wantW);
    EXPECT_EQ(c.picheight(), k.wantH);
    EXPECT_EQ(c.picture()->pixel(0, 0), k.wantTopLeft);
    EXPECT_EQ(c.picture()->pixel(k.wantW - 1, 0), k.wantTopLeft + k.wantW - 1);
    EXPECT_EQ(c.HScroll1.Value, 0);
    EXPECT_TRUE(scratchEmpty(c));
  }
  ImgProc c;
  const Picture before = numbered(700, 557);
  c.setPicture(before);
  EXPECT_THROW(c.crop(32000, 0, 1000, 10), OverflowError);
  EXPECT_THROW(c.crop(800, 0, 10, 10), SurfaceError);
  EXPECT_THROW(c.copypart(0, 557, 10, 10), SurfaceError);
  EXPECT_EQ(c.picture(), before);
  EXPECT_TRUE(scratchEmpty(c));
}

TEST(FaceViewport, ScrollBarsAreEnabledOnlyWhenThePictureExceedsTheClientArea) {
  struct Case {
    Int32 pictureW, pictureH;
    bool wantH, wantV;
    Int32 maxH;
  };
  for (const Case& k : {Case{200, 200, false, false, 0}, Case{201, 200, true, false, 1}, Case{150, 333, false, true, 0},
                        Case{1200, 201, true, true, 1000}}) {
    ImgProc c;
    c.UserControl_Resize(twipsFor(200), twipsFor(200));
    c.setPicture(makeFilledPicture(k.pictureW, k.pictureH, kWhite));
    EXPECT_EQ(c.HScroll1.Enabled, k.wantH) << k.pictureW;
    EXPECT_EQ(c.VScroll1.Enabled, k.wantV) << k.pictureH;
    if (k.wantH) {
      EXPECT_EQ(c.HScroll1.Max, k.maxH);
    }
  }
  ImgProc c;
  c.UserControl_Resize(twipsFor(10), twipsFor(10));
  EXPECT_THROW(c.setPicture(makeFilledPicture(32800, 1, kWhite)), OverflowError) << "too large to scroll";
  EXPECT_THROW(c.UserControl_Resize(15.0F * 10, 15.0F * 10), SurfaceError) << "too small for its bars";
}

TEST(FaceRecord, LeftOutValuesTakeTheirDefaultsAndDamagedRecordsAreRefused) {
  ImgProc c;
  c.UserControl_ReadProperties(PropertyBag::parse("ScaleWidth=1\nScaleHeight=1\npicwidth=40\npicheight=30\n"));
  EXPECT_EQ(c.ScaleMode(), 3);
  EXPECT_EQ(c.ScaleWidth(), 40.0F);
  EXPECT_EQ(c.Font(), (StdFont{"ARIAL", 8.0F}));
  EXPECT_EQ(c.shapemaxwidth, 480);
  EXPECT_EQ(c.picbackcolor(), kSysButtonFace);
  for (const char* text :
       {"drawwidth=wide\n", "no equals sign\n", "picture=2 2 ffffff\n", "picture=1 1 zz\n", "drawwidth=40000\n"}) {
    EXPECT_THROW(ImgProc().UserControl_ReadProperties(PropertyBag::parse(text)), FileError) << text;
  }
}

}  // namespace
}  // namespace quern
