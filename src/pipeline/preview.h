#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "base/line_tables.h"
#include "surface/picture_box.h"

namespace quern {

// The preview shows every stage's result at the place and size of the
// original: a box 6000 twips on its longer side, shaped like the original's
// picture control on the window (2535 by 2055 twips), whose scale counts in
// pixels of the original.
inline constexpr Int32 kPreviewSideTwips = 6000;
inline constexpr Int32 kPreviewShapeWidthTwips = 2535;
inline constexpr Int32 kPreviewShapeHeightTwips = 2055;
inline constexpr float kPreviewSide = kPreviewSideTwips;
inline constexpr float kPreviewShapeWidth = kPreviewShapeWidthTwips;
inline constexpr float kPreviewShapeHeight = kPreviewShapeHeightTwips;

// Gives `box` the shape of the control for a picture of this size: a picture
// at least as wide as high keeps the box's width, another its height. The
// picture decides only which; the box takes the control's shape either way.
void fitPreview(PictureBox& box, float boxWidth, float boxHeight, float shapeWidth, float shapeHeight,
                Int32 pictureWidth, Int32 pictureHeight);

// A box in twips for a preview of a picture of this size outside the window:
// `side` twips on its longer side (by default the window's preview side, 400
// pixels) and the picture's own shape, white, scaled to the picture's pixels.
void layOutPreview(PictureBox& box, Int32 pictureWidth, Int32 pictureHeight, float side = kPreviewSide);

// Pixels of the original per pixel of the thinned picture: the two widths
// divided in 64 bits, held in 32. One factor serves both axes.
float previewFactor(Int32 originalWidth, Int32 thinnedWidth);

// The ends drawSegments draws, x1, y1, x2, y2 for each record, scaled by `factor`.
std::vector<float> segmentEnds(const RecordTable& table, float factor);

// Draws each record of the table, separators and the record past the last
// one included, as a line scaled by `factor` in `colour` (red by default; no
// colour draws in the box's ForeColor); `afterEachLine` runs after every line
// (the window lets its interface run there). Records past the end of the
// table are lost.
void drawSegments(const RecordTable& table, PictureBox& box, float factor,
                  const std::function<void()>& afterEachLine = {}, std::optional<Colour> colour = kRed);

}  // namespace quern
