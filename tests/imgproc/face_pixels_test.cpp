#include <gtest/gtest.h>

#include "face_fixtures.h"

namespace quern {
namespace {

using testing::numbered;
using testing::scratchEmpty;

TEST(FacePixels, ReadersGiveMinusOneOutsideAndRoundTiesToEven) {
  ImgProc c;
  c.setPicture(numbered(10, 5));
  struct Case {
    const char* what;
    Colour got;
    Colour want;
  };
  const Int16 past = 10;
  const Int16 zero = 0;
  for (const Case& k :
       {Case{"Point left", c.Point(-1, 0), -1}, Case{"PointFAST left", c.PointFAST(-1, 0), -1},
        Case{"PointI right", c.PointI(past, zero), -1}, Case{"PointS below", c.PointS(0, 5), -1},
        Case{"PointFAST 2.5", c.PointFAST(2.5F, 0), 2}, Case{"PointFAST 3.5", c.PointFAST(3.5F, 0), 4},
        Case{"PointFAST 1.5, 2.5", c.PointFAST(1.5F, 2.5F), 2002}, Case{"Point 9, 4", c.Point(9, 4), 4009}}) {
    EXPECT_EQ(k.got, k.want) << k.what;
  }
}

TEST(FacePixels, BoxRouteFollowsTheScaleAndDeviceRouteDoesNot) {
  ImgProc c;
  c.setPicture(numbered(10, 10));
  c.setScaleWidth(1.0F);  // the whole width is now 1 unit
  c.setScaleHeight(1.0F);
  EXPECT_EQ(c.Point(0.5F, 0.2F), 5 + 2000);
  EXPECT_EQ(c.PointFAST(5, 2), 5 + 2000);
  c.PSetS_(0.3F, 0.3F, 0x123456);
  EXPECT_EQ(c.PointFAST(3, 3), 0x123456);
}

TEST(FacePixels, DrawingChangesTheBitmapUntilClsButNotThePicture) {
  ImgProc c;
  c.setPicture(numbered(4, 4));
  c.PSet_(1, 1, 255);
  EXPECT_EQ(c.Point(1, 1), 255);
  EXPECT_EQ(c.picture()->pixel(1, 1), 1001);
  c.Cls();
  EXPECT_EQ(c.Point(1, 1), 1001);
}

TEST(FacePixels, FastWriteIsOnePixelShownAtOnceWhateverTheDrawWidth) {
  auto countChanged = [](ImgProc& c) {
    int n = 0;
    for (Int16 x = 0; x < 9; ++x) {
      for (Int16 y = 0; y < 9; ++y) n += c.PointFAST(x, y) == kRed ? 1 : 0;
    }
    return n;
  };
  ImgProc slow;
  slow.setPicture(makeFilledPicture(9, 9, kWhite));
  slow.setDrawWidth(3);
  slow.PSet_(4, 4, kRed);
  EXPECT_GT(countChanged(slow), 1);

  ImgProc fast;
  fast.setPicture(makeFilledPicture(9, 9, kWhite));
  fast.setDrawWidth(3);
  const long long before = fast.Picture1.refreshCount();
  fast.PSetFAST_(4, 4, kRed);
  EXPECT_EQ(countChanged(fast), 1);
  EXPECT_EQ(fast.Picture1.refreshCount(), before + 1);
}

TEST(FacePixels, CirclesTakeTheirOwnColourOrTheForeColour) {
  struct Case {
    const char* what;
    void (*draw)(ImgProc&);
    Colour want;
  };
  for (const Case& k : {
           Case{"circleBLACK", [](ImgProc& c) { c.circleBLACK(10, 10, 5); }, kBlack},
           Case{"circleRED", [](ImgProc& c) { c.circleRED(10, 10, 5); }, kRed},
           Case{"circleGREEN", [](ImgProc& c) { c.circleGREEN(10, 10, 5); }, kGreen},
           Case{"circleBLUE", [](ImgProc& c) { c.circleBLUE(10, 10, 5); }, kBlue},
           Case{"Circle1_", [](ImgProc& c) { c.Circle1_(10, 10, 5); }, 0x00AA00},
           Case{"Circle_ without colour", [](ImgProc& c) { c.Circle_(10, 10, 5); }, 0x00AA00},
           Case{"Circle_ in a colour", [](ImgProc& c) { c.Circle_(10, 10, 5, 0x0000AA); }, 0x0000AA},
           Case{"Circle_ as an arc", [](ImgProc& c) { c.Circle_(10, 10, 5, kRed, 0.0F, 1.0F); }, kWhite},
           Case{"Circle_ as an ellipse", [](ImgProc& c) { c.Circle_(10, 10, 5, kRed, 0.0F, 0.0F, 2.0F); }, kWhite},
       }) {
    ImgProc c;
    c.setPicture(makeFilledPicture(21, 21, kWhite));
    c.setForeColor(0x00AA00);
    k.draw(c);
    EXPECT_EQ(c.PointFAST(15, 10), k.want) << k.what;
  }
}

TEST(FacePixels, LineIgnoresItsFlags) {
  ImgProc a;
  ImgProc b;
  for (ImgProc* c : {&a, &b}) c->setPicture(makeFilledPicture(10, 10, kWhite));
  a.Line(0, 0, 0, 9, 6, kBlack);
  b.Line(-1, 0, 0, 9, 6, kBlack);
  EXPECT_EQ(a.image()->pixels(), b.image()->pixels());
  EXPECT_EQ(a.PointFAST(9, 6), kBlack);
  EXPECT_TRUE(scratchEmpty(a));
}

}  // namespace
}  // namespace quern
