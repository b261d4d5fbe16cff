// The export of a full table: 100000 records as LINE entities, written to disk.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "dxf/dxf_drawing.h"
#include "dxf/dxf_writer.h"

namespace quern {
namespace {

void BM_WriteDxfFile(benchmark::State& state) {
  RecordTable table("ChainTable");
  const auto n = static_cast<Int32>(state.range(0));
  for (Int32 i = 1; i <= n; ++i) {
    table[i] = {static_cast<float>(i % 2000), static_cast<float>(i / 2000), static_cast<float>(i % 2000 + 3),
                static_cast<float>(i / 2000 + 1), 0};
  }
  table.count() = n;
  const std::string path = (std::filesystem::temp_directory_path() / "quern-bench-export.dxf").string();
  for (auto _ : state) WriteDxfFile(path, table);
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
  std::filesystem::remove(path);
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_WriteDxfFile)->Arg(100000)->Unit(benchmark::kMillisecond);

// The clean R2000 export of a full table: squares of 40 pixels, 10 segments
// a side, each walked the way thinning leaves a loop (two pixels short of
// its start) and with a stub along one side: every path is joined, closed
// and checked for stubs.
void BM_CleanR2000Export(benchmark::State& state) {
  RecordTable table("ChainTable");
  const auto n = static_cast<Int32>(state.range(0));
  Int32 i = 0;
  auto add = [&](float x1, float y1, float x2, float y2) {
    if (i < n) table[++i] = {x1, y1, x2, y2, 0};
  };
  for (Int32 square = 0; i < n; ++square) {
    const float x = static_cast<float>(square % 200) * 50.0F;
    const float y = static_cast<float>(square / 200) * 50.0F;
    const float corners[5][2] = {{x, y}, {x + 40, y}, {x + 40, y + 40}, {x, y + 40}, {x, y}};
    for (int side = 0; side < 4; ++side) {
      for (int k = 0; k < 10; ++k) {
        const float t0 = static_cast<float>(k) / 10.0F;
        const float t1 = static_cast<float>(k + 1) / 10.0F;
        const float ax = corners[side][0] + (corners[side + 1][0] - corners[side][0]) * t0;
        const float ay = corners[side][1] + (corners[side + 1][1] - corners[side][1]) * t0;
        const float bx = corners[side][0] + (corners[side + 1][0] - corners[side][0]) * t1;
        const float by = corners[side][1] + (corners[side + 1][1] - corners[side][1]) * t1;
        if (side == 0 && k == 0) {
          add(ax + 2, ay, bx, by);  // the loop starts two pixels on
        } else {
          add(ax, ay, bx, by);
        }
      }
    }
    add(x + 10, y + 1, x + 14, y + 1);  // a stub along the first side
    add(-1, -1, -1, -1);
  }
  table.count() = i;
  DrawingOptions options;
  options.clean = true;
  options.polyline = true;
  options.dxfVersion = DxfVersion::R2000;
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::string text = dxfDrawingBytes(table, options);
    bytes = text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.counters["bytes"] = static_cast<double>(bytes);
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_CleanR2000Export)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quern
