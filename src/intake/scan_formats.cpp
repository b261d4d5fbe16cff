#include "intake/scan_formats.h"

#include <set>
#include <string>
#include <vector>

namespace quern {

namespace {

// --- TIFF ------------------------------------------------------------------

class TiffBytes {
 public:
  TiffBytes(const Bytes& b, bool little) : b_(b), little_(little) {}
  unsigned u16(std::size_t pos) const { return little_ ? b_.le16(pos) : b_.be16(pos); }
  std::uint32_t u32(std::size_t pos) const { return little_ ? b_.le32(pos) : b_.be32(pos); }
  const Bytes& bytes() const { return b_; }

 private:
  const Bytes& b_;
  bool little_;
};

unsigned typeSize(unsigned type) {
  static constexpr unsigned kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
  return type < std::size(kSizes) ? kSizes[type] : 0;
}

struct Entry {
  unsigned type = 0;
  std::uint32_t count = 0;
  std::size_t at = 0;  // where the values are: in the entry or where it points
};

// The values of an offset or byte-count tag; empty when they lie outside the file.
std::vector<std::uint64_t> values(const TiffBytes& t, const Entry& e) {
  std::vector<std::uint64_t> out;
  if (e.type != 3 && e.type != 4) return out;
  const std::size_t size = typeSize(e.type);
  if (!t.bytes().has(e.at, size * e.count)) return out;
  out.reserve(e.count);
  for (std::uint32_t i = 0; i < e.count; ++i) out.push_back(size == 2 ? t.u16(e.at + 2 * i) : t.u32(e.at + 4 * i));
  return out;
}

// Checks one directory: its entries, and its strips or tiles within the file.
std::string checkDirectory(const TiffBytes& t, std::size_t at, std::int64_t& w, std::int64_t& h) {
  const Bytes& b = t.bytes();
  const unsigned n = t.u16(at);
  if (!b.has(at + 2, std::size_t{12} * n + 4)) return "the file ends inside a directory of its pages";
  Entry offsets;
  Entry counts;
  bool tiled = false;
  for (unsigned i = 0; i < n; ++i) {
    const std::size_t e = at + 2 + std::size_t{12} * i;
    const unsigned tag = t.u16(e);
    Entry entry{t.u16(e + 2), t.u32(e + 4), e + 8};
    const std::uint64_t bytes = std::uint64_t{typeSize(entry.type)} * entry.count;
    if (bytes > 4) entry.at = t.u32(e + 8);
    if (tag == 256 || tag == 257) {
      const std::int64_t v = entry.type == 3 ? t.u16(e + 8) : t.u32(e + 8);
      (tag == 256 ? w : h) = v;
    } else if (tag == 273 || tag == 324) {
      offsets = entry;
      tiled = tag == 324;
    } else if (tag == 279 || tag == 325) {
      counts = entry;
    }
  }
  if (w <= 0 || h <= 0) return "it claims no pixels";
  const std::vector<std::uint64_t> starts = values(t, offsets);
  const std::vector<std::uint64_t> lengths = values(t, counts);
  const char* part = tiled ? "tile" : "strip";
  if (starts.empty() || lengths.size() != starts.size()) return std::string("its ") + part + " table is not valid";
  for (std::size_t i = 0; i < starts.size(); ++i) {
    if (!b.has(starts[i], lengths[i])) {
      return std::string("its ") + part + " " + std::to_string(i + 1) + " of " + std::to_string(starts.size()) +
             " needs bytes " + std::to_string(starts[i]) + " to " + std::to_string(starts[i] + lengths[i]) +
             ", the file holds " + std::to_string(b.size());
    }
  }
  return {};
}

}  // namespace

PictureShape inspectTiff(const Bytes& b) {
  const bool little = b.at(0) == 'I';
  const TiffBytes t(b, little);
  if (!b.has(0, 8)) return shape(PictureKind::Tiff, 0, 0, "the file ends inside its header");
  if (t.u16(2) == 43) return shape(PictureKind::Tiff, 0, 0, "it is a BigTIFF file, which this program does not read");
  std::int64_t w = 0;
  std::int64_t h = 0;
  std::set<std::uint32_t> seen;
  int pages = 0;
  for (std::uint32_t at = t.u32(4); at != 0; at = t.u32(at + 2 + std::size_t{12} * t.u16(at))) {
    if (!b.has(at, 2) || at < 8)
      return shape(PictureKind::Tiff, w, h, "a directory of its pages lies outside the file");
    if (!seen.insert(at).second) return shape(PictureKind::Tiff, w, h, "its directories go round in a loop");
    if (++pages > 65535) return shape(PictureKind::Tiff, w, h, "it has more than 65535 pages");
    std::int64_t pw = 0;
    std::int64_t ph = 0;
    const std::string problem = checkDirectory(t, at, pw, ph);
    if (pages == 1) {
      w = pw;
      h = ph;
    }
    if (!problem.empty()) {
      return shape(PictureKind::Tiff, w, h, pages == 1 ? problem : "page " + std::to_string(pages) + ": " + problem);
    }
  }
  if (pages == 0) return shape(PictureKind::Tiff, 0, 0, "it holds no page");
  PictureShape s = shape(PictureKind::Tiff, w, h);
  s.pages = pages;
  return s;
}

// --- PNG -------------------------------------------------------------------

PictureShape inspectPng(const Bytes& b) {
  static constexpr unsigned char kSignature[] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
  for (std::size_t i = 0; i < 8; ++i) {
    if (!b.has(i, 1) || b.at(i) != kSignature[i]) return shape(PictureKind::Png, 0, 0, "its signature is damaged");
  }
  if (!b.has(8, 25) || b.be32(8) != 13 || b.be32(12) != 0x49484452)
    return shape(PictureKind::Png, 0, 0, "it does not start with its header chunk");
  const std::int64_t w = b.be32(16);
  const std::int64_t h = b.be32(20);
  const auto png = [&](std::string p = {}) { return shape(PictureKind::Png, w, h, std::move(p)); };
  if (w == 0 || h == 0) return png("it claims no pixels");
  bool data = false;
  for (std::size_t pos = 33;;) {
    if (!b.has(pos, 12)) return png("the file ends before its IEND chunk");
    const std::uint32_t length = b.be32(pos);
    const std::uint32_t type = b.be32(pos + 4);
    if (length > 0x7fffffff || !b.has(pos + 8, std::size_t{length} + 4)) {
      return png("a chunk of " + std::to_string(length) + " bytes at byte " + std::to_string(pos) +
                 " runs past the end of the file");
    }
    if (type == 0x49444154) data = true;                                       // IDAT
    if (type == 0x49454E44) return png(data ? "" : "it holds no image data");  // IEND
    pos += 12 + std::size_t{length};
  }
}

}  // namespace quern
