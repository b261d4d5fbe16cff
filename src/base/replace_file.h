#pragma once

#include <string>
#include <string_view>

namespace quern {

// Writes content as the new contents of the file at path, the way a careful
// editor saves, and never leaves a half-written drawing in place of an old one.
// An OutputSet of one output (see output_set.h, which also writes several
// files together):
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

}  // namespace quern
