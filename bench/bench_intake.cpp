// The intake's cost on hostile files and the cost of a fresh session: both
// must be next to nothing.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <vector>

#include "intake/picture_loader.h"
#include "base/errors.h"
#include "vector/session.h"

namespace quern {
namespace {

// 35 bytes: a complete GIF whose header claims 6320 by 6320 pixels and whose
// image data gives one.
std::vector<unsigned char> lyingGif() {
  return {'G', 'I',  'F', '8', '9', 'a', 0xB0, 0x18, 0xB0, 0x18, 0x80, 0, 0, 0,    0,    0, 255, 255,
          255, 0x2C, 0,   0,   0,   0,   0xB0, 0x18, 0xB0, 0x18, 0,    2, 2, 0x44, 0x01, 0, 0x3B};
}

void BM_RefuseLyingGif(benchmark::State& state) {
  const std::vector<unsigned char> gif = lyingGif();
  for (auto _ : state) {
    try {
      benchmark::DoNotOptimize(decodePictureFile(gif.data(), gif.size(), "lie.gif"));
      state.SkipWithError("the lying GIF was accepted");
      return;
    } catch (const FileError&) {
    }
  }
}
BENCHMARK(BM_RefuseLyingGif)->Unit(benchmark::kMicrosecond);

// What a test or a fuzz input pays for a session that writes a few records.
void BM_FreshSession(benchmark::State& state) {
  for (auto _ : state) {
    Session s;
    s.LineTable[1].x1 = 1.0F;
    s.LineTable.count() = 1;
    benchmark::DoNotOptimize(s.LineTable[1]);
  }
}
BENCHMARK(BM_FreshSession)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quern
