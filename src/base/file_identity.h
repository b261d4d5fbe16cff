#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quern {

// Which file a name means, whatever the spelling: "a.dxf", "./a.dxf", a
// symbolic link to it and another hard link all have one identity. A name
// that does not exist yet is the folder it would be made in (after links)
// and the name in that folder, so two outputs not yet written also meet.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  std::string name;  // empty for a file that exists
  auto operator<=>(const FileIdentity&) const = default;
};

// The file a chain of symbolic links ends at, which need not exist yet.
// Throws FileError (ELOOP, or a link that cannot be read).
std::filesystem::path followLinks(const std::string& path);

// nullopt when not even the folder is there: such a name meets no other.
std::optional<FileIdentity> fileIdentity(const std::string& path);

// Two names in the lists that mean one file, where at least one of them is
// an output: an output over an input or over another output. The first such
// pair, as named (the input, or the earlier output, first).
std::optional<std::pair<std::string, std::string>> firstClash(const std::vector<std::string>& inputs,
                                                              const std::vector<std::string>& outputs);

}  // namespace quern
