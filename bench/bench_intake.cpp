// The intake's cost on hostile files and the cost of a fresh session (both
// must be next to nothing), and decoding an A4 scan, through the intake and
// through the Qt reader the intake used before.
#include <benchmark/benchmark.h>

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageReader>
#include <QPainter>
#include <cstdint>
#include <vector>

#include "base/errors.h"
#include "intake/picture_loader.h"
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

// An A4 page scanned at 300 dpi, 2480 x 3508: a grid of pen strokes on
// white, as a colour JPEG at quality 90.
const std::vector<unsigned char>& a4Jpeg() {
  static const std::vector<unsigned char> bytes = [] {
    QImage page(2480, 3508, QImage::Format_RGB32);
    page.fill(Qt::white);
    QPainter pen(&page);
    pen.setPen(QPen(Qt::black, 3));
    for (int i = 0; i < 60; ++i) {
      pen.drawLine(100 + 38 * i, 100, 2380 - 20 * i, 3400);
      pen.drawEllipse(200 + 30 * i, 300 + 50 * i, 400, 250);
    }
    pen.end();
    QByteArray out;
    QBuffer buffer(&out);
    buffer.open(QIODevice::WriteOnly);
    page.save(&buffer, "JPEG", 90);
    return std::vector<unsigned char>(out.begin(), out.end());
  }();
  return bytes;
}

void BM_A4JpegThroughTheIntake(benchmark::State& state) {
  const std::vector<unsigned char>& jpeg = a4Jpeg();
  for (auto _ : state) benchmark::DoNotOptimize(decodePictureFile(jpeg.data(), jpeg.size(), "a4.jpg"));
  state.counters["MB/s"] =
      benchmark::Counter(2480.0 * 3508 * 4 * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_A4JpegThroughTheIntake)->Unit(benchmark::kMillisecond);

// The path the intake took before: Qt's reader into a QImage, then one pass
// into the picture's pixels.
void BM_A4JpegThroughQtsReader(benchmark::State& state) {
  const std::vector<unsigned char>& jpeg = a4Jpeg();
  for (auto _ : state) {
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(jpeg.data()), static_cast<qsizetype>(jpeg.size()));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "jpeg");
    reader.setAllocationLimit(1024);
    const QImage img = reader.read();
    PixelBuffer pixels = allocatePixels(static_cast<long long>(img.width()) * img.height(), 1LL << 30);
    for (int y = 0; y < img.height(); ++y) {
      const auto* px = reinterpret_cast<const QRgb*>(img.constScanLine(y));
      Colour* out = pixels.get() + static_cast<std::size_t>(y) * img.width();
      for (int x = 0; x < img.width(); ++x) out[x] = rgb(qRed(px[x]), qGreen(px[x]), qBlue(px[x]));
    }
    benchmark::DoNotOptimize(makePicture(img.width(), img.height(), std::move(pixels)));
  }
  state.counters["MB/s"] =
      benchmark::Counter(2480.0 * 3508 * 4 * state.iterations() / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_A4JpegThroughQtsReader)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace quern
