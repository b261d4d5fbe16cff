#include "intake/bmp_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>

#include "intake/format_readers.h"

namespace quern {

namespace {

std::uint32_t le16(const unsigned char* p) {
  return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8;
}

std::uint32_t le32(const unsigned char* p) {
  return le16(p) | le16(p + 2) << 16;
}

// One colour channel of a 16- or 32-bit pixel, under its mask. Fewer than
// eight bits become eight by a shift alone (five-bit white is 248): the window
// has always shown these files so.
struct Channel {
  std::uint32_t mask = 0;
  unsigned shift = 0;
  unsigned bits = 0;
  int of(std::uint32_t v) const { return static_cast<int>(((v & mask) >> shift) << (8 - bits)); }
};

// A channel for a mask of one run of at most eight bits; nullopt for others.
std::optional<Channel> channel(std::uint32_t mask) {
  if (mask == 0) return Channel{};
  Channel c{mask, 0, 0};
  while ((mask >> c.shift & 1) == 0) ++c.shift;
  const std::uint32_t run = mask >> c.shift;
  while (c.bits < 32 && (run >> c.bits & 1) != 0) ++c.bits;
  if (c.bits > 8 || (c.bits < 32 && (run >> c.bits) != 0)) return std::nullopt;
  return c;
}

// A byte at a time: the pixels of all whole bytes, then those of the last.
template <int Bits, typename Pixel>
void unpackIndexed(const unsigned char* in, Pixel* out, std::int64_t w, const std::array<Pixel, 256>& palette) {
  constexpr int perByte = 8 / Bits;
  constexpr unsigned mask = (1U << Bits) - 1;
  const std::int64_t whole = w / perByte;
  for (std::int64_t i = 0; i < whole; ++i, out += perByte) {
    const unsigned byte = in[i];
    for (int k = 0; k < perByte; ++k) out[k] = palette[(byte >> (8 - Bits * (k + 1))) & mask];
  }
  for (int k = 0; k < w % perByte; ++k) out[k] = palette[(in[whole] >> (8 - Bits * (k + 1))) & mask];
}

// Line drawings are mostly one-bit files: the eight pixels of each byte value
// are worked out once a picture and copied whole.
template <typename Pixel>
using EightPixels = std::array<std::array<Pixel, 8>, 256>;

template <typename Pixel>
EightPixels<Pixel> eightPixels(Pixel clear, Pixel set) {
  EightPixels<Pixel> eight{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    for (unsigned k = 0; k < 8; ++k) eight[byte][k] = (byte << k & 0x80U) != 0 ? set : clear;
  }
  return eight;
}

template <typename Pixel>
void unpackOneBit(const unsigned char* in, Pixel* out, std::int64_t w, const EightPixels<Pixel>& eight) {
  const std::int64_t whole = w / 8;
  for (std::int64_t i = 0; i < whole; ++i, out += 8) std::memcpy(out, eight[in[i]].data(), sizeof eight[0]);
  for (int k = 0; k < w % 8; ++k) out[k] = eight[in[whole]][static_cast<std::size_t>(k)];
}

// Run-length coded rows, from the bottom row up. Pixels the runs skip keep
// the first palette colour, as they always showed in the window; runs past
// the right edge are dropped.
Picture readRle(const unsigned char* data, std::size_t size, std::size_t pos, std::int64_t w, std::int64_t h,
                bool fourBit, const std::array<Colour, 256>& palette) {
  const std::int64_t area = w * h;
  PixelBuffer pixels = allocatePixels(area, area);
  std::fill(pixels.get(), pixels.get() + area, palette[0]);
  std::int64_t x = 0;
  std::int64_t y = 0;
  auto put = [&](unsigned index) {
    if (x < w && y < h) pixels[static_cast<std::size_t>((h - 1 - y) * w + x)] = palette[index];
    ++x;
  };
  while (pos + 2 <= size && y < h) {
    const unsigned n = data[pos];
    const unsigned v = data[pos + 1];
    pos += 2;
    if (n > 0) {
      for (unsigned i = 0; i < n; ++i) put(fourBit ? (i % 2 == 0 ? v >> 4 : v & 15) : v);
    } else if (v == 0) {
      x = 0;
      ++y;
    } else if (v == 1) {
      break;
    } else if (v == 2) {
      if (pos + 2 > size) break;
      x += data[pos];
      y += data[pos + 1];
      pos += 2;
    } else {
      const std::size_t bytes = fourBit ? (v + 1) / 2 : v;
      if (pos + bytes > size) break;
      for (unsigned i = 0; i < v; ++i)
        put(fourBit ? (i % 2 == 0 ? data[pos + i / 2] >> 4 : data[pos + i / 2] & 15) : data[pos + i]);
      pos += (bytes + 1) & ~std::size_t{1};
    }
  }
  return makePicture(static_cast<Int32>(w), static_cast<Int32>(h), std::move(pixels));
}

// A palette of the 256 greys in order, as grey pictures are kept.
bool greyRamp(const std::array<Colour, 256>& palette) {
  for (std::uint32_t i = 0; i < 256; ++i) {
    if (palette[i] != static_cast<Colour>(i * 0x010101U)) return false;
  }
  return true;
}

}  // namespace

std::optional<Picture> readPlainBmp(const unsigned char* data, std::size_t size) {
  if (size < 54 || data[0] != 'B' || data[1] != 'M') return std::nullopt;
  const std::uint32_t offBits = le32(data + 10);
  const std::uint32_t dibSize = le32(data + 14);
  if (dibSize < 40 || dibSize > size - 14) return std::nullopt;
  const auto w = static_cast<std::int64_t>(static_cast<std::int32_t>(le32(data + 18)));
  const auto rawHeight = static_cast<std::int64_t>(static_cast<std::int32_t>(le32(data + 22)));
  const std::uint32_t planes = le16(data + 26);
  const std::uint32_t bpp = le16(data + 28);
  const std::uint32_t compression = le32(data + 30);
  const std::uint32_t used = le32(data + 46);
  const bool topDown = rawHeight < 0;
  const std::int64_t h = topDown ? -rawHeight : rawHeight;
  const bool rle = (compression == 1 && bpp == 8) || (compression == 2 && bpp == 4);
  const bool fields = compression == 3 && (bpp == 16 || bpp == 32);
  if (planes != 1 || (compression != 0 && !rle && !fields) || (rle && topDown) || w <= 0 || h <= 0 || w > 0x7fff'ffff ||
      h > 0x7fff'ffff)
    return std::nullopt;
  if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32) return std::nullopt;

  std::array<Colour, 256> palette{};
  if (bpp <= 8) {
    // Indices past a short palette show black, as they always did.
    const std::uint32_t colours = used != 0 ? used : 1U << bpp;
    if (colours > 1U << bpp) return std::nullopt;
    const std::size_t at = 14 + static_cast<std::size_t>(dibSize);
    if (at + 4 * static_cast<std::size_t>(colours) > offBits) return std::nullopt;
    for (std::uint32_t i = 0; i < colours; ++i) {
      const unsigned char* c = data + at + 4 * i;
      palette[i] = rgb(c[2], c[1], c[0]);
    }
  }
  // Red, green, blue and alpha of 16- and 32-bit pixels: five bits each, or
  // eight, unless the file gives its masks (alpha only in the larger headers).
  std::array<Channel, 4> masks{};
  if (bpp == 16 || bpp == 32) {
    std::array<std::uint32_t, 4> given = bpp == 16 ? std::array<std::uint32_t, 4>{0x7C00, 0x3E0, 0x1F, 0}
                                                   : std::array<std::uint32_t, 4>{0xFF0000, 0xFF00, 0xFF, 0};
    if (fields) {
      if (dibSize == 40 && offBits < 66) return std::nullopt;
      for (std::size_t i = 0; i < 3; ++i) given[i] = le32(data + 54 + 4 * i);
      given[3] = dibSize >= 108 ? le32(data + 66) : 0;
    }
    for (std::size_t i = 0; i < 4; ++i) {
      const std::optional<Channel> c = channel(given[i]);
      if (!c) return std::nullopt;
      masks[i] = *c;
    }
  }
  if (rle) {
    if (offBits > size) return std::nullopt;
    return readRle(data, size, offBits, w, h, compression == 2, palette);
  }
  const std::int64_t stride = (w * bpp + 31) / 32 * 4;
  if (offBits > size || stride * h > static_cast<std::int64_t>(size - offBits)) return std::nullopt;

  const std::int64_t area = w * h;
  // A pixel of up to eight bits is a palette colour (black past a short
  // palette): when those are all greys, the picture is kept as its greys.
  if (bpp <= 8 && std::all_of(palette.begin(), palette.end(), isGrey)) {
    std::array<std::uint8_t, 256> greys{};
    for (std::size_t i = 0; i < greys.size(); ++i) greys[i] = static_cast<std::uint8_t>(palette[i]);
    const bool ramp = bpp == 8 && greyRamp(palette);
    const auto eight =
        bpp == 1 ? std::make_unique<EightPixels<std::uint8_t>>(eightPixels(greys[0], greys[1])) : nullptr;
    GreyBuffer kept = allocateGreys(area, area);
    for (std::int64_t row = 0; row < h; ++row) {
      const unsigned char* in = data + offBits + row * stride;
      std::uint8_t* out = kept.get() + (topDown ? row : h - 1 - row) * w;
      if (bpp == 1) {
        unpackOneBit(in, out, w, *eight);
      } else if (bpp == 4) {
        unpackIndexed<4>(in, out, w, greys);
      } else if (ramp) {
        std::memcpy(out, in, static_cast<std::size_t>(w));
      } else {
        for (std::int64_t x = 0; x < w; ++x) out[x] = greys[in[x]];
      }
    }
    return makeGreyPicture(static_cast<Int32>(w), static_cast<Int32>(h), std::move(kept));
  }
  PixelBuffer pixels = allocatePixels(area, area);
  const auto eight = bpp == 1 ? std::make_unique<EightPixels<Colour>>(eightPixels(palette[0], palette[1])) : nullptr;
  for (std::int64_t row = 0; row < h; ++row) {
    const unsigned char* in = data + offBits + row * stride;
    Colour* out = pixels.get() + (topDown ? row : h - 1 - row) * w;
    switch (bpp) {
      case 1:
        unpackOneBit(in, out, w, *eight);
        break;
      case 4:
        unpackIndexed<4>(in, out, w, palette);
        break;
      case 8:
        for (std::int64_t x = 0; x < w; ++x) out[x] = palette[in[x]];
        break;
      case 16:
      case 32:
        for (std::int64_t x = 0; x < w; ++x) {
          const std::uint32_t v = bpp == 16 ? le16(in + 2 * x) : le32(in + 4 * x);
          const int r = masks[0].of(v);
          const int g = masks[1].of(v);
          const int b = masks[2].of(v);
          if (masks[3].mask == 0) {
            out[x] = rgb(r, g, b);
          } else {
            const int a = masks[3].of(v);
            out[x] = rgb(onWhite(r, a), onWhite(g, a), onWhite(b, a));
          }
        }
        break;
      default: {
        // Blue, green, red read as one word, the byte after them shifted
        // out, then turned end for end: red in the low byte. The last pixel
        // of a row is read by bytes, as the word would reach past it.
        static_assert(std::endian::native == std::endian::little);
        std::int64_t x = 0;
        for (; x + 1 < w; ++x) {
          std::uint32_t word = 0;
          std::memcpy(&word, in + 3 * x, sizeof word);
          out[x] = static_cast<Colour>(__builtin_bswap32(word << 8));
        }
        for (; x < w; ++x) out[x] = rgb(in[3 * x + 2], in[3 * x + 1], in[3 * x]);
        break;
      }
    }
  }
  return makePicture(static_cast<Int32>(w), static_cast<Int32>(h), std::move(pixels));
}

}  // namespace quern
