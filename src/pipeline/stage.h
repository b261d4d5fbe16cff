#pragma once

#include <string>

#include "base/numbers.h"
#include "processing/local_threshold.h"

namespace quern {

// The six stages in their order: each starts from what the one before left.
enum class Stage : Int16 { rescale = 1, blur, threshold, thin, chain, simplify };

// "rescale", "blur", ...: the name a message gives the stage.
const char* stageName(Stage stage);

// How stage 3 makes black and white: at the fixed threshold of the window's
// row, at one threshold chosen from the picture's histogram, or at a
// threshold of its own for every pixel from the window around it (for pages
// in uneven light).
enum class ThresholdMode { fixed, automatic, local };

struct ThresholdSetting {
  ThresholdMode mode = ThresholdMode::fixed;
  Int16 value = 200;  // fixed: the luminance threshold
  // Local: the window's side in pixels; 0 takes it from the resolution
  // (a few millimetres of paper) when `dpi` is given, else from the
  // picture's short side.
  Int32 window = 0;
  double sensitivity = kDefaultSensitivity;
  double dpi = 0.0;    // the scan's resolution, 0 when not known
  double scale = 1.0;  // the rescale the picture went through since the scan
};

// The values of one run of the stages, as the window's rows hold them.
struct StageParams {
  double scale = 1.0;     // rescale factor, 0.01 to 3 in the window
  Int32 blurRuns = 1;     // smoothing passes, 0 to 3
  Int16 threshold = 200;  // luminance threshold of black and white, 1 to 255
  // Another way of stage 3 than the fixed threshold; its value is then unused.
  ThresholdSetting thresholdSetting;
  Int32 tolerance = 1;       // simplification tolerance in twips, 1 to 100
  bool reorder = false;      // string all segments into one path
  bool keepOriginal = true;  // the preview shows the original under the lines
  // Chains shorter than this many pixels go before simplification: spurs
  // (one free end, the other touching a chain) and specks (touching nothing).
  // 0 keeps them all, as the window does.
  Int32 minBranch = 0;
  Int32 minChain = 0;
};

// What a stage did. Refused: a limit kept it from its work, and the picture
// or table it would have changed stays as it was. Failed: an error stopped
// it. The numbers say what met which limit, where that applies.
struct StageOutcome {
  enum class Kind { done, refused, failed };

  Stage stage = Stage::rescale;
  Kind kind = Kind::done;
  std::string reason;  // for a message, empty when done
  Int32 width = 0;     // the picture's size in pixels, where a size mattered
  Int32 height = 0;
  long long count = 0;  // pixels or records, where a count mattered; stage 3 done: its black pixels
  long long limit = 0;  // the limit that was met
  // Stage 3 done: the threshold it used (fixed or chosen), or with the local
  // threshold the side of its window in pixels.
  Int32 value = 0;

  bool done() const { return kind == Kind::done; }
  static StageOutcome ok(Stage stage) {
    StageOutcome o;
    o.stage = stage;
    return o;
  }
};

}  // namespace quern
