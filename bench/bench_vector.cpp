// Chain assembly, generalisation and the reorder pass on large drawings, and
// the literal quadratic procedures beside the indexed ones on the same input.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>
#include <vector>

#include "literal_passes.h"
#include "vector/chains.h"
#include "vector/generalize.h"
#include "vector/reorder.h"
#include "vector/session.h"
#include "vector/spurs.h"

namespace quern {
namespace {

using Pixel = std::pair<int, int>;

// Wavy strokes, each a long one-pixel line, listed as thinning lists them.
std::vector<Pixel> longStrokes(int count) {
  std::set<Pixel> pixels;
  for (int stroke = 0; static_cast<int>(pixels.size()) < count; ++stroke) {
    const int row = 10 + (stroke % 200) * 12;
    const int shift = (stroke / 200) * 1300;
    for (int x = 1; x < 1200 && static_cast<int>(pixels.size()) < count; ++x) {
      pixels.insert({shift + x, row + static_cast<int>(std::lround(4.0 * std::sin(x / 30.0 + stroke)))});
    }
  }
  return {pixels.begin(), pixels.end()};
}

// Short dashes of 2 to 8 pixels scattered over a large picture.
std::vector<Pixel> scatteredDashes(int count) {
  std::mt19937 rng(1);
  std::set<Pixel> pixels;
  while (static_cast<int>(pixels.size()) < count) {
    const int x = 1 + static_cast<int>(rng() % 3000);
    const int y = 1 + static_cast<int>(rng() % 3000);
    const int length = 2 + static_cast<int>(rng() % 7);
    const int dy = static_cast<int>(rng() % 3) - 1;
    for (int k = 0; k < length && static_cast<int>(pixels.size()) < count; ++k) pixels.insert({x + k, y + k * dy});
  }
  return {pixels.begin(), pixels.end()};
}

void listInto(RecordTable& table, const std::vector<Pixel>& pixels) {
  Int32 i = 0;
  for (const auto& [x, y] : pixels) table[++i] = {static_cast<float>(x), static_cast<float>(y), 0, 0, 0};
  table.count() = i;
}

template <bool Literal>
void chains(benchmark::State& state, std::vector<Pixel> (*drawing)(int)) {
  const std::vector<Pixel> pixels = drawing(static_cast<int>(state.range(0)));
  Session s;
  FractionProgress progress;
  for (auto _ : state) {
    state.PauseTiming();
    listInto(s.LineTable, pixels);
    state.ResumeTiming();
    if constexpr (Literal) {
      testing::literalBuildChains(s.LineTable, s.ChainTable);
    } else {
      BuildChains(s, progress);
    }
    benchmark::DoNotOptimize(s.LineTable.count());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_BuildChains_LongStrokes(benchmark::State& state) {
  chains<false>(state, longStrokes);
}
void BM_BuildChains_ScatteredDashes(benchmark::State& state) {
  chains<false>(state, scatteredDashes);
}
void BM_LiteralBuildChains_LongStrokes(benchmark::State& state) {
  chains<true>(state, longStrokes);
}
void BM_LiteralBuildChains_ScatteredDashes(benchmark::State& state) {
  chains<true>(state, scatteredDashes);
}
BENCHMARK(BM_BuildChains_LongStrokes)->Arg(10000)->Arg(99999)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BuildChains_ScatteredDashes)->Arg(10000)->Arg(99999)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LiteralBuildChains_LongStrokes)->Arg(10000)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LiteralBuildChains_ScatteredDashes)->Arg(10000)->Iterations(1)->Unit(benchmark::kMillisecond);

// Polylines of five short segments, each closed by a separator, spread over
// a large picture: what normalisation leaves for the reorder pass.
std::vector<LineRecord> segments(int count) {
  std::mt19937 rng(2);
  std::vector<LineRecord> table;
  for (int made = 0; made < count;) {
    float x = static_cast<float>(1 + rng() % 4000);
    float y = static_cast<float>(1 + rng() % 4000);
    for (int k = 0; k < 5 && made < count; ++k, ++made) {
      const float nx = x + static_cast<float>(static_cast<int>(rng() % 21) - 10);
      const float ny = y + static_cast<float>(static_cast<int>(rng() % 21) - 10);
      table.push_back({x, y, nx, ny, 0});
      x = nx;
      y = ny;
    }
    table.push_back({-1, -1, -1, -1, 0});
  }
  return table;
}

template <bool Literal>
void reorder(benchmark::State& state) {
  const std::vector<LineRecord> table = segments(static_cast<int>(state.range(0)));
  Session s;
  for (auto _ : state) {
    state.PauseTiming();
    for (std::size_t k = 0; k < table.size(); ++k) s.ChainTable[static_cast<Int32>(k + 1)] = table[k];
    s.ChainTable.count() = static_cast<Int32>(table.size());
    state.ResumeTiming();
    if constexpr (Literal) {
      testing::literalReorder(s.ChainTable, s.OrderTable);
    } else {
      ReorderPass(s);
    }
    benchmark::DoNotOptimize(s.ChainTable.count());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_ReorderPass(benchmark::State& state) {
  reorder<false>(state);
}
void BM_LiteralReorderPass(benchmark::State& state) {
  reorder<true>(state);
}
BENCHMARK(BM_ReorderPass)->Arg(5000)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LiteralReorderPass)->Arg(5000)->Iterations(1)->Unit(benchmark::kMillisecond);

// One chain of 100000 pixels along a gentle wave, through simplifyPolyBuffer
// at the starting tolerance of 1/15 pixel and at 1 pixel.
void BM_Generalize(benchmark::State& state) {
  Session s;
  const Int32 n = 100000;
  s.polyBuffer[0].redim(n);
  for (Int32 i = 1; i <= n; ++i) {
    s.polyBuffer[0][i] = {i, static_cast<Int32>(std::lround(50.0 * std::sin(i / 400.0)))};
  }
  s.GeneralizeTolerance = static_cast<Int32>(state.range(0));
  for (auto _ : state) {
    simplifyPolyBuffer(s, kDefaultTwipsPerPixel);
    benchmark::DoNotOptimize(s.polyBuffer[1].highest());
  }
  state.counters["kept"] = static_cast<double>(s.polyBuffer[1].highest());
  state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_Generalize)->Arg(1)->Arg(15)->Unit(benchmark::kMillisecond);

// Straight strokes with a spur of 2 to 7 pixels every 40 pixels and a speck
// between them: chained once, then pruned at --min-branch 10 --min-chain 10.
std::vector<Pixel> spurredStrokes(int count) {
  std::set<Pixel> pixels;
  for (int stroke = 0; static_cast<int>(pixels.size()) < count; ++stroke) {
    const int row = 20 + (stroke % 150) * 20;
    const int shift = (stroke / 150) * 1300;
    for (int x = 1; x < 1200; ++x) {
      pixels.insert({shift + x, row});
      if (x % 40 == 20) {
        for (int k = 1; k < 2 + x % 6; ++k) pixels.insert({shift + x + k, row + k});
      }
      if (x % 40 == 0) pixels.insert({shift + x, row + 8});
    }
  }
  return {pixels.begin(), pixels.end()};
}

void BM_PruneSpurs(benchmark::State& state) {
  const std::vector<Pixel> pixels = spurredStrokes(static_cast<int>(state.range(0)));
  Session s;
  FractionProgress progress;
  listInto(s.LineTable,
           std::vector<Pixel>(
               pixels.begin(),
               pixels.begin() + std::min<std::size_t>(pixels.size(), static_cast<std::size_t>(state.range(0)))));
  BuildChains(s, progress);
  const std::vector<LineRecord> chained = [&] {
    std::vector<LineRecord> out;
    for (Int32 i = 1; i <= s.LineTable.count(); ++i) out.push_back(s.LineTable[i]);
    return out;
  }();
  Int32 removed = 0;
  for (auto _ : state) {
    state.PauseTiming();
    for (std::size_t k = 0; k < chained.size(); ++k) s.LineTable[static_cast<Int32>(k + 1)] = chained[k];
    s.LineTable.count() = static_cast<Int32>(chained.size());
    state.ResumeTiming();
    removed = pruneSpurs(s.LineTable, 10, 10);
    benchmark::DoNotOptimize(removed);
  }
  state.counters["removed"] = removed;
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PruneSpurs)->Arg(10000)->Arg(99999)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quern
