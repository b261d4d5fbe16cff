#include "intake/picture_loader.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageReader>
#include <QSaveFile>
#include <array>
#include <string_view>

#include "base/errors.h"
#include "surface/picture_box.h"

namespace quern {

namespace {

// Megabytes the reader may allocate for one picture: enough for the largest
// picture we take, and a file that claims more fails instead of eating memory.
constexpr int kAllocationLimitMb = 256;

// Transparent parts of a GIF or PNG stand on white paper.
Colour overWhite(QRgb c) {
  const int a = qAlpha(c);
  auto mix = [a](int v) { return (v * a + 255 * (255 - a) + 127) / 255; };
  return rgb(mix(qRed(c)), mix(qGreen(c)), mix(qBlue(c)));
}

Picture fromImage(const QImage& decoded) {
  const bool alpha = decoded.hasAlphaChannel();
  const QImage img = decoded.convertToFormat(alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
  const Int32 w = img.width();
  const Int32 h = img.height();
  std::vector<Colour> pixels(static_cast<std::size_t>(w) * h);
  for (Int32 y = 0; y < h; ++y) {
    const auto* line = reinterpret_cast<const QRgb*>(img.constScanLine(y));
    Colour* out = pixels.data() + static_cast<std::size_t>(y) * w;
    for (Int32 x = 0; x < w; ++x)
      out[x] = alpha ? overWhite(line[x]) : rgb(qRed(line[x]), qGreen(line[x]), qBlue(line[x]));
  }
  return makePicture(w, h, std::move(pixels));
}

Picture readWith(QImageReader& reader, const std::string& what) {
  reader.setAllocationLimit(kAllocationLimitMb);
  reader.setAutoTransform(false);
  const QSize claimed = reader.size();
  if (claimed.isValid() && static_cast<long long>(claimed.width()) * claimed.height() > kMaxPicturePixels) {
    throw FileError("cannot load " + what + ": the picture is " + std::to_string(claimed.width()) + " by " +
                    std::to_string(claimed.height()) + " pixels, more than " + std::to_string(kMaxPicturePixels) +
                    " pixels in all");
  }
  QImage img;
  if (!reader.read(&img) || img.isNull()) {
    throw FileError("cannot load " + what + ": " + reader.errorString().toStdString());
  }
  return fromImage(std::move(img));
}

}  // namespace

Picture loadPictureFile(const std::string& path) {
  QImageReader reader(QString::fromStdString(path));
  reader.setDecideFormatFromContent(true);
  return readWith(reader, path);
}

Picture decodePicture(const unsigned char* data, std::size_t size, const std::string& what) {
  QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::ReadOnly);
  QImageReader reader(&buffer);
  return readWith(reader, what);
}

void saveBitmapPng(const PictureBox& box, const std::string& path) {
  const QImage view(reinterpret_cast<const uchar*>(box.bits()), box.pixelWidth(), box.pixelHeight(),
                    box.pixelWidth() * 4, QImage::Format_RGBX8888);
  QSaveFile file(QString::fromStdString(path));
  if (!file.open(QIODevice::WriteOnly) || !view.save(&file, "PNG") || !file.commit()) {
    throw FileError("cannot write " + path + ": " + file.errorString().toStdString());
  }
}

std::optional<std::string> pictureExtension(const std::string& path) {
  if (path.size() < 3) return std::nullopt;
  return path.substr(path.size() - 3);
}

bool isPictureExtension(const std::string& extension) {
  static constexpr std::array<std::string_view, 6> kAccepted = {"jpg", "JPG", "BMP", "bmp", "gif", "GIF"};
  for (std::string_view e : kAccepted) {
    if (extension == e) return true;
  }
  return false;
}

}  // namespace quern
