#include "processing/filter_store.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>

#include "base/errors.h"
#include "base/zeroed_memory.h"

namespace quern {

void FilterStore::Free::operator()(Colour* p) const noexcept {
  freeZeroed(p, mapped);
}

FilterStore::FilterStore(Int32 frame, bool grows, bool mapLarge)
    : frameWidth_(frame), frameHeight_(frame), grows_(grows), mapLarge_(mapLarge) {}

FilterStore::Record FilterStore::atChecked(Int32 y, Int32 x) const {
  if (y < 0 || x < 0 || y >= frameHeight_ || x >= frameWidth_) {
    throw IndexError("Subscript out of range: filter store record (" + std::to_string(y) + ", " + std::to_string(x) +
                     ") is outside 0 to " + std::to_string(frameHeight_ - 1) + ", 0 to " +
                     std::to_string(frameWidth_ - 1));
  }
  return colours_ ? at(y, x) : Record{0};
}

void FilterStore::growTo(Int32 width, Int32 height) {
  // Zeroed memory from the system costs nothing until a load writes to it.
  const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * sizeof(Colour);
  std::size_t mapped = 0;
  auto* block = static_cast<Colour*>(allocateZeroed(bytes, mapped, mapLarge_));
  std::unique_ptr<Colour[], Free> fresh(block, Free{mapped});
  if (!fresh) {
    throw LimitError("Out of memory: the filter store cannot take " + std::to_string(width) + " by " +
                     std::to_string(height) + " pixels");
  }
  if (colours_) {
    for (Int32 y = 0; y < frameHeight_; ++y) {
      std::copy_n(row(y), frameWidth_, fresh.get() + static_cast<std::size_t>(y) * width);
    }
  }
  colours_ = std::move(fresh);
  frameWidth_ = width;
  frameHeight_ = height;
}

void FilterStore::release() {
  colours_.reset();
  width_ = 0;
  height_ = 0;
}

FilterStore::Size FilterStore::admit(const PictureBox& picture) const {
  const Int16 w = roundToInt16(picture.ScaleWidth());
  const Int16 h = roundToInt16(picture.ScaleHeight());
  if ((w > frameWidth_ || h > frameHeight_) && !grows_) {
    throw LimitError("Image too large to filter: " + std::to_string(w) + " by " + std::to_string(h) +
                     " pixels; the filters take at most " + std::to_string(frameWidth_) + " by " +
                     std::to_string(frameHeight_) + ".");
  }
  return {w, h};
}

void FilterStore::load(const PictureBox& picture, Progress& progress) {
  const auto [w, h] = admit(picture);
  const bool beyond = w > frameWidth_ || h > frameHeight_;
  if (beyond) {
    growTo(std::max<Int32>(w, frameWidth_), std::max<Int32>(h, frameHeight_));
  } else if (!colours_) {
    growTo(frameWidth_, frameHeight_);
  }
  width_ = std::max<Int16>(w, 0);
  height_ = std::max<Int16>(h, 0);
  const Colour* bits = picture.bits();
  const Int32 bw = picture.pixelWidth();
  const Int32 bh = picture.pixelHeight();
  for (Int32 y = 0; y < height_; ++y) {
    Colour* out = colours_.get() + static_cast<std::size_t>(y) * frameWidth_;
    const Colour* in = y < bh ? bits + static_cast<std::size_t>(y) * bw : nullptr;
    const Int32 inside = in ? std::min<Int32>(width_, bw) : 0;
    // Records keep the three colour bytes; GetPixel gives -1 outside the
    // bitmap, whose bytes are all 255.
    for (Int32 x = 0; x < inside; ++x) out[x] = in[x] & 0xFFFFFF;
    std::fill(out + inside, out + width_, 0xFFFFFF);
    progress.yield();
  }
}

Canvas::Canvas(PictureBox& box, Int32 band) : box_(box), w_(box.pixelWidth()), h_(box.pixelHeight()) {
  // Whoever shares the old pixels keeps them alive past the swap.
  const Colour* old = box.bits();
  bits_ = box.overwriteBits();
  if (bits_ == old) return;
  const auto w = static_cast<std::size_t>(w_);
  const Int32 side = std::min(band, w_);
  for (Int32 y = 0; y < h_; ++y) {
    const std::size_t at = static_cast<std::size_t>(y) * w;
    if (y < band || y >= h_ - band) {
      std::copy_n(old + at, w, bits_ + at);
    } else {
      std::copy_n(old + at, side, bits_ + at);
      std::copy_n(old + at + w - static_cast<std::size_t>(side), side, bits_ + at + w - side);
    }
  }
}

}  // namespace quern
