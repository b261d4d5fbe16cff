#include "imgproc/property_bag.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <sstream>

#include "base/errors.h"

namespace quern {

namespace {
std::string lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return s;
}

std::string escape(const std::string& v) {
  std::string out;
  for (char c : v) {
    if (c == '\\') {
      out += "\\\\";
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else {
      out += c;
    }
  }
  return out;
}

std::string unescape(const std::string& v, std::size_t lineNo) {
  std::string out;
  for (std::size_t i = 0; i < v.size(); ++i) {
    if (v[i] != '\\') {
      out += v[i];
      continue;
    }
    const char next = i + 1 < v.size() ? v[++i] : '\0';
    if (next == '\\') {
      out += '\\';
    } else if (next == 'n') {
      out += '\n';
    } else if (next == 'r') {
      out += '\r';
    } else {
      throw FileError("Stored record, line " + std::to_string(lineNo) + ": unknown escape in a value");
    }
  }
  return out;
}

Int32 parseNumber(const std::string& token, int base, const std::string& what) {
  Int32 v = 0;
  const auto [end, ec] = std::from_chars(token.data(), token.data() + token.size(), v, base);
  if (ec != std::errc() || end != token.data() + token.size() || token.empty()) {
    throw FileError("Stored picture: '" + token + "' is not " + what);
  }
  return v;
}
}  // namespace

std::optional<std::string> PropertyBag::get(const std::string& name) const {
  const std::string key = lower(name);
  for (const auto& [k, v] : entries_) {
    if (k == key) return v;
  }
  return std::nullopt;
}

void PropertyBag::set(const std::string& name, std::string value) {
  const std::string key = lower(name);
  for (auto& [k, v] : entries_) {
    if (k == key) {
      v = std::move(value);
      return;
    }
  }
  entries_.emplace_back(key, std::move(value));
}

std::string PropertyBag::text() const {
  std::string out;
  for (const auto& [k, v] : entries_) out += k + "=" + escape(v) + "\n";
  return out;
}

PropertyBag PropertyBag::parse(const std::string& text) {
  PropertyBag bag;
  std::istringstream in(text);
  std::string line;
  std::size_t lineNo = 0;
  while (std::getline(in, line)) {
    ++lineNo;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    const std::size_t eq = line.find('=');
    if (eq == std::string::npos || eq == 0) {
      throw FileError("Stored record, line " + std::to_string(lineNo) + ": expected name=value");
    }
    bag.set(line.substr(0, eq), unescape(line.substr(eq + 1), lineNo));
  }
  return bag;
}

std::string encodePicture(const Picture& p) {
  if (!p) return {};
  std::string out = std::to_string(p->pixelWidth()) + " " + std::to_string(p->pixelHeight());
  const PixelView px = p->pixels();
  char hex[8];
  for (std::size_t i = 0; i < px.size();) {
    std::size_t run = 1;
    while (i + run < px.size() && px[i + run] == px[i]) ++run;
    std::snprintf(hex, sizeof hex, "%06x", static_cast<unsigned>(px[i] & 0xFFFFFF));
    out += run > 1 ? " " + std::to_string(run) + "*" + hex : std::string(" ") + hex;
    i += run;
  }
  return out;
}

Picture decodePicture(const std::string& text) {
  if (text.empty()) return nullptr;
  std::istringstream in(text);
  std::string token;
  in >> token;
  const Int32 w = parseNumber(token, 10, "a width");
  in >> token;
  const Int32 h = parseNumber(token, 10, "a height");
  if (w < 1 || h < 1 || static_cast<long long>(w) * h > 100'000'000LL) {
    throw FileError("Stored picture: a size of " + std::to_string(w) + " by " + std::to_string(h) + " is not possible");
  }
  const auto total = static_cast<std::size_t>(w) * static_cast<std::size_t>(h);
  std::vector<Colour> px;
  px.reserve(total);
  while (in >> token) {
    const std::size_t star = token.find('*');
    const Int32 run = star == std::string::npos ? 1 : parseNumber(token.substr(0, star), 10, "a run length");
    const Colour c = parseNumber(star == std::string::npos ? token : token.substr(star + 1), 16, "a colour");
    if (run < 1 || c < 0 || c > 0xFFFFFF || px.size() + static_cast<std::size_t>(run) > total) {
      throw FileError("Stored picture: '" + token + "' does not fit a " + std::to_string(w) + " by " +
                      std::to_string(h) + " picture");
    }
    px.insert(px.end(), static_cast<std::size_t>(run), c);
  }
  if (px.size() != total) throw FileError("Stored picture: fewer pixels than its size");
  return makePicture(w, h, std::move(px));
}

}  // namespace quern
