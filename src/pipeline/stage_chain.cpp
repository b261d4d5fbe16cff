#include "pipeline/stage_chain.h"

#include <algorithm>
#include <cmath>

#include "base/errors.h"
#include "processing/colour_normalise.h"
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

StageOutcome refused(Stage stage, std::string reason, const ImgProc& picture, long long count, long long limit) {
  StageOutcome o = outcome(stage, StageOutcome::Kind::refused, std::move(reason));
  o.width = picture.picwidth();
  o.height = picture.picheight();
  o.count = count;
  o.limit = limit;
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

}  // namespace

StageChain::StageChain(RasterContext& context, Host& host)
    : original(context, &host),
      rescaled(context, &host),
      smoothed(context, &host),
      blackWhite(context, &host),
      thinned(context, &host),
      context_(context),
      host_(host) {
  if (context.limits.tablesGrow) session.allowGrowth();
}

StageOutcome StageChain::rescale(double factor) {
  StageOutcome o = guarded(Stage::rescale, [&] {
    rescaled.setPicture(original.picture());
    rescaled.scalesign(factor);
    return StageOutcome::ok(Stage::rescale);
  });
  if (o.kind == StageOutcome::Kind::refused) {
    // The size the stretch would have made, and the surface limit it met.
    o.width = static_cast<Int32>(std::min(2e9, std::round(original.picwidth() * factor)));
    o.height = static_cast<Int32>(std::min(2e9, std::round(original.picheight() * factor)));
    o.limit = context_.limits.surfacePixels;
  }
  return o;
}

StageOutcome StageChain::blur(Int32 runs) {
  StageOutcome o = guarded(Stage::blur, [&] {
    smoothed.setPicture(rescaled.picture());
    for (Int32 i = 1; i <= runs; ++i) smoothed.filtersmooth();
    return StageOutcome::ok(Stage::blur);
  });
  if (o.kind == StageOutcome::Kind::refused) {
    o.width = smoothed.picwidth();
    o.height = smoothed.picheight();
    o.limit = context_.limits.filterFrame;
  }
  return o;
}

StageOutcome StageChain::threshold(Int16 threshold) {
  return guarded(Stage::threshold, [&] {
    blackWhite.setPicture(smoothed.picture());
    if (blackWhite.colnorm3(threshold)) return StageOutcome::ok(Stage::threshold);
    const Int32 limit = context_.limits.blackWhite;
    return refused(Stage::threshold,
                   "the black-and-white stage takes pictures of up to " + std::to_string(limit) + " by " +
                       std::to_string(limit) + " pixels",
                   blackWhite, 0, limit);
  });
}

StageOutcome StageChain::thin() {
  return guarded(Stage::thin, [&] {
    session.LineTable.count() = 0;
    thinned.setPicture(blackWhite.picture());
    const ThinResult result = thinned.thin(session.LineTable);
    switch (result.outcome) {
      case ThinOutcome::TooLarge:
        return refused(Stage::thin,
                       "thinning takes pictures of up to " + std::to_string(context_.limits.thinGrid) + " by " +
                           std::to_string(context_.limits.thinGrid) + " pixels",
                       thinned, 0, context_.limits.thinGrid);
      case ThinOutcome::TooManyPixels:
        return refused(Stage::thin,
                       "thinning left " + std::to_string(result.linePixels) + " line pixels and the line table takes " +
                           std::to_string(session.LineTable.lastRecord() - 1),
                       thinned, result.linePixels, session.LineTable.lastRecord() - 1);
      default:
        return StageOutcome::ok(Stage::thin);
    }
  });
}

StageOutcome StageChain::chain() {
  return guarded(Stage::chain, [&] {
    BuildChains(session, host_);
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
    NormalizePass(session, host_.TwipsPerPixelX());
    return StageOutcome::ok(Stage::simplify);
  });
}

StageOutcome StageChain::reorder() {
  return guarded(Stage::simplify, [&] {
    ReorderPass(session);
    return StageOutcome::ok(Stage::simplify);
  });
}

std::vector<StageOutcome> StageChain::run(Stage from, const StageParams& params,
                                          const std::function<void(Stage)>& beforeStage) {
  std::vector<StageOutcome> outcomes;
  auto step = [&](Stage stage, auto&& work) {
    if (from > stage || (!outcomes.empty() && !outcomes.back().done())) return;
    if (beforeStage) beforeStage(stage);
    outcomes.push_back(work());
  };
  step(Stage::rescale, [&] { return rescale(params.scale); });
  step(Stage::blur, [&] { return blur(params.blurRuns); });
  step(Stage::threshold, [&] { return threshold(params.threshold); });
  step(Stage::thin, [&] { return thin(); });
  step(Stage::chain, [&] { return chain(); });
  if (params.minBranch > 0 || params.minChain > 0) {
    step(Stage::chain, [&] { return prune(params.minBranch, params.minChain); });
  }
  step(Stage::simplify, [&] { return simplify(params.tolerance); });
  if (params.reorder) step(Stage::simplify, [&] { return reorder(); });
  return outcomes;
}

float StageChain::previewFactor() const {
  return toFloat32(static_cast<double>(original.picwidth()) / static_cast<double>(thinned.picwidth()));
}

}  // namespace quern
