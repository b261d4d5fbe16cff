#include <algorithm>
#include <string>

#include "imgproc/imgproc.h"
#include "imgproc/scratch.h"

namespace quern {

namespace {
constexpr Int16 kSegmentMargin = 15;
constexpr Colour kCheckBackground = 0x606400;  // red 0, green 100, blue 96: teal for nopixall

// Sizes Picture4 as the source in Picture3 plus `margin` and 3 pixels on each
// side, and gives that offset.
Int16 sizeCanvas(ImgProc& c, Int16 margin) {
  const Int16 grow = add16(mul16(2, margin), 6);
  c.Picture4.setHeight(c.Picture3.Height() + grow);
  c.Picture4.setWidth(c.Picture3.Width() + grow);
  return add16(margin, 3);
}

// Calls `visit` for each exactly black pixel of Picture3 within w by h,
// column by column, giving way after each column.
template <typename Visit>
void forEachBlack(ImgProc& c, Int16 w, Int16 h, Visit visit) {
  for (Int16 i = 0; i < w; ++i) {
    for (Int16 j = 0; j < h; ++j) {
      if (GetPixel(c.Picture3.hDC(), i, j) == kBlack) visit(i, j);
    }
    c.host().DoEvents();
  }
}
}  // namespace

std::vector<Int16> ImgProc::givesegments(bool takeimage, double threshold1, double threshold2, Int16 radius, Int16 r,
                                         Int16 g, Int16 b) {
  ScratchScope scratch(*this, true);
  sourceToPicture3(takeimage);
  Picture4.setBackColor(kWhite);
  Picture4.setWidth(Picture3.Width() + 2 * kSegmentMargin);
  Picture4.setHeight(Picture3.Height() + 2 * kSegmentMargin);
  const auto [nativeW, nativeH] = nativeSize(Picture3);
  Int16 w = roundToInt16(nativeW);
  Int16 h = roundToInt16(nativeH);
  if (add16(w, 2 * kSegmentMargin) > kSegmentColumns) {
    throw LimitError("givesegments measures pictures of up to " + std::to_string(kSegmentColumns - 2 * kSegmentMargin) +
                     " pixels across; this one is " + std::to_string(w));
  }

  for (Int16 i = 0; i < w; ++i) {
    for (Int16 j = 0; j < h; ++j) {
      const Colour c = Picture3.Point(i, j);
      if (redOf(c) == r && greenOf(c) == g && blueOf(c) == b) {
        Picture4.Circle(add16(i, kSegmentMargin), add16(j, kSegmentMargin), radius, kBlack);
      }
    }
  }

  w = add16(w, 2 * kSegmentMargin);
  h = add16(h, 2 * kSegmentMargin);
  std::vector<Int16> top(static_cast<std::size_t>(w), 0);
  std::vector<Int16> bottom(static_cast<std::size_t>(w), 0);
  for (Int16 i = 0; i < w; ++i) {
    for (Int16 j = 0; j < h; ++j) {
      if (Picture4.Point(i, j) == kBlack) {
        top[i] = j;
        break;
      }
    }
    host().DoEvents();
  }
  for (Int16 i = 0; i < w; ++i) {
    for (Int16 j = sub16(h, 1); j >= 0; --j) {
      if (Picture4.Point(i, j) == kBlack) {
        bottom[i] = j;
        break;
      }
    }
    host().DoEvents();
  }
  std::vector<Int16> height(static_cast<std::size_t>(w), 0);
  Int16 m = 0;
  for (Int16 i = 0; i < w; ++i) {
    height[i] = sub16(bottom[i], top[i]);
    m = std::max(m, height[i]);
  }
  const double t1 = m * threshold1;
  const double t2 = m * threshold2;

  // A segment begins where the height first rose above t2 and is counted
  // once it passes t1; it ends at the first column below t2.
  std::vector<Int16> result(static_cast<std::size_t>(kSegmentEntries) + 1, 0);
  Int32 n = 0;
  const auto add = [&](Int16 x) {
    if (n == kSegmentEntries) {
      throw LimitError("givesegments finds more than " + std::to_string(kSegmentEntries) + " segment ends");
    }
    result[static_cast<std::size_t>(++n)] = x;
  };
  bool rising = true;
  bool open = true;
  Int16 start = 0;
  for (Int16 i = 0; i < w; ++i) {
    if (rising) {
      if (height[i] > t2) {
        rising = false;
        start = sub16(i, kSegmentMargin);
      }
    } else if (height[i] < t2) {
      rising = true;
    }
    if (open) {
      if (height[i] > t1) {
        add(start);
        open = false;
      }
    } else if (height[i] < t2) {
      add(sub16(i, kSegmentMargin));
      open = true;
    }
  }
  result[0] = static_cast<Int16>(n);
  return result;
}

Picture ImgProc::givethicken(bool takeimage, Int16 radius, Int16 margin) {
  const Int16 w = roundToInt16(Picture1.Width());
  const Int16 h = roundToInt16(Picture1.Height());
  ScratchScope scratch(*this, true);
  sourceToPicture3(takeimage);
  Picture4.setBackColor(kWhite);
  const Int16 offset = sizeCanvas(*this, margin);
  Picture4.FillStyle = 0;
  Picture4.FillColor = kBlack;
  forEachBlack(*this, w, h,
               [&](Int16 i, Int16 j) { Picture4.Circle(add16(i, offset), add16(j, offset), radius, kBlack); });
  return Picture4.Image();
}

Picture ImgProc::givecheckpattern(bool takeimage, Int16 r1, Int16 r2, Int16 r3, Int16 r4, Int16 margin) {
  const Int16 w = roundToInt16(Picture1.Width());
  const Int16 h = roundToInt16(Picture1.Height());
  ScratchScope scratch(*this, true);
  sourceToPicture3(takeimage);
  const Int16 offset = sizeCanvas(*this, margin);

  std::vector<std::pair<Int16, Int16>> black;
  forEachBlack(*this, w, h, [&](Int16 i, Int16 j) {
    if (static_cast<Int32>(black.size()) == kCheckPatternPixels) {
      throw LimitError("givecheckpattern takes up to " + std::to_string(kCheckPatternPixels) +
                       " black pixels; this picture has more");
    }
    black.emplace_back(i, j);
  });

  Picture4.setBackColor(kCheckBackground);
  Picture4.FillStyle = 0;
  // Each pass covers what the wider ones before it left.
  const std::pair<Int16, Colour> passes[] = {{r1, kBlue}, {r2, kGreen}, {r3, kRed}, {r4, kBlack}};
  for (const auto& [radius, colour] : passes) {
    Picture4.FillColor = colour;
    for (const auto& [x, y] : black) Picture4.Circle(add16(x, offset), add16(y, offset), radius, colour);
    host().DoEvents();
  }
  return Picture4.Image();
}

}  // namespace quern
