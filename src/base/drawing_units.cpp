#include "base/drawing_units.h"

#include <string>

#include "base/errors.h"

namespace quern {

std::string_view unitName(DrawingUnit unit) {
  switch (unit) {
    case DrawingUnit::Millimetre:
      return "mm";
    case DrawingUnit::Inch:
      return "in";
    case DrawingUnit::Pixel:
      break;
  }
  return "px";
}

std::optional<DrawingUnit> drawingUnitNamed(std::string_view name) {
  for (const DrawingUnit u : {DrawingUnit::Pixel, DrawingUnit::Millimetre, DrawingUnit::Inch}) {
    if (unitName(u) == name) return u;
  }
  return std::nullopt;
}

double unitsPerPixel(DrawingUnit unit, double dpi, double rescale) {
  if (unit == DrawingUnit::Pixel) return 1.0;
  // Written so that NaN fails too.
  if (!(dpi > 0.0) || !(rescale > 0.0)) {
    throw QuernError("A drawing in " + std::string(unitName(unit)) +
                     " needs a resolution and a rescale factor above 0");
  }
  const double inches = 1.0 / (dpi * rescale);
  return unit == DrawingUnit::Millimetre ? 25.4 * inches : inches;
}

}  // namespace quern
