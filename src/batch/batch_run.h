#pragma once

#include <string>
#include <vector>

#include "batch/batch_args.h"
#include "pipeline/stage.h"

namespace quern {

// What one picture's run came to: the statistics the window would show, or
// the reason nothing was written.
struct BatchResult {
  std::string error;  // empty when the drawing was written
  std::vector<std::string> statistics;
  std::vector<StageOutcome> outcomes;
  Int32 width = 0;  // of the original
  Int32 height = 0;
  Int32 lines = 0;  // records of the drawing
  bool ok() const { return error.empty(); }
};

// Loads the picture (or takes the built-in one), runs the six stages with
// the run's values and, when every stage did its work, writes the drawing
// and the preview asked for. A stage that refused or failed writes nothing:
// an existing drawing of that name stays as it was.
BatchResult runBatch(const BatchArgs& args);

}  // namespace quern
