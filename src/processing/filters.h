#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <vector>

#include "base/numbers.h"
#include "base/progress.h"
#include "processing/filter_store.h"
#include "surface/picture_box.h"

namespace quern {

// A square kernel of 16-bit weights, indices (row, column) from 0 to size - 1.
// Row 0 lies on the picture row above the pixel, column 0 on the column to
// its left; the kernel is not flipped.
class FilterArray {
 public:
  FilterArray(Int16 size, std::initializer_list<Int16> rowByRow);

  Int16 size() const { return size_; }
  Int16 operator()(Int32 row, Int32 col) const { return weights_[static_cast<std::size_t>(row) * size_ + col]; }

 private:
  Int16 size_;
  std::vector<Int16> weights_;
};

// The kernels paint `picture` from a copy of its colours, so no result of a
// run feeds into the same run; the outer band of the kernel's radius keeps its
// colours. They let the interface run after each row of loading and of work.

// Weighted sum over the 3 by 3 (runcust3) or 5 by 5 (runcust5) window,
// divided by `filternorm`, plus `filterbias`. Every partial sum must stay in
// 16 bits (an OverflowError otherwise); a `filternorm` of 0 is refused with a
// QuernError before anything is painted, as is a kernel smaller than the window.
void runcust3(PictureBox& picture, FilterStore& filterpixels, const FilterArray& filter, Int16 filternorm,
              Int16 filterbias, bool takeabs, Progress& progress);
void runcust5(PictureBox& picture, FilterStore& filterpixels, const FilterArray& filter, Int16 filternorm,
              Int16 filterbias, bool takeabs, Progress& progress);

// Each channel pushed away from its upper-left neighbour: 0.5 (c - d) + c.
void runsharpen(PictureBox& picture, FilterStore& filterpixels, Progress& progress);

// The mean of the 3 by 3 window. Pictures under 10 pixels high are left as
// they are; otherwise PB(1) follows the rows.
void runsmooth(PictureBox& picture, FilterStore& filterpixels, Progress& progress);
// runsmooth for a caller that will not read the store afterwards: the same
// picture, refusals and chances to run, read where the pixels lie instead of
// through the store, which is left as it was. The box must be in pixel scale,
// its drawing area the whole bitmap.
void smoothWithoutStore(PictureBox& picture, const FilterStore& filterpixels, Progress& progress);
// The rows smoothWithoutStore would paint over a bitmap of width by height
// colours that is the box's whole drawing area, each handed to `row` in
// order, top to bottom, instead of painted; no bar.
void smoothEachRow(const Colour* bits, Int32 width, Int32 height, const std::function<void(Int32, const Colour*)>& row);
// smoothEachRow for a bitmap of greys (red, green and blue equal, top byte
// clear): each row as the greys of its colours, one byte a pixel. A grey
// pixel's three means are one, so one channel is worked out instead of three.
void smoothEachGreyRow(const Colour* bits, Int32 width, Int32 height,
                       const std::function<void(Int32, const std::uint8_t*)>& row);
// The same of greys kept a byte a pixel.
void smoothEachGreyRow(const std::uint8_t* greys, Int32 width, Int32 height,
                       const std::function<void(Int32, const std::uint8_t*)>& row);

}  // namespace quern
