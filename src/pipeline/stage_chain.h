#pragma once

#include <functional>
#include <vector>

#include "base/host.h"
#include "imgproc/imgproc.h"
#include "pipeline/stage.h"
#include "processing/raster_context.h"
#include "vector/session.h"

namespace quern {

// One chain of the six stages: the original picture, the result of each raster
// stage on a picture control of its own, and the session of line tables that
// the vector stages work in. A stage hands on by giving its surface the
// picture of the surface before it, so any stage can run again with a new
// value without the ones before it. Progress, yields and the controls'
// messages go to `host`; what the chain shares with other controls (filter
// store, random source) is `context`.
class StageChain {
 public:
  StageChain(RasterContext& context, Host& host);
  StageChain(const StageChain&) = delete;
  StageChain& operator=(const StageChain&) = delete;

  ImgProc original;
  ImgProc rescaled;
  ImgProc smoothed;
  ImgProc blackWhite;
  ImgProc thinned;
  Session session;

  // Stage 1: the original stretched by `factor`. Refused when the result
  // would be larger than a surface may be.
  StageOutcome rescale(double factor);
  // Stage 2: the rescaled picture smoothed `runs` times. Refused when the
  // picture is larger than the filters take.
  StageOutcome blur(Int32 runs);
  // Stage 3: black and white at a luminance threshold. Refused when the
  // picture is larger than the stage takes; it then stays as it came.
  StageOutcome threshold(Int16 threshold);
  // Stage 4: thinned to lines one pixel wide, every line pixel listed in
  // LineTable. Refused for a picture beyond the grid or a listing beyond
  // the table; picture and table then stay as they were.
  StageOutcome thin();
  // Stage 5: the listed pixels chained into polylines.
  StageOutcome chain();
  // After stage 5, on request: spurs and specks shorter than the limits
  // taken out of the chains, which keep their form.
  StageOutcome prune(Int32 minBranch, Int32 minChain);
  // Stage 6 in its two steps: the chains simplified with a tolerance in
  // twips into the segments of ChainTable, then, if asked for, strung into
  // one path.
  StageOutcome simplify(Int32 tolerance);
  StageOutcome reorder();

  // Runs the stages from `from` to the last with `params`, stopping after
  // the first that is not done. Gives the outcomes of the stages that ran.
  // `beforeStage`, when given, is told of each stage before it starts.
  std::vector<StageOutcome> run(Stage from, const StageParams& params,
                                const std::function<void(Stage)>& beforeStage = {});

  // Pixels of the original per pixel of the thinned picture, for drawing
  // the segments over the original.
  float previewFactor() const;

 private:
  RasterContext& context_;
  Host& host_;
};

}  // namespace quern
