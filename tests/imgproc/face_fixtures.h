#pragma once

#include <vector>

#include "imgproc/imgproc.h"

namespace quern::testing {

// A white picture with black rectangles [x0, x1) by [y0, y1).
struct Rect {
  Int32 x0, y0, x1, y1;
};
inline Picture whiteWithBlack(Int32 w, Int32 h, std::vector<Rect> blacks) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h, kWhite);
  for (const Rect& r : blacks) {
    for (Int32 y = r.y0; y < r.y1; ++y) {
      for (Int32 x = r.x0; x < r.x1; ++x) px[static_cast<std::size_t>(y) * w + x] = kBlack;
    }
  }
  return makePicture(w, h, std::move(px));
}

// A picture whose pixel (x, y) has colour x + 1000 y: every read says where it came from.
inline Picture numbered(Int32 w, Int32 h) {
  std::vector<Colour> px;
  for (Int32 y = 0; y < h; ++y) {
    for (Int32 x = 0; x < w; ++x) px.push_back(x + 1000 * y);
  }
  return makePicture(w, h, std::move(px));
}

// Control size in twips for a viewport whose client area is `client` pixels each way.
inline float twipsFor(Int32 client) {
  return static_cast<float>((client + 4 + 20) * kDefaultTwipsPerPixel);
}

inline bool scratchEmpty(const ImgProc& c) {
  return !c.Picture3.picture() && !c.Picture4.picture();
}

}  // namespace quern::testing
