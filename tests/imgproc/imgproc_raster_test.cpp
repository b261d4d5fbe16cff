#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "imgproc/imgproc.h"
#include "processing/rank_filters.h"

namespace quern {
namespace {

Colour pixelOf(const Picture& p, Int32 x, Int32 y) {
  return p->pixel(x, y);
}

Picture lineArt(Int32 w, Int32 h, Int32 column, Int32 row) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h, kWhite);
  for (Int32 y = 0; y < h; ++y) px[static_cast<std::size_t>(y) * w + column] = kBlack;
  for (Int32 x = 0; x < w; ++x) px[static_cast<std::size_t>(row) * w + x] = kBlack;
  return makePicture(w, h, std::move(px));
}

bool scratchIsEmpty(const ImgProc& c) {
  return !c.Picture3.picture() && !c.Picture4.picture();
}

TEST(Scalesign, OnePixelLinesSurviveAShrink) {
  struct Case {
    double factor;
    Int32 column, row;
  };
  for (const Case c : {Case{0.5, 37, 41}, {0.5, 38, 40}, {0.1, 37, 41}, {0.1, 33, 59}, {0.25, 99, 0}}) {
    ImgProc ipc;
    ipc.setPicture(lineArt(100, 80, c.column, c.row));
    ipc.scalesign(c.factor);
    const Picture out = ipc.picture();
    const Int32 w = out->pixelWidth();
    const Int32 h = out->pixelHeight();
    // Every row still crosses the vertical line and every column the horizontal one.
    for (Int32 y = 0; y < h; ++y) {
      Int32 dark = 0;
      for (Int32 x = 0; x < w; ++x) dark += pixelOf(out, x, y) == kBlack;
      EXPECT_GE(dark, 1) << c.factor << " row " << y;
    }
    for (Int32 x = 0; x < w; ++x) {
      Int32 dark = 0;
      for (Int32 y = 0; y < h; ++y) dark += pixelOf(out, x, y) == kBlack;
      EXPECT_GE(dark, 1) << c.factor << " column " << x;
    }
    // ...and nothing else went dark.
    Int32 black = 0;
    for (Colour px : out->pixels()) black += px == kBlack;
    EXPECT_EQ(black, w + h - 1) << c.factor;
  }
}

TEST(Scalesign, SizesComeFromFloatProductsRoundedToEvenPixels) {
  struct Case {
    int which;  // 0 both ways, 1 width, 2 height
    double factor;
    Int32 w, h;
  };
  for (const Case c : {Case{0, 0.5, 350, 278},
                       {0, 3.0, 2100, 1671},
                       {1, 2.0, 1400, 557},
                       {2, 2.0, 700, 1114},
                       {0, 0.01, 7, 6},
                       {0, 0.0001, 1, 1}}) {
    ImgProc ipc;
    ipc.setPicture(makeFilledPicture(700, 557, kWhite));
    ipc.HScroll1.Value = 12;
    ipc.VScroll1.Value = 7;
    if (c.which == 0) ipc.scalesign(c.factor);
    if (c.which == 1) ipc.scalesignwidth(c.factor);
    if (c.which == 2) ipc.scalesignheight(c.factor);
    EXPECT_EQ(ipc.picwidth(), c.w) << c.factor;
    EXPECT_EQ(ipc.picheight(), c.h) << c.factor;
    EXPECT_EQ(ipc.picture()->pixelWidth(), c.w);
    EXPECT_EQ(ipc.HScroll1.Value, 0);
    EXPECT_EQ(ipc.VScroll1.Value, 0);
    EXPECT_TRUE(scratchIsEmpty(ipc));
  }
}

