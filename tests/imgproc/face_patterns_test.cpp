#include <gtest/gtest.h>

#include "face_fixtures.h"

namespace quern {
namespace {

using testing::Rect;
using testing::scratchEmpty;
using testing::whiteWithBlack;

TEST(FaceSegments, CountsSegmentsOfTheThickenedColumns) {
  struct Case {
    const char* what;
    std::vector<Rect> blacks;
    Int16 wantN;
  };
  for (const Case& k : {Case{"nothing black", {}, 0}, Case{"one rectangle", {{30, 20, 60, 40}}, 2},
                        Case{"two blobs far apart", {{10, 20, 20, 40}, {60, 20, 70, 40}}, 4},
                        Case{"two blobs closer than 2 radius", {{10, 20, 20, 40}, {30, 20, 40, 40}}, 2}}) {
    ImgProc c;
    c.setPicture(whiteWithBlack(100, 60, k.blacks));
    const std::vector<Int16> s = c.givesegments();
    ASSERT_EQ(s.size(), 1001U);
    EXPECT_EQ(s[0], k.wantN) << k.what;
    if (!k.blacks.empty()) {  // a segment opens up to `radius` left and closes up to radius + 1 right
      EXPECT_GE(s[1], k.blacks.front().x0 - 8) << k.what;
      EXPECT_LE(s[1], k.blacks.front().x0) << k.what;
      EXPECT_GE(s[k.wantN], k.blacks.back().x1) << k.what;
      EXPECT_LE(s[k.wantN], k.blacks.back().x1 + 8) << k.what;
    }
    for (std::size_t i = static_cast<std::size_t>(k.wantN) + 1; i < s.size(); ++i) ASSERT_EQ(s[i], 0) << k.what;
    EXPECT_TRUE(scratchEmpty(c));
  }
}

TEST(FaceSegments, ASegmentReachingTheRightEdgeHasNoEnd) {
  ImgProc c;
  c.setPicture(whiteWithBlack(40, 40, {{20, 5, 40, 35}}));
  const std::vector<Int16> s = c.givesegments(false, 0.5, 0.5, 20);
  EXPECT_EQ(s[0], 1);
}

TEST(FaceSegments, PicturesWiderThanTheColumnStoreAreRefused) {
  ImgProc c;
  c.setPicture(makeFilledPicture(971, 5, kWhite));
  EXPECT_EQ(c.givesegments()[0], 0);
  c.setPicture(makeFilledPicture(972, 5, kWhite));
  const Colour back = c.Picture4.BackColor();
  EXPECT_THROW(c.givesegments(), LimitError);
  EXPECT_TRUE(scratchEmpty(c));
  EXPECT_EQ(c.Picture4.BackColor(), back);
}

TEST(FaceThicken, DrawsADiscOnEachExactlyBlackPixel) {
  ImgProc c;
  std::vector<Colour> px(10 * 10, kWhite);
  px[5 * 10 + 5] = kBlack;
  px[1 * 10 + 1] = 1;  // nearly black is passed over
  const Picture before = makePicture(10, 10, px);
  c.setPicture(before);
  const Colour back = c.Picture4.BackColor();

  const Picture t = c.givethicken();
  ASSERT_EQ(t->pixelWidth(), 10 + 46);
  ASSERT_EQ(t->pixelHeight(), 10 + 46);
  const Int32 o = 5 + 23;  // pixel 5 at 5 + margin + 3
  for (auto [dx, dy, want] :
       {std::tuple{0, 0, kBlack}, {2, 0, kBlack}, {0, -3, kBlack}, {5, 0, kWhite}, {1 + 23 - o, 1 + 23 - o, kWhite}}) {
    EXPECT_EQ(t->pixel(o + dx, o + dy), want) << dx << "," << dy;
  }
  EXPECT_EQ(c.givethicken(false)->pixels(), t->pixels());
  EXPECT_EQ(c.picture(), before);
  EXPECT_EQ(c.picwidth(), 10);
  EXPECT_EQ(c.Picture4.BackColor(), back);
  EXPECT_EQ(c.Picture4.FillStyle, 1);
  EXPECT_TRUE(scratchEmpty(c));
}

TEST(FaceThicken, AWhitePictureGivesALargerWhitePicture) {
  ImgProc c;
  c.setPicture(makeFilledPicture(7, 4, kWhite));
  const Picture t = c.givethicken(true, 3, 2);
  EXPECT_EQ(t->pixelWidth(), 7 + 10);
  EXPECT_EQ(t->pixelHeight(), 4 + 10);
  for (Colour p : t->pixels()) ASSERT_EQ(p, kWhite);
}

TEST(FaceCheckPattern, PutsFourConcentricDiscsOnEachBlackPixel) {
  for (Int16 margin : {Int16{20}, Int16{6}}) {
    ImgProc c;
    c.setPicture(whiteWithBlack(11, 11, {{5, 5, 6, 6}}));
    const Picture p = c.givecheckpattern(true, 16, 10, 6, 3, margin);
    const Int32 o = 5 + margin + 3;
    ASSERT_EQ(p->pixelWidth(), 11 + 2 * margin + 6);
    for (auto [d, want] : {std::pair{0, kBlack}, {3, kBlack}, {5, kRed}, {8, kGreen}, {13, kBlue}}) {
      // The same on all four sides: one centre for all four discs.
      EXPECT_EQ(p->pixel(o + d, o), want) << margin << " " << d;
      EXPECT_EQ(p->pixel(o - d, o), want) << margin << " " << d;
      EXPECT_EQ(p->pixel(o, o + d), want) << margin << " " << d;
      EXPECT_EQ(p->pixel(o, o - d), want) << margin << " " << d;
    }
    EXPECT_EQ(p->pixel(0, 0), 0x606400);  // teal, outside every disc
    EXPECT_TRUE(scratchEmpty(c));
  }
}

TEST(FaceCheckPattern, MoreBlackPixelsThanTheListHoldsAreRefused) {
  ImgProc c;
  const Picture before = makeFilledPicture(200, 101, kBlack);
  c.setPicture(before);
  const Colour back = c.Picture4.BackColor();
  EXPECT_THROW(c.givecheckpattern(), LimitError);
  EXPECT_EQ(c.picture(), before);
  EXPECT_EQ(c.Picture4.BackColor(), back);
  EXPECT_TRUE(scratchEmpty(c));
}

}  // namespace
}  // namespace quern
