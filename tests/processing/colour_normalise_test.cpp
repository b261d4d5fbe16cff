#include "processing/colour_normalise.h"

#include <gtest/gtest.h>

#include "raster_fixtures.h"

namespace quern {
namespace {

using testing::at;
using testing::boxWith;

// Every pixel against the luminance worked out in doubles as defined: noise,
// colours whose luminance is the threshold to the hundredth (where a shortcut
// through whole numbers could tip either way), and words with their top byte
// set, on a width that leaves a ragged end to each row.
TEST(MakeBlackWhite, EveryPixelFollowsTheDoubleLuminance) {
  for (const Int16 threshold : {Int16{0}, Int16{1}, Int16{77}, Int16{128}, Int16{200}, Int16{255}, Int16{-3}}) {
    std::vector<Colour> px;
    std::uint32_t seed = 11;
    for (int i = 0; i < 600; ++i) px.push_back(static_cast<Colour>((seed = seed * 1664525U + 1013904223U) >> 8));
    for (Int32 r = 0; r < 256; r += 3) {
      for (Int32 g = 0; g < 256; ++g) {
        const Int32 rest = 100 * threshold - 30 * r - 59 * g;
        if (rest >= 0 && rest % 11 == 0 && rest / 11 < 256) px.push_back(rgb(r, g, rest / 11));
      }
    }
    for (Colour c : {Colour{-1}, static_cast<Colour>(0x80C0C0C0U), Colour{0x7F000000}, Colour{0x01FFFFFF}}) {
      px.push_back(c);
    }
    const Int32 w = 37;
    px.resize((px.size() + w - 1) / w * w, rgb(threshold, threshold, threshold));
    const Int32 h = static_cast<Int32>(px.size()) / w;
    FractionProgress progress;
    PictureBox box = boxWith(makePicture(w, h, px));
    ASSERT_TRUE(makeblackwhite(box, threshold, progress));
    for (Int32 i = 0; i < w * h; ++i) {
      const Colour c = px[static_cast<std::size_t>(i)];
      const double luminance = (0.3 * redOf(c) + 0.59 * greenOf(c)) + 0.11 * blueOf(c);
      ASSERT_EQ(at(box, i % w, i / w), luminance > threshold ? kWhite : kBlack)
          << std::hex << c << std::dec << " at " << threshold;
    }
  }
}

// Every grey, a byte a pixel, shades as its colour does, at every
// threshold and past both ends, in a row long enough for the vector steps.
TEST(MakeBlackWhite, GreysByTheByteShadeAsTheirColours) {
  std::vector<std::uint8_t> greys(256 + 7);
  for (std::size_t i = 0; i < greys.size(); ++i) greys[i] = static_cast<std::uint8_t>(i * 37 % 256);
  std::vector<Colour> colours;
  for (std::uint8_t g : greys) colours.push_back(testing::grey(g));
  const auto width = static_cast<Int32>(greys.size());
  std::vector<Colour> want(greys.size());
  std::vector<Colour> got(greys.size());
  for (Int16 threshold = -1; threshold <= 257; ++threshold) {
    shadeRow(colours.data(), want.data(), width, threshold);
    shadeGreyRow(greys.data(), got.data(), width, threshold);
    ASSERT_EQ(got, want) << "threshold " << threshold;
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
