#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "imgproc/imgproc.h"
#include "processing/thinning.h"

namespace quern {
namespace {

// A white picture with a solid black block.
Picture blockPicture(Int32 w, Int32 h, Int32 x0, Int32 y0, Int32 bw, Int32 bh) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h, kWhite);
  for (Int32 y = y0; y < y0 + bh; ++y) {
    for (Int32 x = x0; x < x0 + bw; ++x) px[static_cast<std::size_t>(y) * w + x] = kBlack;
  }
  return makePicture(w, h, std::move(px));
}

TEST(ImgProcThin, CommitsTheResultAndEmptiesTheScratchBox) {
  QuietHost host;
  ImgProc ipc(&host);
  RecordTable LineTable("LineTable");
  ipc.setPicture(blockPicture(12, 5, 4, 1, 3, 3));
  std::vector<std::string> heard;
  ipc.PropertyChanged = [&](const std::string& name) { heard.push_back(name); };

  ipc.thin(LineTable);

  ASSERT_EQ(LineTable.count(), 3);
  for (Int32 i = 1; i <= 3; ++i) {
    EXPECT_EQ(LineTable[i].x1, static_cast<float>(3 + i));
    EXPECT_EQ(LineTable[i].y1, 2.0F);
  }
  const Picture& result = ipc.picture();
  ASSERT_TRUE(result);
  EXPECT_EQ(result->pixel(4, 2), kBlack);
  EXPECT_EQ(result->pixel(4, 1), kWhite);
  EXPECT_EQ(ipc.Picture1.Point(5, 2), kBlack);
  EXPECT_EQ(handleOf(ipc.Picture3.picture()), 0);
  EXPECT_TRUE(heard.empty());
}

TEST(ImgProcThin, ReadsTheStoredPictureNotWhatWasDrawnSince) {
  ImgProc ipc;
  RecordTable LineTable("LineTable");
  ipc.setPicture(makeFilledPicture(12, 5, kWhite));
  ipc.Picture1.Line(1, 2, 10, 2, kBlack);
  ipc.thin(LineTable);
  EXPECT_EQ(LineTable.count(), 0);
  EXPECT_EQ(ipc.picture()->pixel(5, 2), kWhite);
}

TEST(ImgProcThin, LeavesPicturesUnderTenPixelsWideAlone) {
  for (const Int32 width : {9, 10}) {
    QuietHost host;
    host.bars[3].Value = 40.0F;
    ImgProc ipc(&host);
    RecordTable LineTable("LineTable");
    std::vector<Colour> px(static_cast<std::size_t>(width) * 5, rgb(200, 200, 200));
    px[2 * width + 4] = kBlack;
    ipc.setPicture(makePicture(width, 5, px));
    ipc.thin(LineTable);
    EXPECT_EQ(host.bars[3].Value, 0.0F);
    if (width == 9) {
      EXPECT_EQ(ipc.picture()->pixels(), px) << "grey stays grey, the dot stays";
      EXPECT_EQ(host.bars[3].Max, 100.0F);
    } else {
      EXPECT_EQ(ipc.picture()->pixels(), std::vector<Colour>(px.size(), kWhite));
      EXPECT_EQ(host.bars[3].Max, 9.0F);
    }
    EXPECT_EQ(LineTable.count(), 0);
  }
}

TEST(ImgProcThin, RefusesPicturesBeyondTheGridAndChangesNothing) {
  for (const auto& [w, h] : {std::pair{5601, 12}, std::pair{12, 5601}}) {
    QuietHost host;
    ImgProc ipc(&host);
    RecordTable LineTable("LineTable");
    LineTable.count() = 3;
    const Picture big = blockPicture(w, h, 2, 2, 4, 4);
    ipc.setPicture(big);
    ipc.Picture1.PSet(1, 1, kRed);
    ipc.thin(LineTable);
    ASSERT_EQ(host.messages.size(), 1U);
    EXPECT_NE(host.messages[0].find("5600"), std::string::npos);
    EXPECT_EQ(ipc.picture(), big);
    EXPECT_EQ(ipc.Picture1.Point(1, 1), kRed) << "not even what was drawn is lost";
    EXPECT_EQ(LineTable.count(), 3);
    EXPECT_EQ(handleOf(ipc.Picture3.picture()), 0);
  }
}

TEST(ImgProcThin, ThinsAPictureAtTheGridLimit) {
  QuietHost host;
  ImgProc ipc(&host);
  RecordTable LineTable("LineTable");
  ipc.setPicture(blockPicture(5600, 12, 5596, 4, 4, 3));
  ipc.thin(LineTable);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(LineTable.count(), 4);  // the middle row of the block, last column included
  EXPECT_EQ(LineTable[4].x1, 5599.0F);
}

TEST(ImgProcThin, WithoutAPictureDoesNothing) {
  ImgProc ipc;
  RecordTable LineTable("LineTable");
  ipc.thin(LineTable);
  EXPECT_EQ(handleOf(ipc.picture()), 0);
  EXPECT_EQ(ipc.picwidth(), 1);
  EXPECT_EQ(LineTable.count(), 0);
}

}  // namespace
}  // namespace quern
