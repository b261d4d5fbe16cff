#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quern {

// Writes content as the new contents of the file at path, the way a careful
// editor saves, and never leaves a half-written drawing in place of an old one:
//
// - A regular file is written to a new file beside it, which takes the old
//   file's permission bits and owner and is then renamed over it.
// - A symbolic link is followed to the file it names, and that file is
//   replaced; the link stays a link.
// - A file with more than one hard link is written in place, so every name
//   sees the new drawing. So is a file whose folder takes no new file or
//   whose owner a new file could not keep. Space is reserved before the first
//   byte is overwritten, and on a failed write the old contents are put back.
// - A character device or a fifo is written directly; a folder, a disk
//   device or a socket is refused.
//
// Throws FileError naming the file and the reason.
void replaceFile(const std::string& path, std::string_view content);

// A file is synced as it is written, and the folder it was renamed into right
// after. While a FolderSyncBatch lives (in any thread), the folders are
// synced once each when the last such batch ends instead: a batch of many
// drawings into one folder then syncs it once, not once a drawing.
class FolderSyncBatch {
 public:
  FolderSyncBatch();
  ~FolderSyncBatch();
  FolderSyncBatch(const FolderSyncBatch&) = delete;
  FolderSyncBatch& operator=(const FolderSyncBatch&) = delete;

  // Folders waiting for their sync.
  static std::size_t pending();
};

}  // namespace quern
