#pragma once

#include "base/line_tables.h"

namespace quern {

struct Session;

// Strings the segments of ChainTable into one path: from the path's end the
// nearest free segment comes next, entered at its nearer end. Record 1 stays
// first; the count ends at the number of records that took part. When no
// record can be taken at all the pass ends at once, with a count of 1.
void ReorderPass(Session& session);

}  // namespace quern
