#include "pipeline/statistics.h"

namespace quern {

std::array<std::string, 6> statisticsLines(const std::string& name, Int32 originalWidth, Int32 originalHeight,
                                           Int32 adjustedWidth, Int32 adjustedHeight, Int32 records) {
  return {
      "Filename: ..." + name,
      "Original Image X: " + std::to_string(originalWidth) + " pixels",
      "Original Image Y: " + std::to_string(originalHeight) + " pixels",
      "Adjusted Image X: " + std::to_string(adjustedWidth) + " pixels",
      "Adjusted Image Y: " + std::to_string(adjustedHeight) + " pixels",
      "Lines for output: " + std::to_string(records) + " Normalized Objects",
  };
}

}  // namespace quern
