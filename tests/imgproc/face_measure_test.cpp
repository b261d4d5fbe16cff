#include <gtest/gtest.h>

#include <cmath>

#include "face_fixtures.h"

namespace quern {
namespace {

using testing::Rect;
using testing::whiteWithBlack;

TEST(FaceMeasure, IscolorpresentSeesDrawingOnlyWithTakeimage) {
  ImgProc c;
  c.setPicture(makeFilledPicture(8, 8, kWhite));
  c.PSet_(6, 7, rgb(1, 2, 3));
  EXPECT_FALSE(c.iscolorpresent(false, 1, 2, 3));
  EXPECT_TRUE(c.iscolorpresent(true, 1, 2, 3));
  EXPECT_TRUE(c.iscolorpresent(true, 255, 255, 255));
  EXPECT_FALSE(c.iscolorpresent());  // black
  c.PSet_(0, 0, kBlack);
  EXPECT_TRUE(c.iscolorpresent());
}

TEST(FaceMeasure, IscolorpresentSearchesTheStoredPicturesSizeOnly) {
  ImgProc c;
  c.setPicture(makeFilledPicture(4, 4, kWhite));
  c.setwh(10, 10);
  c.PSet_(8, 8, kBlack);  // drawn on the box, outside the picture's own size
  EXPECT_FALSE(c.iscolorpresent());
}

TEST(FaceMeasure, SlopesAnglesAndIntensities) {
  ImgProc c;
  EXPECT_DOUBLE_EQ(c.giveslope(0, 0, 10, 5), 0.5);
  EXPECT_DOUBLE_EQ(c.giveslope(10, 5, 0, 0), 0.5);
  EXPECT_DOUBLE_EQ(c.giveslope(0, 5, 10, 0), -0.5);
  EXPECT_THROW(c.giveslope(3, 0, 3, 7), OverflowError);
  EXPECT_THROW(c.giveslope(3, 7, 3, 7), OverflowError);
  EXPECT_THROW(c.giveslope(-30000, 0, 30000, 1), OverflowError);
  EXPECT_NEAR(c.giveslopeangle(1), 45.0, 1e-12);
  EXPECT_NEAR(c.giveslopeangle(1, false), 0.7853981633974483, 1e-15);
  EXPECT_NEAR(c.giveslopeangle(-1e300), -90.0, 1e-12);

  EXPECT_EQ(c.giveintensity(255, 255, 255), 255.0F);
  EXPECT_EQ(c.giveintensity(100, 0, 0), 30.0F);
  c.setPicture(makeFilledPicture(2, 2, rgb(0, 100, 0)));
  EXPECT_EQ(c.giveintensityXY(1, 1), 59.0F);
  EXPECT_EQ(c.giveintensityXY(2, 0), toFloat32(0.59 * -1 + 0.3 * -1 + 0.11 * 255));  // 27.16
}

TEST(FaceMeasure, NofpixelCountsAndKeepsTheTableForUseold) {
  ImgProc c;
  c.setPicture(whiteWithBlack(30, 20, {Rect{0, 0, 5, 2}}));
  EXPECT_FALSE(c.pixcached());
  EXPECT_EQ(c.nofpixel(0, 0, 0, true), 10);  // no table yet: reads
  EXPECT_TRUE(c.pixcached());

  c.setPicture(whiteWithBlack(30, 20, {Rect{0, 0, 30, 20}}));
  EXPECT_EQ(c.nofpixel(0, 0, 0, true), 10);  // the old table
  EXPECT_EQ(c.nofpixel(255, 255, 255, true), 590);
  EXPECT_EQ(c.nofpixel(0, 0, 0), 600);  // reads and refills
  EXPECT_EQ(c.nofpixel(0, 0, 0, true), 600);

  c.setPicture(whiteWithBlack(10, 10, {}));  // smaller: only its part of the table
  EXPECT_EQ(c.nofpixel(0, 0, 0, true), 100);
  EXPECT_EQ(c.nofpixelinrange(0, 0, 0, 255, 255, 255), 100);
  EXPECT_EQ(c.nofpixelinrange(0, 0, 0, 254, 255, 255), 0);
  EXPECT_EQ(c.nofpixel(0, 0, 0, true), 0);  // nofpixelinrange refilled it
}

TEST(FaceMeasure, CountsGiveWayOncePerRow) {
  QuietHost host;
  ImgProc c(&host);
  c.setPicture(makeFilledPicture(7, 13, kWhite));
  c.nofpixel(0, 0, 0);
  EXPECT_EQ(host.doEventsCalls, 13);
  c.nopixall();
  EXPECT_EQ(host.doEventsCalls, 26);
}

TEST(FaceMeasure, PicturesPastTheTableAreRefusedBeforeReading) {
  for (auto [w, h] : {std::pair{602, 10}, std::pair{10, 602}}) {
    ImgProc c;
    c.setPicture(makeFilledPicture(w, h, kWhite));
    EXPECT_THROW(c.nofpixel(255, 255, 255), LimitError);
    EXPECT_THROW(c.nofpixelinrange(0, 0, 0, 255, 255, 255), LimitError);
    EXPECT_FALSE(c.pixcached());
  }
  ImgProc c;
  c.setPicture(makeFilledPicture(601, 601, kWhite));
  EXPECT_EQ(c.nofpixel(255, 255, 255), 601 * 601);
}

TEST(FaceMeasure, NopixallSortsPixelsIntoTheColourBoxes) {
  struct Case {
    Colour colour;
    std::size_t element;  // 10 alone when in no box
  };
  for (const Case& k :
       {Case{kWhite, 5}, Case{rgb(128, 128, 128), 10}, Case{rgb(250, 156, 170), 9}, Case{rgb(255, 250, 5), 8},
        Case{rgb(245, 18, 255), 7}, Case{rgb(10, 242, 245), 6}, Case{rgb(10, 10, 10), 0}, Case{rgb(245, 0, 0), 1},
        Case{rgb(0, 255, 10), 2}, Case{rgb(0, 0, 245), 3}, Case{0x606400, 4}, Case{rgb(11, 0, 0), 10}}) {
    ImgProc c;
    c.setPicture(makeFilledPicture(4, 3, k.colour));
    const std::array<Int32, 11> counts = c.nopixall();
    for (std::size_t e = 0; e < 10; ++e) EXPECT_EQ(counts[e], e == k.element ? 12 : 0) << k.colour << " " << e;
    EXPECT_EQ(counts[10], 12);
  }
}

}  // namespace
}  // namespace quern
