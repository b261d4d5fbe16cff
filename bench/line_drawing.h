#pragma once

#include <cstdint>

#include "surface/picture.h"

namespace quern::bench {

// A white picture with black strokes from 1 to 6 pixels thick: straight
// lines, polylines with bends and circles, the same for the same seed.
Picture makeLineDrawing(Int32 width, Int32 height, std::uint32_t seed);

}  // namespace quern::bench
