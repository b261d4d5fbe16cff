#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "base/host.h"
#include "base/progress.h"
#include "processing/filter_store.h"
#include "surface/picture_box.h"

namespace quern::testing {

// A box in pixel scale that holds `picture` and takes its size.
inline PictureBox boxWith(const Picture& picture) {
  PictureBox box;
  box.AutoSize = true;
  box.setPicture(picture);
  return box;
}

// A box of w by h pixels in its background colour.
inline PictureBox boxOf(Int32 w, Int32 h, Colour back = kWhite) {
  PictureBox box;
  box.setWidth(static_cast<float>(w));
  box.setHeight(static_cast<float>(h));
  box.setBackColor(back);
  return box;
}

// What a filter run takes beside its box: progress on a quiet host's bar 1,
// and a store.
struct FilterRun {
  QuietHost host;
  HostProgress progress{host, 1};
  FilterStore store;
};

// Pixels from a fixed little generator, so a failure can be replayed.
inline Picture noisePicture(Int32 w, Int32 h, std::uint32_t seed = 7) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h);
  for (Colour& c : px) c = static_cast<Colour>((seed = seed * 1664525U + 1013904223U) >> 8) & 0xFFFFFF;
  return makePicture(w, h, std::move(px));
}

// Greys from the same generator, the picture marked as all greys.
inline Picture greyNoisePicture(Int32 w, Int32 h, std::uint32_t seed = 7) {
  PixelBuffer px = allocatePixels(static_cast<long long>(w) * h);
  for (long long i = 0; i < static_cast<long long>(w) * h; ++i) {
    px[i] = static_cast<Colour>(((seed = seed * 1664525U + 1013904223U) >> 24) * 0x010101U);
  }
  return makePicture(w, h, std::move(px), true);
}

// A 3 by 3 picture of greys, row by row.
inline Picture greys3(const std::array<Int32, 9>& values) {
  std::vector<Colour> px;
  for (Int32 v : values) px.push_back(rgb(v, v, v));
  return makePicture(3, 3, std::move(px));
}

inline Colour at(PictureBox& box, Int32 x, Int32 y) {
  return GetPixel(box.hDC(), x, y);
}
inline Colour grey(Int32 v) {
  return rgb(v, v, v);
}

}  // namespace quern::testing
