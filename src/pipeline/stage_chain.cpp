#include "pipeline/stage_chain.h"

#include "base/errors.h"
#include "pipeline/preview.h"
#include "processing/auto_threshold.h"
#include "processing/local_threshold.h"
#include "processing/raster_stages.h"
#include "vector/chains.h"
#include "vector/normalize.h"
#include "vector/reorder.h"
#include "vector/spurs.h"

namespace quern {

namespace {

StageOutcome outcome(Stage stage, StageOutcome::Kind kind, std::string reason) {
  StageOutcome o;
  o.stage = stage;
  o.kind = kind;
  o.reason = std::move(reason);
  return o;
}

// A raster stage's outcome: done, with the size of the picture it made, or
// refused with what met which limit.
StageOutcome rasterOutcome(Stage stage, const RasterResult& result) {
  if (!result.refusal) {
    StageOutcome o = StageOutcome::ok(stage);
    o.width = pictureWidth(result.picture);
    o.height = pictureHeight(result.picture);
    return o;
  }
  const Refusal& r = *result.refusal;
  StageOutcome o = outcome(stage, StageOutcome::Kind::refused, r.reason);
  o.width = r.width;
  o.height = r.height;
  o.count = r.count;
  o.limit = r.limit;
  return o;
}

// Runs one stage's work and turns an error of the system into its outcome:
// a limit met is a refusal, anything else a failure. Other exceptions (out
// of memory) are left to the caller's boundary.
template <typename Work>
StageOutcome guarded(Stage stage, Work&& work) {
  try {
    return work();
  } catch (const LimitError& e) {
    return outcome(stage, StageOutcome::Kind::refused, e.what());
  } catch (const QuernError& e) {
    return outcome(stage, StageOutcome::Kind::failed, e.what());
  }
}

constexpr std::size_t kRasterStages = 4;

// Black pixels of a black-and-white picture: how much ink the threshold found.
long long blackCount(const Picture& picture) {
  if (!picture) return 0;
  long long n = 0;
  for (const Colour c : picture->pixels()) n += c == kBlack ? 1 : 0;
  return n;
}

}  // namespace

Progress& FractionReport::progressOf(Stage stage) {
  // A quiet report leaves the bar's chances to run with nothing to do.
  if (!report_) {
    current_.emplace();
  } else {
    current_.emplace([this, stage](double fraction) { report_(stage, fraction); });
  }
  return *current_;
}

StageChain::StageChain(RasterContext& context, StageReport& report, ChainOptions options)
    : session(context.limits.mapLargeBlocks), context_(context), report_(report), options_(options) {
  if (context.limits.tablesGrow) session.allowGrowth(context.limits.tableRecords);
}

void StageChain::setOriginal(Picture picture, RowSink originalRows, GreyRowSink originalGreys) {
  originalWidth_ = pictureWidth(picture);
  rowsOf_ = originalRows ? picture : nullptr;
  originalRows_ = std::move(originalRows);
  originalGreys_ = std::move(originalGreys);
  original_ = std::move(picture);
}

void StageChain::handOriginalRows() {
  const Picture picture = std::move(rowsOf_);
  rowsOf_ = nullptr;
  if (!picture) return;
  const auto w = static_cast<std::size_t>(picture->pixelWidth());
  const std::uint8_t* greys = originalGreys_ ? picture->greys() : nullptr;
  for (Int32 y = 0; y < picture->pixelHeight(); ++y) {
    if (greys != nullptr) {
      originalGreys_(y, greys + static_cast<std::size_t>(y) * w);
    } else {
      originalRows_(y, picture->data() + static_cast<std::size_t>(y) * w);
    }
  }
}

const Picture& StageChain::picture(Stage stage) const {
  static const Picture none;
  const auto i = static_cast<std::size_t>(stage);
  return i >= 1 && i <= kRasterStages ? pictures_[i - 1] : none;
}

const Picture& StageChain::input(Stage stage) const {
  return stage == Stage::rescale ? original_ : picture(static_cast<Stage>(static_cast<Int16>(stage) - 1));
}

void StageChain::handedOn(Stage stage) {
  if (options_.retention == Retention::keepAll) return;
  if (stage == Stage::rescale) {
    original_ = nullptr;
  } else {
    slot(static_cast<Stage>(static_cast<Int16>(stage) - 1)) = nullptr;
  }
  // Nothing after the blur reads the filter store.
  if (stage == Stage::blur) context_.filterpixels.release();
}

StageOutcome StageChain::rescale(double factor) {
  unsmoothed_ = nullptr;
  // A chain for the drawing alone passes a picture of greys kept a byte a
  // pixel on as it is at a factor of 1, where the rescale would only show it
  // in a box (and have its colours made for that): same pixels, same size.
  const bool asItIs =
      drawingOnly() && factor == 1.0 && original_ && original_->greys() &&
      static_cast<long long>(pictureWidth(original_)) * pictureHeight(original_) <= context_.limits.surfacePixels;
  const RasterResult result = asItIs ? RasterResult{original_, std::nullopt}
                                     : rescalePicture(original_, static_cast<float>(pictureWidth(original_)),
                                                      static_cast<float>(pictureHeight(original_)), factor, factor,
                                                      context_.limits.surfacePixels);
  // A factor of 1 passes the original's pixels on as they are.
  if (!(result.done() && isOriginal(result.picture))) handOriginalRows();
  // A refused stage leaves its surface with the picture it was given.
  slot(Stage::rescale) = result.picture;
  if (result.done()) handedOn(Stage::rescale);
  return rasterOutcome(Stage::rescale, result);
}

const Picture& StageChain::blurred() {
  if (unsmoothed_) {
    slot(Stage::blur) = smoothPicture(unsmoothed_, 1, context_, report_.progressOf(Stage::blur), false).picture;
    unsmoothed_ = nullptr;
  }
  return slot(Stage::blur);
}

StageOutcome StageChain::blur(Int32 runs) {
  unsmoothed_ = nullptr;
  const StageOutcome o = guarded(Stage::blur, [&] {
    if (drawingOnly() && runs > 0) {
      // All runs but the last; the last is left to the threshold stage,
      // once it is known that it would not be refused.
      const Picture& source = input(Stage::blur);
      RasterResult result = smoothPicture(source, runs - 1, context_, report_.progressOf(Stage::blur), false);
      if (result.done()) {
        if (std::optional<Refusal> refusal = smoothingRefusal(result.picture, context_)) {
          result = {source, std::move(refusal)};
        }
      }
      if (!result.done()) {
        slot(Stage::blur) = result.picture;
        return rasterOutcome(Stage::blur, result);
      }
      const StageOutcome o = rasterOutcome(Stage::blur, result);
      unsmoothed_ = std::move(result.picture);
      slot(Stage::blur) = nullptr;
      handedOn(Stage::blur);
      return o;
    }
    // A chain that lets go gives the store back after the blur unread.
    const RasterResult result = smoothPicture(input(Stage::blur), runs, context_, report_.progressOf(Stage::blur),
                                              options_.retention == Retention::keepAll);
    slot(Stage::blur) = result.picture;
    if (result.done()) handedOn(Stage::blur);
    return rasterOutcome(Stage::blur, result);
  });
  // The original's rows are owed on only to the threshold stage that will
  // read the original itself.
  if (!(drawingOnly() && o.done() && (isOriginal(unsmoothed_) || isOriginal(slot(Stage::blur))))) {
    handOriginalRows();
  }
  return o;
}

StageOutcome StageChain::threshold(Int16 threshold) {
  cells_.reset();
  return guarded(Stage::threshold, [&] {
    if (drawingOnly()) {
      const bool smoothFirst = unsmoothed_ != nullptr;
      const Picture& source = smoothFirst ? unsmoothed_ : input(Stage::threshold);
      auto cells = std::make_unique<ThinGrid>();
      const RowSink noRows;
      const GreyRowSink noGreys;
      if (blackWhiteGrid(source, threshold, context_.limits, report_.progressOf(Stage::threshold), *cells, smoothFirst,
                         isOriginal(source) ? originalRows_ : noRows, isOriginal(source) ? originalGreys_ : noGreys)) {
        if (isOriginal(source)) rowsOf_ = nullptr;
        unsmoothed_ = nullptr;
        StageOutcome o = StageOutcome::ok(Stage::threshold);
        o.width = cells->width();
        o.height = cells->height();
        o.value = threshold;
        o.count = cells->foreground();
        cells_ = std::move(cells);
        slot(Stage::threshold) = nullptr;
        handedOn(Stage::threshold);
        return o;
      }
    }
    // A refused picture goes on as it came. The blur's last run, if it was
    // left here, is made first, on the blur's own bar.
    handOriginalRows();
    const Picture& source = blurred();
    const RasterResult result =
        blackWhitePicture(source, threshold, context_.limits, report_.progressOf(Stage::threshold));
    slot(Stage::threshold) = result.picture;
    handedOn(Stage::threshold);
    StageOutcome o = rasterOutcome(Stage::threshold, result);
    o.value = threshold;
    if (o.done()) o.count = blackCount(result.picture);
    return o;
  });
}

StageOutcome StageChain::threshold(const ThresholdSetting& setting) {
  if (setting.mode == ThresholdMode::fixed) return threshold(setting.value);
  cells_.reset();
  handOriginalRows();
  return guarded(Stage::threshold, [&] {
    const Picture& source = blurred();
    const Int32 w = pictureWidth(source);
    const Int32 h = pictureHeight(source);
    const Int32 limit = context_.limits.blackWhite;
    if (w > limit || h > limit) {
      // Refused as the fixed threshold refuses: the picture goes on as it came.
      slot(Stage::threshold) = source;
      const RasterResult refused{source, blackWhiteRefusal(source, limit)};
      return rasterOutcome(Stage::threshold, refused);
    }
    Progress& progress = report_.progressOf(Stage::threshold);
    const long long pixels = context_.limits.surfacePixels;
    RasterResult result;
    Int32 value = 0;
    if (setting.mode == ThresholdMode::automatic) {
      const AutoThresholdResult chosen = autoThreshold(source, progress, pixels);
      result.picture = chosen.picture;
      value = chosen.threshold;
    } else {
      LocalThreshold local;
      local.sensitivity = setting.sensitivity;
      local.window = setting.window > 0  ? setting.window
                     : setting.dpi > 0.0 ? localWindowForDpi(setting.dpi, setting.scale)
                                         : localWindowForPicture(w, h);
      result.picture = localThreshold(source, local, progress, pixels);
      value = local.window;
    }
    slot(Stage::threshold) = result.picture;
    handedOn(Stage::threshold);
    StageOutcome o = rasterOutcome(Stage::threshold, result);
    o.value = value;
    o.count = blackCount(result.picture);
    return o;
  });
}

StageOutcome StageChain::thin() {
  return guarded(Stage::thin, [&] {
    session.LineTable.count() = 0;
    Progress& progress = report_.progressOf(Stage::thin);
    const std::unique_ptr<ThinGrid> cells = std::move(cells_);
    const ThinPictureResult result =
        cells ? thinGrid(*cells, session.LineTable, progress)
              : thinPicture(input(Stage::thin), session.LineTable, context_.limits, progress, !drawingOnly());
    slot(Stage::thin) = result.picture;
    if (result.done()) handedOn(Stage::thin);
    StageOutcome o = rasterOutcome(Stage::thin, result);
    // Listed without painting: the size is the one thinning took.
    if (o.done() && !result.picture && result.width > 0) {
      o.width = result.width;
      o.height = result.height;
    }
    thinnedWidth_ = result.picture || result.width == 0 ? pictureWidth(result.picture) : result.width;
    return o;
  });
}

StageOutcome StageChain::chain() {
  return guarded(Stage::chain, [&] {
    BuildChains(session, report_.progressOf(Stage::chain));
    return StageOutcome::ok(Stage::chain);
  });
}

StageOutcome StageChain::prune(Int32 minBranch, Int32 minChain) {
  return guarded(Stage::chain, [&] {
    pruneSpurs(session.LineTable, minBranch, minChain);
    return StageOutcome::ok(Stage::chain);
  });
}

StageOutcome StageChain::simplify(Int32 tolerance) {
  session.GeneralizeTolerance = tolerance;
  session.LastPolyBound = 0;
  return guarded(Stage::simplify, [&] {
    NormalizePass(session, options_.twipsPerPixel);
    return StageOutcome::ok(Stage::simplify);
  });
}

StageOutcome StageChain::reorder() {
  return guarded(Stage::simplify, [&] {
    ReorderPass(session);
    return StageOutcome::ok(Stage::simplify);
  });
}

std::vector<StageOutcome> StageChain::run(Stage from, const StageParams& params) {
  std::vector<StageOutcome> outcomes;
  auto step = [&](Stage stage, auto&& work) {
    if (from > stage || (!outcomes.empty() && !outcomes.back().done())) return;
    outcomes.push_back(work());
  };
  step(Stage::rescale, [&] { return rescale(params.scale); });
  step(Stage::blur, [&] { return blur(params.blurRuns); });
  step(Stage::threshold, [&] {
    return params.thresholdSetting.mode == ThresholdMode::fixed ? threshold(params.threshold)
                                                                : threshold(params.thresholdSetting);
  });
  step(Stage::thin, [&] { return thin(); });
  step(Stage::chain, [&] { return chain(); });
  if (params.minBranch > 0 || params.minChain > 0) {
    step(Stage::chain, [&] { return prune(params.minBranch, params.minChain); });
  }
  step(Stage::simplify, [&] { return simplify(params.tolerance); });
  if (params.reorder) step(Stage::simplify, [&] { return reorder(); });
  handOriginalRows();
  return outcomes;
}

float StageChain::previewFactor() const {
  return ::quern::previewFactor(originalWidth_, thinnedWidth_);
}

}  // namespace quern
