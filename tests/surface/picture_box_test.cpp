#include "surface/picture_box.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include "../processing/raster_fixtures.h"
#include "base/errors.h"

namespace quern {
namespace {

using testing::boxOf;

// Every pixel tells where it is: rgb(x, y, 0).
Picture coordinatePicture(Int32 w, Int32 h) {
  std::vector<Colour> px;
  for (Int32 i = 0; i < w * h; ++i) px.push_back(rgb(i % w, i / w, 0));
  return makePicture(w, h, std::move(px));
}

TEST(Picture, NativeSizeIsInHundredthsOfAMillimetreAndScalesBackToPixels) {
  const Picture p = makeFilledPicture(700, 557, kWhite);
  EXPECT_EQ(p->Width(), 18521);
  EXPECT_EQ(p->Height(), 14737);
  EXPECT_EQ(roundToInt32(PictureBox().ScaleX(18521.0F, kScaleHimetric, kScalePixels)), 700);
}

TEST(PictureBox, PointGivesMinusOneOutsideTheBox) {
  PictureBox box = boxOf(4, 3);
  for (const auto& [x, y] : {std::pair{-1.0F, 0.0F}, {0.0F, -1.0F}, {4.0F, 0.0F}, {0.0F, 3.0F}, {1e9F, 0.0F}}) {
    EXPECT_EQ(box.Point(x, y), kNoColour) << x << "," << y;
  }
  EXPECT_EQ(box.Point(3, 2), kWhite);
  EXPECT_EQ(GetPixel(box.hDC(), 4, 0), kNoColour);
  EXPECT_FALSE(SetPixelV(box.hDC(), 0, 3, kBlack));
}

TEST(PictureBox, AUserScaleMapsItsRangeAcrossTheBoxButNotDevicePixels) {
  PictureBox box = boxOf(100, 50);
  box.setScaleWidth(10);
  box.setScaleHeight(5);
  box.PSet(2.5F, 1.0F, kRed);
  EXPECT_EQ(GetPixel(box.hDC(), 25, 10), kRed);
  SetPixelV(box.hDC(), 90, 40, kBlue);
  EXPECT_EQ(box.Point(9.0F, 4.0F), kBlue);
  EXPECT_EQ(box.Point(10.0F, 0.0F), kNoColour) << "the written width is the far edge";
  box.setScaleMode(kScalePixels);
  EXPECT_EQ(box.Point(25, 10), kRed);
  EXPECT_THROW(box.setScaleHeight(0), SurfaceError);
}

// Many lines in one call set the pixels that Line sets one line at a time,
// whatever the scale, pen and ends (ties, beyond the box, a point, lines
// joined end to start).
TEST(PictureBox, LinesDrawWhatLineDrawsOneByOne) {
  std::vector<float> ends = {0.5F, 0.5F, 9.5F, 2.5F, -40, 3, -20, 30, 7, 7, 7, 7, 2, 30, 12, -1};
  std::uint32_t state = 7;
  const auto next = [&] {
    state = state * 1664525U + 1013904223U;
    return static_cast<float>(static_cast<int>(state >> 8) % 260 - 30) / 4.0F;
  };
  for (int i = 0; i < 400; ++i) ends.push_back(next());
  float x = next();
  float y = next();
  for (int i = 0; i < 60; ++i) {
    const float toX = x + next() / 8.0F;
    const float toY = y + next() / 8.0F;
    ends.insert(ends.end(), {x, y, toX, toY});
    x = toX;
    y = toY;
  }
  struct Pen {
    Int16 width;
    Int16 mode;
  };
  for (const Pen pen : {Pen{1, 13}, Pen{3, 13}, Pen{1, 7}}) {
    PictureBox one = boxOf(60, 40);
    PictureBox all = boxOf(60, 40);
    for (PictureBox* box : {&one, &all}) {
      box->setScaleWidth(45);  // a scale that leaves ends between pixels
      box->setScaleHeight(30);
      box->DrawWidth = pen.width;
      box->DrawMode = pen.mode;
    }
    for (std::size_t i = 0; i + 4 <= ends.size(); i += 4)
      one.Line(ends[i], ends[i + 1], ends[i + 2], ends[i + 3], kRed);
    all.Lines(ends, kRed);
    ASSERT_TRUE(std::equal(one.bits(), one.bits() + 60 * 40, all.bits()))
        << "pen " << pen.width << ", mode " << pen.mode;
    EXPECT_EQ(all.CurrentX, one.CurrentX);
    EXPECT_EQ(all.CurrentY, one.CurrentY);
    if (pen.width != 1 || pen.mode != 13) continue;
    // Drawn into greys instead: the same pixels, the box left as it was.
    std::vector<std::uint8_t> greys(60 * 40, 1);
    PictureBox layout = boxOf(60, 40);
    layout.setScaleWidth(45);
    layout.setScaleHeight(30);
    layout.LinesInto(ends, greys.data(), 9);
    for (std::size_t i = 0; i < greys.size(); ++i) {
      ASSERT_EQ(greys[i], all.bits()[i] == kRed ? 9 : 1) << "drawn into greys, at " << i;
    }
    EXPECT_NE(layout.bits()[0], kRed);
  }
}

TEST(PictureBox, AutoSizeTakesThePicturesSizeAndAPlainBoxClipsIt) {
  const Picture pic = coordinatePicture(6, 4);
  PictureBox sized = boxOf(2, 2);
  sized.AutoSize = true;
  sized.PSet(1, 1, kRed);
  sized.setPicture(pic);
  EXPECT_EQ(sized.pixelWidth(), 6);
  EXPECT_EQ(sized.pixelHeight(), 4);
  EXPECT_EQ(sized.Point(1, 1), rgb(1, 1, 0)) << "a new picture replaces what was drawn";
  sized.setPicture(nullptr);
  EXPECT_EQ(sized.pixelWidth(), 6) << "emptying keeps the size";

  PictureBox plain = boxOf(3, 8, kBlue);
  plain.setPicture(pic);
  EXPECT_EQ(plain.pixelWidth(), 3);
  EXPECT_EQ(plain.Point(2, 3), rgb(2, 3, 0));
  EXPECT_EQ(plain.Point(2, 5), kBlue);
  plain.setPicture(nullptr);
  EXPECT_EQ(plain.Point(2, 3), kBlue);
}

TEST(PictureBox, ClsAndBackColorDropTheDrawingButKeepThePicture) {
  PictureBox box = boxOf(6, 6);
  box.setPicture(makeFilledPicture(3, 3, kGreen));
  box.Line(0, 5, 5, 5, kRed);
  const Picture before = box.Image();
  box.Cls();
  EXPECT_EQ(box.Point(2, 5), kWhite);
  EXPECT_EQ(box.Point(1, 1), kGreen);
  EXPECT_EQ(before->pixel(2, 5), kRed) << "an Image read earlier stays as it was";
  box.PSet(5, 5, kRed);
  box.setBackColor(kBlue);
  EXPECT_EQ(box.Point(5, 5), kBlue);
  EXPECT_EQ(box.Point(1, 1), kGreen);
  box.setWidth(8);
  EXPECT_EQ(box.Point(7, 0), kBlue) << "a grown box keeps its background";
}

TEST(PictureBox, PaintPictureFillsOmittedArgumentsFromTheSourceInTheBoxScale) {
  const Picture pic = coordinatePicture(4, 3);
  PictureBox box = boxOf(10, 10);
  box.PaintPicture(pic, 2, 1);
  EXPECT_EQ(box.Point(5, 3), rgb(3, 2, 0));
  EXPECT_EQ(box.Point(6, 3), kWhite);
  EXPECT_EQ(box.Point(5, 4), kWhite);
  // Two pixels a unit: the source part (1, 0) 1 by 1 is two source pixels each way.
  PictureBox scaled = boxOf(10, 10);
  scaled.setScaleWidth(5);
  scaled.setScaleHeight(5);
  scaled.PaintPicture(pic, 1, 1, std::nullopt, std::nullopt, 1, 0, 1, 1);
  EXPECT_EQ(GetPixel(scaled.hDC(), 2, 2), rgb(2, 0, 0));
  EXPECT_EQ(GetPixel(scaled.hDC(), 3, 3), rgb(3, 1, 0));
  EXPECT_EQ(GetPixel(scaled.hDC(), 4, 4), kWhite);
}

// Destination pixel d of a stretch covers source [floor(L d / D), floor(L (d + 1) / D)),
// at least one pixel; a stretch paints the AND of what it covers.
Colour slowStretch(const Picture& p, Int32 dw, Int32 dh, Int32 x, Int32 y) {
  auto span = [](Int32 d, Int32 len, Int32 dlen) {
    const auto a = static_cast<Int32>(std::floor(static_cast<double>(len) * d / dlen));
    const auto b = static_cast<Int32>(std::floor(static_cast<double>(len) * (d + 1) / dlen));
    return std::pair{a, std::max(b, a + 1)};
  };
  const auto [x0, x1] = span(x, p->pixelWidth(), dw);
  const auto [y0, y1] = span(y, p->pixelHeight(), dh);
  Colour c = 0xFFFFFF;
  for (Int32 v = y0; v < y1; ++v) {
    for (Int32 u = x0; u < x1; ++u) c &= p->pixel(u, v);
  }
  return c;
}

TEST(Stretch, EveryDestinationPixelIsTheAndOfTheSourcePixelsItCovers) {
  for (const auto& [sw, sh, dw, dh] :
       {std::array{17, 13, 5, 4}, {17, 13, 40, 29}, {17, 13, 17, 13}, {9, 30, 31, 7}, {6, 6, 1, 1}, {4, 4, 2, 2}}) {
    const Picture src = testing::noisePicture(sw, sh, static_cast<std::uint32_t>(dw * 7 + dh));
    PictureBox box = boxOf(dw, dh);
    box.PaintPicture(src, 0.0F, 0.0F, static_cast<float>(dw), static_cast<float>(dh));
    for (Int32 i = 0; i < dw * dh; ++i) {
      ASSERT_EQ(GetPixel(box.hDC(), i % dw, i / dw), slowStretch(src, dw, dh, i % dw, i / dw))
          << sw << "x" << sh << " -> " << dw << "x" << dh << " at " << i % dw << "," << i / dw;
    }
  }
}

TEST(Stretch, ACopyPartlyOutsideTheBoxCombinesOnlyWhereItFalls) {
  const Picture src = testing::noisePicture(4, 4, 3);
  for (const Int32 op : {kOpcodeCopy, kOpcodeAnd}) {
    PictureBox box = boxOf(5, 5, 0x7F7F7F);
    box.PaintPicture(src, -2.0F, -1.0F, std::nullopt, std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                     std::nullopt, op);
    for (Int32 y = 0; y < 5; ++y) {
      for (Int32 x = 0; x < 5; ++x) {
        const bool covered = x < 2 && y < 3;
        const Colour s = covered ? src->pixel(x + 2, y + 1) : 0;
        const Colour want = !covered ? 0x7F7F7F : op == kOpcodeAnd ? (s & 0x7F7F7F) : s;
        EXPECT_EQ(GetPixel(box.hDC(), x, y), want) << op << " at " << x << "," << y;
      }
    }
  }
}

// A picture of greys kept a byte a pixel gives the colours of its greys,
// made once, whichever way and on however many threads they are asked for.
TEST(Picture, OneKeptAsGreysGivesTheColoursOfItsGreys) {
  GreyBuffer greys = allocateGreys(300);
  for (std::ptrdiff_t i = 0; i < 300; ++i) greys[i] = static_cast<std::uint8_t>(i * 7);
  const Picture kept = makeGreyPicture(20, 15, greys);
  EXPECT_TRUE(kept->grey());
  EXPECT_EQ(kept->greys(), greys.get());
  const Colour* seen[2] = {};
  std::thread first([&] { seen[0] = kept->data(); });
  std::thread second([&] { seen[1] = kept->buffer().get(); });
  first.join();
  second.join();
  EXPECT_EQ(seen[0], seen[1]);
  for (Int32 i = 0; i < 300; ++i) {
    ASSERT_EQ(kept->pixel(i % 20, i / 20), static_cast<Colour>(static_cast<std::uint8_t>(i * 7) * 0x010101U)) << i;
  }
  EXPECT_EQ(kept->pixels().size(), 300U);
  PictureBox box = boxOf(20, 15);
  box.setPicture(kept);
  EXPECT_EQ(box.Image()->pixels(), kept->pixels());
}

// A box showing a grey picture's own pixels gives images known to be grey;
// once it draws, or shows anything else, it says nothing more.
TEST(PictureBox, ImagesOfAGreyPictureAreKnownGreyUntilTheBoxDraws) {
  const Picture grey = testing::greyNoisePicture(4, 3);
  const Picture unmarked = makePicture(4, 3, std::vector<Colour>(grey->data(), grey->data() + 12));
  const auto show = [&](PictureBox& b) { b.setPicture(grey); };
  const auto paint = [&](PictureBox& b) { b.PaintPicture(grey, 0, 0); };
  struct Case {
    const char* name;
    std::function<void(PictureBox&)> first;
    std::function<void(PictureBox&)> then;
    bool grey;
  };
  const Case cases[] = {
      {"shown", show, {}, true},
      {"painted over the whole box", paint, {}, true},
      {"painted, then drawn on", paint, [](PictureBox& b) { b.PSet(1, 1, kRed); }, false},
      {"painted from a picture since gone, then drawn on",
       [](PictureBox& b) { b.PaintPicture(testing::greyNoisePicture(4, 3), 0, 0); },
       [](PictureBox& b) { b.PSet(1, 1, kRed); }, false},
      {"shown, then a pixel set", show, [](PictureBox& b) { SetPixelV(b.hDC(), 0, 0, kRed); }, false},
      {"painted smaller", [&](PictureBox& b) { b.PaintPicture(grey, 0, 0, 2, 2); }, {}, false},
      {"an unmarked picture", [&](PictureBox& b) { b.PaintPicture(unmarked, 0, 0); }, {}, false},
      {"shown, then grown", show, [](PictureBox& b) { b.setWidth(5); }, false},
  };
  for (const Case& c : cases) {
    PictureBox box = boxOf(4, 3);
    c.first(box);
    if (c.then) c.then(box);
    EXPECT_EQ(box.Image()->grey(), c.grey) << c.name;
    EXPECT_EQ(box.takeImage()->grey(), c.grey) << c.name;
  }
}

// Paper with a bit of ink here and there: one pixel in five has a bit of
// each byte cleared, so that the AND of a wide span still tells its pixels.
Picture paperNoise(Int32 w, Int32 h, std::uint32_t seed) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h, 0xFFFFFF);
  for (Colour& c : px) {
    seed = seed * 1664525U + 1013904223U;
    if (seed >> 29 < 2) c &= ~(0x010101U << (seed >> 8) % 8);
  }
  return makePicture(w, h, std::move(px));
}

