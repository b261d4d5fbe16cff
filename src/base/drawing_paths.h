#pragma once

#include <cstddef>
#include <vector>

#include "base/line_tables.h"

namespace quern {

// A point of the drawing in pixels of the thinned picture, y down.
struct PathPoint {
  float x = 0.0F;
  float y = 0.0F;
  friend bool operator==(const PathPoint&, const PathPoint&) = default;
};

// Points joined by straight segments; a closed path also joins its last
// point back to its first, which is not repeated.
struct DrawingPath {
  std::vector<PathPoint> points;
  bool closed = false;
  std::size_t segments() const { return points.empty() ? 0 : (closed ? points.size() : points.size() - 1); }
};

// A record whose end is its start draws nothing: separators, empty records.
inline bool hasNoLength(const LineRecord& r) {
  return r.x1 == r.x2 && r.y1 == r.y2;
}

// The records 1 to count of a table of final segments as paths, in table
// order, leaving out the records that have no length. Unjoined, each record
// is a path of its own. Joined, a record whose start is the end of the one
// kept before it continues that path, and a path of two or more segments
// that ends where it started is closed.
std::vector<DrawingPath> drawingPaths(const RecordTable& table, bool join);

}  // namespace quern
