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

// How far, in pixels of the thinned picture, a fitted line or arc may stray
// from the traced centre line. The centre line of a stroke scanned at 300
// dpi wanders about half a pixel round its true course; this leaves room
// for that and for the pixel staircase of slanting lines.
inline constexpr double kDefaultFitTolerance = 1.5;
// The DXF a drawing is written as: R12 (AC1009), which has no unit field,
// or R2000 (AC1015), which carries its unit and light polylines.
enum class DxfVersion { R12, R2000 };

// Where the drawing's origin is: the thinned picture's top left with y
// turned (every y at or below 0), or the lower left corner of the drawing's
// extents with y up, so every coordinate is at or above 0.
enum class DrawingOrigin { TopLeft, LowerLeft };

// How the final segments are written. The defaults give today's drawing.
struct DrawingOptions {
  DrawingUnit unit = DrawingUnit::Pixel;
  double unitScale = 1.0;  // drawing units per pixel of the thinned picture
  bool polyline = false;   // join touching segments into one path each
  // Write the chains as fitted lines, arcs and circles instead of the
  // simplified segments.
  bool fit = false;
  double fitTolerance = kDefaultFitTolerance;  // pixels of the thinned picture
  // Geometry only: no template entities, true extents, every layer in the
  // layer table, no entity without length; loops closed and stubs dropped.
  bool clean = false;
  DxfVersion dxfVersion = DxfVersion::R12;
  DrawingOrigin origin = DrawingOrigin::TopLeft;
  float lineWidth = 1.0F;  // the strokes' width in thinned pixels: how far loops may stand open
};

}  // namespace quern
