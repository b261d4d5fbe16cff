#include <gtest/gtest.h>

#include "face_fixtures.h"

namespace quern {
namespace {

using testing::numbered;
using testing::scratchEmpty;

TEST(FaceCrop, ClampsMovesAndCutsOneToOne) {
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
}

TEST(FaceCrop, RefusesOverflowAndEmptyRectanglesLeavingThePicture) {
  ImgProc c;
  const Picture before = numbered(700, 557);
  c.setPicture(before);
  EXPECT_THROW(c.crop(32000, 0, 1000, 10), OverflowError);
  EXPECT_THROW(c.crop(800, 0, 10, 10), SurfaceError);
  EXPECT_THROW(c.copypart(0, 557, 10, 10), SurfaceError);
  EXPECT_EQ(c.picture(), before);
  EXPECT_TRUE(scratchEmpty(c));
}

TEST(FaceCrop, TakeimageChoosesBetweenStoredPictureAndDrawing) {
  for (bool takeimage : {false, true}) {
    ImgProc c;
    c.setPicture(makeFilledPicture(20, 20, kWhite));
    c.Line(0, 0, 5, 19, 5, kBlack);
    const Picture part = c.copypart(0, 0, 10, 10, takeimage);
    c.crop(0, 0, 10, 10, takeimage);
    const Colour want = takeimage ? kBlack : kWhite;
    EXPECT_EQ(c.picture()->pixel(5, 5), want) << takeimage;
    EXPECT_EQ(part->pixel(5, 5), want) << takeimage;
  }
}

TEST(FaceCrop, CopypartGoesByTheStoredPicturesOwnSize) {
  ImgProc c;
  c.setPicture(numbered(30, 20));
  c.setwh(10, 10);  // the box is now smaller than its picture
  const Picture part = c.copypart(5, 5, 100, 100, false);
  EXPECT_EQ(part->pixelWidth(), 25);
  EXPECT_EQ(part->pixelHeight(), 15);
  EXPECT_EQ(part->pixel(24, 14), 29 + 19000);
  EXPECT_EQ(c.picwidth(), 10);
}

// A control shown in a viewport of `client` by `client` pixels.
void showIn(ImgProc& c, Int32 client) {
  const float twips = static_cast<float>((client + 4 + 20) * kDefaultTwipsPerPixel);
  c.UserControl_Resize(twips, twips);
}

TEST(FaceSelection, SelviewportFramesWhatTheViewportShows) {
  struct Case {
    Int32 picture, client;
    Int32 scroll;
    float wantSize;
  };
  for (const Case& k : {Case{1000, 296, 40, 296}, Case{1000, 600, 40, 480}, Case{100, 296, 0, 100}}) {
    ImgProc c;
    c.UserControl_InitProperties();
    showIn(c, k.client);
    c.setPicture(makeFilledPicture(k.picture, k.picture, kWhite));
    if (k.scroll) {
      c.HScroll1.Value = k.scroll;
      c.VScroll1.Value = k.scroll + 1;
    }
    c.selviewport();
    EXPECT_TRUE(c.hasSelection());
    EXPECT_EQ(c.Shape1.Width, k.wantSize) << k.picture << " in " << k.client;
    EXPECT_EQ(c.Shape1.Height, k.wantSize);
    EXPECT_EQ(c.Shape1.Left, static_cast<float>(k.scroll));
    EXPECT_EQ(c.Shape1.Top, static_cast<float>(k.scroll ? k.scroll + 1 : 0));
  }
}

TEST(FaceSelection, ASelectionIsUsedUpByCutting) {
  ImgProc c;
  c.UserControl_InitProperties();
  c.setPicture(numbered(50, 40));
  EXPECT_EQ(c.getselpartIMAGE(), nullptr);  // hidden frame
  c.Shape1 = SelectionFrame{true, 10, 5, 20, 8};
  const Picture cut = c.getselpartIMAGE();
  ASSERT_NE(cut, nullptr);
  EXPECT_EQ(cut->pixelWidth(), 20);
  EXPECT_EQ(cut->pixel(0, 0), 10 + 5000);
  EXPECT_EQ(c.picwidth(), 50);  // the control keeps its picture
  EXPECT_TRUE(scratchEmpty(c));

  const Picture before = c.picture();
  EXPECT_EQ(c.getselpartIMAGE(), nullptr);  // the spent 0 by 0 frame
  c.getselpart();
  EXPECT_EQ(c.picture(), before);

  c.Shape1 = SelectionFrame{true, 1, 2, 3, 4};
  c.getselpart();
  EXPECT_EQ(c.picwidth(), 3);
  EXPECT_EQ(c.picheight(), 4);
  EXPECT_EQ(c.picture()->pixel(0, 0), 1 + 2000);
  EXPECT_TRUE(c.Shape1.Visible);
  EXPECT_FALSE(c.hasSelection());
}

}  // namespace
}  // namespace quern
