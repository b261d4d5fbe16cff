#pragma once

#include <algorithm>

#include "processing/colour_normalise.h"
#include "processing/filter_store.h"
#include "processing/random_source.h"
#include "processing/thinning.h"
#include "surface/picture.h"

namespace quern {

// The records each of the three line tables may take when a run's pictures
// are of up to `surfacePixels`: a run is given about 16 bytes for each of
// those pixels, the pictures it holds at once take half of that, and the
// listed pixels the other half. A listed pixel costs about 128 bytes by the
// end of chain assembly: a record in each of the three tables and the rest
// in the assembly's indexes. Thinning refuses a listing past it before the
// tables are grown; the default tables are never made smaller.
inline constexpr long long kBytesPerListedPixel = 128;
constexpr Int32 tableRecordsFor(long long surfacePixels) {
  const long long records = surfacePixels * 8 / kBytesPerListedPixel;
  return static_cast<Int32>(std::clamp<long long>(records, 100000, 2000000000LL));
}

// The size limits of the raster stages. The defaults are the system's own;
// large() lifts the stages' caps for pictures of up to `surfacePixels`
// pixels (the 16-bit counters of the stages still end at 32767 pixels a side).
struct RasterLimits {
  Int32 filterFrame = kFilterLimit;
  bool filterFrameGrows = false;
  Int32 blackWhite = kBlackWhiteLimit;
  Int32 thinGrid = kThinGridLimit;
  long long surfacePixels = kDefaultSurfacePixelLimit;
  bool tablesGrow = false;  // line tables past their 100000 records
  // Large tables and stores mapped from the system, or taken from the heap
  // where several chains run on several cores (see allocateZeroed).
  bool mapLargeBlocks = true;
  Int32 tableRecords = 0;  // when the tables grow: the last record each may hold

  static RasterLimits large(long long surfacePixels) {
    RasterLimits l;
    l.filterFrameGrows = true;
    l.blackWhite = 32767;
    l.thinGrid = 32766;  // the peeling reads one cell beyond the picture
    l.surfacePixels = surfacePixels;
    l.tablesGrow = true;
    l.tableRecords = tableRecordsFor(surfacePixels);
    return l;
  }
};

// What the picture controls of one chain share: the colour store of the
// filters, the random source of the random filters and the limits of their
// stages. The window keeps one for the whole process, so its controls share
// store and sequence; independent chains (batch workers, tests) each make
// their own and share nothing, so they may run on separate threads.
class RasterContext {
 public:
  explicit RasterContext(const RasterLimits& limits = {})
      : limits(limits), filterpixels(limits.filterFrame, limits.filterFrameGrows, limits.mapLargeBlocks) {}
  RasterContext(const RasterContext&) = delete;
  RasterContext& operator=(const RasterContext&) = delete;

  const RasterLimits limits;
  FilterStore filterpixels;
  RandomSource random;
};

}  // namespace quern
