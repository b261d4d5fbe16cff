#include "base/output_set.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <optional>
#include <random>
#include <system_error>
#include <utility>

#include "base/errors.h"
#include "base/file_identity.h"
#include "base/temp_registry.h"

namespace quern {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, const std::string& why) {
  throw FileError("Cannot write the file \"" + path + "\": " + why);
}
[[noreturn]] void fail(const std::string& path, int error) {
  fail(path, std::generic_category().message(error));
}

// Writes all of the pieces, one after another; 0 or the error. A fifo whose
// reader has gone away is an error of this write, not a signal that ends
// the process.
int writeAll(int fd, std::span<const std::string_view> pieces) {
  sigset_t pipeOnly;
  sigset_t before;
  ::sigemptyset(&pipeOnly);
  ::sigaddset(&pipeOnly, SIGPIPE);
  ::pthread_sigmask(SIG_BLOCK, &pipeOnly, &before);
  // Up to IOV_MAX pieces a call, from where the last call stopped.
  std::vector<iovec> left;
  for (const std::string_view piece : pieces) {
    if (!piece.empty()) left.push_back({const_cast<char*>(piece.data()), piece.size()});
  }
  std::size_t first = 0;
  int error = 0;
  while (first < left.size() && error == 0) {
    const int count = static_cast<int>(std::min<std::size_t>(left.size() - first, IOV_MAX));
    const ssize_t n = ::writev(fd, left.data() + first, count);
    if (n > 0) {
      for (auto done = static_cast<std::size_t>(n); done > 0;) {
        const std::size_t taken = std::min(done, left[first].iov_len);
        left[first].iov_base = static_cast<char*>(left[first].iov_base) + taken;
        left[first].iov_len -= taken;
        done -= taken;
        if (left[first].iov_len == 0) ++first;
      }
    } else if (n < 0 && errno != EINTR) {
      error = errno;
    } else if (n == 0) {
      error = EIO;
    }
  }
  if (error == EPIPE && !::sigismember(&before, SIGPIPE)) {
    const timespec now{0, 0};
    ::sigtimedwait(&pipeOnly, nullptr, &now);  // the one this write raised
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return error;
}

int writeAll(int fd, std::string_view content) {
  return writeAll(fd, std::span<const std::string_view>(&content, 1));
}

std::string joined(std::span<const std::string_view> pieces) {
  std::size_t size = 0;
  for (const std::string_view piece : pieces) size += piece.size();
  std::string out;
  out.reserve(size);
  for (const std::string_view piece : pieces) out += piece;
  return out;
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

fs::path folderOf(const fs::path& target) {
  return target.has_parent_path() ? target.parent_path() : fs::path(".");
}

// A hidden, random name beside the target, so that it neither shows up as a
// drawing nor meets another export's.
std::string hiddenName(const fs::path& target, const char* kind) {
  static thread_local std::mt19937 random{std::random_device{}()};
  char suffix[24];
  std::snprintf(suffix, sizeof suffix, ".%08x.%s", static_cast<unsigned>(random()), kind);
  return (folderOf(target) / ("." + target.filename().string().substr(0, 200) + suffix)).string();
}

void syncFolderNow(const fs::path& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::fsync(fd);  // the rename is safe on disk; a failure here loses nothing
    ::close(fd);
  }
}

// An unnamed file is given its name through /proc; without /proc it would
// have no way into the folder.
bool unnamedFilesWork() {
  static const bool procMounted = ::access("/proc/self/fd", X_OK) == 0;
  return procMounted;
}

enum class Way { rename, inPlace, direct };

// How much of a growing file's sync waits, at most, before it is sent on its
// way: a few sends over a batch, so that the sync at its end finds little of
// the file left to write. Each send costs some 40 us of processor time on a
// virtual disk, whatever its size, so they are not made smaller.
constexpr std::size_t kSendEvery = 128 << 10;

}  // namespace

struct OutputSet::Output {
  std::string path;  // as named
  fs::path target;   // after links
  std::optional<FileIdentity> identity;
  Way way = Way::rename;
  int fd = -1;
  bool unnamed = false;
  bool existed = false;
  TemporaryName temp;      // the new file's hidden name
  TemporaryName backup;    // a second name of the old file while the set is committed
  std::string content;     // written at commit (in place, or to a device or fifo)
  bool syncAtEnd = false;  // its bytes go to disk with its folder's sync at the batch's end
  std::optional<std::string> old;
  // A growing output: its size so far, and how much of it has been sent on
  // its way to disk; it is sealed at commit.
  bool growing = false;
  std::size_t grown = 0;
  std::size_t sent = 0;

