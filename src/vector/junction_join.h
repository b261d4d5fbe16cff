#pragma once

#include <vector>

#include "base/drawing_paths.h"
#include "base/line_tables.h"

namespace quern {

// The pixels of one chain in walking order, its last pixel included.
// Closed when the line comes back to where it started: the walk leaves
// every ring open a pixel or two short of its start, and the closing
// stretch from the last pixel back to the first belongs to the line.
struct PixelChain {
  std::vector<PathPoint> points;
  bool closed = false;
};

// The chains of LineTable as chain assembly (and spur pruning) leave it:
// runs of one-pixel segments, each closed by a separator, the count one
// past the last separator. A run's last pixel lives only in x2, y2 of its
// last segment. Chains whose ends lie within two pixels of each other (and
// that are long enough to go round) are closed.
std::vector<PixelChain> chainsOf(const RecordTable& LineTable);

// How close two chain ends must be to count as one line running on.
struct JoinLimits {
  double maxGap = 12.0;           // pixels from one end to the other
  double maxAngleDegrees = 45.0;  // between the two ends' directions
  double maxOffset = 2.0;         // pixels an end may lie behind the other
  double tolerance = 1.5;         // pixels the two sides may stray from one line or circle
};

// The chaining ends a chain at every junction: at a crossing or a T one
// branch goes on and the others start chains of their own. This cuts
// chains where another chain's end touches them, and then joins the pieces
// whose ends continue each other, best matches first (nearly the same
// direction, a small gap that runs over the junction's pixels, and the
// pixels on both sides within the tolerance of one line or one circle), so that a line crossed by
// others is one chain again. A piece shorter than the gap that only
// bridged a joined junction is left out. Pieces that join up into a ring
// come back closed.
std::vector<PixelChain> joinThroughJunctions(std::vector<PixelChain> chains, const JoinLimits& limits = {});

}  // namespace quern
