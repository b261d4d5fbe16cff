#pragma once

#include <optional>
#include <string_view>

namespace quern {

// The unit a drawing is written in. Pixel is the thinned picture's pixel, the
// unit every table holds; the others are lengths on the scanned paper.
enum class DrawingUnit { Pixel, Millimetre, Inch };

// "px", "mm" or "in": the name an option takes and the suffix of an SVG size.
std::string_view unitName(DrawingUnit unit);
std::optional<DrawingUnit> drawingUnitNamed(std::string_view name);

// How long one pixel of the thinned picture is in `unit`. The thinned
// picture is the scan stretched by `rescale`, so one of its pixels covers
// 1 / rescale pixels of a scan of `dpi` dots per inch. Pixel gives 1 whatever
// the other two say. Throws QuernError for a dpi or rescale that is not above 0.
double unitsPerPixel(DrawingUnit unit, double dpi, double rescale);

// How the final segments are written. The defaults give today's drawing.
struct DrawingOptions {
  DrawingUnit unit = DrawingUnit::Pixel;
  double unitScale = 1.0;  // drawing units per pixel of the thinned picture
  bool polyline = false;   // join touching segments into one path each
};

}  // namespace quern
