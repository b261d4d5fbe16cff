#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "../processing/raster_fixtures.h"
#include "face_fixtures.h"
#include "processing/rank_filters.h"

namespace quern {
namespace {

using testing::scratchEmpty;

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
  ipc.setPicture(testing::whiteWithBlack(12, 5, {testing::Rect{4, 1, 7, 4}}));
  ipc.Picture1.Line(0, 4, 11, 4, kBlack);  // drawn since the last commit: not read
  ipc.thin(LineTable);
  ASSERT_EQ(LineTable.count(), 3);  // the block's middle row
  for (Int32 i = 1; i <= 3; ++i) EXPECT_EQ(LineTable[i], (LineRecord{static_cast<float>(3 + i), 2, 0, 0, 0}));
  EXPECT_EQ(ipc.picture()->pixels(), testing::whiteWithBlack(12, 5, {testing::Rect{4, 2, 7, 3}})->pixels());
  EXPECT_TRUE(testing::scratchEmpty(ipc));
}

// The control tells its host of a picture it refuses, and keeps the picture,
// what was drawn on it and the table; the thinning limit holds each way.
TEST(ImgProcRefusals, BlackAndWhiteAndThinningTellTheHostAndKeepThePicture) {
  auto thinTooLarge = [](const char* size) {
    return std::string("Image too large to thin: ") + size +
           " pixels. Thinning takes images of up to 5600 by 5600 pixels.";
  };
  const std::tuple<Int32, Int32, bool, std::string> cases[] = {
      {1501, 4, false, "Image too large to process. Please try loading a smaller image."},
      {5601, 11, true, thinTooLarge("5601 by 11")},
      {11, 5601, true, thinTooLarge("11 by 5601")},
      {5600, 12, true, ""},
  };
  for (const auto& [w, h, thin, message] : cases) {
    QuietHost host;
    ImgProc ipc(&host);
    const Picture before = testing::whiteWithBlack(w, h, {{w - 4, 1, w, 4}});
    ipc.setPicture(before);
    ipc.Picture1.PSet(1, 1, kRed);
    RecordTable table("LineTable");
    table.count() = 3;
    if (thin) {
      EXPECT_EQ(ipc.thin(table).outcome == ThinOutcome::TooLarge, !message.empty()) << w << " by " << h;
    } else {
      EXPECT_FALSE(ipc.colnorm3(200));
    }
    if (message.empty()) {
      EXPECT_TRUE(host.messages.empty()) << w << " by " << h;
      EXPECT_EQ(table.count(), 3 + 4) << "the block's middle row at the right edge";
      continue;
    }
    EXPECT_EQ(host.messages, std::vector<std::string>{message});
    EXPECT_EQ(ipc.picture(), before);
    EXPECT_EQ(ipc.Picture1.Point(1, 1), kRed) << "a refusal loses not even what was drawn";
    EXPECT_EQ(table.count(), 3);
    EXPECT_TRUE(scratchEmpty(ipc));
  }
}

TEST(Scalesign, SizesComeFromFloatProductsRoundedToEvenPixels) {
  // 0 both ways, 1 width, 2 height.
  for (const auto& [which, factor, w, h] :
       {std::tuple{0, 0.5, 350, 278}, {1, 2.0, 1400, 557}, {2, 2.0, 700, 1114}, {0, 0.01, 7, 6}, {0, 0.0001, 1, 1}}) {
    ImgProc ipc;
    ipc.setPicture(makeFilledPicture(700, 557, kWhite));
    ipc.HScroll1.Value = 12;
    ipc.VScroll1.Value = 7;
    if (which == 0) ipc.scalesign(factor);
    if (which == 1) ipc.scalesignwidth(factor);
    if (which == 2) ipc.scalesignheight(factor);
    EXPECT_EQ(ipc.picture()->pixelWidth(), w) << factor;
    EXPECT_EQ(ipc.picheight(), h) << factor;
    EXPECT_EQ(ipc.HScroll1.Value + ipc.VScroll1.Value, 0);
    EXPECT_TRUE(scratchEmpty(ipc));
  }
}

TEST(Filters, SmoothTakesTheDrawingAndColnorm3TheStoredPicture) {
  for (const bool takeimage : {true, false}) {
    ImgProc ipc;
    ipc.setPicture(makeFilledPicture(12, 12, kBlack));
    SetPixelV(ipc.Picture1.hDC(), 5, 5, kWhite);
    ipc.filtersmooth(takeimage);
    EXPECT_EQ(ipc.picture()->pixel(6, 6), takeimage ? rgb(28, 28, 28) : kBlack) << takeimage;
    EXPECT_TRUE(scratchEmpty(ipc));
  }
  ImgProc ipc;
  ipc.setPicture(makeFilledPicture(4, 3, rgb(255, 0, 0)));
  SetPixelV(ipc.Picture1.hDC(), 0, 0, kWhite);
  ipc.colnorm3(77);
  EXPECT_EQ(ipc.picture()->pixels(), makeFilledPicture(4, 3, kBlack)->pixels());
  EXPECT_TRUE(scratchEmpty(ipc));
}

TEST(Filters, RefusedRunsLeaveThePictureAndEmptyTheScratchBoxes) {
  const FilterArray heavy = ImgProc::filtcreatecust3(100, 100, 100, 100, 100, 100, 100, 100, 100);
  const std::tuple<const char*, Int32, Int32, std::function<void(ImgProc&)>> cases[] = {
      {"sum beyond 16 bits", 5, 5, [&](ImgProc& c) { c.filtercust3(heavy); }},
      {"filternorm 0", 5, 5, [&](ImgProc& c) { c.filtercust3(heavy, 0); }},
      {"1502 wide", 1502, 3, [&](ImgProc& c) { c.filtersmooth(); }},
      {"3 by 3 array for a 5 by 5 kernel", 6, 6, [&](ImgProc& c) { c.filtercust5(heavy); }},
  };
  for (const auto& [what, w, h, run] : cases) {
    ImgProc ipc;
    const Picture before = makeFilledPicture(w, h, rgb(90, 90, 90));
    ipc.setPicture(before);
    EXPECT_THROW(run(ipc), QuernError) << what;
    EXPECT_EQ(ipc.picture(), before) << what;
    EXPECT_TRUE(scratchEmpty(ipc)) << what;
  }
}

TEST(Filters, MembersPassTheirDefaultsToTheirKernels) {
  const Picture src = testing::noisePicture(16, 14);
  const FilterArray edge = ImgProc::filtcreatecust3(-1, -1, -1, -1, 8, -1, -1, -1, -1);
  using Kernel = std::function<void(PictureBox&, FilterStore&, Progress&, RandomSource&)>;
  const std::tuple<const char*, std::function<void(ImgProc&)>, Kernel> cases[] = {
      {"cust3", [&](ImgProc& c) { c.filtercust3(edge); },
       [&](PictureBox& b, FilterStore& store, Progress& h, RandomSource&) {
         runcust3(b, store, edge, 9, 0, false, h);
       }},
      {"pixelize", [](ImgProc& c) { c.filterpixelize(); },
       [](PictureBox& b, FilterStore& store, Progress& h, RandomSource& r) {
         runpixelize(b, store, 4, 2, 3, 2, r, h);
       }},
  };
  for (const auto& [name, member, kernel] : cases) {
    ImgProc ipc;
    ipc.setPicture(src);
    member(ipc);
    PictureBox direct = testing::boxWith(src);
    testing::FilterRun run;
    RandomSource fresh;
    kernel(direct, run.store, run.progress, fresh);
    EXPECT_EQ(ipc.picture()->pixels(), direct.Image()->pixels()) << name;
    EXPECT_NE(ipc.picture()->pixels(), src->pixels()) << name;
  }
}

bool holds(const Picture& p, Colour c) {
  return std::count(p->pixels().begin(), p->pixels().end(), c) > 0;
}

// The controls of one context share one filter store, which no load clears,
// and one random sequence; a control on its own starts both afresh.
TEST(RasterContext, ControlsOfOneContextShareTheStoreAndContinueTheRandomSequence) {
  const Picture big = makeFilledPicture(30, 30, 0x123456);
  const Picture small = makeFilledPicture(10, 10, 0x808080);
  RasterContext shared;
  ImgProc first(shared, nullptr);
  ImgProc second(shared, nullptr);
  first.setPicture(big);
  first.filtersmooth();
  second.setPicture(small);
  second.filterdiffuse(8, 0);  // offsets of up to 8 reach beyond the small picture
  ImgProc alone;
  alone.setPicture(small);
  alone.filterdiffuse(8, 0);
  EXPECT_TRUE(holds(second.picture(), 0x123456)) << "beyond its edge the store keeps the larger picture";
  EXPECT_FALSE(holds(second.picture(), kBlack));
  EXPECT_TRUE(holds(alone.picture(), kBlack)) << "a fresh store is empty beyond the picture";

  const Picture noise = testing::noisePicture(12, 12);
  RasterContext context;
  ImgProc a(context, nullptr);
  ImgProc b(context, nullptr);
  a.setPicture(noise);
  a.filterdiffuse();
  b.setPicture(noise);
  b.filterdiffuse();
  ImgProc twice;
  twice.setPicture(noise);
  twice.filterdiffuse();
  EXPECT_EQ(twice.picture()->pixels(), a.picture()->pixels()) << "the first numbers of the sequence";
  twice.setPicture(noise);
  twice.filterdiffuse();
  EXPECT_EQ(twice.picture()->pixels(), b.picture()->pixels()) << "the second control goes on with the sequence";
  EXPECT_NE(a.picture()->pixels(), b.picture()->pixels());
}

}  // namespace
}  // namespace quern
