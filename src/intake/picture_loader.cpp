#include "intake/picture_loader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageReader>
#include <QSaveFile>
#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <system_error>
#include <vector>

#include "intake/bmp_reader.h"
#include "intake/picture_format.h"
#include "base/errors.h"
#include "surface/picture_box.h"

namespace quern {

namespace {

// Megabytes the reader may allocate for one picture: the largest picture we
// take at four bytes a pixel, so the reader's limit and ours never disagree.
int allocationLimitMb(long long maxPixels) {
  return static_cast<int>(std::min<long long>((4 * maxPixels) >> 20, 1 << 30)) + 1;
}

[[noreturn]] void refuse(const std::string& what, const std::string& why) {
  throw FileError("cannot load " + what + ": " + why);
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

void checkClaim(const std::string& what, long long w, long long h, long long maxPixels) {
  if (w * h > maxPixels) {
    refuse(what, "the picture is " + std::to_string(w) + " by " + std::to_string(h) + " pixels, more than " +
                     std::to_string(maxPixels) + " pixels in all");
  }
}

Picture readWith(QImageReader& reader, const std::string& what, long long maxPixels) {
  reader.setAllocationLimit(allocationLimitMb(maxPixels));
  reader.setAutoTransform(false);
  const QSize claimed = reader.size();
  if (claimed.isValid()) checkClaim(what, claimed.width(), claimed.height(), maxPixels);
  QImage img;
  if (!reader.read(&img) || img.isNull()) refuse(what, reader.errorString().toStdString());
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

std::string reason(int error) {
  return std::generic_category().message(error);
}

}  // namespace

Picture decodePictureFile(const unsigned char* data, std::size_t size, const std::string& what, long long maxPixels) {
  const PictureShape shape = inspectPictureFile(data, size);
  if (shape.kind == PictureKind::Unknown) refuse(what, shape.problem);
  checkClaim(what, shape.width, shape.height, maxPixels);
  if (!shape.problem.empty())
    refuse(what, std::string("not a complete ") + kindName(shape.kind) + " picture: " + shape.problem);
  if (shape.kind == PictureKind::Bmp) {
    if (std::optional<Picture> plain = readPlainBmp(data, size)) return *std::move(plain);
  }
  return readBytes(data, size, what, readerFormat(shape.kind), maxPixels);
}

Picture loadPictureFile(const std::string& path, long long maxPixels) {
  const long long maxFileBytes = 4 * maxPixels + (1 << 20);
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    const int error = errno;
    if (error == ENOENT) refuse(path, "there is no such file");
    if (error == EACCES) refuse(path, "no permission to read it");
    refuse(path, reason(error));
  }
  // Read whole before anything is decoded: the structure walk needs the end.
  std::unique_ptr<unsigned char[]> bytes;
  std::size_t done = 0;
  int error = 0;
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    error = errno;
  } else if (S_ISDIR(info.st_mode)) {
    ::close(fd);
    refuse(path, "it is a folder, not a picture file");
  } else if (!S_ISREG(info.st_mode)) {
    ::close(fd);
    refuse(path, "it is not a regular file");
  } else if (info.st_size > maxFileBytes) {
    ::close(fd);
    refuse(path, "the file is " + std::to_string(info.st_size) + " bytes, more than the " +
                     std::to_string(maxFileBytes) + " bytes of the largest picture taken");
  } else {
    const auto size = static_cast<std::size_t>(info.st_size);
    bytes = std::make_unique_for_overwrite<unsigned char[]>(size);
    for (bool more = true; more && error == 0 && done < size;) {
      const ssize_t n = ::read(fd, bytes.get() + done, size - done);
      if (n > 0) {
        done += static_cast<std::size_t>(n);
      } else if (n == 0) {
        more = false;  // the file shrank while we read it
      } else if (errno != EINTR) {
        error = errno;
      }
    }
  }
  ::close(fd);
  if (error != 0) refuse(path, reason(error));
  return decodePictureFile(bytes.get(), done, path, maxPixels);
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
