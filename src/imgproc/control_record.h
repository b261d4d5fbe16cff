#pragma once

#include <optional>

#include "imgproc/property_bag.h"

namespace quern {

// What a host stores of a picture control laid out at design time: white
// viewport, its font, the picture it holds (if any), its size in pixels and
// its picture background where that is not the default.
struct ControlRecordValues {
  Picture picture;
  Int32 width = 1;
  Int32 height = 1;
  std::optional<Colour> picBackColor;
};

// The stored record of such a control, written as UserControl_ReadProperties reads it.
PropertyBag controlRecord(const ControlRecordValues& values);

}  // namespace quern
