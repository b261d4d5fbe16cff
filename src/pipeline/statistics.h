#pragma once

#include <array>
#include <string>

#include "base/numbers.h"

namespace quern {

// The six lines of the statistics panel: the picture's name, the original's
// size, the size after rescaling and the records of the drawing.
std::array<std::string, 6> statisticsLines(const std::string& name, Int32 originalWidth, Int32 originalHeight,
                                           Int32 adjustedWidth, Int32 adjustedHeight, Int32 records);

}  // namespace quern
