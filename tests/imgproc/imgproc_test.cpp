#include "imgproc/imgproc.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quern {
namespace {

TEST(ImgProcPicture, TellsTheHostPictureWidthHeightAndEmptiesToOneByOne) {
  ImgProc ipc;
  EXPECT_EQ(ipc.picwidth(), 1);
  std::vector<std::string> heard;
  ipc.PropertyChanged = [&](const std::string& name) { heard.push_back(name); };
  const std::vector<std::string> order = {"Picture", "Picwidth", "Picheight"};

  ipc.setPicture(makeFilledPicture(700, 557, kWhite));
  EXPECT_EQ(heard, order);
  EXPECT_EQ(ipc.picwidth(), 700);
  EXPECT_EQ(ipc.picheight(), 557);
  ipc.setPicture(nullptr);
  EXPECT_EQ(heard.size(), 6U);
  EXPECT_EQ(ipc.picwidth(), 1);
  EXPECT_EQ(ipc.picheight(), 1);
  EXPECT_EQ(handleOf(ipc.picture()), 0);

  // Sizes set by a host and the commits of operations are not property writes.
  ipc.setwh(30, 40);
  EXPECT_EQ(ipc.picheight(), 40);
  ipc.Picture3.setPicture(makeFilledPicture(5, 6, kBlack));
  ipc.commit(ipc.Picture3);
  EXPECT_EQ(heard.size(), 6U);
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
  EXPECT_EQ(ipc.source(false)->pixel(2, 3), kWhite);
  EXPECT_EQ(ipc.source(true)->pixel(4, 1), kBlue);

  ipc.Picture1.Cls();
  EXPECT_EQ(ipc.Picture1.Point(2, 3), kWhite) << "Cls drops what was not committed";

  ipc.Picture1.PSet(2, 3, kRed);
  ipc.Picture4.setPicture(makeFilledPicture(3, 4, kWhite));
  ipc.Picture4.PaintPicture(ipc.image(), 0, 0);
  ipc.commit(ipc.Picture4);
  EXPECT_EQ(ipc.picture()->pixel(2, 3), kRed);
  EXPECT_EQ(ipc.picwidth(), 3) << "the commit sets the size";
  ipc.Picture1.Cls();
  EXPECT_EQ(ipc.Picture1.Point(2, 3), kRed) << "a committed result survives Cls";
}

TEST(ImgProcPicture, AboutShowsItsMessageThroughItsHost) {
  QuietHost host;
  ImgProc(&host).About();
  EXPECT_EQ(host.messages, std::vector<std::string>{"This control is created "});
}

}  // namespace
}  // namespace quern
