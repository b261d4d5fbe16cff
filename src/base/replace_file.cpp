#include "base/replace_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <system_error>

#include "base/errors.h"

namespace quern {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, const std::string& why) {
  throw FileError("Cannot write the file \"" + path + "\": " + why);
}
[[noreturn]] void fail(const std::string& path, int error) {
  fail(path, std::generic_category().message(error));
}

// The file a chain of symbolic links ends at (which need not exist yet).
fs::path followLinks(const std::string& path) {
  fs::path p = path;
  for (int hops = 0; hops < 40; ++hops) {
    std::error_code ec;
    if (!fs::is_symlink(fs::symlink_status(p, ec))) return p;
    const fs::path next = fs::read_symlink(p, ec);
    if (ec) fail(path, ec.value());
    p = next.is_absolute() ? next : p.parent_path() / next;
  }
  fail(path, ELOOP);
}

// Writes all of content; 0 or the error.
int writeAll(int fd, std::string_view content) {
  std::size_t done = 0;
  while (done < content.size()) {
    const ssize_t n = ::write(fd, content.data() + done, content.size() - done);
    if (n > 0) {
      done += static_cast<std::size_t>(n);
    } else if (n < 0 && errno != EINTR) {
      return errno;
    } else if (n == 0) {
      return EIO;
    }
  }
  return 0;
}

std::optional<std::string> readAll(int fd) {
  std::string text;
  char buffer[65536];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n > 0) {
      text.append(buffer, static_cast<std::size_t>(n));
    } else if (n == 0) {
      return text;
    } else if (errno != EINTR) {
      return std::nullopt;
    }
  }
}

// Opens a fresh file next to the target; the name is hidden and random, so it
// neither shows up as a drawing nor meets another export's. -1 and errno set
// when the folder takes no new file.
int openBeside(const fs::path& target, std::string& tempName) {
  std::random_device entropy;
  const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
  const std::string stem = target.filename().string().substr(0, 200);
  for (int attempt = 0; attempt < 50; ++attempt) {
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, ".%08x", static_cast<unsigned>(entropy()));
    tempName = (dir / ("." + stem + suffix + ".part")).string();
    const int fd = ::open(tempName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

// Folders whose sync waits for the end of the open batches; writers on
// several threads share them.
struct DeferredSyncs {
  std::mutex lock;
  int batches = 0;
  std::set<fs::path> folders;
};
DeferredSyncs& deferredSyncs() {
  static DeferredSyncs syncs;
  return syncs;
}

void syncNow(const fs::path& dir) {
  const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::fsync(fd);  // the rename is safe on disk; a failure here loses nothing
    ::close(fd);
  }
}

void syncFolder(const fs::path& target) {
  const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
  {
    DeferredSyncs& syncs = deferredSyncs();
    const std::lock_guard<std::mutex> hold(syncs.lock);
    if (syncs.batches > 0) {
      syncs.folders.insert(dir);
      return;
    }
  }
  syncNow(dir);
}

// Writes beside the target and renames over it. False, with nothing changed,
// when no new file can be made beside it or the new file cannot keep the old
// one's owner: the caller then writes in place.
bool writeBesideAndRename(const std::string& path, const fs::path& target, std::string_view content,
                          const struct stat* old) {
  std::string tempName;
  const int fd = openBeside(target, tempName);
  if (fd < 0) {
    const int error = errno;
    if (old != nullptr && error != ENOENT && error != ENOTDIR && error != ENAMETOOLONG) return false;
    fail(path, error);
  }
  int error = 0;
  if (old != nullptr) {
    if (::fchown(fd, old->st_uid, old->st_gid) != 0) {
      ::close(fd);
      ::unlink(tempName.c_str());
      return false;
    }
    // After the owner: a change of owner clears the set-id bits.
    if (::fchmod(fd, old->st_mode & 07777) != 0) error = errno;
  }
  if (error == 0) error = writeAll(fd, content);
  if (error == 0 && ::fsync(fd) != 0) error = errno;
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error == 0 && std::rename(tempName.c_str(), target.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(tempName.c_str());
    fail(path, error);
  }
  syncFolder(target);
  return true;
}

// Overwrites the file itself. For a regular file the space is reserved first,
// so a full disk fails before anything changes, and a write that still fails
// puts the old contents back.
void writeInPlace(const std::string& path, const fs::path& target, std::string_view content, bool regular) {
  int fd = ::open(target.c_str(), (regular ? O_RDWR : O_WRONLY | O_NONBLOCK) | O_CLOEXEC);
  // A file we may write but not read is still written, only without the way back.
  const bool readable = fd >= 0 || errno != EACCES || !regular;
  if (!readable) fd = ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) {
    if (errno == ENXIO) fail(path, "it is a fifo that no program is reading from");
    fail(path, errno);
  }
  int error = 0;
  std::optional<std::string> old;
  if (regular) {
    if (readable) {
      old = readAll(fd);
      if (!old) error = errno;
    }
    if (error == 0 && !content.empty()) {
      const int reserved = ::posix_fallocate(fd, 0, static_cast<off_t>(content.size()));
      if (reserved == ENOSPC || reserved == EDQUOT || reserved == EFBIG) error = reserved;
    }
    if (error == 0 && ::lseek(fd, 0, SEEK_SET) != 0) error = errno;
  } else {
    // Opened without blocking only to learn whether a fifo has a reader.
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
  }
  if (error == 0) error = writeAll(fd, content);
  if (regular && error == 0 && ::ftruncate(fd, static_cast<off_t>(content.size())) != 0) error = errno;
  if (regular && error == 0 && ::fsync(fd) != 0) error = errno;
  // Also after a failed reservation, which may have grown the file.
  if (old && error != 0) {
    if (::pwrite(fd, old->data(), old->size(), 0) == static_cast<ssize_t>(old->size())) {
      ::ftruncate(fd, static_cast<off_t>(old->size()));
    }
  }
  if (::close(fd) != 0 && error == 0) error = errno;
  if (error != 0) fail(path, error);
}

}  // namespace

