#pragma once

#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>

namespace quern::testing {

inline std::string readAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A folder of its own for one test that anyone may use, removed with
// everything in it.
struct TempFolder {
  std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("quern-test-" + std::to_string(std::random_device()()));
  TempFolder() {
    std::filesystem::create_directories(path);
    ::chmod(path.c_str(), 0777);
  }
  ~TempFolder() {
    ::chmod(path.c_str(), 0777);
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  std::filesystem::path operator/(const std::string& name) const { return path / name; }
  std::string file(const std::string& name) const { return (path / name).string(); }
  long entries() const { return std::distance(std::filesystem::directory_iterator(path), {}); }
};

}  // namespace quern::testing
