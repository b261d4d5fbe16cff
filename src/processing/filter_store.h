#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "base/numbers.h"
#include "base/progress.h"
#include "surface/picture_box.h"

namespace quern {

// The filters take pictures up to this many pixels across and down.
inline constexpr Int32 kFilterLimit = 1501;

// The colours the filters read, one record per position (y, x) of a frame
// kFilterLimit by kFilterLimit, so that a kernel never goes back to the
// drawing surface. One store serves every filter of a chain of pictures and
// is never cleared: a load overwrites the records of its picture and leaves
// the rest as earlier, larger pictures left them, which is what a random
// filter finds when it reaches beyond the picture. The frame costs memory
// only where pictures have been loaded.
//
// A record reads as red, green and blue in 16-bit lanes of one 64-bit word,
// so a window sum is a plain add without carries between channels (nine or
// twenty-five bytes never reach 2^16); it is kept as the 32-bit colour.
class FilterStore {
 public:
  using Record = std::uint64_t;

  // `frame`: records per side. With `grows`, a larger picture widens or
  // heightens the frame instead of being refused.
  // `mapLarge`: how the frame is taken from the system (allocateZeroed).
  explicit FilterStore(Int32 frame = kFilterLimit, bool grows = false, bool mapLarge = true);
  FilterStore(const FilterStore&) = delete;
  FilterStore& operator=(const FilterStore&) = delete;

  // Size of the picture loaded last.
  Int16 width() const { return width_; }
  Int16 height() const { return height_; }

  // Record (y, x) of the picture loaded last; both inside it.
  Record at(Int32 y, Int32 x) const { return pack(colours_[static_cast<std::size_t>(y) * frameWidth_ + x]); }
  const Colour* row(Int32 y) const { return colours_.get() + static_cast<std::size_t>(y) * frameWidth_; }

  // Record (y, x) anywhere in the frame: beyond the picture what earlier
  // loads left there (0 where none did), outside the frame an IndexError.
  Record atChecked(Int32 y, Int32 x) const;

  // Reads the drawing area of `picture` (its ScaleWidth by ScaleHeight,
  // rounded) through device pixels, giving the interface a chance to run
  // after each row. A picture beyond the frame is refused with a LimitError.
  void load(const PictureBox& picture, Progress& progress);
  // The size load takes `picture` for; a picture beyond the frame of a store
  // that may not grow is refused as load refuses it.
  struct Size {
    Int16 width = 0;
    Int16 height = 0;
  };
  Size admit(const PictureBox& picture) const;
  // Gives the memory back; the next load starts from an empty frame.
  void release();

  static Record pack(Colour c) {
    const auto u = static_cast<std::uint64_t>(static_cast<std::uint32_t>(c));
    return (u & 0xFF) | ((u & 0xFF00) << 8) | ((u & 0xFF0000) << 16);
  }
  static Int16 red(Record r) { return static_cast<Int16>(r & 0xFFFF); }
  static Int16 green(Record r) { return static_cast<Int16>((r >> 16) & 0xFFFF); }
  static Int16 blue(Record r) { return static_cast<Int16>((r >> 32) & 0xFFFF); }
  static Int16 channel(Record r, int k) { return static_cast<Int16>((r >> (16 * k)) & 0xFFFF); }
  static Colour colour(Record r) { return rgb(red(r), green(r), blue(r)); }

 private:
  struct Free {
    std::size_t mapped;  // as allocateZeroed gave it
    void operator()(Colour* p) const noexcept;
  };
  void growTo(Int32 width, Int32 height);

  Int32 frameWidth_;
  Int32 frameHeight_;
  bool grows_;
  bool mapLarge_;
  Int16 width_ = 0;
  Int16 height_ = 0;
  std::unique_ptr<Colour[], Free> colours_;  // allocated zeroed at the first load
};

// Loads `picture` into `store` and gives the store back, for the kernels.
inline const FilterStore& loadfilterpixels(FilterStore& store, const PictureBox& picture, Progress& progress) {
  store.load(picture, progress);
  return store;
}

// Device-pixel writes straight into a box's bitmap: what SetPixelV does,
// without a call per pixel. Positions outside the bitmap are ignored.
class Canvas {
 public:
  explicit Canvas(PictureBox& box) : box_(box), bits_(box.mutableBits()), w_(box.pixelWidth()), h_(box.pixelHeight()) {}
  // For a caller that paints every pixel but a band `band` pixels wide round
  // the edge: only the band is kept from what the bitmap showed, so pixels
  // shared with a picture are not copied whole first.
  Canvas(PictureBox& box, Int32 band);
  ~Canvas() { box_.bitsChanged(); }
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  Int32 width() const { return w_; }
  Int32 height() const { return h_; }
  void set(Int32 x, Int32 y, Colour c) {
    if (x >= 0 && y >= 0 && x < w_ && y < h_) bits_[static_cast<std::size_t>(y) * w_ + x] = c & 0xFFFFFF;
  }
  // Row y of the bitmap, or null when y is outside it.
  Colour* row(Int32 y) { return y >= 0 && y < h_ ? bits_ + static_cast<std::size_t>(y) * w_ : nullptr; }

 private:
  PictureBox& box_;
  Colour* bits_;
  Int32 w_;
  Int32 h_;
};

// The common scan of a kernel: row by row, x fastest, keeping `margin` pixels
// from each edge; `colourAt(y, x)` gives the colour painted at (x, y). The
// interface gets a chance to run after each row.
template <typename ColourAt>
void paintInner(const FilterStore& store, Int32 margin, PictureBox& picture, Progress& progress, ColourAt colourAt) {
  Canvas canvas(picture);
  for (Int32 y = margin; y < store.height() - margin; ++y) {
    for (Int32 x = margin; x < store.width() - margin; ++x) canvas.set(x, y, colourAt(y, x));
    progress.yield();
  }
}

// A channel value made a byte of a colour: above 255 counts as 255.
inline Int32 capByte(Int32 v) {
  return v > 255 ? 255 : v;
}
// A channel value kept to 0..255.
inline Int32 clampByte(Int32 v) {
  return v < 0 ? 0 : capByte(v);
}

}  // namespace quern
