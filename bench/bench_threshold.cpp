#include <benchmark/benchmark.h>

#include "processing/auto_threshold.h"
#include "processing/local_threshold.h"
#include "sheet_trace.h"
#include "test_sheet.h"

namespace quern {
namespace {

// The A4 test sheet at 300 dpi, under the shadow: 8.7 megapixels.
const Picture& a4Scan() {
  static const Picture scan = tools::scanSheet(tools::SheetSize::a4, tools::Lighting::shadow).picture;
  return scan;
}

void setCounters(benchmark::State& state) {
  state.counters["pixels/s"] =
      benchmark::Counter(static_cast<double>(a4Scan()->area()), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_LocalThreshold(benchmark::State& state) {
  const Picture& scan = a4Scan();
  const LocalThreshold options{.window = static_cast<Int32>(state.range(0))};
  FractionProgress progress;
  for (auto _ : state) benchmark::DoNotOptimize(localThreshold(scan, options, progress));
  setCounters(state);
}
// 95: the default window at 300 dpi; the others show the cost does not grow with it.
BENCHMARK(BM_LocalThreshold)->Arg(15)->Arg(95)->Arg(401)->Unit(benchmark::kMillisecond);

void BM_AutoThreshold(benchmark::State& state) {
  const Picture& scan = a4Scan();
  FractionProgress progress;
  for (auto _ : state) benchmark::DoNotOptimize(autoThreshold(scan, progress));
  setCounters(state);
}
BENCHMARK(BM_AutoThreshold)->Unit(benchmark::kMillisecond);

// Today's stage on the same page, for comparison.
void BM_FixedThreshold(benchmark::State& state) {
  const Picture& scan = a4Scan();
  for (auto _ : state) benchmark::DoNotOptimize(fixedBlackWhite(scan, 200));
  setCounters(state);
}
BENCHMARK(BM_FixedThreshold)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quern
