#include "base/file_identity.h"

#include <sys/stat.h>

#include <cerrno>
#include <map>
#include <system_error>

#include "base/errors.h"

namespace quern {

namespace fs = std::filesystem;

fs::path followLinks(const std::string& path) {
  fs::path p = path;
  for (int hops = 0; hops < 40; ++hops) {
    std::error_code ec;
    if (!fs::is_symlink(fs::symlink_status(p, ec))) return p;
    const fs::path next = fs::read_symlink(p, ec);
    if (ec) throw FileError("Cannot follow the link \"" + path + "\": " + ec.message());
    p = next.is_absolute() ? next : p.parent_path() / next;
  }
  throw FileError("Cannot follow the link \"" + path + "\": " + std::generic_category().message(ELOOP));
}

std::optional<FileIdentity> fileIdentity(const std::string& path) {
  if (path.empty()) return std::nullopt;
  fs::path target;
  try {
    target = followLinks(path);
  } catch (const FileError&) {
    return std::nullopt;
  }
  struct stat st {};
  if (::stat(target.c_str(), &st) == 0) return FileIdentity{st.st_dev, st.st_ino, {}};
  const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
  if (::stat(folder.c_str(), &st) != 0) return std::nullopt;
  return FileIdentity{st.st_dev, st.st_ino, target.filename().string()};
}

std::optional<std::pair<std::string, std::string>> firstClash(const std::vector<std::string>& inputs,
                                                              const std::vector<std::string>& outputs) {
  std::map<FileIdentity, const std::string*> seen;
  for (const std::string& input : inputs) {
    if (const auto id = fileIdentity(input)) seen.emplace(*id, &input);
  }
  for (const std::string& output : outputs) {
    const auto id = fileIdentity(output);
    if (!id) continue;
    const auto [at, fresh] = seen.emplace(*id, &output);
    if (!fresh) return std::pair{*at->second, output};
  }
  return std::nullopt;
}

}  // namespace quern
