#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "surface/picture.h"

namespace quern {

// The stored record of one control instance: names in lower case, each with
// its value as text, in the order written. As text, one "name=value" line per
// entry; a value keeps backslashes and line breaks as \\, \n and \r.
class PropertyBag {
 public:
  // Value of a name, in any case; none if the record leaves it out.
  std::optional<std::string> get(const std::string& name) const;
  // Sets or replaces a value; the name is kept in lower case.
  void set(const std::string& name, std::string value);
  const std::vector<std::pair<std::string, std::string>>& entries() const { return entries_; }

  std::string text() const;
  // Throws FileError naming the line that isn't "name=value".
  static PropertyBag parse(const std::string& text);

 private:
  std::vector<std::pair<std::string, std::string>> entries_;
};

// A picture as record text: "W H" and then the pixels row by row as six hex
// digits each, a run of equal pixels written once as "N*hhhhhh".
std::string encodePicture(const Picture& p);
// Throws FileError on text that isn't such a picture.
Picture decodePicture(const std::string& text);

}  // namespace quern