void replaceFile(const std::string& path, std::string_view content) {
  if (path.empty()) throw FileError("Cannot write the file: no file name was given");
  const fs::path target = followLinks(path);
  struct stat old {};
  if (::stat(target.c_str(), &old) != 0) {
    if (errno != ENOENT) fail(path, errno);
    writeBesideAndRename(path, target, content, nullptr);
    return;
  }
  if (S_ISDIR(old.st_mode)) fail(path, "it is a folder, not a file");
  // A file we may not write stays as it is, as with any program that opens it for output.
  if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) fail(path, errno);
  if (S_ISBLK(old.st_mode)) fail(path, "it is a disk device, and a drawing is not written over one");
  if (S_ISSOCK(old.st_mode)) fail(path, "it is a socket, not a file");
  if (!S_ISREG(old.st_mode)) {
    writeInPlace(path, target, content, false);
    return;
  }
  // Replacing a file with other names would leave them on the old drawing.
  if (old.st_nlink > 1 || !writeBesideAndRename(path, target, content, &old)) {
    writeInPlace(path, target, content, true);
  }
}

FolderSyncBatch::FolderSyncBatch() {
  DeferredSyncs& syncs = deferredSyncs();
  const std::lock_guard<std::mutex> hold(syncs.lock);
  ++syncs.batches;
}

FolderSyncBatch::~FolderSyncBatch() {
  std::set<fs::path> due;
  {
    DeferredSyncs& syncs = deferredSyncs();
    const std::lock_guard<std::mutex> hold(syncs.lock);
    if (--syncs.batches == 0) due.swap(syncs.folders);
  }
  for (const fs::path& dir : due) syncNow(dir);
}

std::size_t FolderSyncBatch::pending() {
  DeferredSyncs& syncs = deferredSyncs();
  const std::lock_guard<std::mutex> hold(syncs.lock);
  return syncs.folders.size();
}

}  // namespace quern