// Rows handed over one by one, each from a buffer of its own, paint what
// PaintPicture paints from the whole picture, wherever the picture lands and
// whatever part of it is taken; so does a picture kept as greys, painted
// from its greys, its colours not made.
TEST(Stretch, ARowPainterPaintsWhatPaintPicturePaints) {
  struct Case {
    const char* name;
    Int32 sw, sh, bw, bh;
    float x1, y1;
    std::optional<float> w1, h1, x2, y2, w2, h2;
    Int32 op;
  };
  const std::optional<float> none;
  const std::vector<Case> cases = {
      {"shrunk by three", 36, 27, 12, 9, 0, 0, 12, 9, none, none, none, none, kOpcodeCopy},
      {"shrunk by two and a half", 30, 25, 12, 10, 0, 0, 12, 10, none, none, none, none, kOpcodeCopy},
      {"enlarged", 5, 4, 13, 11, 0, 0, 13, 11, none, none, none, none, kOpcodeCopy},
      {"off the top left", 9, 9, 6, 6, -2, -3, 7, 8, none, none, none, none, kOpcodeCopy},
      {"past the bottom right", 9, 9, 6, 6, 3, 2, 9, 9, none, none, none, none, kOpcodeCopy},
      {"a part of the picture", 20, 16, 8, 8, 0, 0, 8, 8, 3, 5, 9, 7, kOpcodeCopy},
      {"a part past the picture", 10, 10, 8, 8, 1, 1, 6, 6, 6, 7, 8, 8, kOpcodeCopy},
      {"ANDed over the box", 14, 21, 7, 7, 0, 0, 7, 7, none, none, none, none, kOpcodeAnd},
      {"inverted over the box", 14, 21, 7, 9, 1, 0, 5, 9, none, none, none, none, kOpcodeInvert},
      // Wide enough for greys to be gathered sixteen box pixels at a time,
      // from one to eight blocks of picture columns, and past that one by
      // one; or thirty-two at a time from 128 bytes, where they lie in them.
      {"wide, shrunk by 1.75", 91, 7, 52, 4, 0, 0, 52, 4, none, none, none, none, kOpcodeCopy},
      {"wide, shrunk by 1.1", 55, 3, 50, 3, 0, 0, 50, 3, none, none, none, none, kOpcodeCopy},
      {"wide, shrunk by three", 150, 6, 50, 2, 0, 0, 50, 2, none, none, none, none, kOpcodeCopy},
      {"wide, shrunk by 3.9", 195, 8, 50, 2, 0, 0, 50, 2, none, none, none, none, kOpcodeCopy},
      {"wide, shrunk by 4.5", 180, 9, 40, 2, 0, 0, 40, 2, none, none, none, none, kOpcodeCopy},
      {"wide, shrunk by 7.5", 300, 8, 40, 1, 0, 0, 40, 1, none, none, none, none, kOpcodeCopy},
      {"wide, shrunk by nine", 360, 9, 40, 1, 0, 0, 40, 1, none, none, none, none, kOpcodeCopy},
      {"wide, a part past the right", 120, 4, 40, 2, 0, 0, 40, 2, 30, 0, 120, 4, kOpcodeCopy},
      // Thirty-two box pixels, and sixteen, whose ends reach 127 bytes on, and 128.
      {"wide, thirty-two from 131", 131, 4, 32, 2, 0, 0, 32, 2, none, none, none, none, kOpcodeCopy},
      {"wide, thirty-two from 132", 132, 4, 32, 2, 0, 0, 32, 2, none, none, none, none, kOpcodeCopy},
      {"wide, sixteen from 135", 135, 4, 16, 2, 0, 0, 16, 2, none, none, none, none, kOpcodeCopy},
      {"wide, sixteen from 136", 136, 4, 16, 2, 0, 0, 16, 2, none, none, none, none, kOpcodeCopy},
  };
  // Each narrower way a grey shrink may be taken gives the same pixels.
  struct Widest {
    ~Widest() { limitPaintSteps(PaintSteps::all); }
  } widest;
  for (const PaintSteps steps : {PaintSteps::bytes, PaintSteps::sixteenBytes, PaintSteps::all}) {
    limitPaintSteps(steps);
    SCOPED_TRACE(static_cast<int>(steps));
    for (const Case& c : cases) {
      const auto seed = static_cast<std::uint32_t>(c.sw * 31 + c.bh);
      const Picture src = std::string_view(c.name).starts_with("wide") ? paperNoise(c.sw, c.sh, seed)
                                                                       : testing::noisePicture(c.sw, c.sh, seed);
      PictureBox whole = boxOf(c.bw, c.bh, 0x5A6B7C);
      whole.PaintPicture(src, c.x1, c.y1, c.w1, c.h1, c.x2, c.y2, c.w2, c.h2, c.op);
      // The same picture's blue bytes, once as colours and once kept as greys.
      GreyBuffer greys = allocateGreys(static_cast<long long>(c.sw) * c.sh);
      std::vector<Colour> colours;
      for (Int32 i = 0; i < c.sw * c.sh; ++i) {
        greys[i] = static_cast<std::uint8_t>(src->data()[i]);
        colours.push_back(static_cast<Colour>(greys[i] * 0x010101U));
      }
      PictureBox fromGreys = boxOf(c.bw, c.bh, 0x5A6B7C);
      fromGreys.PaintPicture(makeGreyPicture(c.sw, c.sh, greys), c.x1, c.y1, c.w1, c.h1, c.x2, c.y2, c.w2, c.h2, c.op);
      PictureBox fromColours = boxOf(c.bw, c.bh, 0x5A6B7C);
      fromColours.PaintPicture(makePicture(c.sw, c.sh, colours), c.x1, c.y1, c.w1, c.h1, c.x2, c.y2, c.w2, c.h2, c.op);
      EXPECT_EQ(fromGreys.Image()->pixels(), fromColours.Image()->pixels()) << c.name << ", greys";
      // Painted as greys instead, from colour rows or grey rows: each pixel
      // the grey of the box's, no lighter than asked; those not reached kept.
      for (const bool greyRows : {false, true}) {
        if (c.op != kOpcodeCopy) break;
        const PictureBox& box = greyRows ? fromGreys : whole;
        PictureBox layout = boxOf(c.bw, c.bh, 0x5A6B7C);
        std::vector<std::uint8_t> shown(static_cast<std::size_t>(c.bw) * c.bh, 7);
        PictureBox::RowPainter painter(layout, c.sw, c.sh, c.x1, c.y1, c.w1, c.h1, c.x2, c.y2, c.w2, c.h2, c.op);
        painter.intoGreys(shown.data(), 200);
        for (Int32 y = 0; y < c.sh; ++y) {
          if (greyRows) {
            painter.row(y, greys.get() + static_cast<std::ptrdiff_t>(y) * c.sw);
          } else {
            painter.row(y, src->data() + static_cast<std::ptrdiff_t>(y) * c.sw);
          }
        }
        for (Int32 i = 0; i < c.bw * c.bh; ++i) {
          const Colour p = box.bits()[i];
          const Int32 grey = (30 * redOf(p) + 59 * greenOf(p) + 11 * blueOf(p) + 50) / 100;
          ASSERT_EQ(shown[static_cast<std::size_t>(i)], p == 0x5A6B7C ? 7 : std::min(grey, 200))
              << c.name << (greyRows ? ", grey rows" : ", colour rows") << " painted as greys at " << i;
        }
        EXPECT_EQ(layout.bits()[0], 0x5A6B7C) << c.name << ": the box is left as it was";
      }
      // Box rows drawn as their rows come, and gathered.
      for (const bool gather : {false, true}) {
        PictureBox rows = boxOf(c.bw, c.bh, 0x5A6B7C);
        PictureBox::RowPainter painter(rows, c.sw, c.sh, c.x1, c.y1, c.w1, c.h1, c.x2, c.y2, c.w2, c.h2, c.op);
        if (gather) painter.gatherRows();
        std::vector<std::vector<Colour>> copies(static_cast<std::size_t>(c.sh));
        for (Int32 y = 0; y < c.sh; ++y) {
          copies[static_cast<std::size_t>(y)].assign(src->data() + y * c.sw, src->data() + (y + 1) * c.sw);
          painter.row(y, copies[static_cast<std::size_t>(y)].data());
        }
        for (Int32 i = 0; i < c.bw * c.bh; ++i) {
          ASSERT_EQ(GetPixel(rows.hDC(), i % c.bw, i / c.bw), GetPixel(whole.hDC(), i % c.bw, i / c.bw))
              << c.name << (gather ? ", gathered" : "") << " at " << i % c.bw << "," << i / c.bw;
        }
      }
    }
  }
  // Rows given again from the top are passed over; a row left out is refused.
  const Picture src = testing::noisePicture(8, 8, 5);
  PictureBox box = boxOf(4, 4);
  PictureBox::RowPainter painter(box, 8, 8, 0, 0, 4, 4);
  for (Int32 y = 0; y < 3; ++y) painter.row(y, src->data() + y * 8);
  EXPECT_NO_THROW(painter.row(0, src->data()));
  EXPECT_THROW(painter.row(4, src->data() + 4 * 8), SurfaceError);
}

