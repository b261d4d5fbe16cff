#include "imgproc/imgproc.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quern {
namespace {

TEST(ImgProcPicture, AnEmptyControlIsOneByOne) {
  ImgProc ipc;
  EXPECT_EQ(ipc.picwidth(), 1);
  EXPECT_EQ(ipc.picheight(), 1);
  EXPECT_EQ(handleOf(ipc.picture()), 0);

  ipc.setPicture(makeFilledPicture(700, 557, kWhite));
  EXPECT_EQ(ipc.picwidth(), 700);
  EXPECT_EQ(ipc.picheight(), 557);
  ipc.setPicture(nullptr);
  EXPECT_EQ(ipc.picwidth(), 1);
  EXPECT_EQ(ipc.picheight(), 1);
  EXPECT_EQ(handleOf(ipc.picture()), 0);
}

TEST(ImgProcPicture, TellsTheHostOfPictureThenWidthThenHeight) {
  ImgProc ipc;
  std::vector<std::string> heard;
  ipc.PropertyChanged = [&](const std::string& name) { heard.push_back(name); };
  const std::vector<std::string> order = {"Picture", "Picwidth", "Picheight"};

  ipc.setPicture(makeFilledPicture(20, 10, kWhite));
  EXPECT_EQ(heard, order);
  heard.clear();
  ipc.setPicture(nullptr);
  EXPECT_EQ(heard, order);

  // Sizes set by a host and commits of operations are not property writes.
  heard.clear();
  ipc.setwh(30, 40);
  EXPECT_EQ(ipc.picwidth(), 30);
  EXPECT_EQ(ipc.picheight(), 40);
  ipc.Picture3.setPicture(makeFilledPicture(5, 6, kBlack));
  ipc.commit(ipc.Picture3);
  EXPECT_TRUE(heard.empty());
}

TEST(ImgProcPicture, DrawingShowsInTheBitmapButNotInThePictureUntilCommitted) {
  ImgProc ipc;
  const Picture original = makeFilledPicture(8, 6, kWhite);
  ipc.setPicture(original);

  ipc.Picture1.PSet(2, 3, kRed);
  SetPixelV(ipc.Picture1.hDC(), 4, 1, kBlue);
  EXPECT_EQ(ipc.Picture1.Point(2, 3), kRed);
  EXPECT_EQ(GetPixel(ipc.Picture1.hDC(), 4, 1), kBlue);
  EXPECT_EQ(ipc.picture(), original);
  EXPECT_EQ(ipc.image()->pixel(2, 3), kRed);
  EXPECT_EQ(ipc.source(false)->pixel(2, 3), kWhite);
  EXPECT_EQ(ipc.source(true)->pixel(4, 1), kBlue);

  // Cls drops what was not committed.
  ipc.Picture1.Cls();
  EXPECT_EQ(ipc.Picture1.Point(2, 3), kWhite);

  ipc.Picture1.PSet(2, 3, kRed);
  ipc.Picture4.setPicture(ipc.image());
  ipc.commit(ipc.Picture4);
  EXPECT_EQ(ipc.picture()->pixel(2, 3), kRed);
  ipc.Picture1.Cls();
  EXPECT_EQ(ipc.Picture1.Point(2, 3), kRed) << "a committed result survives Cls";
}

TEST(ImgProcPicture, ACommitTakesTheSizeOfTheResult) {
  ImgProc ipc;
  ipc.setPicture(makeFilledPicture(8, 6, kWhite));
  ipc.Picture4.setPicture(makeFilledPicture(3, 2, kBlack));
  ipc.commit(ipc.Picture4);
  EXPECT_EQ(ipc.picwidth(), 3);
  EXPECT_EQ(ipc.picheight(), 2);
}

TEST(ImgProcPicture, AboutShowsItsMessage) {
  QuietHost host;
  ImgProc ipc(&host);
  ipc.About();
  EXPECT_EQ(host.messages, std::vector<std::string>{"This control is created "});
}

TEST(ImgProcPicture, ACopyKeepsItsOwnQuietHost) {
  auto first = std::make_unique<ImgProc>();
  ImgProc copy = *first;
  first.reset();
  copy.About();  // would touch the freed control if the copy pointed into it
  copy.host().PB(3).Value = 5.0F;
  EXPECT_EQ(copy.host().PB(3).Value, 5.0F);
}

}  // namespace
}  // namespace quern
