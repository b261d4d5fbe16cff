#include "base/host.h"

#include "base/errors.h"

namespace quern {

ProgressBar& progressBarAt(ProgressBar (&bars)[7], Int16 index) {
  if (index < 0 || index > 6 || index == 4) {
    throw IndexError("Control array element '" + std::to_string(index) + "' doesn't exist (PB has 0, 1, 2, 3, 5, 6)");
  }
  return bars[index];
}

ProgressBar& QuietHost::PB(Int16 index) { return progressBarAt(bars, index); }

}  // namespace quern
