#include "imgproc/imgproc.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "face_fixtures.h"

namespace quern {
namespace {

using testing::Rect;

TEST(ImgProcPicture, TellsTheHostOfPictureWritesButNotOfCommitsAndEmptiesToOneByOne) {
  QuietHost host;
  ImgProc ipc(&host);
  std::vector<std::string> heard;
  ipc.PropertyChanged = [&](const std::string& name) { heard.push_back(name); };
  ipc.setPicture(makeFilledPicture(700, 557, kWhite));
  EXPECT_EQ(heard, (std::vector<std::string>{"Picture", "Picwidth", "Picheight"}));
  ipc.setPicture(nullptr);
  EXPECT_EQ(ipc.picwidth() + ipc.picheight(), 2);
  EXPECT_EQ(handleOf(ipc.picture()), 0);
  ipc.setwh(30, 40);
  ipc.Picture3.setPicture(makeFilledPicture(5, 6, kBlack));
  ipc.commit(ipc.Picture3);
  EXPECT_EQ(heard.size(), 6U);
  ipc.About();
  EXPECT_EQ(host.messages, std::vector<std::string>{"This control is created "});
}

TEST(ImgProcThin, ThinsTheStoredPictureAndCommitsTheResult) {
  ImgProc ipc;
  RecordTable LineTable("LineTable");
  ipc.thin(LineTable);  // no picture: nothing to do, nothing listed
  EXPECT_EQ(LineTable.count(), 0);
  ipc.setPicture(testing::whiteWithBlack(12, 5, {Rect{4, 1, 7, 4}}));
  ipc.Picture1.Line(0, 4, 11, 4, kBlack);  // drawn since the last commit: not read
  ipc.thin(LineTable);
  ASSERT_EQ(LineTable.count(), 3);  // the block's middle row
  for (Int32 i = 1; i <= 3; ++i) EXPECT_EQ(LineTable[i], (LineRecord{static_cast<float>(3 + i), 2, 0, 0, 0}));
  EXPECT_EQ(ipc.picture()->pixels(), testing::whiteWithBlack(12, 5, {Rect{4, 2, 7, 3}})->pixels());
  EXPECT_TRUE(testing::scratchEmpty(ipc));
}

}  // namespace
}  // namespace quern
