#include "processing/raster_stages.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "base/errors.h"
#include "processing/colour_normalise.h"
#include "processing/filters.h"

namespace quern {

namespace {

// A box for one kernel run: pixel scale, no border, the source's size.
struct Scratch {
  // `sizeOnly`: a caller that only asks the box its size, and that a
  // picture of greys kept a byte a pixel fits: such a picture then does not
  // have its colours made for it.
  explicit Scratch(const Picture& source, long long pixelLimit, bool sizeOnly = false) {
    box.AutoSize = true;
    box.setPixelLimit(pixelLimit);
    if (!(sizeOnly && source && source->greys())) {
      box.setPicture(source);
      return;
    }
    // The picture's size, refused as setPicture refuses it.
    PictureBox::checkPictureFits(source->pixelWidth(), source->pixelHeight(), pixelLimit);
    box.setWidth(static_cast<float>(source->pixelWidth()));
    box.setHeight(static_cast<float>(source->pixelHeight()));
  }
  PictureBox box{1.0F, 0};
};

Refusal sizeRefusal(std::string reason, Int32 width, Int32 height, long long limit) {
  Refusal r;
  r.reason = std::move(reason);
  r.width = width;
  r.height = height;
  r.limit = limit;
  return r;
}

}  // namespace

RasterResult rescalePicture(const Picture& source, float width, float height, double factorX, double factorY,
                            long long pixelLimit) {
  const float outWidth = toFloat32(width * factorX);
  const float outHeight = toFloat32(height * factorY);
  try {
    PictureBox from(1.0F, 0);
    from.AutoSize = true;
    from.setPixelLimit(pixelLimit);
    from.setWidth(width);
    from.setHeight(height);
    from.setPicture(source);
    PictureBox to(1.0F, 0);
    to.AutoSize = true;
    to.setPixelLimit(pixelLimit);
    to.setWidth(outWidth);
    to.setHeight(outHeight);
    to.PaintPicture(source ? source : from.Image(), 0.0F, 0.0F, to.Width(), to.Height());
    return {to.takeImage(), std::nullopt};
  } catch (const LimitError& e) {
    const auto whole = [](float v) { return static_cast<Int32>(std::min(2e9, std::round(static_cast<double>(v)))); };
    return {source, sizeRefusal(e.what(), whole(outWidth), whole(outHeight), pixelLimit)};
  }
}

RasterResult smoothPicture(const Picture& source, Int32 runs, RasterContext& context, Progress& progress,
                           bool keepStore) {
  Picture picture = source;
  for (Int32 i = 1; i <= runs; ++i) {
    Scratch scratch(picture, context.limits.surfacePixels);
    try {
      if (keepStore) {
        runsmooth(scratch.box, context.filterpixels, progress);
      } else {
        smoothWithoutStore(scratch.box, context.filterpixels, progress);
      }
    } catch (const LimitError& e) {
      return {source, sizeRefusal(e.what(), pictureWidth(picture), pictureHeight(picture), context.limits.filterFrame)};
    }
    picture = scratch.box.takeImage();
  }
  return {picture, std::nullopt};
}

Refusal blackWhiteRefusal(const Picture& source, Int32 limit) {
  return sizeRefusal("the black-and-white stage takes pictures of up to " + std::to_string(limit) + " by " +
                         std::to_string(limit) + " pixels",
                     pictureWidth(source), pictureHeight(source), limit);
}

RasterResult blackWhitePicture(const Picture& source, Int16 threshold, const RasterLimits& limits, Progress& progress) {
  Scratch scratch(source, limits.surfacePixels);
  if (!makeblackwhite(scratch.box, threshold, progress, limits.blackWhite)) {
    return {source, blackWhiteRefusal(source, limits.blackWhite)};
  }
  return {scratch.box.takeImage(), std::nullopt};
}

namespace {

// The size thinning takes a picture for: its native size, in hundredths of a
// millimetre, back to pixels. Checked before the 16-bit rounding so that a
// huge picture gets the plain refusal.
struct GridSize {
  Int32 width = 0;
  Int32 height = 0;
};
GridSize thinGridSize(const PictureBox& box, const Picture& source) {
  return {roundToInt32(box.ScaleX(static_cast<float>(source->Width()), kScaleHimetric, kScalePixels)),
          roundToInt32(box.ScaleY(static_cast<float>(source->Height()), kScaleHimetric, kScalePixels))};
}

// A peeled grid's outcome, as thinPicture gives it.
void thinOutcome(ThinPictureResult& out, const ThinGrid& cells, ThinOutcome outcome, const RecordTable& LineTable) {
  out.thin = {outcome, cells.foreground()};
  if (outcome == ThinOutcome::TooManyPixels) {
    const Int32 most = LineTable.mostRecords() - 1;
    out.refusal = sizeRefusal("thinning left " + std::to_string(cells.foreground()) +
                                  " line pixels and the line table takes " + std::to_string(most),
                              out.width, out.height, most);
    out.refusal->count = cells.foreground();
  }
}

}  // namespace

ThinPictureResult thinPicture(const Picture& source, RecordTable& LineTable, const RasterLimits& limits,
                              Progress& progress, bool paint) {
  ThinPictureResult out;
  out.picture = source;
  // With no picture there is nothing to peel, and nothing to give back either.
  if (!source) {
    progress.bar().Value = 0.0F;
    return out;
  }
  Scratch scratch(source, limits.surfacePixels);
  const GridSize size = thinGridSize(scratch.box, source);
  out.width = size.width;
  out.height = size.height;
  const Int32 grid = limits.thinGrid;
  if (tooLargeForThinning(size.width, size.height, grid)) {
    out.thin = {ThinOutcome::TooLarge, 0};
    out.refusal = sizeRefusal(
        "thinning takes pictures of up to " + std::to_string(grid) + " by " + std::to_string(grid) + " pixels",
        size.width, size.height, grid);
    return out;
  }
  ThinGrid cells;
  ThinOutcome outcome = ThinOutcome::Listed;
  if (paint) {
    outcome = cells.loadgrid(scratch.box, toInt16(size.width), toInt16(size.height), LineTable, progress, grid);
  } else {
    cells.begin(toInt16(size.width), toInt16(size.height), grid);
    cells.loadRows(source->data(), source->pixelWidth(), source->pixelHeight());
    outcome = cells.finish(nullptr, LineTable, progress);
  }
  thinOutcome(out, cells, outcome, LineTable);
  if (!paint) {
    out.picture = nullptr;
  } else if (outcome == ThinOutcome::Listed || outcome == ThinOutcome::TooNarrow) {
    out.picture = scratch.box.takeImage();
  }
  return out;
}

std::optional<Refusal> smoothingRefusal(const Picture& picture, RasterContext& context) {
  const Scratch scratch(picture, context.limits.surfacePixels, true);
  try {
    context.filterpixels.admit(scratch.box);
  } catch (const LimitError& e) {
    return sizeRefusal(e.what(), pictureWidth(picture), pictureHeight(picture), context.limits.filterFrame);
  }
  return std::nullopt;
}

bool blackWhiteGrid(const Picture& source, Int16 threshold, const RasterLimits& limits, Progress& progress,
                    ThinGrid& cells, bool smoothFirst, const RowSink& sourceRows, const GreyRowSink& sourceGreys) {
  if (!source) return false;
  const Int32 w = source->pixelWidth();
  const Int32 h = source->pixelHeight();
  const Scratch scratch(source, limits.surfacePixels, true);
  const GridSize size = thinGridSize(scratch.box, source);
  if (w > limits.blackWhite || h > limits.blackWhite || size.width != w || size.height != h ||
      tooLargeForThinning(w, h, limits.thinGrid)) {
    return false;
  }
  ProgressBar& bar = progress.bar();
  bar.Max = static_cast<float>(h);
  bar.Value = 0.0F;
  cells.begin(toInt16(w), toInt16(h), limits.thinGrid);
  std::vector<Colour> row(static_cast<std::size_t>(w));
  // A picture of greys kept as such is read as it is kept: its colours are
  // made only for `sourceRows` without `sourceGreys`.
  const std::uint8_t* kept = source->greys();
  const bool greysOut = kept != nullptr && sourceGreys;
  const Colour* pixels = kept == nullptr || (sourceRows && !greysOut) ? source->data() : nullptr;
  // The source row just read, to `sourceGreys` or `sourceRows`.
  const auto read = [&](Int32 y) {
    const std::size_t at = static_cast<std::size_t>(y) * static_cast<std::size_t>(w);
    if (greysOut) {
      sourceGreys(y, kept + at);
    } else if (sourceRows) {
      sourceRows(y, pixels + at);
    }
  };
  // A row shaded into `row` goes into the cells, the bar kept as shadeRows keeps it.
  const auto take = [&](Int32 y) {
    cells.loadRow(y, row.data(), w);
    progress.yield();
    bar.Value = static_cast<float>(y);
  };
  if (kept != nullptr || (source->grey() && smoothFirst)) {
    // Greys are smoothed and shaded a byte a pixel.
    const auto shade = [&](Int32 y, const std::uint8_t* smoothed) {
      read(y);
      shadeGreyRow(smoothed, row.data(), w, threshold);
      take(y);
    };
    if (!smoothFirst) {
      for (Int32 y = 0; y < h; ++y) shade(y, kept + static_cast<std::size_t>(y) * static_cast<std::size_t>(w));
    } else if (kept != nullptr) {
      smoothEachGreyRow(kept, w, h, shade);
    } else {
      smoothEachGreyRow(pixels, w, h, shade);
    }
    bar.Value = 0.0F;
    return true;
  }
  if (!smoothFirst) {
    shadeRows(
        pixels, w, h, threshold, progress, [&](Int32) { return row.data(); },
        [&](Int32 y, const Colour* shaded) {
          read(y);
          cells.loadRow(y, shaded, w);
        });
    return true;
  }
  // The rows come smoothed one at a time, top to bottom, and go on as in
  // shadeRows, the bar kept as it keeps it.
  smoothEachRow(pixels, w, h, [&](Int32 y, const Colour* smoothed) {
    read(y);
    shadeRow(smoothed, row.data(), w, threshold);
    take(y);
  });
  bar.Value = 0.0F;
  return true;
}

ThinPictureResult thinGrid(ThinGrid& cells, RecordTable& LineTable, Progress& progress) {
  ThinPictureResult out;
  out.width = cells.width();
  out.height = cells.height();
  thinOutcome(out, cells, cells.finish(nullptr, LineTable, progress), LineTable);
  return out;
}

}  // namespace quern
