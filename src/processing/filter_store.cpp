#include "processing/filter_store.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "base/errors.h"

namespace quern {

FilterPixels::FilterPixels(Int16 width, Int16 height)
    : width_(width),
      height_(height),
      records_(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), Record{0}) {}

FilterPixels::Record FilterPixels::atChecked(Int32 y, Int32 x) const {
  if (y < 0 || x < 0 || y >= kFilterLimit || x >= kFilterLimit) {
    throw IndexError("Subscript out of range: filter store record (" + std::to_string(y) + ", " + std::to_string(x) +
                     ") is outside 0 to " + std::to_string(kFilterLimit - 1));
  }
  if (y >= height_ || x >= width_) return Record{0};
  return at(y, x);
}

FilterPixels loadfilterpixels(PictureBox& picture, Host& host) {
  const Int16 w = roundToInt16(picture.ScaleWidth());
  const Int16 h = roundToInt16(picture.ScaleHeight());
  if (w > kFilterLimit || h > kFilterLimit) {
    throw LimitError("Image too large to filter: " + std::to_string(w) + " by " + std::to_string(h) +
                     " pixels; the filters take at most " + std::to_string(kFilterLimit) + " by " +
                     std::to_string(kFilterLimit) + ".");
  }
  FilterPixels store(std::max<Int16>(w, 0), std::max<Int16>(h, 0));
  const Colour* bits = picture.bits();
  const Int32 bw = picture.pixelWidth();
  const Int32 bh = picture.pixelHeight();
  for (Int32 y = 0; y < store.height(); ++y) {
    FilterPixels::Record* out = store.row(y);
    const Colour* in = y < bh ? bits + static_cast<std::size_t>(y) * bw : nullptr;
    for (Int32 x = 0; x < store.width(); ++x) {
      // GetPixel gives -1 outside the bitmap, whose bytes are all 255.
      out[x] = FilterPixels::pack(in && x < bw ? in[x] : kNoColour);
    }
    host.DoEvents();
  }
  return store;
}

}  // namespace quern
