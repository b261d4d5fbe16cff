#pragma once

#include <vector>

namespace quern::tools {

// Points of a sheet in pixels of the picture: (0, 0) is the centre of the
// top left pixel, as the traced segments count.
struct SheetPoint {
  double x = 0.0;
  double y = 0.0;
};

using SheetPolyline = std::vector<SheetPoint>;

struct SheetSegment {
  SheetPoint from;
  SheetPoint to;
};

// Angles in degrees, clockwise on the picture (y grows downward); a sweep
// of 360 is a whole circle.
struct SheetArc {
  SheetPoint centre;
  double radius = 0.0;
  double startDegrees = 0.0;
  double sweepDegrees = 360.0;
};

struct SheetBox {
  double left = 0.0;
  double top = 0.0;
  double right = 0.0;
  double bottom = 0.0;
  bool contains(SheetPoint p) const { return p.x >= left && p.x <= right && p.y >= top && p.y <= bottom; }
};

// The centre lines a sheet was drawn along, and where its text stands (text
// has no centre lines to compare with, so a score leaves it out).
struct SheetTruth {
  std::vector<SheetSegment> segments;
  std::vector<SheetArc> arcs;
  std::vector<SheetPolyline> curves;  // free curves, finely sampled
  std::vector<SheetBox> textBoxes;
};

// Every centre line as a polyline; arcs and circles as chords of about one
// pixel, whose distance from the true arc stays far below a pixel.
std::vector<SheetPolyline> truthPaths(const SheetTruth& truth);

}  // namespace quern::tools
