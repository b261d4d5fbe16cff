#include <gtest/gtest.h>

#include "face_fixtures.h"
#include "imgproc/main_window_records.h"

namespace quern {
namespace {

using testing::numbered;

// Control size in twips for a viewport whose client area is `client` pixels each way.
float twipsFor(Int32 client) {
  return static_cast<float>((client + 4 + 20) * kDefaultTwipsPerPixel);
}

TEST(FaceViewport, ScrollBarsAreEnabledOnlyWhenThePictureExceedsTheClientArea) {
  struct Case {
    Int32 pictureW, pictureH;
    bool wantH, wantV;
    Int32 maxH;
  };
  for (const Case& k : {Case{200, 200, false, false, 0}, Case{201, 200, true, false, 1}, Case{150, 333, false, true, 0},
                        Case{1200, 201, true, true, 1000}}) {
    ImgProc c;
    c.UserControl_Resize(twipsFor(200), twipsFor(200));
    c.setPicture(makeFilledPicture(k.pictureW, k.pictureH, kWhite));
    EXPECT_EQ(c.HScroll1.Enabled, k.wantH) << k.pictureW;
    EXPECT_EQ(c.VScroll1.Enabled, k.wantV) << k.pictureH;
    if (k.wantH) {
      EXPECT_EQ(c.HScroll1.Max, k.maxH);
    }
    EXPECT_EQ(c.HScroll1Place.Top, 204.0F);
    EXPECT_EQ(c.VScroll1Place.Left, 204.0F);
    EXPECT_EQ(c.VScroll1Place.Height, 204.0F);
  }
  ImgProc empty;  // 1 by 1 pixel in the smallest viewport
  empty.resetscroll();
  EXPECT_FALSE(empty.HScroll1.Enabled);
  EXPECT_FALSE(empty.VScroll1.Enabled);
}

TEST(FaceViewport, ScrollingMovesThePictureAndANewSizeBringsItBack) {
  ImgProc c;
  c.UserControl_Resize(twipsFor(100), twipsFor(100));
  c.setPicture(makeFilledPicture(300, 300, kWhite));
  c.HScroll1.Value = 40;
  c.HScroll1_Scroll();
  c.VScroll1.Value = 7;
  c.VScroll1_Change();
  EXPECT_EQ(c.Picture1Left, -40.0F);
  EXPECT_EQ(c.Picture1Top, -7.0F);
  c.crop(0, 0, 250, 250);
  EXPECT_EQ(c.Picture1Left, 0.0F);
  EXPECT_EQ(c.Picture1Top, 0.0F);
  EXPECT_EQ(c.HScroll1.Value, 0);
  EXPECT_EQ(c.HScroll1.Max, 150);
}

TEST(FaceViewport, APictureTooLargeToScrollOverflowsAndAControlTooSmallIsRefused) {
  ImgProc c;
  c.UserControl_Resize(twipsFor(10), twipsFor(10));
  EXPECT_THROW(c.setPicture(makeFilledPicture(32800, 1, kWhite)), OverflowError);
  EXPECT_THROW(c.UserControl_Resize(15.0F * 10, 15.0F * 10), SurfaceError);
}

TEST(FaceShell, WritesTellTheHostUnderTheStoredNamesAndSetwhDoesNot) {
  ImgProc c;
  std::vector<std::string> heard;
  c.PropertyChanged = [&](const std::string& name) { heard.push_back(name); };
  c.setwh(5, 5);
  c.Refresh();
  c.Scale_();
  EXPECT_TRUE(heard.empty());
  c.setDrawWidth(2);
  c.setFontName("Courier");
  c.setScaleMode(3);
  c.setshapemaxwidth(100);
  c.setpicwidth(7);
  c.setpicbackcolor(kWhite);
  c.setBackColor(kWhite);
  c.setenableshape(true);
  EXPECT_EQ(heard, (std::vector<std::string>{"DrawWidth", "FontName", "ScaleMode", "shapemaxwidth", "picwidth",
                                             "picbackcolor", "BackColor", "enableshape"}));
}

TEST(FaceShell, EventsArePassedOnAndTheHostsChangesComeBack) {
  ImgProc c;
  std::vector<std::string> raised;
  c.Events.KeyPress = [&](Int16& key) {
    raised.push_back("KeyPress");
    key = 0;
  };
  c.Events.MouseMove = [&](Int16 b, Int16 s, float x, float y) {
    raised.push_back("MouseMove " + std::to_string(b) + " " + std::to_string(s) + " " + std::to_string(int(x)) + " " +
                     std::to_string(int(y)));
  };
  c.Events.OLEStartDrag = [&](DataObject&, Int32&) { raised.push_back("OLEStartDrag"); };
  c.Events.OLECompleteDrag = [&](Int32&) { raised.push_back("OLECompleteDrag"); };
  Int16 key = 'a';
  c.Picture1_KeyPress(key);
  c.Picture1_MouseMove(1, 2, 30.0F, 40.0F);
  c.Picture1_DblClick();  // nobody listens: nothing happens
  c.OLEDrag();
  EXPECT_EQ(key, 0);
  EXPECT_EQ(raised, (std::vector<std::string>{"KeyPress", "MouseMove 1 2 30 40", "OLEStartDrag", "OLECompleteDrag"}));
  EXPECT_THROW(c.LinkPoke(), SurfaceError);
}

TEST(FaceShell, ScaleGoesToAUserScaleAndBack) {
  ImgProc c;
  c.setPicture(numbered(10, 10));
  c.Scale_(0.0F, 0.0F, 1.0F, 2.0F);
  EXPECT_EQ(c.Point(0.5F, 1.0F), 5 + 5000);
  EXPECT_FLOAT_EQ(c.ScaleX(10, 3, 0), 1.0F);
  EXPECT_THROW(c.Scale_(0.0F, 0.0F), SurfaceError);
  c.Scale_();
  EXPECT_EQ(c.ScaleMode(), 3);
  EXPECT_EQ(c.ScaleWidth(), 10.0F);
  EXPECT_GT(c.TextWidth("abcd"), c.TextWidth("ab"));
  EXPECT_GT(c.TextHeight("a\nb"), c.TextHeight("a"));
}

TEST(FaceRecord, AFreshControlWritesOnlyItsExtentAndWhatDiffersFromTheDefaults) {
  ImgProc c;
  c.UserControl_InitProperties();
  PropertyBag bag;
  c.UserControl_WriteProperties(bag, StdFont{"ARIAL", 8.0F});
  std::vector<std::string> names;
  for (const auto& [name, value] : bag.entries()) names.push_back(name);
  // A box of 1 by 1 pixel in pixels: sizes, scale sizes, the font name and
  // size, and AutoRedraw, which this surface always has on.
  EXPECT_EQ(names, (std::vector<std::string>{"_extentx", "_extenty", "fontname", "fontsize", "scaleheight",
                                             "scalewidth", "autoredraw", "picheight", "picwidth"}));
}

TEST(FaceRecord, ARecordReadsBackToTheSameRecord) {
  ImgProc a;
  a.UserControl_InitProperties();
  a.UserControl_Resize(3000.0F, 1500.0F);
  a.setPicture(numbered(30, 20));
  a.setBackColor(0x102030);
  a.setpicbackcolor(0x405060);
  a.setFont(StdFont{"Courier New", 10.5F, true, false, true, false});
  a.setDrawWidth(4);
  a.setFillColor(-5);
  a.setCurrentX(2.25F);
  a.setToolTipText("line one\nline=two \\ end");
  a.setMouseIcon(makeFilledPicture(2, 2, kRed));
  a.setenableshape(true);
  a.setshapemaxheight(-3);
  a.setEnabled(false);
  PropertyBag first;
  a.UserControl_WriteProperties(first);

  ImgProc b;
  b.UserControl_ReadProperties(PropertyBag::parse(first.text()));
  PropertyBag second;
  b.UserControl_WriteProperties(second);
  EXPECT_EQ(second.text(), first.text());
  EXPECT_EQ(b.picture()->pixels(), a.picture()->pixels());
  EXPECT_EQ(b.ToolTipText(), "line one\nline=two \\ end");
  EXPECT_FALSE(b.Enabled);
  EXPECT_EQ(b.picwidth(), 30);
}

TEST(FaceRecord, ScaleModeLeftOutGivesPixels) {
  PropertyBag bag;
  bag.set("ScaleWidth", "1");
  bag.set("ScaleHeight", "1");
  bag.set("picwidth", "40");
  bag.set("picheight", "30");
  ImgProc c;
  c.UserControl_ReadProperties(bag);
  EXPECT_EQ(c.ScaleMode(), 3);
  EXPECT_EQ(c.ScaleWidth(), 40.0F);
  EXPECT_EQ(c.FontName(), "ARIAL");
  EXPECT_EQ(c.FontSize(), 8.0F);
  EXPECT_EQ(c.shapemaxwidth, 480);
  EXPECT_EQ(c.picbackcolor(), kSysButtonFace);
}

TEST(FaceRecord, TheMainWindowInstancesReadAsTheyAreListed) {
  const Picture builtIn = numbered(700, 557);
  struct Case {
    const char* name;
    Int32 width;
    Colour picBack;
  };
  for (const Case& k : {Case{"IPCH", 700, kSysButtonFace}, Case{"IPCT", 1, kSysButtonFace},
                        Case{"IPC1", 1, kSysButtonFace}, Case{"IPC2", 1, 0xC0C0C0}, Case{"IPC3", 1, kSysButtonFace}}) {
    ImgProc c;
    c.UserControl_ReadProperties(PropertyBag::parse(mainWindowRecord(k.name, builtIn).text()));
    EXPECT_EQ(c.picwidth(), k.width) << k.name;
    EXPECT_EQ(c.ScaleWidth(), static_cast<float>(k.width)) << k.name;
    EXPECT_EQ(c.ScaleMode(), 3) << k.name;
    EXPECT_EQ(c.picbackcolor(), k.picBack) << k.name;
    EXPECT_EQ(c.BackColor(), kWhite) << k.name;
    EXPECT_TRUE(c.AutoRedraw()) << k.name;
    EXPECT_EQ(c.Font(), (StdFont{"MS Sans Serif", 8.25F})) << k.name;
    EXPECT_EQ(c.picture() != nullptr, k.width == 700) << k.name;
  }
  EXPECT_THROW(mainWindowRecord("IPC4", builtIn), IndexError);
}

TEST(FaceRecord, DamagedRecordsAreRefusedWithTheirName) {
  for (const char* text :
       {"drawwidth=wide\n", "no equals sign\n", "picture=2 2 ffffff\n", "picture=1 1 zz\n", "drawwidth=40000\n"}) {
    ImgProc c;
    EXPECT_THROW(c.UserControl_ReadProperties(PropertyBag::parse(text)), FileError) << text;
  }
}

}  // namespace
}  // namespace quern
