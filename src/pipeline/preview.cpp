#include "pipeline/preview.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace quern {

void fitPreview(PictureBox& box, float boxWidth, float boxHeight, float shapeWidth, float shapeHeight,
                Int32 pictureWidth, Int32 pictureHeight) {
  if (pictureWidth >= pictureHeight) {
    box.setWidth(boxWidth);
    box.setHeight(toFloat32(shapeHeight / shapeWidth * box.Width()));
  } else {
    box.setHeight(boxHeight);
    box.setWidth(toFloat32(shapeWidth / shapeHeight * box.Height()));
  }
}

void layOutPreview(PictureBox& box, Int32 pictureWidth, Int32 pictureHeight, float sideTwips) {
  const double longer = std::max(pictureWidth, pictureHeight);
  const double side = sideTwips / kTwipsPerPixel;
  box.setWidth(static_cast<float>(std::max(1.0, std::round(side * pictureWidth / longer)) * kTwipsPerPixel));
  box.setHeight(static_cast<float>(std::max(1.0, std::round(side * pictureHeight / longer)) * kTwipsPerPixel));
  box.setBackColor(kWhite);
  box.setScaleWidth(static_cast<float>(pictureWidth));
  box.setScaleHeight(static_cast<float>(pictureHeight));
}

float previewFactor(Int32 originalWidth, Int32 thinnedWidth) {
  return toFloat32(static_cast<double>(originalWidth) / static_cast<double>(thinnedWidth));
}

std::vector<float> segmentEnds(const RecordTable& table, float factor) {
  const Int32 last = std::min(table.count(), table.lastRecord());
  std::vector<float> ends;
  ends.reserve(4 * static_cast<std::size_t>(std::max(last, 0)));
  for (Int32 i = 1; i <= last; ++i) {
    const LineRecord& r = table[i];
    ends.insert(ends.end(), {factor * r.x1, factor * r.y1, factor * r.x2, factor * r.y2});
  }
  return ends;
}

void drawSegments(const RecordTable& table, PictureBox& box, float factor, const std::function<void()>& afterEachLine,
                  std::optional<Colour> colour) {
  if (!afterEachLine) {
    // Nothing to run between lines: all of them in one call.
    box.Lines(segmentEnds(table, factor), colour);
    return;
  }
  const Int32 last = std::min(table.count(), table.lastRecord());
  for (Int32 i = 1; i <= last; ++i) {
    const LineRecord& r = table[i];
    box.Line(factor * r.x1, factor * r.y1, factor * r.x2, factor * r.y2, colour);
    afterEachLine();
  }
}

}  // namespace quern