TEST(Scalesign, FactorOneCommitsWhatWasDrawnAndCopiesExactly) {
  ImgProc ipc;
  const Picture noise = [] {
    std::vector<Colour> px(31 * 17);
    for (std::size_t i = 0; i < px.size(); ++i) px[i] = static_cast<Colour>((i * 2654435761U) & 0xFFFFFF);
    return makePicture(31, 17, px);
  }();
  ipc.setPicture(noise);
  SetPixelV(ipc.Picture1.hDC(), 3, 4, kRed);
  const Picture drawn = ipc.image();
  ipc.scalesign(1.0);
  EXPECT_EQ(ipc.picture()->pixels(), drawn->pixels());
  EXPECT_EQ(ipc.image()->pixels(), drawn->pixels());
}

Picture dotOnBlack(Int32 w, Int32 h, Int32 x, Int32 y, Colour dot = kWhite) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h, kBlack);
  px[static_cast<std::size_t>(y) * w + x] = dot;
  return makePicture(w, h, std::move(px));
}

TEST(Filtersmooth, TakeimageChoosesBetweenTheDrawingAndTheStoredPicture) {
  for (const bool takeimage : {true, false}) {
    ImgProc ipc;
    ipc.setPicture(makeFilledPicture(12, 12, kBlack));
    SetPixelV(ipc.Picture1.hDC(), 5, 5, kWhite);
    ipc.filtersmooth(takeimage);
    EXPECT_EQ(pixelOf(ipc.picture(), 6, 6), takeimage ? rgb(28, 28, 28) : kBlack) << takeimage;
    EXPECT_EQ(pixelOf(ipc.picture(), 5, 5), takeimage ? rgb(28, 28, 28) : kBlack) << takeimage;
    EXPECT_TRUE(scratchIsEmpty(ipc));
  }
}

TEST(Filtersmooth, RepeatedCallsBuildOnEachOtherAndMoveBarOne) {
  QuietHost host;
  ImgProc ipc(&host);
  ipc.setPicture(dotOnBlack(12, 12, 5, 5));
  ipc.filtersmooth();
  ipc.filtersmooth();
  // After two passes the dot has spread two pixels: (7, 7) sees only (6, 6) of the first pass.
  EXPECT_EQ(pixelOf(ipc.picture(), 7, 7), rgb(3, 3, 3));     // 28 / 9 = 3.1
  EXPECT_EQ(pixelOf(ipc.picture(), 5, 5), rgb(28, 28, 28));  // 252 / 9
  EXPECT_EQ(host.PB(1).Max, 11.0F);
  EXPECT_EQ(host.PB(1).Value, 0.0F);
  EXPECT_EQ(host.doEventsCalls, 2 * (12 + 10));
}

TEST(Filters, RefusedRunsLeaveThePictureAndEmptyTheScratchBoxes) {
  const FilterArray heavy = ImgProc::filtcreatecust3(100, 100, 100, 100, 100, 100, 100, 100, 100);
  struct Case {
    const char* what;
    Int32 w, h;
    std::function<void(ImgProc&)> run;
  };
  const Case cases[] = {
      {"sum beyond 16 bits", 5, 5, [&](ImgProc& c) { c.filtercust3(heavy); }},
      {"filternorm 0", 5, 5, [&](ImgProc& c) { c.filtercust3(heavy, 0); }},
      {"1502 wide", 1502, 3, [&](ImgProc& c) { c.filtersmooth(); }},
      {"3 by 3 array for a 5 by 5 kernel", 6, 6, [&](ImgProc& c) { c.filtercust5(heavy); }},
      {"1502 high", 3, 1502, [&](ImgProc& c) { c.filtersharpen(); }},
  };
  for (const Case& c : cases) {
    ImgProc ipc;
    const Picture before = makeFilledPicture(c.w, c.h, rgb(90, 90, 90));
    ipc.setPicture(before);
    EXPECT_THROW(c.run(ipc), QuernError) << c.what;
    EXPECT_EQ(ipc.picture(), before) << c.what;
    EXPECT_TRUE(scratchIsEmpty(ipc)) << c.what;
  }
  ImgProc atLimit;
  atLimit.setPicture(makeFilledPicture(1501, 12, kWhite));
  EXPECT_NO_THROW(atLimit.filtersmooth());
}

