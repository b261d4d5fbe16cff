#pragma once

#include <vector>

#include "base/drawing_paths.h"
#include "base/line_tables.h"

namespace quern {

// How far apart the ends of a chain may lie and still be one closed loop,
// and how close a short chain must lie along another to be a stub of it,
// both in pixels of the thinned picture.
struct CadCleanup {
  float closeGap = 3.0F;
  float stubDistance = 1.5F;
};

// Thinning leaves a loop a pixel or two short of its start, more where the
// stroke was wide and its corners were peeled from both sides; a stub beside
// a line lies within half the stroke of it.
CadCleanup cleanupForLineWidth(float lineWidth);

// The final segments of a table, records 1 to its count, as paths a CAD or
// CAM program can use, in pixels with y down:
// - segments are joined wherever exactly two of them meet, in whatever order
//   and direction the table holds them (so a reordered table joins as well);
//   a segment given twice is taken once, one without length not at all;
// - a path whose ends meet, or whose two free ends lie within closeGap of
//   each other, is closed; two free ends of different paths that lie that
//   close (each the other's nearest) are joined first;
// - a path of which every point lies within stubDistance of another path
//   is dropped, the shortest first.
// The result is in a fixed order: paths by their first segment's place in
// the table.
std::vector<DrawingPath> cadPaths(const RecordTable& table, const CadCleanup& cleanup);

// Paths of loose segments as cadPaths takes them.
std::vector<DrawingPath> cadPaths(const std::vector<LineRecord>& segments, const CadCleanup& cleanup);

}  // namespace quern
