#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "base/number_text.h"
#include "base/numbers.h"

namespace quern {

// DXF text as group code and value pairs, each on a CR LF line, the code
// right-aligned in three places as readers of every age expect it.
class DxfGroups {
 public:
  void text(int code, std::string_view value) {
    code3(code);
    out_ += value;
    out_ += "\r\n";
  }
  // Coordinates are stored as 32-bit floats, like every table value, and
  // written in their shortest form.
  void number(int code, double value) {
    code3(code);
    appendDecimal(out_, toFloat32(value));
    out_ += "\r\n";
  }
  void whole(int code, long long value) { text(code, std::to_string(value)); }
  void handle(int code, unsigned value) {
    char hex[16];
    std::snprintf(hex, sizeof hex, "%X", value);
    text(code, hex);
  }
  void append(const DxfGroups& other) { out_ += other.out_; }
  const std::string& str() const { return out_; }

 private:
  void code3(int code) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%3d\r\n", code);
    out_ += buf;
  }
  std::string out_;
};

}  // namespace quern
