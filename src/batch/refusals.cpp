#include "batch/refusals.h"

#include <algorithm>
#include <cmath>

#include "base/number_text.h"
#include "processing/colour_normalise.h"
#include "processing/filter_store.h"

namespace quern {

Darkness darknessOf(const Picture& picture, Int32 threshold) {
  Darkness d;
  d.total = static_cast<long long>(picture->area());
  for (const Colour c : picture->pixels()) {
    // The threshold stage's own luminance: black when not above the threshold.
    const double luminance = (0.3 * redOf(c) + 0.59 * greenOf(c)) + 0.11 * blueOf(c);
    if (luminance <= threshold) ++d.dark;
    ++d.atLuminance[static_cast<std::size_t>(std::clamp(luminance, 0.0, 255.0))];
  }
  return d;
}

namespace {

// A rescale factor, in hundredths, at which a refused picture would fit.
std::optional<Int32> fittingScale(const BatchArgs& args, const StageOutcome& o) {
  const double scale = args.scale / 100.0;
  double fit = 0.0;
  if (o.stage == Stage::rescale && o.width > 0 && o.height > 0) {
    fit = scale * std::sqrt(static_cast<double>(o.limit) / (static_cast<double>(o.width) * o.height));
  } else if (o.count > 0) {
    fit = scale * static_cast<double>(o.limit) / static_cast<double>(o.count) * 0.95;
  } else if (o.width > 0 || o.height > 0) {
    fit = scale * static_cast<double>(o.limit) / std::max(o.width, o.height);
  }
  // Without --large the filters and the black-and-white stage take 1500
  // pixels a side at most: a scale that passes the rescale must pass them too.
  if (!args.large && o.width > 0 && o.height > 0) {
    const double side = std::min(kFilterLimit, kBlackWhiteLimit) + 0.5;
    fit = std::min(fit, scale * side / std::max(o.width, o.height));
  }
  const auto hundredths = static_cast<Int32>(std::floor(fit * 100.0 - 1e-9));
  if (hundredths < 1 || hundredths >= args.scale) return std::nullopt;
  return hundredths;
}

// The highest threshold below the run's at which at most a quarter of the
// picture is black, if there is one.
std::optional<Int32> lighterThreshold(const Darkness& d, Int32 threshold) {
  long long dark = 0;
  std::optional<Int32> best;
  for (Int32 t = 0; t < threshold && t < 256; ++t) {
    dark += d.atLuminance[static_cast<std::size_t>(t)];
    if (t >= 1 && dark * 4 <= d.total) best = t;
  }
  return best;
}

}  // namespace

std::string describe(const BatchArgs& args, const StageOutcome& o, const Darkness& darkness) {
  std::string reason = o.reason;
  while (!reason.empty() && reason.back() == '.') reason.pop_back();
  std::string text = std::string("stage ") + std::to_string(static_cast<int>(o.stage)) + " (" + stageName(o.stage) +
                     ")" + (o.kind == StageOutcome::Kind::refused ? " refused: " : " failed: ") + reason;
  if (o.kind != StageOutcome::Kind::refused) return text;
  const std::string size = std::to_string(o.width) + " by " + std::to_string(o.height);
  if (o.width > 0 && reason.find(size) == std::string::npos) text += " (the picture is " + size + " pixels)";
  text += ".";
  if (o.stage == Stage::thin && darkness.share() > kMostlyDark) {
    const auto percent = static_cast<int>(std::lround(darkness.share() * 100.0));
    text += " " + std::to_string(percent) + "% of the picture is black at --threshold " +
            std::to_string(args.threshold) + ": this is a grey page, not a large one; a lower --threshold";
    if (const std::optional<Int32> t = lighterThreshold(darkness, args.threshold)) {
      text += " (" + std::to_string(*t) + " leaves at most a quarter of it black)";
    }
    return text + " keeps only the line work.";
  }
  if (const std::optional<Int32> fit = fittingScale(args, o)) {
    text += " A --scale of " + decimalText(*fit / 100.0) + " would fit";
    text += args.large ? ";" : ", or";
  }
  text += args.large ? " --max-megapixels sets how large a picture --large takes."
                     : " --large lifts the limit for this run.";
  return text;
}

}  // namespace quern
