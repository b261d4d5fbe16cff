#include "sheet_trace.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "processing/auto_threshold.h"
#include "processing/local_threshold.h"
#include "sheet_score.h"
#include "test_sheet.h"

namespace quern {
namespace {

using tools::Lighting;
using tools::SheetSize;

enum class Mode { fixed200, automatic, local };

tools::TraceScore traceAndScore(const tools::Sheet& sheet, Mode mode) {
  FractionProgress progress;
  Picture blackWhite;
  switch (mode) {
    case Mode::fixed200:
      blackWhite = fixedBlackWhite(sheet.picture, 200);
      break;
    case Mode::automatic:
      blackWhite = autoThreshold(sheet.picture, progress).picture;
      break;
    case Mode::local:
      blackWhite = localThreshold(
          sheet.picture, {.window = localWindowForPicture(sheet.picture->pixelWidth(), sheet.picture->pixelHeight())},
          progress);
      break;
  }
  return tools::scoreTrace(tools::truthPaths(sheet.truth), traceBlackWhite(blackWhite), sheet.truth.textBoxes);
}

// The shadow of a book's fold: the fixed threshold turns it to ink, the
// local threshold at its defaults traces the page as if it were even.
TEST(SheetTrace, LocalThresholdTracesAShadowedScan) {
  const tools::Sheet sheet = tools::scanSheet(SheetSize::small, Lighting::shadow, 3);
  const tools::TraceScore fixed = traceAndScore(sheet, Mode::fixed200);
  EXPECT_LT(std::min(fixed.precision, fixed.recall), 0.9)
      << "the sheet's shadow no longer troubles the fixed threshold";
  const tools::TraceScore local = traceAndScore(sheet, Mode::local);
  EXPECT_GE(local.precision, 0.99);
  EXPECT_GE(local.recall, 0.99);
}

// On an evenly lit scan the new modes are as good as the fixed threshold.
// The margin, half a percent, allows for the odd spur or gap that one
// threshold leaves at a junction or a line end and another does not: each
// moves a small sheet's score by a few hundredths of a percent, while a
// threshold that loses a stroke or keeps a shadow costs whole percents.
TEST(SheetTrace, NewModesMatchTheFixedThresholdOnAnEvenScan) {
  const tools::Sheet sheet = tools::scanSheet(SheetSize::small, Lighting::even, 3);
  const tools::TraceScore fixed = traceAndScore(sheet, Mode::fixed200);
  EXPECT_GE(fixed.precision, 0.98);
  EXPECT_GE(fixed.recall, 0.98);
  for (const Mode mode : {Mode::automatic, Mode::local}) {
    const tools::TraceScore s = traceAndScore(sheet, mode);
    EXPECT_GE(s.precision, fixed.precision - 0.005) << static_cast<int>(mode);
    EXPECT_GE(s.recall, fixed.recall - 0.005) << static_cast<int>(mode);
  }
}

}  // namespace
}  // namespace quern