  ~Output() {
    if (fd >= 0) ::close(fd);
    temp.remove();
    backup.release();  // it may be the only copy left of an old file: never removed here
  }

  // Writes the new file beside the target; without bytes, only opens it to
  // grow. False, with nothing made, when the folder takes no new file or the
  // new file cannot keep the old one's owner: the caller then writes in place.
  bool stageBeside(const std::span<const std::string_view>* bytes, const struct stat* was, bool unnamedOk) {
    fd = openBeside(unnamedOk);
    if (fd < 0) {
      const int error = errno;
      if (was != nullptr && error != ENOENT && error != ENOTDIR && error != ENAMETOOLONG) return false;
      fail(path, error);
    }
    int error = 0;
    if (was != nullptr) {
      if (::fchown(fd, was->st_uid, was->st_gid) != 0) {
        drop();
        return false;
      }
      // After the owner: a change of owner clears the set-id bits.
      if (::fchmod(fd, was->st_mode & 07777) != 0) error = errno;
    }
    if (error == 0 && bytes) error = writeAll(fd, *bytes);
    if (error != 0) {
      drop();
      fail(path, error);
    }
    if (bytes) sealBeside();
    return true;
  }

  // The new file's bytes to disk, or on their way there when its sync waits.
  void sealBeside() {
    int error = 0;
    if (!syncAtEnd && ::fsync(fd) != 0) error = errno;
    if (error == 0 && syncAtEnd) sendOn();
    if (!unnamed) {
      if (::close(fd) != 0 && error == 0) error = errno;
      fd = -1;
    }
    if (error != 0) {
      drop();
      fail(path, error);
    }
  }

  // A file whose sync waits is sent on its way to disk as it is written,
  // without waiting, so that little is left for the sync at the end.
  void sendOn() {
    ::sync_file_range(fd, static_cast<off_t>(sent), 0, SYNC_FILE_RANGE_WRITE);
    sent = grown;
  }

  void append(std::span<const std::string_view> pieces) {
    if (way != Way::rename) {
      for (const std::string_view piece : pieces) content += piece;
      grown = content.size();
      return;
    }
    if (fd < 0) fail(path, "an earlier write to it failed");
    if (const int error = writeAll(fd, pieces)) {
      drop();
      fail(path, error);
    }
    for (const std::string_view piece : pieces) grown += piece.size();
    if (syncAtEnd && grown - sent >= kSendEvery) sendOn();
  }

