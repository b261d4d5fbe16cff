#pragma once

#include <string>
#include <string_view>

namespace quern {

// Writes content to a new file beside path and renames it over path once it
// is complete, so that a failure leaves an existing file as it was. Throws
// FileError naming the file and the reason.
void replaceFile(const std::string& path, std::string_view content);

}  // namespace quern
