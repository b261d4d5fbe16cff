#include "base/replace_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <random>
#include <system_error>

#include "base/errors.h"

namespace quern {

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
  throw FileError("Cannot write the file \"" + path + "\": " + std::generic_category().message(error));
}

// Opens a fresh file next to the target; the name is hidden and random, so it
// neither shows up as a drawing nor meets another export's.
int openBeside(const std::filesystem::path& target, std::string& tempName) {
  std::random_device entropy;
  const std::filesystem::path dir = target.has_parent_path() ? target.parent_path() : std::filesystem::path(".");
  const std::string stem = target.filename().string().substr(0, 200);
  int error = 0;
  for (int attempt = 0; attempt < 50; ++attempt) {
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, ".%08x", static_cast<unsigned>(entropy()));
    tempName = (dir / ("." + stem + suffix + ".part")).string();
    const int fd = ::open(tempName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0) return fd;
    error = errno;
    if (error != EEXIST) break;
  }
  fail(target.string(), error);
}

}  // namespace

void replaceFile(const std::string& path, std::string_view content) {
  if (path.empty()) throw FileError("Cannot write the file: no file name was given");
  std::string tempName;
  const int fd = openBeside(std::filesystem::path(path), tempName);
  int error = 0;
  std::size_t done = 0;
  while (error == 0 && done < content.size()) {
    const ssize_t n = ::write(fd, content.data() + done, content.size() - done);
    if (n > 0) {
      done += static_cast<std::size_t>(n);
    } else if (n < 0 && errno != EINTR) {
      error = errno;
    }
  }
  if (error == 0 && ::fsync(fd) != 0) error = errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error == 0 && std::rename(tempName.c_str(), path.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(tempName.c_str());
    fail(path, error);
  }
}

}  // namespace quern
