// Output sets over a small folder of every kind of target: whatever is
// staged, committed or dropped, a failure changes no old file, a success
// writes every output, and no temporary is left.
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "base/errors.h"
#include "base/output_set.h"
#include "base/temp_registry.h"

namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Regular files by name, with what they hold before the set is written.
std::map<std::string, std::string> setUp(const fs::path& dir) {
  std::error_code ignored;
  fs::remove_all(dir, ignored);
  fs::create_directories(dir / "folder");
  std::ofstream(dir / "a") << "old a";
  std::ofstream(dir / "b") << "old b";
  fs::create_hard_link(dir / "b", dir / "b2");
  fs::create_symlink("a", dir / "to-a");
  fs::create_symlink("gone", dir / "dangling");
  ::mkfifo((dir / "fifo").c_str(), 0600);
  return {{"a", "old a"}, {"b", "old b"}, {"b2", "old b"}};
}

const char* const kNames[] = {"a", "b", "b2", "to-a", "dangling", "folder", "fifo", "new", "folder/x", "no/x"};

}  // namespace

// Input: per output one byte for the target and one for the length of its
// text; a last odd byte drops the set instead of committing it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fs::path dir = fs::temp_directory_path() / ("fuzz-writer-" + std::to_string(::getpid()));
  // The folder goes with the process, whichever input was last.
  static const struct RemoveAtExit {
    ~RemoveAtExit() {
      std::error_code ignored;
      fs::remove_all(dir, ignored);
    }
  } removeAtExit;
  std::map<std::string, std::string> old = setUp(dir);
  std::map<std::string, std::string> wanted;  // file landed on -> text
  bool failed = false;
  const bool drop = size % 2 == 1 && (data[size - 1] & 1) != 0;
  try {
    quern::OutputSet set(quern::OutputSet::Options{(size % 3) != 0});
    for (std::size_t i = 0; i + 1 < size && i < 16; i += 2) {
      const std::string name = kNames[data[i] % std::size(kNames)];
      const std::string text(static_cast<std::size_t>(data[i + 1]) * 37, static_cast<char>('a' + i));
      set.add((dir / name).string(), text);
      const std::string lands = name == "to-a" ? "a" : name == "dangling" ? "gone" : name;
      wanted[lands] = text;
      if (lands == "b") wanted["b2"] = text;
      if (lands == "b2") wanted["b"] = text;
    }
    if (!drop) set.commit();
  } catch (const quern::FileError&) {
    failed = true;
  }
  if (failed || drop) {
    for (const auto& [name, text] : old) {
      if (contents(dir / name) != text) std::abort();
    }
    if (fs::exists(dir / "new") || fs::exists(dir / "gone") || fs::exists(dir / "folder/x")) std::abort();
  } else {
    for (const auto& [name, text] : wanted) {
      if (contents(dir / name) != text) std::abort();
    }
  }
  for (const auto& entry : fs::recursive_directory_iterator(dir)) {
    if (entry.path().filename().string().front() == '.') std::abort();  // a temporary left behind
  }
  if (quern::registeredTemporaries() != 0) std::abort();
  return 0;
}
