#include "intake/picture_loader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <memory>
#include <system_error>
#include <vector>

#include "base/errors.h"
#include "intake/bmp_reader.h"
#include "intake/format_readers.h"
#include "intake/picture_format.h"

namespace quern {

namespace {

[[noreturn]] void refuse(const std::string& what, const std::string& why) {
  throw FileError("cannot load " + what + ": " + why);
}

std::string reason(int error) {
  return std::generic_category().message(error);
}

}  // namespace

void checkPixelLimit(long long width, long long height, long long maxPixels) {
  // Sizes come from headers, up to 32 bits a side (a BMP's height may be
  // negative): compared by division, the product cannot overflow.
  const long long w = width < 0 ? -width : width;
  const long long h = height < 0 ? -height : height;
  if (w > 0 && h > 0 && w > maxPixels / h) {
    throw FileError("the picture is " + std::to_string(width) + " by " + std::to_string(height) +
                    " pixels, more than " + std::to_string(maxPixels) + " pixels in all");
  }
}

Picture decodePictureFile(const unsigned char* data, std::size_t size, const std::string& what, long long maxPixels,
                          int page) {
  const PictureShape shape = inspectPictureFile(data, size);
  if (shape.kind == PictureKind::Unknown) refuse(what, shape.problem);
  try {
    checkPixelLimit(shape.width, shape.height, maxPixels);
    if (!shape.problem.empty())
      throw FileError(std::string("not a complete ") + kindName(shape.kind) + " picture: " + shape.problem);
    if (page < 1 || page > shape.pages) {
      throw FileError("it has " + std::to_string(shape.pages) + (shape.pages == 1 ? " page" : " pages") + ", not " +
                      std::to_string(page));
    }
    switch (shape.kind) {
      case PictureKind::Jpeg:
        return readJpeg(data, size, maxPixels);
      case PictureKind::Gif:
        return readGif(data, size, maxPixels);
      case PictureKind::Png:
        return readPng(data, size, maxPixels);
      case PictureKind::Tiff:
        return readTiff(data, size, maxPixels, page);
      case PictureKind::Bmp:
      case PictureKind::Unknown:
        break;
    }
    if (std::optional<Picture> bmp = readPlainBmp(data, size)) return *std::move(bmp);
    throw FileError("its kind of BMP is not read by this program");
  } catch (const FileError& e) {
    refuse(what, e.what());
  }
}

PictureFileBytes readPictureFile(const std::string& path, long long maxPixels) {
  // Eight bytes a pixel: an uncompressed 16-bit RGBA TIFF of the largest picture.
  const long long maxFileBytes = 8 * maxPixels + (1 << 20);
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
  return PictureFileBytes{std::move(bytes), done};
}

Picture loadPictureFile(const std::string& path, long long maxPixels, int page) {
  const PictureFileBytes bytes = readPictureFile(path, maxPixels);
  return decodePictureFile(bytes.data.get(), bytes.size, path, maxPixels, page);
}

Picture decodePicture(const unsigned char* data, std::size_t size, const std::string& what) {
  return decodePictureFile(data, size, what);
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

bool isBatchPictureName(const std::string& path) {
  static constexpr std::array<std::string_view, 7> kEndings = {".jpg", ".jpeg", ".bmp", ".gif",
                                                               ".png", ".tif",  ".tiff"};
  for (std::string_view e : kEndings) {
    if (path.size() < e.size()) continue;
    const std::string_view tail = std::string_view(path).substr(path.size() - e.size());
    bool same = true;
    for (std::size_t i = 0; i < e.size() && same; ++i) same = std::tolower(static_cast<unsigned char>(tail[i])) == e[i];
    if (same) return true;
  }
  return false;
}

}  // namespace quern
