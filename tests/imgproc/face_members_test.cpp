#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "face_fixtures.h"

namespace quern {
namespace {

using testing::numbered;
using testing::Rect;
using testing::scratchEmpty;
using testing::whiteWithBlack;

TEST(FaceSelection, SelviewportFramesWhatTheViewportShowsAndACutUsesItUp) {
  struct Case {
    Int32 picture, client, scroll;
    float wantSize;
  };
  for (const Case& k : {Case{1000, 296, 40, 296}, Case{1000, 600, 40, 480}, Case{100, 296, 0, 100}}) {
    ImgProc c;
    c.UserControl_InitProperties();
    c.UserControl_Resize(testing::twipsFor(k.client), testing::twipsFor(k.client));
    c.setPicture(makeFilledPicture(k.picture, k.picture, kWhite));
    c.HScroll1.Value = k.scroll;
    c.VScroll1.Value = k.scroll;
    c.selviewport();
    EXPECT_EQ(c.Shape1.Width, k.wantSize) << k.picture << " in " << k.client;
    EXPECT_EQ(c.Shape1.Height, k.wantSize);
    EXPECT_EQ(c.Shape1.Left, static_cast<float>(k.scroll));
  }

  ImgProc c;
  c.UserControl_InitProperties();
  c.setPicture(numbered(50, 40));
  EXPECT_EQ(c.getselpartIMAGE(), nullptr) << "no selection while the frame is hidden";
  c.Shape1 = SelectionFrame{true, 10, 5, 20, 8};
  const Picture cut = c.getselpartIMAGE();
  ASSERT_NE(cut, nullptr);
  EXPECT_EQ(cut->pixelWidth(), 20);
  EXPECT_EQ(cut->pixel(0, 0), 10 + 5000);
  EXPECT_EQ(c.picwidth(), 50) << "the control keeps its picture";
  EXPECT_EQ(c.getselpartIMAGE(), nullptr) << "the spent 0 by 0 frame is no selection";
  EXPECT_TRUE(scratchEmpty(c));
}

TEST(FaceMeasure, NofpixelKeepsItsTableForUseoldAndNopixallSortsIntoColourBoxes) {
  ImgProc c;
  c.setPicture(whiteWithBlack(30, 20, {Rect{0, 0, 5, 2}}));
  EXPECT_EQ(c.nofpixel(0, 0, 0, true), 10) << "no table yet: it reads";
  c.setPicture(whiteWithBlack(30, 20, {Rect{0, 0, 30, 20}}));
  EXPECT_EQ(c.nofpixel(0, 0, 0, true), 10) << "the old table";
  EXPECT_EQ(c.nofpixel(0, 0, 0), 600) << "reads and refills";
  EXPECT_EQ(c.nofpixelinrange(0, 0, 0, 0, 0, 0), 600);

  struct Case {
    Colour colour;
    std::size_t element;  // 10 alone when in no box
  };
  for (const Case& k : {Case{kWhite, 5}, Case{rgb(128, 128, 128), 10}, Case{rgb(10, 10, 10), 0},
                        Case{rgb(245, 0, 0), 1}, Case{rgb(0, 255, 10), 2}, Case{rgb(0, 0, 245), 3}}) {
    ImgProc m;
    m.setPicture(makeFilledPicture(4, 3, k.colour));
    const std::array<Int32, 11> counts = m.nopixall();
    for (std::size_t e = 0; e < 10; ++e) EXPECT_EQ(counts[e], e == k.element ? 12 : 0) << k.colour << " " << e;
    EXPECT_EQ(counts[10], 12);
  }
}

TEST(FacePatterns, SegmentsCountBlobsAndCheckPatternCentresFourDiscsOnEachBlackPixel) {
  struct Case {
    const char* what;
    std::vector<Rect> blacks;
    Int16 wantN;
  };
  for (const Case& k : {Case{"one rectangle", {{30, 20, 60, 40}}, 2},
                        Case{"two blobs far apart", {{10, 20, 20, 40}, {60, 20, 70, 40}}, 4},
                        Case{"two blobs closer than twice the radius", {{10, 20, 20, 40}, {30, 20, 40, 40}}, 2}}) {
    ImgProc c;
    c.setPicture(whiteWithBlack(100, 60, k.blacks));
    const std::vector<Int16> s = c.givesegments();
    EXPECT_EQ(s.at(0), k.wantN) << k.what;
    EXPECT_LE(s.at(1), k.blacks.front().x0) << k.what;
    EXPECT_GE(s.at(static_cast<std::size_t>(k.wantN)), k.blacks.back().x1) << k.what;
    EXPECT_TRUE(scratchEmpty(c));
  }

  ImgProc c;
  c.setPicture(whiteWithBlack(11, 11, {{5, 5, 6, 6}}));
  const Picture p = c.givecheckpattern(true, 16, 10, 6, 3, 20);
  const Int32 o = 5 + 20 + 3;
  for (auto [d, want] : {std::pair{0, kBlack}, {5, kRed}, {8, kGreen}, {13, kBlue}}) {
    EXPECT_EQ(p->pixel(o + d, o), want) << d;
    EXPECT_EQ(p->pixel(o, o - d), want) << d;
  }
}

TEST(FaceRecord, ARecordReadsBackToTheSameRecord) {
  ImgProc a;
  a.UserControl_InitProperties();
  a.setPicture(numbered(30, 20));
  a.setpicbackcolor(0x405060);
  a.setDrawWidth(4);
  a.setToolTipText("line one\nline=two \\ end");
  a.setenableshape(true);
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
}

}  // namespace
}  // namespace quern
