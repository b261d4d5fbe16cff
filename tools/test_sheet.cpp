#include "test_sheet.h"

#include <QBuffer>
#include <QFont>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "sheet_layout.h"

namespace quern::tools {

namespace {

// Text needs Qt's font database, which only an application object sets up;
// a program or test that has none gets one here, off screen.
void ensureApplication() {
  if (QGuiApplication::instance()) return;
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  static int argc = 1;
  static char name[] = "test_sheet";
  static char* argv[] = {name, nullptr};
  static QGuiApplication app(argc, argv);
}

// A 3 by 3 binomial blur of a grey page, edges repeated: the softness of a
// scanner's optics.
std::vector<float> blurred(const std::vector<float>& grey, int width, int height) {
  std::vector<float> across(grey.size());
  std::vector<float> out(grey.size());
  for (int y = 0; y < height; ++y) {
    const float* row = grey.data() + static_cast<std::size_t>(y) * width;
    float* dest = across.data() + static_cast<std::size_t>(y) * width;
    for (int x = 0; x < width; ++x) {
      dest[x] = (row[std::max(0, x - 1)] + 2.0F * row[x] + row[std::min(width - 1, x + 1)]) / 4.0F;
    }
  }
  for (int y = 0; y < height; ++y) {
    const float* above = across.data() + static_cast<std::size_t>(std::max(0, y - 1)) * width;
    const float* row = across.data() + static_cast<std::size_t>(y) * width;
    const float* below = across.data() + static_cast<std::size_t>(std::min(height - 1, y + 1)) * width;
    float* dest = out.data() + static_cast<std::size_t>(y) * width;
    for (int x = 0; x < width; ++x) dest[x] = (above[x] + 2.0F * row[x] + below[x]) / 4.0F;
  }
  return out;
}

// The light on the page, 1 at full: a shadow deepens towards the right edge
// to half, smoothly, as a page curving into a book's fold.
double lightAt(Lighting lighting, double x, double y, int width, int height) {
  const double evenFall = 1.0 - 0.03 * y / height;  // no lamp is perfectly even
  if (lighting == Lighting::even) return evenFall;
  const double t = std::clamp((x / width - 0.35) / 0.65, 0.0, 1.0);
  return evenFall * (1.0 - 0.5 * t * t);
}

QImage jpegRoundTrip(const QImage& image, int quality) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "JPG", quality);
  return QImage::fromData(bytes, "JPG").convertToFormat(QImage::Format_RGB32);
}

}  // namespace

QImage drawSheet(SheetSize size, SheetTruth& truth) {
  ensureApplication();
  const bool a4 = size == SheetSize::a4;
  QImage image(a4 ? 2480 : 640, a4 ? 3508 : 905, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing, true);
  painter.setRenderHint(QPainter::TextAntialiasing, true);
  // The truth counts from pixel centres, Qt from pixel corners.
  painter.translate(0.5, 0.5);
  SheetPen pen(painter, truth);
  layOutSheet(pen, image.width(), image.height(), a4);
  return image;
}

Sheet scanSheet(SheetSize size, Lighting lighting, std::uint32_t seed) {
  Sheet sheet;
  const QImage drawn = drawSheet(size, sheet.truth);
  const int width = drawn.width();
  const int height = drawn.height();
  std::vector<float> grey(static_cast<std::size_t>(width) * height);
  for (int y = 0; y < height; ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(drawn.constScanLine(y));
    for (int x = 0; x < width; ++x) grey[static_cast<std::size_t>(y) * width + x] = qRed(row[x]) / 255.0F;
  }
  grey = blurred(grey, width, height);

  std::mt19937 random(seed);
  auto uniform = [&random] { return (static_cast<double>(random()) + 0.5) / 4294967296.0; };
  constexpr double kPaper = 0.93;
  constexpr double kInk = 0.07;
  constexpr double kNoise = 3.0;  // grey levels, one standard deviation
  QImage scanned(width, height, QImage::Format_RGB32);
  for (int y = 0; y < height; ++y) {
    auto* row = reinterpret_cast<QRgb*>(scanned.scanLine(y));
    for (int x = 0; x < width; ++x) {
      const double reflected = kInk + (kPaper - kInk) * grey[static_cast<std::size_t>(y) * width + x];
      const double gauss = std::sqrt(-2.0 * std::log(uniform())) * std::cos(2.0 * std::numbers::pi * uniform());
      const double v = 255.0 * reflected * lightAt(lighting, x, y, width, height) + kNoise * gauss;
      // A slightly warm paper: less blue than red.
      auto channel = [](double c) { return static_cast<int>(std::clamp(std::nearbyint(c), 0.0, 255.0)); };
      row[x] = qRgb(channel(v), channel(v * 0.985), channel(v * 0.95));
    }
  }
  sheet.picture = pictureFromImage(jpegRoundTrip(scanned, 85));
  return sheet;
}

Picture pictureFromImage(const QImage& image) {
  const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
  std::vector<Colour> pixels(static_cast<std::size_t>(rgb.width()) * rgb.height());
  for (int y = 0; y < rgb.height(); ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(rgb.constScanLine(y));
    for (int x = 0; x < rgb.width(); ++x) {
      pixels[static_cast<std::size_t>(y) * rgb.width() + x] = quern::rgb(qRed(row[x]), qGreen(row[x]), qBlue(row[x]));
    }
  }
  return makePicture(rgb.width(), rgb.height(), pixels);
}

QImage imageFromPicture(const Picture& picture) {
  QImage image(picture->pixelWidth(), picture->pixelHeight(), QImage::Format_RGB32);
  for (int y = 0; y < image.height(); ++y) {
    auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      const Colour c = picture->pixel(x, y);
      row[x] = qRgb(redOf(c), greenOf(c), blueOf(c));
    }
  }
  return image;
}

}  // namespace quern::tools