  void overwrite(std::size_t at, std::string_view bytes) {
    if (at > grown || bytes.size() > grown - at) fail(path, "a change past the end of what was written");
    if (way != Way::rename) {
      content.replace(at, bytes.size(), bytes);
      return;
    }
    if (fd < 0) fail(path, "an earlier write to it failed");
    for (std::size_t done = 0; done < bytes.size();) {
      const ssize_t n = ::pwrite(fd, bytes.data() + done, bytes.size() - done, static_cast<off_t>(at + done));
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) {
        const int error = n < 0 ? errno : EIO;
        drop();
        fail(path, error);
      }
      done += static_cast<std::size_t>(n);
    }
  }

  // A grown output made ready for commit as add() makes one.
  void seal() {
    growing = false;
    if (way == Way::rename) {
      if (fd < 0) fail(path, "an earlier write to it failed");
      sealBeside();
    } else if (way == Way::inPlace) {
      stageInPlace(std::exchange(content, {}));
    } else {
      stageDirect(std::exchange(content, {}));
    }
  }

  int openBeside(bool unnamedOk) {
    if (unnamedOk && unnamedFilesWork()) {
      const int made = ::open(folderOf(target).c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
      if (made >= 0) {
        unnamed = true;
        return made;
      }
      // Only a file system without unnamed files falls back to a named one.
      if (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL) return -1;
    }
    for (int attempt = 0; attempt < 50; ++attempt) {
      // Known to the signal handler before the file exists, so that no
      // moment is left in which an interrupt would leave it behind.
      TemporaryName name(hiddenName(target, "part"));
      const int made = ::open(name.path().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
      if (made >= 0) {
        temp = std::move(name);
        return made;
      }
      const int error = errno;
      name.release();  // someone else's file, or none
      errno = error;
      if (error != EEXIST) return -1;
    }
    return -1;
  }

  void drop() {
    if (fd >= 0) ::close(fd);
    fd = -1;
    unnamed = false;
    temp.remove();
  }

  // The file itself, opened now so that commit cannot meet a refusal, with
  // its old contents kept and space reserved without changing its size.
  void stageInPlace(std::string bytes) {
    way = Way::inPlace;
    fd = ::open(target.c_str(), O_RDWR | O_CLOEXEC);
    // A file we may write but not read is still written, only without the way back.
    const bool readable = fd >= 0 || errno != EACCES;
    if (!readable) fd = ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) fail(path, errno);
    if (readable) {
      old = readAll(fd);
      if (!old) fail(path, errno);
    }
    if (!bytes.empty()) {
      const int reserved = ::fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(bytes.size())) == 0 ? 0 : errno;
      if (reserved == ENOSPC || reserved == EDQUOT || reserved == EFBIG) fail(path, reserved);
    }
    content = std::move(bytes);
  }

  void stageDirect(std::string bytes) {
    way = Way::direct;
    // Without blocking only to learn whether a fifo has a reader.
    fd = ::open(target.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
      if (errno == ENXIO) fail(path, "it is a fifo that no program is reading from");
      fail(path, errno);
    }
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK);
    content = std::move(bytes);
  }

  // Puts this output in place; on failure it is as it was and FileError says why.
  void place() {
    if (way == Way::inPlace) {
      int error = ::lseek(fd, 0, SEEK_SET) == 0 ? 0 : errno;
      if (error == 0) error = writeAll(fd, content);
      if (error == 0 && ::ftruncate(fd, static_cast<off_t>(content.size())) != 0) error = errno;
      if (error == 0 && ::fsync(fd) != 0) error = errno;
      if (error != 0) {
        restoreInPlace();
        fail(path, error);
      }
    } else if (way == Way::direct) {
      if (const int error = writeAll(fd, content)) fail(path, error);
    } else {
      if (unnamed) nameUnnamed();
      if (existed) {
        // Where the file system has no hard links the old file has no way back.
        TemporaryName second(hiddenName(target, "old"));
        if (::link(target.c_str(), second.path().c_str()) == 0) {
          backup = std::move(second);
        } else {
          second.release();
        }
      }
      if (::rename(temp.path().c_str(), target.c_str()) != 0) {
        const int error = errno;
        backup.remove();
        fail(path, error);
      }
      temp.release();
    }
  }

  void nameUnnamed() {
    const std::string self = "/proc/self/fd/" + std::to_string(fd);
    for (int attempt = 0; attempt < 50; ++attempt) {
      TemporaryName name(hiddenName(target, "part"));
      if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.path().c_str(), AT_SYMLINK_FOLLOW) == 0) {
        temp = std::move(name);
        ::close(fd);
        fd = -1;
        unnamed = false;
        return;
      }
      const int error = errno;
      name.release();
      if (error != EEXIST) fail(path, error);
    }
    fail(path, EEXIST);
  }

  void restoreInPlace() {
    if (old && ::pwrite(fd, old->data(), old->size(), 0) == static_cast<ssize_t>(old->size())) {
      ::ftruncate(fd, static_cast<off_t>(old->size()));
    }
  }

  void undo() {
    if (way == Way::inPlace) {
      restoreInPlace();
    } else if (way == Way::rename) {
      if (!backup.empty()) {
        if (::rename(backup.path().c_str(), target.c_str()) == 0) backup.release();
      } else if (!existed) {
        ::unlink(target.c_str());
      }
    }
  }

  void finish(FolderSyncs* syncs) {
    if (fd >= 0) ::close(fd);
    fd = -1;
    if (way == Way::rename) {
      backup.remove();
      if (syncs && syncAtEnd) {
        syncs->addWhole(folderOf(target).string());
      } else if (syncs) {
        syncs->add(folderOf(target).string());
      } else {
        syncFolderNow(folderOf(target));
      }
    }
  }
};

FolderSyncs::~FolderSyncs() {
  syncAll();
}

std::string FolderSyncs::syncAll() {
  const std::lock_guard<std::mutex> hold(lock_);
  for (const std::string& folder : folders_) syncFolderNow(folder);
  folders_.clear();
  // One sync of the file system puts every waiting file's bytes and name on
  // disk: cheaper than a sync for each when there are many.
  // Folders on a file system already synced need nothing more.
  std::string failure;
  std::set<dev_t> synced;
  for (const std::string& folder : wholeFolders_) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    struct stat st {};
    const bool seen = fd >= 0 && ::fstat(fd, &st) == 0 && !synced.insert(st.st_dev).second;
    const int error = fd < 0 ? errno : seen ? 0 : ::syncfs(fd) != 0 ? errno : 0;
    if (fd >= 0) ::close(fd);
    if (error != 0 && failure.empty()) {
      failure = "the files written to \"" + folder +
                "\" could not be synced to disk: " + std::generic_category().message(error);
    }
  }
  wholeFolders_.clear();
  return failure;
}

