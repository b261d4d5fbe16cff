#pragma once

#include <array>
#include <optional>
#include <string>

#include "base/numbers.h"
#include "batch/batch_args.h"
#include "pipeline/stage.h"
#include "surface/picture.h"

namespace quern {

// How much of the original the threshold stage turns black: the share at
// the run's threshold, and how many pixels fall at each whole luminance.
struct Darkness {
  long long dark = 0;
  long long total = 0;
  std::array<long long, 256> atLuminance{};
  double share() const { return total > 0 ? static_cast<double>(dark) / static_cast<double>(total) : 0.0; }
};
Darkness darknessOf(const Picture& picture, Int32 threshold);

// Line work a few pixels wide leaves a fraction of the page black; a page
// that is mostly black at the threshold is a grey page, not a large one.
inline constexpr double kMostlyDark = 0.5;

// A stage's refusal or failure in words for the terminal: the stage, the
// reason, the picture's size, and what would help (a --scale that fits,
// --large, or for a grey page a lower --threshold, from its darkness).
std::string describe(const BatchArgs& args, const StageOutcome& o, const Darkness& darkness = {});

}  // namespace quern
