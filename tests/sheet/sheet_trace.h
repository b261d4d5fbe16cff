#pragma once

#include <vector>

#include "base/numbers.h"
#include "sheet_geometry.h"
#include "surface/picture.h"

namespace quern {

// Today's black and white: the picture control's own threshold stage.
Picture fixedBlackWhite(const Picture& picture, Int16 threshold);

// Traces a black-and-white picture as the stage chain does after its
// threshold: thin, chain, simplify at a tolerance of one twip. Each segment
// of the result is a polyline of its two ends, in pixels of the picture.
// The limits are lifted as for a large scan.
std::vector<tools::SheetPolyline> traceBlackWhite(const Picture& blackWhite);

}  // namespace quern
