#include "processing/filter_store.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include "base/errors.h"

namespace quern {

void FilterStore::Free::operator()(Colour* p) const {
  std::free(p);
}

FilterStore::FilterStore(Int32 frame, bool grows) : frame_(frame), grows_(grows) {}

FilterStore::Record FilterStore::atChecked(Int32 y, Int32 x) const {
  if (y < 0 || x < 0 || y >= frame_ || x >= frame_) {
    throw IndexError("Subscript out of range: filter store record (" + std::to_string(y) + ", " + std::to_string(x) +
                     ") is outside 0 to " + std::to_string(frame_ - 1));
  }
  return colours_ ? at(y, x) : Record{0};
}

void FilterStore::growTo(Int32 frame) {
  // Zeroed memory from the system costs nothing until a load writes to it.
  auto* fresh = static_cast<Colour*>(std::calloc(static_cast<std::size_t>(frame) * frame, sizeof(Colour)));
  if (!fresh)
    throw LimitError("Out of memory: the filter store cannot take " + std::to_string(frame) + " by " +
                     std::to_string(frame) + " pixels");
  if (colours_) {
    for (Int32 y = 0; y < frame_; ++y) std::copy_n(row(y), frame_, fresh + static_cast<std::size_t>(y) * frame);
  }
  colours_.reset(fresh);
  frame_ = frame;
}

void FilterStore::release() {
  colours_.reset();
  width_ = 0;
  height_ = 0;
}

void FilterStore::load(const PictureBox& picture, Host& host) {
  const Int16 w = roundToInt16(picture.ScaleWidth());
  const Int16 h = roundToInt16(picture.ScaleHeight());
  if ((w > frame_ || h > frame_) && !grows_) {
    throw LimitError("Image too large to filter: " + std::to_string(w) + " by " + std::to_string(h) +
                     " pixels; the filters take at most " + std::to_string(frame_) + " by " + std::to_string(frame_) +
                     ".");
  }
  if (w > frame_ || h > frame_) growTo(std::max<Int32>(w, h));
  if (!colours_) growTo(frame_);
  width_ = std::max<Int16>(w, 0);
  height_ = std::max<Int16>(h, 0);
  const Colour* bits = picture.bits();
  const Int32 bw = picture.pixelWidth();
  const Int32 bh = picture.pixelHeight();
  for (Int32 y = 0; y < height_; ++y) {
    Colour* out = colours_.get() + static_cast<std::size_t>(y) * frame_;
    const Colour* in = y < bh ? bits + static_cast<std::size_t>(y) * bw : nullptr;
    const Int32 inside = in ? std::min<Int32>(width_, bw) : 0;
    // Records keep the three colour bytes; GetPixel gives -1 outside the
    // bitmap, whose bytes are all 255.
    for (Int32 x = 0; x < inside; ++x) out[x] = in[x] & 0xFFFFFF;
    std::fill(out + inside, out + width_, 0xFFFFFF);
    host.DoEvents();
  }
}

}  // namespace quern
