#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageReader>
#include <string>
#include <vector>

#include "base/numbers.h"

namespace quern::testing {

// A picture as Qt's reader decodes it, which the window once used, with
// transparent parts laid on white as the window laid them.
struct QtPicture {
  int width = 0;
  int height = 0;
  std::vector<Colour> pixels;
};

inline Colour overWhite(QRgb c) {
  const int a = qAlpha(c);
  auto mix = [a](int v) { return (v * a + 255 * (255 - a) + 127) / 255; };
  return rgb(mix(qRed(c)), mix(qGreen(c)), mix(qBlue(c)));
}

// Indexed pictures went through their colour table, black past its end.
inline QtPicture fromQImage(const QImage& img) {
  QtPicture p{img.width(), img.height(), {}};
  const QList<QRgb> table = img.colorTable();
  for (int y = 0; y < p.height; ++y) {
    for (int x = 0; x < p.width; ++x) {
      if (img.format() == QImage::Format_Indexed8 || img.format() == QImage::Format_Mono) {
        const int i = img.pixelIndex(x, y);
        p.pixels.push_back(i < table.size() ? overWhite(table[i]) : kBlack);
      } else {
        p.pixels.push_back(overWhite(img.pixel(x, y)));
      }
    }
  }
  return p;
}

inline QtPicture qtDecodeFile(const std::string& path) {
  QImageReader reader(QString::fromStdString(path));
  reader.setAutoTransform(false);
  return fromQImage(reader.read());
}

inline QtPicture qtDecodeBytes(const std::vector<unsigned char>& bytes) {
  QByteArray data =
      QByteArray::fromRawData(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
  QBuffer buffer(&data);
  buffer.open(QIODevice::ReadOnly);
  QImageReader reader(&buffer);
  reader.setAutoTransform(false);
  return fromQImage(reader.read());
}

}  // namespace quern::testing
