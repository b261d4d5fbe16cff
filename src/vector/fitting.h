#pragma once

#include <vector>

#include "base/drawing_entities.h"
#include "base/drawing_units.h"
#include "base/line_tables.h"
#include "vector/junction_join.h"

namespace quern {

// The chain as straight lines and circular arcs, end to end, none farther
// than `tolerance` from any of its pixels, each arc's ends on pixels of the
// chain. A closed chain whose pixels all lie within the tolerance of one
// circle is that circle. Otherwise the pieces are grown greedily, each as
// far as a line or an arc still fits (an arc only where it reaches clearly
// farther than a line), and neighbours that fit as one are merged; a closed
// chain is taken round from a place where two pieces meet, so that its seam
// does not cut a line or arc in two. A chain of one pixel gives nothing.
FittedChain fitChain(const PixelChain& chain, double tolerance);

// The chains of LineTable (as chain assembly and spur pruning leave them),
// joined through their junctions and fitted one by one.
std::vector<FittedChain> fitDrawing(const RecordTable& LineTable, double tolerance);

}  // namespace quern
