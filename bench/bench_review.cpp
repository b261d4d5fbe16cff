// The review page's share of a picture's run, part by part, on a 1200 x 900
// line drawing: the original painted into the preview box, or as greys into
// the page's own preview, the centre lines drawn over it or written as the
// page's path, and the page's pictures coded for it; and the file of a
// scan's grey picture.

#include <benchmark/benchmark.h>

#include <cstdint>

#include "batch/report_pictures.h"
#include "line_drawing.h"
#include "pipeline/preview.h"

namespace quern {
namespace {

constexpr Int32 kWidth = 1200;
constexpr Int32 kHeight = 900;

PictureBox laidOut() {
  PictureBox box(static_cast<float>(kTwipsPerPixel), 0);
  layOutPreview(box, kWidth, kHeight);
  return box;
}

// Ten thousand short segments over the picture in polylines of twenty, as
// a traced drawing has them.
RecordTable segments() {
  RecordTable table("bench", 20000);
  std::uint32_t state = 99;
  const auto next = [&](Int32 range) {
    state = state * 1664525U + 1013904223U;
    return static_cast<float>((state >> 8) % static_cast<std::uint32_t>(range));
  };
  table.count() = 10000;
  for (Int32 i = 1; i <= table.count(); ++i) {
    LineRecord& r = table[i];
    const bool starts = i % 20 == 1;
    r.x1 = starts ? next(kWidth) : table[i - 1].x2;
    r.y1 = starts ? next(kHeight) : table[i - 1].y2;
    r.x2 = r.x1 + next(7) - 3;
    r.y2 = r.y1 + next(7) - 3;
  }
  return table;
}

void BM_PreviewPaint(benchmark::State& state) {
  const Picture original = bench::makeLineDrawing(kWidth, kHeight, 7);
  for (auto _ : state) {
    PictureBox box = laidOut();
    box.PaintPicture(original, 0.0F, 0.0F, static_cast<float>(kWidth), static_cast<float>(kHeight));
    benchmark::DoNotOptimize(box.bits());
  }
}
BENCHMARK(BM_PreviewPaint)->Unit(benchmark::kMicrosecond);

// The same drawing kept as greys, as grey BMPs and JPEGs are read.
GreyBuffer greyDrawing() {
  const Picture colours = bench::makeLineDrawing(kWidth, kHeight, 7);
  GreyBuffer greys = allocateGreys(static_cast<long long>(kWidth) * kHeight);
  for (std::size_t i = 0; i < static_cast<std::size_t>(kWidth) * kHeight; ++i)
    greys[i] = static_cast<std::uint8_t>(colours->data()[i] & 0xFF);
  return greys;
}

void BM_PreviewPaintGreys(benchmark::State& state) {
  const Picture original = makeGreyPicture(kWidth, kHeight, greyDrawing());
  for (auto _ : state) {
    PictureBox box = laidOut();
    box.PaintPicture(original, 0.0F, 0.0F, static_cast<float>(kWidth), static_cast<float>(kHeight));
    benchmark::DoNotOptimize(box.bits());
  }
}
BENCHMARK(BM_PreviewPaintGreys)->Unit(benchmark::kMicrosecond);

// The review page's own preview painted as greys, as a batch with --report
// and no preview folder paints it, at half the window's size.
void BM_ReviewPaintGreys(benchmark::State& state) {
  const GreyBuffer greys = greyDrawing();
  for (auto _ : state) {
    PictureBox box = pageBox(kWidth, kHeight);
    ReviewPicture page = blankReview(box);
    PictureBox::RowPainter painter = originalPainter(box, kWidth, kHeight);
    painter.intoGreys(page.pixels.data(), kReviewLine - 1);
    for (Int32 y = 0; y < kHeight; ++y) painter.row(y, greys.get() + static_cast<std::ptrdiff_t>(y) * kWidth);
    benchmark::DoNotOptimize(page.pixels.data());
  }
}
BENCHMARK(BM_ReviewPaintGreys)->Unit(benchmark::kMicrosecond);

void BM_ReviewLines(benchmark::State& state) {
  const RecordTable table = segments();
  const PictureBox box = laidOut();
  ReviewPicture page = blankReview(box);
  for (auto _ : state) {
    box.LinesInto(segmentEnds(table, 1.0F), page.pixels.data(), kReviewLine);
    benchmark::DoNotOptimize(page.pixels.data());
  }
}
BENCHMARK(BM_ReviewLines)->Unit(benchmark::kMicrosecond);

void BM_PreviewLines(benchmark::State& state) {
  const RecordTable table = segments();
  PictureBox box = laidOut();
  for (auto _ : state) {
    drawSegments(table, box, 1.0F);
    benchmark::DoNotOptimize(box.bits());
  }
}
BENCHMARK(BM_PreviewLines)->Unit(benchmark::kMicrosecond);

// The window's preview of the drawing: the original painted, the lines drawn over it.
PictureBox drawnPreview() {
  const Picture original = bench::makeLineDrawing(kWidth, kHeight, 7);
  PictureBox box = laidOut();
  box.PaintPicture(original, 0.0F, 0.0F, static_cast<float>(kWidth), static_cast<float>(kHeight));
  drawSegments(segments(), box, 1.0F);
  return box;
}

// The pictures the page held of a picture before its lines were a path: the
// preview in its colours and its thumbnail, each coded as a data: URI.
// A preview written to a file of its own still has such a thumbnail.
void BM_ReviewPictures(benchmark::State& state) {
  const ReviewPicture page = reviewPicture(drawnPreview(), kRed);
  std::size_t preview = 0;
  std::size_t thumbnail = 0;
  for (auto _ : state) {
    preview = dataUri("image/bmp", bmpFileOf(page, kRed)).size();
    thumbnail = dataUri("image/bmp", bmpFileOf(halved(page), kRed)).size();
    benchmark::DoNotOptimize(preview + thumbnail);
  }
  state.counters["preview_bytes"] = static_cast<double>(preview);
  state.counters["thumbnail_bytes"] = static_cast<double>(thumbnail);
}
BENCHMARK(BM_ReviewPictures)->Unit(benchmark::kMicrosecond);

// The lines as the page's path over its picture.
void BM_ReviewPath(benchmark::State& state) {
  const RecordTable table = segments();
  const PictureBox box = laidOut();
  std::size_t bytes = 0;
  for (auto _ : state) {
    bytes = linesPath(box, segmentEnds(table, 1.0F), 0.5F).size();
    benchmark::DoNotOptimize(bytes);
  }
  state.counters["path_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_ReviewPath)->Unit(benchmark::kMicrosecond);

// What the page holds of a picture once its original is painted: the
// original at half the window's size, coded, and the lines' path.
void BM_ReviewPagePicture(benchmark::State& state) {
  const Picture original = bench::makeLineDrawing(kWidth, kHeight, 7);
  PictureBox box = pageBox(kWidth, kHeight);
  box.PaintPicture(original, 0.0F, 0.0F, static_cast<float>(kWidth), static_cast<float>(kHeight));
  const ReviewPicture page = reviewPicture(box, kRed);
  const RecordTable table = segments();
  std::size_t bytes = 0;
  for (auto _ : state) {
    bytes =
        dataUri("image/bmp", bmpFileOf(page, kRed)).size() + linesPath(box, segmentEnds(table, 1.0F), 0.5F).size();
    benchmark::DoNotOptimize(bytes);
  }
  state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_ReviewPagePicture)->Unit(benchmark::kMicrosecond);

// A preview of a line drawing in the page's colours, in base64.
void BM_ReviewDataUri(benchmark::State& state) {
  const std::string bytes = bmpFileOf(reviewPicture(drawnPreview(), kRed), kRed);
  for (auto _ : state) benchmark::DoNotOptimize(dataUri("image/bmp", bytes).size());
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}
BENCHMARK(BM_ReviewDataUri)->Unit(benchmark::kMicrosecond);

// The page's picture of a scan: paper a few greys either side of 230, as a
// scanner's noise leaves it, with a dark stroke every fortieth row and column.
void BM_ReviewBmpOfAScan(benchmark::State& state) {
  ReviewPicture page{400, 566, std::vector<std::uint8_t>(400 * 566)};
  std::uint32_t seed = 7;
  for (std::size_t i = 0; i < page.pixels.size(); ++i) {
    seed = seed * 1664525U + 1013904223U;
    const std::size_t x = i % 400;
    const std::size_t y = i / 400;
    page.pixels[i] = x % 40 < 2 || y % 40 < 2 ? 40 : static_cast<std::uint8_t>(227 + (seed >> 29));
  }
  std::size_t bytes = 0;
  for (auto _ : state) {
    bytes = bmpFileOf(page, kRed).size();
    benchmark::DoNotOptimize(bytes);
  }
  state.counters["bytes"] = static_cast<double>(bytes);
}
BENCHMARK(BM_ReviewBmpOfAScan)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace quern
