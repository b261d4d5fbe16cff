#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "base/progress.h"
#include "pipeline/stage.h"
#include "processing/raster_context.h"
#include "surface/picture.h"
#include "vector/session.h"

namespace quern {

// What a chain tells while its stages run: each stage keeps a bar of its own
// on the Progress it is given here (blur, threshold, thin and chain do; the
// others run in one go) and gives its chances to run through it.
class StageReport {
 public:
  virtual ~StageReport() = default;
  virtual Progress& progressOf(Stage stage) = 0;
};

// A report that hands (stage, fraction done) to a function at every chance
// to run; without a function the stages run quietly.
class FractionReport : public StageReport {
 public:
  explicit FractionReport(std::function<void(Stage, double)> report = {}) : report_(std::move(report)) {}
  Progress& progressOf(Stage stage) override;

 private:
  std::function<void(Stage, double)> report_;
  std::optional<FractionProgress> current_;
};

// Whether a chain keeps every stage's picture, so that any stage can run
// again with a new value (the window), or lets each picture go once the next
// stage has taken it on (a run that goes through once, holding about two
// pictures at a time). A caller that still wants a picture keeps its own
// reference to it: pictures are shared. A chain for the drawing alone goes
// further: it makes no picture that only the next stage would read (the
// blur's last run is made row by row as a fixed threshold reads it, the
// black-and-white picture goes straight into the thinning's cells, and the
// thinned lines are listed, not painted), so picture(Stage) then gives null
// for those stages, and the blur's bar does not follow that last run.
enum class Retention { keepAll, letGo, drawingOnly };

struct ChainOptions {
  Retention retention = Retention::keepAll;
  // The simplification tolerance counts in twips of a screen with this many
  // twips to the pixel.
  Int32 twipsPerPixel = kDefaultTwipsPerPixel;
};

// One chain of the six stages: the original picture, the picture each raster
// stage made from the one before, and the session of line tables that the
// vector stages work in. Any stage can run alone, starting from what the
// stage before it left. What the chain shares with other work of its process
// (filter store, random source, limits) is `context`.
class StageChain {
 public:
  StageChain(RasterContext& context, StageReport& report, ChainOptions options = {});
  StageChain(const StageChain&) = delete;
  StageChain& operator=(const StageChain&) = delete;

  // With `originalRows`, the next run hands it every row of the picture,
  // once, top to bottom: as the threshold stage reads them when it starts
  // from the picture itself, otherwise all at once before a stage makes
  // another picture of it.
  // A picture kept as greys goes to `originalGreys`, when given, as its greys.
  void setOriginal(Picture picture, RowSink originalRows = {}, GreyRowSink originalGreys = {});
  const Picture& original() const { return original_; }
  // The picture that stage (rescale, blur, threshold or thin) made when it
  // last ran; null before, or once let go.
  const Picture& picture(Stage stage) const;
  // The final segments, for the preview and the drawing.
  const RecordTable& segments() const { return session.ChainTable; }

  Session session;

  // Stage 1: the original stretched by `factor`. Refused when the result
  // would be larger than a surface may be.
  StageOutcome rescale(double factor);
  // Stage 2: the rescaled picture smoothed `runs` times. Refused when the
  // picture is larger than the filters take.
  StageOutcome blur(Int32 runs);
  // Stage 3: black and white at a luminance threshold. Refused when the
  // picture is larger than the stage takes; it then goes on as it came.
  StageOutcome threshold(Int16 threshold);
  // Stage 3 in any of its ways; the outcome's value says the threshold
  // chosen, or the local window's side. The size limit is the same.
  StageOutcome threshold(const ThresholdSetting& setting);
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
  std::vector<StageOutcome> run(Stage from, const StageParams& params);

  // Pixels of the original per pixel of the thinned picture, for drawing
  // the segments over the original.
  float previewFactor() const;

 private:
  Picture& slot(Stage stage) { return pictures_[static_cast<std::size_t>(stage) - 1]; }
  // The picture a raster stage starts from; with letGo, the chain lets it
  // go once the stage is done.
  const Picture& input(Stage stage) const;
  void handedOn(Stage stage);
  bool drawingOnly() const { return options_.retention == Retention::drawingOnly; }
  // Whether `picture` shows the original's own pixels while its rows are
  // owed: the original itself, or a picture on its colours (an original kept
  // as greys is not asked for colours it may not have made).
  bool isOriginal(const Picture& picture) const {
    return rowsOf_ && picture && (picture == rowsOf_ || (!rowsOf_->greys() && picture->data() == rowsOf_->data()));
  }
  // Pays the rows still owed to `originalRows_`, all at once.
  void handOriginalRows();

  RasterContext& context_;
  StageReport& report_;
  ChainOptions options_;
  Picture original_;
  // The original, held until its rows have gone to `originalRows_`.
  Picture rowsOf_;
  RowSink originalRows_;
  GreyRowSink originalGreys_;
  Int32 originalWidth_ = 1;
  Int32 thinnedWidth_ = 1;
  std::array<Picture, 4> pictures_;  // rescale, blur, threshold, thin
  // drawingOnly: the picture the blur's last run starts from, until the
  // threshold stage makes that run row by row as it reads it, and the cells
  // the threshold stage made, until thinning takes them.
  Picture unsmoothed_;
  std::unique_ptr<ThinGrid> cells_;
  // The blur's picture, its last run made now if it was left to the threshold stage.
  const Picture& blurred();
};

}  // namespace quern
