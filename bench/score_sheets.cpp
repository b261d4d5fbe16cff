// Traces the A4 test sheet (or with --small the small one), scanned evenly and under a shadow, with each
// threshold mode, and prints how well the trace meets the true centre lines
// and how long each step took. Each time is the best of three runs in CPU
// time of this thread, which other work on a shared machine disturbs less
// than the clock on the wall. The last line of each scan is today's whole
// stage chain (rescale 1, blur 1, fixed 200, thin, chain, simplify), the
// time the threshold modes are measured against.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>

#include "pipeline/stage_chain.h"
#include "processing/auto_threshold.h"
#include "processing/local_threshold.h"
#include "sheet_score.h"
#include "sheet_trace.h"
#include "test_sheet.h"

namespace {

double threadMilliseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

// The best of three runs of `work`, in milliseconds.
double bestMilliseconds(const std::function<void()>& work) {
  double best = 1e300;
  for (int i = 0; i < 3; ++i) {
    const double start = threadMilliseconds();
    work();
    best = std::min(best, threadMilliseconds() - start);
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace quern;
  // --small: the small sheet of the unit tests instead of A4.
  const bool small = argc > 1 && std::string(argv[1]) == "--small";
  const auto size = small ? tools::SheetSize::small : tools::SheetSize::a4;
  std::printf("%-7s %-10s %9s %9s %9s %10s %9s %9s %9s\n", "scan", "mode", "precision", "recall", "segments",
              "threshold", "bw ms", "trace ms", "score ms");
  for (const auto lighting : {tools::Lighting::even, tools::Lighting::shadow}) {
    const tools::Sheet sheet = tools::scanSheet(size, lighting, small ? 3 : 1);
    const std::vector<tools::SheetPolyline> truth = tools::truthPaths(sheet.truth);
    for (const std::string mode : {"fixed", "auto", "local"}) {
      Picture blackWhite;
      std::string setting;
      FractionProgress progress;
      const double thresholdMs = bestMilliseconds([&] {
        if (mode == "fixed") {
          blackWhite = fixedBlackWhite(sheet.picture, 200);
          setting = "200";
        } else if (mode == "auto") {
          const AutoThresholdResult r = autoThreshold(sheet.picture, progress);
          blackWhite = r.picture;
          setting = std::to_string(r.threshold);
        } else {
          const Int32 window = small ? localWindowForPicture(sheet.picture->pixelWidth(), sheet.picture->pixelHeight())
                                     : localWindowForDpi(300, 1.0);
          blackWhite = localThreshold(sheet.picture, {.window = window}, progress);
          setting = "window " + std::to_string(window);
        }
      });
      std::vector<tools::SheetPolyline> traced;
      const double traceMs = bestMilliseconds([&] { traced = traceBlackWhite(blackWhite); });
      tools::TraceScore score;
      const double scoreMs = bestMilliseconds([&] { score = tools::scoreTrace(truth, traced, sheet.truth.textBoxes); });
      std::printf("%-7s %-10s %9.4f %9.4f %9zu %10s %9.1f %9.1f %9.1f\n",
                  lighting == tools::Lighting::even ? "even" : "shadow", mode.c_str(), score.precision, score.recall,
                  traced.size(), setting.c_str(), thresholdMs, traceMs, scoreMs);
      std::fflush(stdout);
    }
    const double chainMs = bestMilliseconds([&] {
      RasterContext context(RasterLimits::large(100LL * 1000 * 1000));
      FractionReport report;
      StageChain chain(context, report);
      chain.setOriginal(sheet.picture);
      chain.run(Stage::rescale, StageParams{});
    });
    std::printf("%-7s %-10s %69.1f\n", lighting == tools::Lighting::even ? "even" : "shadow", "chain", chainMs);
  }
  return 0;
}
