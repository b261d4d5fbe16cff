#include <benchmark/benchmark.h>

#include <vector>

#include "imgproc/imgproc.h"

namespace quern {
namespace {

constexpr Int32 kSide = 1500;

// Line work on white with some grey, like a scanned drawing.
Picture drawing() {
  std::vector<Colour> px(static_cast<std::size_t>(kSide) * kSide, kWhite);
  for (Int32 y = 0; y < kSide; ++y) {
    for (Int32 x = 0; x < kSide; ++x) {
      if (x % 37 == 0 || y % 53 == 0 || (x + y) % 211 < 3)
        px[static_cast<std::size_t>(y) * kSide + x] = rgb(x % 90, 40, y % 120);
    }
  }
  return makePicture(kSide, kSide, std::move(px));
}

template <typename Op>
void runOn(benchmark::State& state, Op op) {
  const Picture source = drawing();
  ImgProc ipc;
  for (auto _ : state) {
    state.PauseTiming();
    ipc.setPicture(source);
    state.ResumeTiming();
    op(ipc);
    benchmark::DoNotOptimize(ipc.picture());
  }
  state.SetItemsProcessed(state.iterations() * kSide * kSide);
}

void BM_filtersmooth(benchmark::State& state) {
  runOn(state, [](ImgProc& c) { c.filtersmooth(); });
}
void BM_colnorm3(benchmark::State& state) {
  runOn(state, [](ImgProc& c) { c.colnorm3(200); });
}
void BM_scalesign(benchmark::State& state) {
  const double factor = static_cast<double>(state.range(0)) / 100.0;
  runOn(state, [factor](ImgProc& c) { c.scalesign(factor); });
}

BENCHMARK(BM_filtersmooth)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_colnorm3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_scalesign)->Arg(25)->Arg(300)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quern
