#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace quern::testing {

// A folder of its own for one test, removed with everything in it.
struct TempFolder {
  std::filesystem::path path;
  TempFolder() {
    std::random_device entropy;
    path = std::filesystem::temp_directory_path() / ("quern-dxf-" + std::to_string(entropy()));
    std::filesystem::create_directories(path);
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string file(const std::string& name) const { return (path / name).string(); }
};

inline std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// The lines of a CR LF text, without their ends.
inline std::vector<std::string> readLines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t from = 0;
  for (std::size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", from)) {
    lines.push_back(text.substr(from, at - from));
    from = at + 2;
  }
  return lines;
}

}  // namespace quern::testing
