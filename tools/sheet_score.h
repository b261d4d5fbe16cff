#pragma once

#include <vector>

#include "sheet_geometry.h"

namespace quern::tools {

struct TraceScore {
  double precision = 0.0;  // share of traced points near a true line
  double recall = 0.0;     // share of true line points near a traced line
  long long tracedPoints = 0;
  long long truthPoints = 0;
};

// Compares a traced drawing with the true centre lines, both as polylines
// (segments, or arcs and curves sampled finely). Each side is sampled at
// about one point per pixel of its length, and a point counts when it lies
// within `tolerance` pixels of a line of the other side. Traced points in a
// box of `leftOut` (the text) are not counted. Lines are kept in a grid of
// short pieces, so a page of a few hundred thousand points scores in a
// fraction of a second.
TraceScore scoreTrace(const std::vector<SheetPolyline>& truth, const std::vector<SheetPolyline>& traced,
                      const std::vector<SheetBox>& leftOut, double tolerance = 3.0);

}  // namespace quern::tools
