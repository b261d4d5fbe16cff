#pragma once

#include <optional>
#include <string>

#include "base/number_text.h"
#include "base/numbers.h"
#include "imgproc/imgproc.h"

namespace quern {

// The controls of a form as plain values; the Qt window shows them, the tests
// read and set them directly.

struct TextBox {
  std::string Text;
  bool Locked = false;  // not open to typing
};

struct CheckBox {
  Int16 Value = 1;  // 1 ticked, 0 clear
  bool isSet() const { return Value == 1; }
};

struct CommandButton {
  std::string Caption;
  bool Enabled = true;
};

struct Label {
  std::string Caption;
};

// A horizontal scroll bar: the same value as the picture control's own bars.
using HScrollBar = ScrollBarState;
inline bool inRange(const HScrollBar& bar, Int32 v) {
  return v >= bar.Min && v <= bar.Max;
}

}  // namespace quern
