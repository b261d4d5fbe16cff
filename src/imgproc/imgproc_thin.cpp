#include "imgproc/imgproc.h"
#include "imgproc/scratch.h"
#include "processing/thinning.h"

namespace quern {

ThinResult ImgProc::thin(RecordTable& LineTable) {
  const Picture stored = Picture1.picture();
  // With no picture there is nothing to peel, and nothing to commit either.
  if (!stored) {
    host().PB(3).Value = 0.0F;
    return {};
  }
  // The native size, in hundredths of a millimetre, back to pixels. Checked
  // before the 16-bit rounding so that a huge picture gets the plain refusal.
  const auto [nativeW, nativeH] = nativeSize(Picture1);
  const Int32 width = roundToInt32(nativeW);
  const Int32 height = roundToInt32(nativeH);
  if (refuseOversizeForThinning(width, height, host(), context().limits.thinGrid)) return {ThinOutcome::TooLarge, 0};

  ScratchScope scratch(*this);
  Picture3.setPicture(stored);
  ThinGrid grid;
  const ThinOutcome outcome =
      grid.loadgrid(Picture3, toInt16(width), toInt16(height), LineTable, host(), context().limits.thinGrid);
  if (outcome == ThinOutcome::Listed || outcome == ThinOutcome::TooNarrow) commit(Picture3);
  return {outcome, grid.foreground()};
}

}  // namespace quern
