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
      {kWhite, 254, kWhite},         {kWhite, 255, kBlack},              // equal is black
      {rgb(1, 0, 0), 0, kWhite},     {kBlack, 0, kBlack},                // any light at all is above 0
      {rgb(0, 0, 10), 1, kWhite},                                        // blue counts 0.11: 1.1 > 1
      {rgb(255, 0, 0), 76, kWhite},  {rgb(255, 0, 0), 77, kBlack},       // pure red is 76.5
      {rgb(0, 255, 0), 150, kWhite}, {rgb(200, 200, 200), 200, kBlack},  // grey v is v, up to float noise
  };
  for (const Case& c : cases) {
    FractionProgress progress;
    PictureBox box = boxWith(makeFilledPicture(2, 2, c.in));
    makeblackwhite(box, c.threshold, progress);
    EXPECT_EQ(at(box, 1, 1), c.out) << std::hex << c.in << std::dec << " at " << c.threshold;
  }
}

TEST(MakeBlackWhite, RefusesPicturesBeyond1500PixelsWithNoChange) {
  for (const auto& [w, h, refused] : {std::tuple{1501, 1, true}, {1, 1501, true}, {1500, 1500, false}}) {
    QuietHost host;
    host.PB(2).Value = 42.0F;
    HostProgress progress(host, 2);
    PictureBox box = boxWith(makeFilledPicture(w, h, rgb(10, 10, 10)));
    EXPECT_EQ(makeblackwhite(box, 200, progress), !refused);
    EXPECT_EQ(at(box, w - 1, h - 1), refused ? rgb(10, 10, 10) : kBlack) << w << "x" << h;
    EXPECT_EQ(host.PB(2).Max, static_cast<float>(h));
    EXPECT_EQ(host.PB(2).Value, 0.0F);
    EXPECT_EQ(host.doEventsCalls, refused ? 0 : h);
  }
}

}  // namespace
}  // namespace quern
