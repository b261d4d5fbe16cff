#include "processing/colour_normalise.h"

#include <gtest/gtest.h>

#include "raster_fixtures.h"

namespace quern {
namespace {

using testing::at;
using testing::boxWith;

TEST(MakeBlackWhite, ThresholdDecidesByLuminanceWithEqualGoingBlack) {
  struct Case {
    Colour in;
    Int16 threshold;
    Colour out;
  };
  const Case cases[] = {
      {kWhite, 254, kWhite},                                             // 255 > 254
      {kWhite, 255, kBlack},                                             // equal is black
      {kBlack, 0, kBlack},                                               // 0 is not above 0
      {rgb(1, 0, 0), 0, kWhite},                                         // any light at all is above 0
      {rgb(0, 0, 10), 1, kWhite},                                        // blue counts 0.11: 1.1 > 1
      {rgb(255, 0, 0), 76, kWhite},                                      // pure red is 76.5
      {rgb(255, 0, 0), 77, kBlack},  {rgb(0, 255, 0), 150, kWhite},      // green 150.45
      {rgb(0, 255, 0), 151, kBlack}, {rgb(200, 200, 200), 200, kBlack},  // grey v has luminance v, up to float noise
  };
  for (const Case& c : cases) {
    QuietHost host;
    PictureBox box = boxWith(makeFilledPicture(2, 2, c.in));
    makeblackwhite(box, c.threshold, host);
    EXPECT_EQ(at(box, 1, 1), c.out) << std::hex << c.in << std::dec << " at " << c.threshold;
  }
}

TEST(MakeBlackWhite, RefusesPicturesBeyond1500PixelsWithAMessageAndNoChange) {
  struct Case {
    Int32 w, h;
    bool refused;
  };
  for (const Case c : {Case{1501, 1, true}, {1, 1501, true}, {1500, 1500, false}}) {
    QuietHost host;
    host.PB(2).Value = 42.0F;
    PictureBox box = boxWith(makeFilledPicture(c.w, c.h, rgb(10, 10, 10)));
    makeblackwhite(box, 200, host);
    EXPECT_EQ(at(box, c.w - 1, c.h - 1), c.refused ? rgb(10, 10, 10) : kBlack) << c.w << "x" << c.h;
    EXPECT_EQ(host.messages.size(), c.refused ? 1U : 0U);
    if (c.refused) {
      EXPECT_EQ(host.messages[0], "Image too large to process. Please try loading a smaller image.");
    }
    EXPECT_EQ(host.PB(2).Max, static_cast<float>(c.h));
    EXPECT_EQ(host.PB(2).Value, 0.0F);
    EXPECT_EQ(host.doEventsCalls, c.refused ? 0 : c.h);
  }
}

TEST(MakeBlackWhite, SecondPassChangesNothing) {
  QuietHost host;
  PictureBox box = boxWith(testing::noisePicture(40, 30));
  makeblackwhite(box, 128, host);
  const Picture once = box.Image();
  makeblackwhite(box, 128, host);
  EXPECT_EQ(box.Image()->pixels(), once->pixels());
  for (Colour c : once->pixels()) EXPECT_TRUE(c == kBlack || c == kWhite);
}

TEST(MakeBlackWhite, UserScaleReadsThroughPointButPaintsDevicePixels) {
  // A 4 by 4 box scaled to 2 by 2 units: only device pixels 0..1 are painted,
  // each from the point at the same coordinate in the box's scale.
  QuietHost host;
  std::vector<Colour> px(16, kWhite);
  px[2] = kBlack;  // device (2, 0) is unit (1, 0)
  PictureBox box = boxWith(makePicture(4, 4, px));
  box.setScaleWidth(2.0F);
  box.setScaleHeight(2.0F);
  makeblackwhite(box, 100, host);
  EXPECT_EQ(at(box, 0, 0), kWhite);
  EXPECT_EQ(at(box, 1, 0), kBlack);
  EXPECT_EQ(at(box, 2, 0), kBlack);  // left as it was
  EXPECT_EQ(at(box, 3, 3), kWhite);
}

}  // namespace
}  // namespace quern
