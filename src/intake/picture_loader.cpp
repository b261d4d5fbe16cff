#include "intake/picture_loader.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageReader>
#include <QSaveFile>
#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "base/errors.h"
#include "intake/picture_file.h"
#include "intake/picture_format.h"
#include "surface/picture_box.h"

namespace quern {

namespace {

// Megabytes the reader may allocate for one picture: the largest picture we
// take at four bytes a pixel, so the reader's limit and ours never disagree.
int allocationLimitMb(long long maxPixels) {
  return static_cast<int>(std::min<long long>((4 * maxPixels) >> 20, 1 << 30)) + 1;
}

// Transparent parts of a GIF or BMP stand on white paper.
Colour overWhite(QRgb c) {
  const int a = qAlpha(c);
  auto mix = [a](int v) { return (v * a + 255 * (255 - a) + 127) / 255; };
  return rgb(mix(qRed(c)), mix(qGreen(c)), mix(qBlue(c)));
}

// One pass from the reader's own format into the picture's pixels, with no
// converted copy of the whole image in between.
Picture fromImage(const QImage& img) {
  const Int32 w = img.width();
  const Int32 h = img.height();
  const long long area = static_cast<long long>(w) * h;
  PixelBuffer pixels = allocatePixels(area, area);
  const QImage::Format format = img.format();
  std::array<Colour, 256> palette{};
  const QList<QRgb> table = img.colorTable();
  for (qsizetype i = 0; i < table.size() && i < 256; ++i) palette[static_cast<std::size_t>(i)] = overWhite(table[i]);
  for (Int32 y = 0; y < h; ++y) {
    const uchar* line = img.constScanLine(y);
    Colour* out = pixels.get() + static_cast<std::size_t>(y) * w;
    switch (format) {
      case QImage::Format_Indexed8:
        for (Int32 x = 0; x < w; ++x) out[x] = palette[line[x]];
        break;
      case QImage::Format_Mono:
        for (Int32 x = 0; x < w; ++x) out[x] = palette[(line[x >> 3] >> (7 - (x & 7))) & 1];
        break;
      case QImage::Format_Grayscale8:
        for (Int32 x = 0; x < w; ++x) out[x] = rgb(line[x], line[x], line[x]);
        break;
      case QImage::Format_RGB32: {
        const auto* px = reinterpret_cast<const QRgb*>(line);
        for (Int32 x = 0; x < w; ++x) out[x] = rgb(qRed(px[x]), qGreen(px[x]), qBlue(px[x]));
        break;
      }
      case QImage::Format_ARGB32: {
        const auto* px = reinterpret_cast<const QRgb*>(line);
        for (Int32 x = 0; x < w; ++x) out[x] = overWhite(px[x]);
        break;
      }
      default:
        // Formats no reader of ours gives today: slower, still no copy.
        for (Int32 x = 0; x < w; ++x) out[x] = overWhite(img.pixel(x, y));
        break;
    }
  }
  return makePicture(w, h, std::move(pixels));
}

Picture readWith(QImageReader& reader, const std::string& what, long long maxPixels) {
  reader.setAllocationLimit(allocationLimitMb(maxPixels));
  reader.setAutoTransform(false);
  const QSize claimed = reader.size();
  if (claimed.isValid()) checkPictureClaim(what, claimed.width(), claimed.height(), maxPixels);
  QImage img;
  if (!reader.read(&img) || img.isNull()) refuseLoad(what, reader.errorString().toStdString());
  return fromImage(img);
}

Picture readBytes(const unsigned char* data, std::size_t size, const std::string& what, const char* format,
                  long long maxPixels = kMaxPicturePixels) {
  QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::ReadOnly);
  QImageReader reader(&buffer, format);
  if (format != nullptr) reader.setDecideFormatFromContent(false);
  return readWith(reader, what, maxPixels);
}

const char* readerFormat(PictureKind kind) {
  switch (kind) {
    case PictureKind::Jpeg:
      return "jpeg";
    case PictureKind::Bmp:
      return "bmp";
    case PictureKind::Gif:
      return "gif";
    case PictureKind::Unknown:
      break;
  }
  return nullptr;
}

}  // namespace

Picture decodeWithReader(const unsigned char* data, std::size_t size, const std::string& what, PictureKind kind,
                         long long maxPixels) {
  return readBytes(data, size, what, readerFormat(kind), maxPixels);
}

Picture decodePicture(const unsigned char* data, std::size_t size, const std::string& what) {
  return readBytes(data, size, what, nullptr);
}

void saveBitmapPng(const PictureBox& box, const std::string& path) {
  const QImage view(reinterpret_cast<const uchar*>(box.bits()), box.pixelWidth(), box.pixelHeight(),
                    box.pixelWidth() * 4, QImage::Format_RGBX8888);
  QSaveFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::WriteOnly) || !view.save(&file, "PNG") || !file.commit()) {
    throw FileError("cannot write " + path + ": " + file.errorString().toStdString());
  }
}

}  // namespace quern
