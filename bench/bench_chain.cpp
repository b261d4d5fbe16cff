// The whole chain in process on a line drawing, as the batch driver runs it
// (the drawing alone) beside a chain that lets each picture go after use:
// what making no picture between the blur and the listing saves.
#include <benchmark/benchmark.h>

#include "line_drawing.h"
#include "pipeline/stage_chain.h"

namespace quern {
namespace {

void BM_Chain(benchmark::State& state) {
  const auto width = static_cast<Int32>(state.range(0));
  const auto height = static_cast<Int32>(state.range(1));
  const auto retention = state.range(2) != 0 ? Retention::drawingOnly : Retention::letGo;
  state.SetLabel(retention == Retention::drawingOnly ? "drawing only" : "let go");
  const Picture drawing = bench::makeLineDrawing(width, height, 7);
  const RasterLimits limits = RasterLimits::large(static_cast<long long>(width) * height);
  Int32 segments = 0;
  for (auto _ : state) {
    RasterContext context(limits);
    FractionReport report;
    StageChain chain(context, report, ChainOptions{retention});
    chain.setOriginal(drawing);
    if (!chain.run(Stage::rescale, StageParams{}).back().done()) {
      state.SkipWithError("a stage did not finish");
      return;
    }
    segments = chain.segments().count();
  }
  state.counters["segments"] = segments;
  state.counters["pixels/s"] =
      benchmark::Counter(static_cast<double>(width) * height, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_Chain)
    ->ArgNames({"w", "h", "drawingOnly"})
    ->ArgsProduct({{1500}, {1500}, {0, 1}})
    ->Args({2480, 3508, 0})
    ->Args({2480, 3508, 1})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quern
