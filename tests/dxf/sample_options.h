#pragma once

#include <string>

#include "base/drawing_units.h"

namespace quern::testing {

// The options of the sample writers, from argv[first] on: --polyline,
// --unit mm|in|px with --dpi D and --rescale R, --svg FILE.
struct SampleOptions {
  DrawingOptions drawing;
  std::string svg;
};

inline SampleOptions sampleOptions(int argc, char** argv, int first) {
  SampleOptions o;
  double dpi = 0.0;
  double rescale = 1.0;
  for (int i = first; i < argc; ++i) {
    const std::string a = argv[i];
    const std::string next = i + 1 < argc ? argv[i + 1] : "";
    if (a == "--polyline") {
      o.drawing.polyline = true;
      continue;
    }
    ++i;
    if (a == "--unit") {
      o.drawing.unit = drawingUnitNamed(next).value_or(DrawingUnit::Pixel);
    } else if (a == "--dpi") {
      dpi = std::stod(next);
    } else if (a == "--rescale") {
      rescale = std::stod(next);
    } else if (a == "--svg") {
      o.svg = next;
    }
  }
  o.drawing.unitScale = unitsPerPixel(o.drawing.unit, dpi, rescale);
  return o;
}

}  // namespace quern::testing
