#include <gtest/gtest.h>

#include "surface/picture_box.h"

namespace quern {
namespace {

TEST(PictureBoxResize, TellsOfEverySizeChangeAndOnlyOfThose) {
  PictureBox box;
  box.AutoSize = true;
  int calls = 0;
  box.onResize = [&] { ++calls; };

  box.setWidth(10.0F);  // 1 -> 10
  box.setWidth(10.0F);  // same size
  EXPECT_EQ(calls, 1);
  box.setPicture(makeFilledPicture(10, 1, kWhite));  // AutoSize, same size
  EXPECT_EQ(calls, 1);
  box.setPicture(makeFilledPicture(4, 7, kWhite));  // AutoSize takes another size
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(box.pixelHeight(), 7);
  box.setPicture(nullptr);  // emptying keeps the size
  EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace quern
