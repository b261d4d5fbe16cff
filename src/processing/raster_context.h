#pragma once

#include "processing/filter_store.h"
#include "processing/random_source.h"
#include "surface/picture.h"

namespace quern {

// What the picture controls of one chain share: the colour store of the
// filters, the random source of the random filters and the largest surface
// they may make. The window keeps one for the whole process, so its controls
// share store and sequence; independent chains (batch workers, tests) each
// make their own and share nothing, so they may run on separate threads.
class RasterContext {
 public:
  RasterContext() = default;
  RasterContext(const RasterContext&) = delete;
  RasterContext& operator=(const RasterContext&) = delete;

  FilterStore filterpixels;
  RandomSource random;
  long long surfacePixelLimit = kDefaultSurfacePixelLimit;
};

}  // namespace quern
