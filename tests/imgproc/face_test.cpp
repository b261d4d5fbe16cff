#include <gtest/gtest.h>

#include <array>
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

TEST(FaceMeasure, NofpixelKeepsItsTableForUseoldRefusesPicturesPastItAndNopixallSortsIntoColourBoxes) {
  ImgProc c;
  c.setPicture(whiteWithBlack(30, 20, {Rect{0, 0, 5, 2}}));
  EXPECT_EQ(c.nofpixel(0, 0, 0, true), 10) << "no table yet: it reads";
  c.setPicture(whiteWithBlack(30, 20, {Rect{0, 0, 30, 20}}));
  EXPECT_EQ(c.nofpixel(0, 0, 0, true), 10) << "the old table";
  EXPECT_EQ(c.nofpixel(0, 0, 0), 600) << "reads and refills";
  EXPECT_EQ(c.nofpixelinrange(0, 0, 0, 0, 0, 0), 600);

  struct Case {
    Colour colour;
    std::size_t element;  // 10 alone when in no box
  };
  for (const Case& k : {Case{kWhite, 5}, Case{rgb(128, 128, 128), 10}, Case{rgb(10, 10, 10), 0},
                        Case{rgb(245, 0, 0), 1}, Case{rgb(0, 255, 10), 2}, Case{rgb(0, 0, 245), 3}}) {
    ImgProc m;
    m.setPicture(makeFilledPicture(4, 3, k.colour));
    const std::array<Int32, 11> counts = m.nopixall();
    for (std::size_t e = 0; e < 10; ++e) EXPECT_EQ(counts[e], e == k.element ? 12 : 0) << k.colour << " " << e;
    EXPECT_EQ(counts[10], 12);
  }

  // Pictures past the table are refused before reading.
  for (const auto& [w, h] : {std::pair{602, 10}, {10, 602}, {601, 601}}) {
    ImgProc big;
    big.setPicture(makeFilledPicture(w, h, kWhite));
    if (w == h) {
      EXPECT_EQ(big.nofpixel(255, 255, 255), 601 * 601);
      continue;
    }
    EXPECT_THROW(big.nofpixel(255, 255, 255), LimitError);
    EXPECT_THROW(big.nofpixelinrange(0, 0, 0, 255, 255, 255), LimitError);
    EXPECT_FALSE(big.pixcached());
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

TEST(FaceSelection, SelviewportFramesWhatTheViewportShowsAndACutUsesItUp) {
  struct Case {
    Int32 picture, client, scroll;
    float wantSize;
  };
  for (const Case& k : {Case{1000, 296, 40, 296}, Case{1000, 600, 40, 480}, Case{100, 296, 0, 100}}) {
    ImgProc c;
    c.UserControl_InitProperties();
    c.UserControl_Resize(twipsFor(k.client), twipsFor(k.client));
    c.setPicture(makeFilledPicture(k.picture, k.picture, kWhite));
    c.HScroll1.Value = k.scroll;
    c.VScroll1.Value = k.scroll;
    c.selviewport();
    EXPECT_EQ(c.Shape1.Width, k.wantSize) << k.picture << " in " << k.client;
    EXPECT_EQ(c.Shape1.Height, k.wantSize);
    EXPECT_EQ(c.Shape1.Left, static_cast<float>(k.scroll));
  }

  ImgProc c;
  c.UserControl_InitProperties();
  c.setPicture(numbered(50, 40));
  EXPECT_EQ(c.getselpartIMAGE(), nullptr) << "no selection while the frame is hidden";
  c.Shape1 = SelectionFrame{true, 10, 5, 20, 8};
  const Picture cut = c.getselpartIMAGE();
  ASSERT_NE(cut, nullptr);
  EXPECT_EQ(cut->pixelWidth(), 20);
  EXPECT_EQ(cut->pixel(0, 0), 10 + 5000);
  EXPECT_EQ(c.picwidth(), 50) << "the control keeps its picture";
  EXPECT_EQ(c.getselpartIMAGE(), nullptr) << "the spent 0 by 0 frame is no selection";
  EXPECT_TRUE(scratchEmpty(c));
}

TEST(FacePatterns, SegmentsCountBlobsAndCheckPatternCentresFourDiscsOnEachBlackPixel) {
  struct Case {
    const char* what;
    std::vector<Rect> blacks;
    Int16 wantN;
  };
  for (const Case& k : {Case{"one rectangle", {{30, 20, 60, 40}}, 2},
                        Case{"two blobs far apart", {{10, 20, 20, 40}, {60, 20, 70, 40}}, 4},
                        Case{"two blobs closer than twice the radius", {{10, 20, 20, 40}, {30, 20, 40, 40}}, 2}}) {
    ImgProc c;
    c.setPicture(whiteWithBlack(100, 60, k.blacks));
    const std::vector<Int16> s = c.givesegments();
    EXPECT_EQ(s.at(0), k.wantN) << k.what;
    EXPECT_LE(s.at(1), k.blacks.front().x0) << k.what;
    EXPECT_GE(s.at(static_cast<std::size_t>(k.wantN)), k.blacks.back().x1) << k.what;
    EXPECT_TRUE(scratchEmpty(c));
  }

  ImgProc c;
  c.setPicture(whiteWithBlack(11, 11, {{5, 5, 6, 6}}));
  const Picture p = c.givecheckpattern(true, 16, 10, 6, 3, 20);
  const Int32 o = 5 + 20 + 3;
  for (auto [d, want] : {std::pair{0, kBlack}, {5, kRed}, {8, kGreen}, {13, kBlue}}) {
    EXPECT_EQ(p->pixel(o + d, o), want) << d;
    EXPECT_EQ(p->pixel(o, o - d), want) << d;
  }
}

TEST(FaceRecord, ARecordReadsBackToTheSameRecordLeftOutValuesTakeDefaultsDamagedOnesAreRefused) {
  ImgProc a;
  a.UserControl_InitProperties();
  a.setPicture(numbered(30, 20));
  a.setpicbackcolor(0x405060);
  a.setDrawWidth(4);
  a.setToolTipText("line one\nline=two \\ end");
  a.setenableshape(true);
  a.setEnabled(false);
  PropertyBag first;
  a.UserControl_WriteProperties(first);

  ImgProc b;
  b.UserControl_ReadProperties(PropertyBag::parse(first.text()));
  PropertyBag second;
  b.UserControl_WriteProperties(second);
  EXPECT_EQ(second.text(), first.text());
  EXPECT_EQ(b.picture()->pixels(), a.picture()->pixels());
  EXPECT_EQ(b.ToolTipText(), "line one\nline=two \\ end");
  EXPECT_FALSE(b.Enabled);

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