TEST(Colnorm3, WorksOnTheStoredPictureAndRefusesLargeOnesWithAMessage) {
  QuietHost host;
  ImgProc ipc(&host);
  ipc.setPicture(makeFilledPicture(4, 3, rgb(255, 0, 0)));
  SetPixelV(ipc.Picture1.hDC(), 0, 0, kWhite);  // not committed: colnorm3 ignores it
  ipc.colnorm3(77);
  for (Colour c : ipc.picture()->pixels()) EXPECT_EQ(c, kBlack);
  EXPECT_TRUE(scratchIsEmpty(ipc));

  const Picture big = makeFilledPicture(1501, 2, rgb(255, 0, 0));
  ipc.setPicture(big);
  ipc.colnorm3(77);
  EXPECT_EQ(ipc.picture()->pixels(), big->pixels());
  ASSERT_EQ(host.messages.size(), 1U);
  EXPECT_EQ(host.messages[0], "Image too large to process. Please try loading a smaller image.");
}

TEST(Filters, MembersPassTheirDefaultsToTheirKernels) {
  const Picture src = [] {
    std::vector<Colour> px(16 * 14);
    for (std::size_t i = 0; i < px.size(); ++i) px[i] = static_cast<Colour>((i * 2654435761U) & 0xFFFFFF);
    return makePicture(16, 14, px);
  }();
  const FilterArray edge = ImgProc::filtcreatecust3(-1, -1, -1, -1, 8, -1, -1, -1, -1);
  const FilterArray blur5 =
      ImgProc::filtcreatecust5(1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1);
  struct Case {
    const char* name;
    std::function<void(ImgProc&)> member;
    std::function<void(PictureBox&, Host&, RandomSource&)> kernel;
  };
  const Case cases[] = {
      {"cust3", [&](ImgProc& c) { c.filtercust3(edge); },
       [&](PictureBox& b, Host& h, RandomSource&) { runcust3(b, edge, 9, 0, false, h); }},
      {"cust5", [&](ImgProc& c) { c.filtercust5(blur5); },
       [&](PictureBox& b, Host& h, RandomSource&) { runcust5(b, blur5, 25, 0, false, h); }},
      {"sharpen", [](ImgProc& c) { c.filtersharpen(); },
       [](PictureBox& b, Host& h, RandomSource&) { runsharpen(b, h); }},
      {"median", [](ImgProc& c) { c.filtermedian(); },
       [](PictureBox& b, Host& h, RandomSource&) { runmedian(b, 0, false, h); }},
      {"medianKC", [](ImgProc& c) { c.filtermedianKC(); },
       [](PictureBox& b, Host& h, RandomSource&) { runmedianKC(b, 0, false, h); }},
      {"diffuse", [](ImgProc& c) { c.filterdiffuse(); },
       [](PictureBox& b, Host& h, RandomSource& r) { rundiffuse(b, 4, 2, r, h); }},
      {"emboss", [](ImgProc& c) { c.filteremboss(); },
       [](PictureBox& b, Host& h, RandomSource&) { runemboss(b, 128, h); }},
      {"pixelize", [](ImgProc& c) { c.filterpixelize(); },
       [](PictureBox& b, Host& h, RandomSource& r) { runpixelize(b, 4, 2, 3, 2, r, h); }},
      {"solarize", [](ImgProc& c) { c.filtersolarize(); },
       [](PictureBox& b, Host& h, RandomSource&) { runsolarize(b, 128, 255, h); }},
  };
  for (const Case& c : cases) {
    ImgProc ipc;
    ipc.setPicture(src);
    c.member(ipc);
    PictureBox direct;
    direct.AutoSize = true;
    direct.setPicture(src);
    QuietHost host;
    RandomSource fresh;
    c.kernel(direct, host, fresh);
    EXPECT_EQ(ipc.picture()->pixels(), direct.Image()->pixels()) << c.name;
    EXPECT_NE(ipc.picture()->pixels(), src->pixels()) << c.name;
    EXPECT_TRUE(scratchIsEmpty(ipc)) << c.name;
  }
}

}  // namespace
}  // namespace quern
