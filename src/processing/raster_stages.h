#pragma once

#include <optional>
#include <string>

#include "base/line_tables.h"
#include "base/progress.h"
#include "processing/raster_context.h"
#include "processing/thinning.h"
#include "surface/picture.h"

namespace quern {

// The four raster stages as functions of a picture: each gives a new picture
// and leaves its source as it was, reports on a bar it keeps as its control
// defines it, and meets a limit with a refusal that says which, instead of a
// message to the user (telling the user is the caller's business).

// Why a stage left its picture as it came: a limit met, and what met it.
struct Refusal {
  std::string reason;
  Int32 width = 0;  // the picture's size in pixels, or the size it would have had
  Int32 height = 0;
  long long count = 0;  // pixels, where a count mattered
  long long limit = 0;  // the limit that was met
};

// A stage's picture, or the refusal that kept it from its work; a refused
// stage gives back the picture it was given.
struct RasterResult {
  Picture picture;
  std::optional<Refusal> refusal;
  bool done() const { return !refusal; }
};

// Stretches `source`, shown on a box of `width` by `height` pixels, by the
// factors. A shrink ANDs the pixels it drops into those it keeps, so dark
// line work survives; an enlargement repeats pixels; 1 is an exact copy.
// Refused when the result would hold more pixels than `pixelLimit`.
RasterResult rescalePicture(const Picture& source, float width, float height, double factorX, double factorY,
                            long long pixelLimit);

// `runs` smoothings, each the mean of the 3 by 3 window, through the
// context's filter store, or without `keepStore` straight from the pixels,
// the store left as it was. The bar follows the rows of each run. Refused
// for a picture beyond the store; 0 runs give the source back.
RasterResult smoothPicture(const Picture& source, Int32 runs, RasterContext& context, Progress& progress,
                           bool keepStore = true);

// Black and white at a luminance threshold. The bar follows the rows.
// Refused for a picture beyond the stage's limit.
RasterResult blackWhitePicture(const Picture& source, Int16 threshold, const RasterLimits& limits, Progress& progress);
// The refusal of a picture beyond the black-and-white stage's `limit`, which
// every way of making black and white keeps.
Refusal blackWhiteRefusal(const Picture& source, Int32 limit);

// Thinning to lines one pixel wide: the lines black on white, every line
// pixel added to LineTable by x, then y. Nothing is painted for a picture
// under 10 pixels wide (the picture comes back as it was) and nothing at all
// is done without a picture. Refused, with picture and table as they were,
// for a picture beyond the grid or a listing beyond the table. Without
// `paint` the lines are only listed and no picture comes back.
struct ThinPictureResult : RasterResult {
  ThinResult thin;
  Int32 width = 0;  // the size thinning took the picture for
  Int32 height = 0;
};
ThinPictureResult thinPicture(const Picture& source, RecordTable& LineTable, const RasterLimits& limits,
                              Progress& progress, bool paint = true);

// Stage 3 at a fixed threshold made straight into the cells of stage 4, for a
// run that looks at neither picture: the cells are those thinPicture would
// read from blackWhitePicture's picture, and the bar goes as the black and
// white stage's. False, with `cells` untouched, where either stage would
// refuse the picture (or take it at another size): the pictures' way then
// gives the refusal.
// With `smoothFirst`, the picture is that of one more smoothing run of
// `source` (as smoothPicture makes it without the store), each row made as
// it is shaded; the smoothing's own refusal is the caller's to have checked.
// `sourceRows`, when given, is handed each row of `source` as it is read,
// top to bottom (only when the grid is loaded); `sourceGreys` instead, when
// given, each row of a picture kept as greys.
bool blackWhiteGrid(const Picture& source, Int16 threshold, const RasterLimits& limits, Progress& progress,
                    ThinGrid& cells, bool smoothFirst = false, const RowSink& sourceRows = {},
                    const GreyRowSink& sourceGreys = {});
// Why smoothPicture would refuse to smooth `picture` once more, if it would.
std::optional<Refusal> smoothingRefusal(const Picture& picture, RasterContext& context);
// thinPicture, without painting, of cells that blackWhiteGrid loaded.
ThinPictureResult thinGrid(ThinGrid& cells, RecordTable& LineTable, Progress& progress);

}  // namespace quern
