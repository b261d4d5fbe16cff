#pragma once

#include "base/line_tables.h"
#include "base/numbers.h"

namespace quern {

struct Session;

// Turns each chain of LineTable (x1, y1 of its records, up to its separator)
// into generalised segments in ChainTable, each polyline closed by a
// separator. LineTable is only read, so the pass can be run again with
// another tolerance. Records past the end of the table are not read.
void NormalizePass(Session& session, Int32 twipsPerPixelX);

// The pieces of the pass, for the buttons that work on the same data.

// Adds x1, y1 of a record, rounded to whole numbers, to PolyBuffer slot 0.
void appendPolylinePoint(Session& session, const LineRecord& record);

// Generalises the polyline in slot 0 and writes its segments and a closing
// separator at the present ChainTable count; empties both slots after.
void finishPolyline(Session& session, Int32 twipsPerPixelX);

// Lines up every live pixel of LineTable (neither 0 nor a separator) behind
// what slot 0 holds, as one polyline, and finishes it at the present
// ChainTable count: the gaps between chains become segments.
void normalizeAsOnePolyline(Session& session, Int32 twipsPerPixelX);

// Rebuilds ChainTable as a fan of segments from point 1 of PolyBuffer slot 1
// to each of its other points. With no point in slot 1 there is nothing to
// fan from: the table stays as it is and the result is false.
bool fanFromGeneralized(Session& session);

}  // namespace quern
