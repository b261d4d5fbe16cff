#include "intake/picture_format.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "intake/byte_reader.h"
#include "intake/scan_formats.h"

namespace quern {

namespace {

// --- GIF -------------------------------------------------------------------

// Skips a chain of data sub-blocks; false when the file ends inside it.
bool skipSubBlocks(const Bytes& b, std::size_t& pos) {
  for (;;) {
    if (!b.has(pos, 1)) return false;
    const unsigned n = b.at(pos++);
    if (n == 0) return true;
    if (!b.has(pos, n)) return false;
    pos += n;
  }
}

// Counts the pixels an image's LZW data decodes to, up to `wanted`, without
// producing them: each code adds the length of its string. -1 when the codes
// are not a valid stream.
std::int64_t lzwPixelCount(const Bytes& b, std::size_t pos, unsigned minCodeSize, std::int64_t wanted) {
  if (minCodeSize < 2 || minCodeSize > 11) return -1;
  const unsigned clear = 1U << minCodeSize;
  const unsigned end = clear + 1;
  std::array<std::uint32_t, 4096> length{};
  for (unsigned i = 0; i < clear; ++i) length[i] = 1;
  unsigned codeSize = minCodeSize + 1;
  unsigned next = clear + 2;
  int prev = -1;
  std::int64_t out = 0;
  std::uint32_t bits = 0;
  unsigned held = 0;
  unsigned blockLeft = 0;
  while (out < wanted) {
    while (held < codeSize) {
      if (blockLeft == 0) {
        if (!b.has(pos, 1) || (blockLeft = b.at(pos++)) == 0) return out;
      }
      if (!b.has(pos, 1)) return out;
      bits |= static_cast<std::uint32_t>(b.at(pos++)) << held;
      held += 8;
      --blockLeft;
    }
    const unsigned code = bits & ((1U << codeSize) - 1);
    bits >>= codeSize;
    held -= codeSize;
    if (code == clear) {
      codeSize = minCodeSize + 1;
      next = clear + 2;
      prev = -1;
      continue;
    }
    if (code == end) return out;
    if (prev < 0) {
      if (code >= clear) return -1;
      out += 1;
    } else if (code <= next && code != clear && code != end) {
      const std::uint32_t l = code < next ? length[code] : length[static_cast<unsigned>(prev)] + 1;
      out += l;
      if (next < 4096) length[next++] = length[static_cast<unsigned>(prev)] + 1;
      if (next == (1U << codeSize) && codeSize < 12) ++codeSize;
    } else {
      return -1;
    }
    prev = static_cast<int>(code);
  }
  return out;
}

PictureShape inspectGif(const Bytes& b) {
  const auto gif = [](std::int64_t w, std::int64_t h, std::string p = {}) {
    return shape(PictureKind::Gif, w, h, std::move(p));
  };
  if (!b.has(0, 13)) return gif(0, 0, "the file ends inside its header");
  const std::int64_t w = b.le16(6);
  const std::int64_t h = b.le16(8);
  std::size_t pos = 13;
  if (b.at(10) & 0x80) pos += 3U << ((b.at(10) & 7) + 1);
  int images = 0;
  for (;;) {
    if (!b.has(pos, 1)) return gif(w, h, "the file ends before its trailer");
    const unsigned block = b.at(pos++);
    if (block == 0x3B) return gif(w, h, images == 0 ? "it holds no image" : "");
    if (block == 0x21) {
      if (!b.has(pos, 1)) return gif(w, h, "the file ends before its trailer");
      ++pos;
      if (!skipSubBlocks(b, pos)) return gif(w, h, "the file ends before its trailer");
    } else if (block == 0x2C) {
      if (!b.has(pos, 9)) return gif(w, h, "the file ends before its trailer");
      const std::int64_t frame = static_cast<std::int64_t>(b.le16(pos + 4)) * b.le16(pos + 6);
      const unsigned flags = b.at(pos + 8);
      pos += 9;
      if (flags & 0x80) pos += 3U << ((flags & 7) + 1);
      if (!b.has(pos, 1)) return gif(w, h, "the file ends before its trailer");
      const unsigned minCodeSize = b.at(pos++);
      const std::size_t data = pos;
      if (!skipSubBlocks(b, pos)) return gif(w, h, "the file ends before its trailer");
      // Only the first image is shown; its data must cover its frame.
      if (images++ == 0) {
        const std::int64_t got = lzwPixelCount(b, data, minCodeSize, frame);
        if (got < 0) return gif(w, h, "its image data is not valid");
        if (got < frame) {
          return gif(w, h,
                     "its image data gives " + std::to_string(got) + " of its " + std::to_string(frame) + " pixels");
        }
      }
    } else {
      return gif(w, h, "it holds a block of unknown kind");
    }
  }
}

// --- BMP -------------------------------------------------------------------

// Walks RLE data to its end-of-bitmap escape.
bool rleEnds(const Bytes& b, std::size_t pos, bool fourBit) {
  for (;;) {
    if (!b.has(pos, 2)) return false;
    const unsigned n = b.at(pos);
    const unsigned v = b.at(pos + 1);
    pos += 2;
    if (n != 0 || v == 0) continue;  // a run, or the end of a row
    if (v == 1) return true;
    if (v == 2) {
      pos += 2;  // a jump by (dx, dy)
    } else {
      const std::size_t bytes = fourBit ? (v + 1) / 2 : v;
      pos += (bytes + 1) & ~std::size_t{1};
    }
  }
}

PictureShape inspectBmp(const Bytes& b) {
  const auto bmp = [](std::int64_t w, std::int64_t h, std::string p = {}) {
    return shape(PictureKind::Bmp, w, h, std::move(p));
  };
  if (!b.has(0, 18)) return bmp(0, 0, "the file ends inside its header");
  const std::uint32_t offBits = b.le32(10);
  const std::uint32_t dibSize = b.le32(14);
  if (!b.has(14, dibSize) || dibSize < 12) return bmp(0, 0, "the file ends inside its header");
  std::int64_t w = 0;
  std::int64_t h = 0;
  unsigned bpp = 0;
  std::uint32_t compression = 0;
  if (dibSize == 12) {
    w = b.le16(18);
    h = b.le16(20);
    bpp = b.le16(24);
  } else if (dibSize >= 40) {
    w = static_cast<std::int32_t>(b.le32(18));
    h = static_cast<std::int32_t>(b.le32(22));
    bpp = b.le16(28);
    compression = b.le32(30);
  } else {
    return bmp(0, 0, "its header is of unknown kind");
  }
  if (h < 0) h = -h;  // a negative height stores the rows from the top
  if (w <= 0 || h == 0) return bmp(w, h, "it claims no pixels");
  if (offBits < 14 + dibSize) return bmp(w, h, "its pixel data overlaps its header");
  if (compression == 1 || compression == 2) {
    if (!rleEnds(b, offBits, compression == 2)) return bmp(w, h, "the file ends before its end-of-picture mark");
    return bmp(w, h);
  }
  if (compression != 0 && compression != 3 && compression != 6)
    return bmp(w, h, "its pixels are stored in a way this program does not read");
  if (bpp == 0 || bpp > 32) return bmp(w, h, "its pixel depth is not valid");
  const std::int64_t stride = (w * bpp + 31) / 32 * 4;
  const std::int64_t need = static_cast<std::int64_t>(offBits) + stride * h;
  if (need > static_cast<std::int64_t>(b.size())) {
    return bmp(w, h,
               "its " + std::to_string(w) + " by " + std::to_string(h) + " pixels need " + std::to_string(need) +
                   " bytes, the file holds " + std::to_string(b.size()));
  }
  return bmp(w, h);
}

// --- JPEG ------------------------------------------------------------------

PictureShape inspectJpeg(const Bytes& b) {
  std::int64_t w = 0;
  std::int64_t h = 0;
  bool frame = false;
  bool scan = false;
  bool arithmetic = false;
  std::int64_t mcus = 0;
  std::int64_t coded = 0;  // bytes of entropy-coded data in all scans
  const auto jpeg = [&](std::string p = {}) { return shape(PictureKind::Jpeg, w, h, std::move(p)); };
  std::size_t pos = 2;
  for (;;) {
    if (!b.has(pos, 2)) return jpeg("the file ends before its end marker");
    if (b.at(pos) != 0xFF) return jpeg("its markers are not valid");
    while (b.has(pos, 2) && b.at(pos + 1) == 0xFF) ++pos;  // fill bytes
    if (!b.has(pos, 2)) return jpeg("the file ends before its end marker");
    const unsigned marker = b.at(pos + 1);
    pos += 2;
    if (marker == 0xD9) {
      if (!frame || !scan) return jpeg("it holds no image");
      // Huffman coding spends at least one bit on the DC of each block, so a
      // file whose scans are shorter than a bit a unit was cut or lies about
      // its size; the reader would fill the rest and take the memory anyway.
      if (!arithmetic && coded * 8 < mcus) {
        return jpeg("its " + std::to_string(coded) + " bytes of image data cannot hold the " + std::to_string(w) +
                    " by " + std::to_string(h) + " pixels it claims");
      }
      return jpeg();
    }
    if ((marker >= 0xD0 && marker <= 0xD7) || marker == 0x01) continue;
    if (!b.has(pos, 2)) return jpeg("the file ends before its end marker");
    const unsigned length = b.be16(pos);
    if (length < 2 || !b.has(pos, length)) return jpeg("the file ends before its end marker");
    const bool sof = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
    if (sof && !frame) {
      if (length < 7) return jpeg("its frame header is not valid");
      h = b.be16(pos + 3);
      w = b.be16(pos + 5);
      frame = true;
      if (w == 0 || h == 0) return jpeg("it claims no pixels");
      arithmetic = marker >= 0xC9;
      std::int64_t most = 1;  // the largest sampling factor, across and down
      std::int64_t mostDown = 1;
      const unsigned components = length >= 8 ? b.at(pos + 7) : 0;
      for (unsigned c = 0; c < components && 8 + 3 * c + 1 < length; ++c) {
        const unsigned factors = b.at(pos + 8 + 3 * c + 1);
        most = std::max<std::int64_t>(most, factors >> 4);
        mostDown = std::max<std::int64_t>(mostDown, factors & 15);
      }
      mcus = ((w + 8 * most - 1) / (8 * most)) * ((h + 8 * mostDown - 1) / (8 * mostDown));
    }
    pos += length;
    if (marker == 0xDA) {
      if (!frame) return jpeg("its image data comes before its frame header");
      scan = true;
      // Entropy-coded data runs to the next marker that is neither a stuffed
      // zero nor a restart. Only a 0xFF with a byte after it can start one,
      // so the scan goes from 0xFF to 0xFF.
      const std::size_t start = pos;
      const std::size_t end = b.size() > 0 ? b.size() - 1 : 0;
      while (pos < end) {
        const auto* ff = static_cast<const unsigned char*>(std::memchr(b.data() + pos, 0xFF, end - pos));
        if (ff == nullptr) {
          pos = end;
          break;
        }
        pos = static_cast<std::size_t>(ff - b.data());
        const unsigned next = b.at(pos + 1);
        if (next != 0 && (next < 0xD0 || next > 0xD7)) break;
        ++pos;
      }
      coded += static_cast<std::int64_t>(pos - start);
    }
  }
}

}  // namespace

PictureShape inspectPictureFile(const unsigned char* data, std::size_t size) {
  const Bytes b(data, size);
  if (b.has(0, 3) && b.at(0) == 0xFF && b.at(1) == 0xD8 && b.at(2) == 0xFF) return inspectJpeg(b);
  if (b.has(0, 2) && b.at(0) == 'B' && b.at(1) == 'M') return inspectBmp(b);
  if (b.has(0, 6) && b.at(0) == 'G' && b.at(1) == 'I' && b.at(2) == 'F' && b.at(3) == '8' &&
      (b.at(4) == '7' || b.at(4) == '9') && b.at(5) == 'a') {
    return inspectGif(b);
  }
  if (b.has(0, 4) && b.at(0) == 0x89 && b.at(1) == 'P' && b.at(2) == 'N' && b.at(3) == 'G') return inspectPng(b);
  if (b.has(0, 4) && ((b.at(0) == 'I' && b.at(1) == 'I' && b.at(2) == 42 && b.at(3) == 0) ||
                      (b.at(0) == 'M' && b.at(1) == 'M' && b.at(2) == 0 && b.at(3) == 42))) {
    return inspectTiff(b);
  }
  return shape(PictureKind::Unknown, 0, 0, "it is not a JPEG, BMP, GIF, PNG or TIFF picture");
}

const char* kindName(PictureKind kind) {
  switch (kind) {
    case PictureKind::Jpeg:
      return "JPEG";
    case PictureKind::Bmp:
      return "BMP";
    case PictureKind::Gif:
      return "GIF";
    case PictureKind::Png:
      return "PNG";
    case PictureKind::Tiff:
      return "TIFF";
    case PictureKind::Unknown:
      break;
  }
  return "JPEG, BMP, GIF, PNG or TIFF";
}

}  // namespace quern
