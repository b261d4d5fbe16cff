// The export of a full table: 100000 records as LINE entities, written to disk.
#include <benchmark/benchmark.h>

#include <filesystem>

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

}  // namespace
}  // namespace quern
