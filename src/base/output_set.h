#pragma once

#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quern {

// The files one run writes (a drawing, its SVG, its preview, any later
// report), put in place together or not at all. Each output is written the
// way a careful editor saves:
//
// - A regular file is written to a new file beside it, which takes the old
//   file's permission bits and owner and is then renamed over it. Where the
//   file system allows, the new file has no name until it is put in place,
//   so even a killed process leaves nothing behind.
// - A symbolic link is followed to the file it names, and that file is
//   replaced; the link stays a link.
// - A file with more than one hard link is written in place, so every name
//   sees the new contents. So is a file whose folder takes no new file or
//   whose owner a new file could not keep. Space is reserved before the first
//   byte is overwritten, and the old contents are kept to be put back.
// - A character device or a fifo is written directly at commit; a fifo no
//   program reads from, a folder, a disk device or a socket is refused.
//
// add() does the slow work (the bytes go to disk) and refuses what can never
// be written; commit() puts every output in place. When one output fails at
// commit, those already in place get their old contents back, so no old file
// changes; only a device or fifo written before the failing one has seen its
// bytes. An output set that is destroyed without commit leaves every file as
// it was and removes what it made. SIGINT, SIGTERM and SIGHUP remove the
// named temporaries too (see temp_registry.h).
//
// Throws FileError naming the file and the reason.
// Folders whose sync waits for the end of a batch: every output renamed
// into a folder is synced as it is written, and the folder, which holds the
// new name, once at the end, however many drawings went into it. An output
// staged with Sync::atEnd waits with its folder: its file system is then
// synced once, data and names together, instead of file by file.
// Output sets on several threads may share one.
class FolderSyncs {
 public:
  FolderSyncs() = default;
  FolderSyncs(const FolderSyncs&) = delete;
  FolderSyncs& operator=(const FolderSyncs&) = delete;
  // Syncs what still waits; a failure then goes unreported.
  ~FolderSyncs();
  void add(const std::string& folder);
  void addWhole(const std::string& folder);
  std::size_t pending() const;
  // Syncs everything that waits, and says why a file system that held
  // waiting files could not be synced ("" when all went to disk).
  std::string syncAll();

 private:
  mutable std::mutex lock_;
  std::set<std::string> folders_;
  std::set<std::string> wholeFolders_;
};

class OutputSet {
 public:
  struct Output;  // one staged file; defined where it is written

  struct Options {
    // Use unnamed temporaries (O_TMPFILE) where the file system has them.
    bool unnamedTemporaries = true;
    // Where folder syncs wait, if anywhere; without, each is synced at once.
    FolderSyncs* folderSyncs = nullptr;
  };

  OutputSet();
  explicit OutputSet(Options options);
  ~OutputSet();
  OutputSet(const OutputSet&) = delete;
  OutputSet& operator=(const OutputSet&) = delete;

  // When a file's bytes go to disk: as it is written, or, for files that can
  // be made again (the review page's previews), with the batch's folders at
  // its end. Without folder syncs to wait with, every file is synced at once.
  enum class Sync { atOnce, atEnd };

  // Stages content as the new contents of path. Refuses a path that is the
  // same file as an output already staged.
  void add(const std::string& path, std::string_view content, Sync sync = Sync::atOnce);
  // The same, the content given in pieces that follow each other.
  void add(const std::string& path, std::span<const std::string_view> content, Sync sync = Sync::atOnce);
  // An output whose content comes a piece at a time, appended until the
  // commit: to the new file as it comes, or kept for the commit where the
  // target is written in place or is a device or fifo. One thread at a time.
  class Growing {
   public:
    // Throws FileError; the set's commit then fails too.
    void append(std::span<const std::string_view> pieces);
    void append(std::string_view piece) { append(std::span<const std::string_view>(&piece, 1)); }
    // Writes `bytes` over some of those appended, from byte `at` on.
    void overwrite(std::size_t at, std::string_view bytes);
    std::size_t size() const;

   private:
    friend class OutputSet;
    explicit Growing(Output* output) : output_(output) {}
    Output* output_;
  };
  // Stages an output as add() does, with no content yet; the handle is good
  // while the set lasts.
  Growing grow(const std::string& path, Sync sync = Sync::atOnce);

  // Puts every staged output in place, or none of them.
  void commit();
  // Names staged so far, as given.
  std::vector<std::string> paths() const;

 private:
  // Checks and stages `path`: with its content, or, without, to grow.
  Output& stage(const std::string& path, Sync sync, const std::span<const std::string_view>* content);
  void rollBack(std::size_t placed);
  Options options_;
  std::vector<std::unique_ptr<Output>> outputs_;
  bool committed_ = false;
};

}  // namespace quern
