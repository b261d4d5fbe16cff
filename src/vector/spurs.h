#pragma once

#include "base/line_tables.h"
#include "base/numbers.h"

namespace quern {

// Takes short spurs and specks out of the chains in LineTable, as chain
// assembly leaves them (each chain closed by a separator, the count one past
// the last separator), before normalisation reads them:
//
// - a spur is the stretch from a free end of a chain (one no other chain
//   touches) to the first junction, where another chain's end touches it, or
//   where its own other end touches another chain. It goes when it has fewer
//   than minBranch pixels, and the pass repeats until none is left, so a spur
//   that a removal leaves bare goes too. Chains that meet end to end, as the
//   two arms of a corner often do, count as one line: a short arm of a corner
//   is no spur.
// - a chain (or such a line of chains) of fewer than minChain pixels that
//   touches no other chain goes whole.
//
// A spur inside a longer chain is cut off, leaving the junction pixel as that
// chain's end; where that end then meets one other chain's end and nothing
// else, the two are written as one chain, so the line runs on where the spur
// stood. The chains keep their order otherwise, and the record past the last
// separator keeps what it held. Gives the number of pixels taken out; with
// nothing to take out (both limits 0 among others) the table is left exactly
// as it was. A table not in chain form is left alone.
Int32 pruneSpurs(RecordTable& LineTable, Int32 minBranch, Int32 minChain);

}  // namespace quern
