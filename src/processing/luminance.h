#pragma once

#include "base/numbers.h"

namespace quern {

// The luminance the black-and-white stage judges a pixel by, in the order
// and precision it works in, so that every threshold mode draws the line
// between ink and paper on the same scale.
inline double luminanceOf(Colour c) {
  return (0.3 * redOf(c) + 0.59 * greenOf(c)) + 0.11 * blueOf(c);
}

// The same in hundredths, exact in integers: what the window sums of the
// local threshold add up without rounding.
constexpr Int32 luminanceHundredths(Colour c) {
  return 30 * redOf(c) + 59 * greenOf(c) + 11 * blueOf(c);
}

}  // namespace quern
