#include "base/replace_file.h"

#include "base/output_set.h"

namespace quern {

void replaceFile(const std::string& path, std::string_view content) {
  OutputSet output;
  output.add(path, content);
  output.commit();
}

}  // namespace quern
