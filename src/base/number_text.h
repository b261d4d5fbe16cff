#pragma once

#include <optional>
#include <string>

#include "base/numbers.h"

namespace quern {

// Numbers as the value boxes hold them.

// Shortest decimal text that reads back as the same 64-bit float:
// 1 for 1.0, 1.5, 0.07, 0.01.
std::string decimalText(double value);
// A 32-bit float in its shortest decimal form, appended to `out`: the
// shortest digits that read back as the same float, never in exponent form,
// whole numbers without a point, and 0 (also -0) without a sign.
void appendDecimal(std::string& out, float value);
// Whole numbers of 32 bits: optional blanks around an optional sign and digits.
// Anything else, "1.5" and "" included, gives nothing.
std::optional<Int32> readWhole32(const std::string& text);
// A decimal number as the stages read a value box: blanks around it allowed.
std::optional<double> readNumber(const std::string& text);

}  // namespace quern
