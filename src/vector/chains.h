#pragma once

#include "base/numbers.h"
#include "base/progress.h"

namespace quern {

struct Session;

// The most listed pixels chain assembly can take: it writes up to one record
// past the listing, and the tables end at record 100000.
inline constexpr Int32 kMaxChainPixels = 99999;

// True when b is one of the eight pixels around the chain's tail a. 0 in any
// coordinate marks a used-up pixel, and a tail at x = -1 is a separator.
bool IsNeighbour(float ax, float ay, float bx, float by);

// Rewrites the listed pixels of LineTable as chains of one-pixel segments,
// each closed by a separator, in ChainTable and then over LineTable. Moves
// PB(5). Throws LimitError, changing nothing, for more than the tables hold
// (kMaxChainPixels unless they may grow).
void BuildChains(Session& session, Progress& progress);

}  // namespace quern
