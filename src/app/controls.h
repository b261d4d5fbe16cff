#pragma once

#include <optional>
#include <string>

#include "base/numbers.h"
#include "imgproc/imgproc.h"

namespace quern {

// The controls of a form as plain values; a window shows them, a batch run
// and the tests read and set them directly.

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
inline bool inRange(const HScrollBar& bar, Int32 v) { return v >= bar.Min && v <= bar.Max; }

// Shortest decimal text that reads back as the same 64-bit float:
// 1 for 1.0, 1.5, 0.07, 0.01.
std::string decimalText(double value);
// Whole numbers of 32 bits: optional blanks around an optional sign and digits.
// Anything else, "1.5" and "" included, gives nothing.
std::optional<Int32> readWhole32(const std::string& text);
// A decimal number as the stages read a value box: blanks around it allowed.
std::optional<double> readNumber(const std::string& text);

}  // namespace quern