// Boxes share pixels until one of them writes: every kind of write to one box
// after a hand-on must leave the other box, the stored picture and any image
// taken before exactly as they were.
TEST(CopyOnWrite, AWriteAfterAHandOnReachesOnlyTheBoxWrittenTo) {
  const Picture original = coordinatePicture(6, 4);
  const Picture stamp = makeFilledPicture(6, 4, kBlue);
  const std::pair<const char*, std::function<void(PictureBox&)>> writes[] = {
      {"PSet", [](PictureBox& b) { b.PSet(2, 1, kRed); }},
      {"Line", [](PictureBox& b) { b.Line(0, 0, 5, 3, kRed); }},
      {"Circle", [](PictureBox& b) { b.Circle(3, 2, 1, kRed); }},
      {"SetPixelV", [](PictureBox& b) { SetPixelV(b.hDC(), 1, 1, kRed); }},
      {"PaintPicture", [&](PictureBox& b) { b.PaintPicture(stamp, 0, 0); }},
      {"PaintPicture AND", [&](PictureBox& b) { b.PaintPicture(stamp, 1, 1, 2, 2, 0, 0, 2, 2, kOpcodeAnd); }},
      {"mutableBits", [](PictureBox& b) { b.mutableBits()[0] = kRed; }},
  };
  for (const auto& [name, write] : writes) {
    PictureBox a = testing::boxWith(original);
    PictureBox b = testing::boxWith(a.picture());
    const Picture before = b.Image();
    write(b);
    EXPECT_EQ(a.Image()->pixels(), original->pixels()) << name;
    EXPECT_EQ(b.picture()->pixels(), original->pixels()) << name;
    EXPECT_EQ(before->pixels(), original->pixels()) << name;
    EXPECT_NE(b.Image()->pixels(), original->pixels()) << name << " drew nothing";
    b.Cls();
    EXPECT_EQ(b.Image()->pixels(), original->pixels()) << name << ": Cls brings the stored picture back";
    // And the other way round: a write to the first box leaves the second's.
    write(a);
    EXPECT_EQ(b.Point(2, 1), original->pixel(2, 1)) << name;
    // A box whose pixels only one image shares; each Image is a new picture.
    PictureBox fresh = boxOf(6, 4);
    const Picture shot = fresh.Image();
    EXPECT_NE(shot->Handle(), 0);
    EXPECT_NE(fresh.Image()->Handle(), shot->Handle()) << name;
    write(fresh);
    EXPECT_EQ(shot->pixels(), makeFilledPicture(6, 4, kWhite)->pixels()) << name;
  }
}

TEST(SurfaceLimit, ASizeOverTheLimitIsRefusedBeforeAnythingIsAllocated) {
  PictureBox box;
  box.setPixelLimit(100);
  EXPECT_NO_THROW(box.setWidth(10));
  EXPECT_NO_THROW(box.setHeight(10));
  EXPECT_THROW(box.setHeight(11), LimitError);
  EXPECT_EQ(box.pixelHeight(), 10);
  box.AutoSize = true;
  EXPECT_THROW(box.setPicture(makeFilledPicture(20, 20, kBlack)), LimitError);
  EXPECT_EQ(box.picture(), nullptr);
}

}  // namespace
}  // namespace quern