void FolderSyncs::add(const std::string& folder) {
  const std::lock_guard<std::mutex> hold(lock_);
  folders_.insert(folder);
}

void FolderSyncs::addWhole(const std::string& folder) {
  const std::lock_guard<std::mutex> hold(lock_);
  wholeFolders_.insert(folder);
}

std::size_t FolderSyncs::pending() const {
  const std::lock_guard<std::mutex> hold(lock_);
  return folders_.size() + wholeFolders_.size();
}

OutputSet::OutputSet() : OutputSet(Options{}) {}
OutputSet::OutputSet(Options options) : options_(options) {}
OutputSet::~OutputSet() = default;

std::vector<std::string> OutputSet::paths() const {
  std::vector<std::string> names;
  for (const auto& o : outputs_) names.push_back(o->path);
  return names;
}

void OutputSet::add(const std::string& path, std::string_view content, Sync sync) {
  add(path, std::span<const std::string_view>(&content, 1), sync);
}

void OutputSet::add(const std::string& path, std::span<const std::string_view> content, Sync sync) {
  stage(path, sync, &content);
}

OutputSet::Growing OutputSet::grow(const std::string& path, Sync sync) {
  Output& o = stage(path, sync, nullptr);
  o.growing = true;
  return Growing(&o);
}

void OutputSet::Growing::append(std::span<const std::string_view> pieces) {
  output_->append(pieces);
}

void OutputSet::Growing::overwrite(std::size_t at, std::string_view bytes) {
  output_->overwrite(at, bytes);
}

std::size_t OutputSet::Growing::size() const {
  return output_->grown;
}

OutputSet::Output& OutputSet::stage(const std::string& path, Sync sync,
                                    const std::span<const std::string_view>* content) {
  if (path.empty()) throw FileError("Cannot write the file: no file name was given");
  if (committed_) fail(path, "the outputs it belongs with are already written");
  auto o = std::make_unique<Output>();
  o->path = path;
  o->syncAtEnd = sync == Sync::atEnd && options_.folderSyncs != nullptr;
  o->target = followLinks(path);
  o->identity = fileIdentity(path);
  for (const auto& other : outputs_) {
    if (o->identity && o->identity == other->identity) {
      fail(path, "it is the same file as \"" + other->path + "\", which this run writes too");
    }
  }
  struct stat was {};
  if (::stat(o->target.c_str(), &was) != 0) {
    if (errno != ENOENT) fail(path, errno);
    o->stageBeside(content, nullptr, options_.unnamedTemporaries);
  } else {
    o->existed = true;
    if (S_ISDIR(was.st_mode)) fail(path, "it is a folder, not a file");
    // A file we may not write stays as it is, as with any program that opens it for output.
    if (::faccessat(AT_FDCWD, o->target.c_str(), W_OK, AT_EACCESS) != 0) fail(path, errno);
    if (S_ISBLK(was.st_mode)) fail(path, "it is a disk device, and nothing is written over one");
    if (S_ISSOCK(was.st_mode)) fail(path, "it is a socket, not a file");
    // A growing output written in place or directly is staged so when sealed.
    if (!S_ISREG(was.st_mode)) {
      o->way = Way::direct;
      if (content) o->stageDirect(joined(*content));
    } else if (was.st_nlink > 1 || !o->stageBeside(content, &was, options_.unnamedTemporaries)) {
      // Replacing a file with other names would leave them on the old contents.
      o->way = Way::inPlace;
      if (content) o->stageInPlace(joined(*content));
    }
  }
  outputs_.push_back(std::move(o));
  return *outputs_.back();
}

void OutputSet::commit() {
  if (committed_) return;
  // What can be undone first; a device or a fifo cannot take its bytes back.
  auto rank = [](const std::unique_ptr<Output>& o) {
    return o->way == Way::inPlace ? 0 : o->way == Way::rename ? 1 : 2;
  };
  for (auto& o : outputs_) {
    if (o->growing) o->seal();
  }
  std::stable_sort(outputs_.begin(), outputs_.end(), [&](const auto& a, const auto& b) { return rank(a) < rank(b); });
  std::size_t placed = 0;
  try {
    for (; placed < outputs_.size(); ++placed) outputs_[placed]->place();
  } catch (const FileError&) {
    rollBack(placed);
    throw;
  }
  for (auto& o : outputs_) o->finish(options_.folderSyncs);
  committed_ = true;
}

void OutputSet::rollBack(std::size_t placed) {
  while (placed > 0) outputs_[--placed]->undo();
}

}  // namespace quern
