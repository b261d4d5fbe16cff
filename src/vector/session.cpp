#include "vector/session.h"

#include <filesystem>

namespace quern {

std::string FileName(const std::string& WithPath) {
  const char separator = static_cast<char>(std::filesystem::path::preferred_separator);
  const auto last = WithPath.rfind(separator);
  return last == std::string::npos ? WithPath : WithPath.substr(last + 1);
}

}  // namespace quern
