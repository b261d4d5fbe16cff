#include "base/number_text.h"

#include <charconv>
#include <cstdint>
#include <limits>

namespace quern {

namespace {
std::string_view trimmed(const std::string& text) {
  std::string_view v(text);
  while (!v.empty() && (v.front() == ' ' || v.front() == '\t')) v.remove_prefix(1);
  while (!v.empty() && (v.back() == ' ' || v.back() == '\t')) v.remove_suffix(1);
  return v;
}
}  // namespace

std::string decimalText(double value) {
  char buf[64];
  const auto [end, ec] = std::to_chars(buf, buf + sizeof buf, value);
  return ec == std::errc() ? std::string(buf, end) : std::string("0");
}

void appendDecimal(std::string& out, float value) {
  if (value == 0.0F) {
    out += '0';
    return;
  }
  // Drawings are mostly whole pixels: a whole value below 2^24 is its digits,
  // which is what the shortest fixed form gives, written without the search.
  if (value > -16777216.0F && value < 16777216.0F && value == static_cast<float>(static_cast<std::int32_t>(value))) {
    const auto whole = static_cast<std::int32_t>(value);
    std::uint32_t magnitude = whole < 0 ? static_cast<std::uint32_t>(-whole) : static_cast<std::uint32_t>(whole);
    char digits[12];
    char* at = digits + sizeof digits;
    do {
      *--at = static_cast<char>('0' + magnitude % 10);
      magnitude /= 10;
    } while (magnitude != 0);
    if (whole < 0) *--at = '-';
    out.append(at, digits + sizeof digits);
    return;
  }
  char buffer[128];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
  out.append(buffer, result.ptr);
}

std::optional<Int32> readWhole32(const std::string& text) {
  std::string_view v = trimmed(text);
  if (!v.empty() && v.front() == '+') v.remove_prefix(1);
  if (v.empty()) return std::nullopt;
  long long n = 0;
  const auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), n);
  if (ec != std::errc() || end != v.data() + v.size()) return std::nullopt;
  if (n < std::numeric_limits<Int32>::min() || n > std::numeric_limits<Int32>::max()) return std::nullopt;
  return static_cast<Int32>(n);
}

std::optional<double> readNumber(const std::string& text) {
  std::string_view v = trimmed(text);
  if (!v.empty() && v.front() == '+') v.remove_prefix(1);
  if (v.empty()) return std::nullopt;
  double d = 0.0;
  const auto [end, ec] = std::from_chars(v.data(), v.data() + v.size(), d);
  if (ec != std::errc() || end != v.data() + v.size()) return std::nullopt;
  return d;
}

}  // namespace quern
