#include "intake/picture_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <system_error>

#include "base/errors.h"
#include "intake/bmp_reader.h"
#include "intake/picture_format.h"
#include "intake/picture_loader.h"

namespace quern {

namespace {

std::string reason(int error) {
  return std::generic_category().message(error);
}

}  // namespace

[[noreturn]] void refuseLoad(const std::string& what, const std::string& why) {
  throw FileError("cannot load " + what + ": " + why);
}

void checkPictureClaim(const std::string& what, long long w, long long h, long long maxPixels) {
  if (w * h > maxPixels) {
    refuseLoad(what, "the picture is " + std::to_string(w) + " by " + std::to_string(h) + " pixels, more than " +
                         std::to_string(maxPixels) + " pixels in all");
  }
}

Picture decodePictureFile(const unsigned char* data, std::size_t size, const std::string& what, long long maxPixels) {
  const PictureShape shape = inspectPictureFile(data, size);
  if (shape.kind == PictureKind::Unknown) refuseLoad(what, shape.problem);
  checkPictureClaim(what, shape.width, shape.height, maxPixels);
  if (!shape.problem.empty())
    refuseLoad(what, std::string("not a complete ") + kindName(shape.kind) + " picture: " + shape.problem);
  if (shape.kind == PictureKind::Bmp) {
    if (std::optional<Picture> plain = readPlainBmp(data, size)) return *std::move(plain);
  }
  return decodeWithReader(data, size, what, shape.kind, maxPixels);
}

Picture loadPictureFile(const std::string& path, long long maxPixels) {
  const long long maxFileBytes = 4 * maxPixels + (1 << 20);
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    const int error = errno;
    if (error == ENOENT) refuseLoad(path, "there is no such file");
    if (error == EACCES) refuseLoad(path, "no permission to read it");
    refuseLoad(path, reason(error));
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
    refuseLoad(path, "it is a folder, not a picture file");
  } else if (!S_ISREG(info.st_mode)) {
    ::close(fd);
    refuseLoad(path, "it is not a regular file");
  } else if (info.st_size > maxFileBytes) {
    ::close(fd);
    refuseLoad(path, "the file is " + std::to_string(info.st_size) + " bytes, more than the " +
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
  if (error != 0) refuseLoad(path, reason(error));
  return decodePictureFile(bytes.get(), done, path, maxPixels);
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
