#pragma once

#include <cstdint>
#include <vector>

#include "surface/picture_box.h"

namespace quern::testing {

// A box in pixel scale that holds `picture` and takes its size.
inline PictureBox boxWith(const Picture& picture) {
  PictureBox box;
  box.AutoSize = true;
  box.setPicture(picture);
  return box;
}

// Pixels from a fixed little generator, so a failure can be replayed.
inline Picture noisePicture(Int32 w, Int32 h, std::uint32_t seed = 7) {
  std::vector<Colour> px(static_cast<std::size_t>(w) * h);
  for (Colour& c : px) {
    seed = seed * 1664525U + 1013904223U;
    c = static_cast<Colour>(seed >> 8) & 0xFFFFFF;
  }
  return makePicture(w, h, std::move(px));
}

inline Colour at(PictureBox& box, Int32 x, Int32 y) {
  return GetPixel(box.hDC(), x, y);
}

inline Colour grey(Int32 v) {
  return rgb(v, v, v);
}

}  // namespace quern::testing
