#include <benchmark/benchmark.h>

#include "base/line_tables.h"
#include "imgproc/imgproc.h"
#include "line_drawing.h"

namespace quern {
namespace {

// The whole of thin as the stage runs it: load, peel, paint, list, commit.
void BM_Thin(benchmark::State& state) {
  const auto width = static_cast<Int32>(state.range(0));
  const auto height = static_cast<Int32>(state.range(1));
  const Picture drawing = bench::makeLineDrawing(width, height, 7);
  ImgProc ipc;
  RecordTable LineTable("LineTable");
  Int32 listed = 0;
  for (auto _ : state) {
    state.PauseTiming();
    ipc.setPicture(drawing);
    LineTable.count() = 0;
    state.ResumeTiming();
    ipc.thin(LineTable);
    listed = LineTable.count();
  }
  if (listed == 0) state.SkipWithError("nothing was listed");
  state.counters["listed"] = listed;
  state.counters["pixels/s"] =
      benchmark::Counter(static_cast<double>(width) * height, benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(BM_Thin)->Args({700, 557})->Args({1500, 1500})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quern
