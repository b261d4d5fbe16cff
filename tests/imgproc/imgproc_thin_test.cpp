#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "imgproc/imgproc.h"
#include "processing/thinning.h"

namespace quern {
namespace {

// A white picture with a black block.
Picture blockPicture(Int32 w, Int32 h, Int32 x0, Int32 y0, Int32 bw, Int32 bh) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h, kWhite);
  for (Int32 i = 0; i < bw * bh; ++i) px[static_cast<std::size_t>(y0 + i / bw) * w + x0 + i % bw] = kBlack;
  return makePicture(w, h, std::move(px));
}

TEST(ImgProcThin, ThinsTheStoredPictureAndCommitsTheResult) {
  ImgProc ipc;
  RecordTable LineTable("LineTable");
  ipc.setPicture(blockPicture(12, 5, 4, 1, 3, 3));
  ipc.Picture1.Line(0, 4, 11, 4, kBlack);  // drawn since the last commit: not read
  std::vector<std::string> heard;
  ipc.PropertyChanged = [&](const std::string& name) { heard.push_back(name); };
  ipc.thin(LineTable);

  ASSERT_EQ(LineTable.count(), 3);  // the block's middle row
  for (Int32 i = 1; i <= 3; ++i) EXPECT_EQ(LineTable[i], (LineRecord{static_cast<float>(3 + i), 2, 0, 0, 0}));
  EXPECT_EQ(ipc.picture()->pixel(4, 2), kBlack);
  EXPECT_EQ(ipc.picture()->pixel(4, 1), kWhite);
  EXPECT_EQ(ipc.picture()->pixel(4, 4), kWhite);
  EXPECT_EQ(handleOf(ipc.Picture3.picture()), 0);
  EXPECT_TRUE(heard.empty());
}

TEST(ImgProcThin, LeavesPicturesUnderTenPixelsWideAlone) {
  for (const Int32 width : {9, 10}) {
    QuietHost host;
    host.bars[3].Value = 40.0F;
    ImgProc ipc(&host);
    RecordTable LineTable("LineTable");
    std::vector<Colour> px(static_cast<std::size_t>(width) * 5, rgb(200, 200, 200));
    px[static_cast<std::size_t>(2 * width + 4)] = kBlack;
    ipc.setPicture(makePicture(width, 5, px));
    ipc.thin(LineTable);
    EXPECT_EQ(ipc.picture()->pixels() == px, width == 9);
    EXPECT_EQ(host.bars[3].Max, width == 9 ? 100.0F : 9.0F);
    EXPECT_EQ(host.bars[3].Value, 0.0F);
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
  }

  QuietHost host;
  ImgProc atLimit(&host);
  RecordTable LineTable("LineTable");
  atLimit.setPicture(blockPicture(5600, 12, 5596, 4, 4, 3));
  atLimit.thin(LineTable);
  EXPECT_TRUE(host.messages.empty());
  EXPECT_EQ(LineTable.count(), 4);
  EXPECT_EQ(LineTable[4].x1, 5599.0F);
}

TEST(ImgProcThin, WithoutAPictureDoesNothing) {
  ImgProc ipc;
  RecordTable LineTable("LineTable");
  ipc.thin(LineTable);
  EXPECT_EQ(handleOf(ipc.picture()), 0);
  EXPECT_EQ(LineTable.count(), 0);
}

}  // namespace
}  // namespace quern
