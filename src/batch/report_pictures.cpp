#include "batch/report_pictures.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>

#ifdef __SSE2__
#include <emmintrin.h>
#endif
#if defined(__x86_64__) || defined(__i386__)
#include <tmmintrin.h>
#endif

#include "intake/picture_loader.h"
#include "pipeline/preview.h"

namespace quern {

namespace {

void putLittle(char* at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) at[i] = static_cast<char>(value >> (8 * i) & 0xFF);
}

// Where the parts of a BMP file of `w` by `h` pixels at `bits` a pixel with
// `colours` palette entries lie: its rows bottom up, each padded to four
// bytes, its pixels after the palette, and its size uncoded.
struct BmpLayout {
  std::size_t w;
  std::size_t h;
  int bits;
  std::size_t colours;
  std::size_t row;
  std::size_t pixelsAt;
  std::size_t size;
};

BmpLayout bmpLayout(std::size_t w, std::size_t h, int bits, std::size_t colours) {
  const std::size_t row = (w * static_cast<std::size_t>(bits) + 31) / 32 * 4;
  const std::size_t pixelsAt = 14 + 40 + 4 * colours;
  return {w, h, bits, colours, row, pixelsAt, pixelsAt + row * h};
}

// The head of such a file, written at `at`; the palette is left to the caller.
void writeBmpHead(char* at, const BmpLayout& bmp) {
  std::memset(at, 0, 54);
  at[0] = 'B';
  at[1] = 'M';
  putLittle(at + 2, static_cast<std::uint32_t>(bmp.size), 4);
  putLittle(at + 10, static_cast<std::uint32_t>(bmp.pixelsAt), 4);
  putLittle(at + 14, 40, 4);
  putLittle(at + 18, static_cast<std::uint32_t>(bmp.w), 4);
  putLittle(at + 22, static_cast<std::uint32_t>(bmp.h), 4);
  putLittle(at + 26, 1, 2);
  putLittle(at + 28, static_cast<std::uint32_t>(bmp.bits), 2);
  putLittle(at + 34, static_cast<std::uint32_t>(bmp.row * bmp.h), 4);
  putLittle(at + 38, 3780, 4);  // 96 dots per inch
  putLittle(at + 42, 3780, 4);
  putLittle(at + 46, static_cast<std::uint32_t>(bmp.colours), 4);
}

// How many of `most` bytes from `at` on repeat its first, eight compared a step.
std::size_t runLength(const std::uint8_t* at, std::size_t most) {
  static_assert(std::endian::native == std::endian::little, "the first byte that differs is the lowest");
  const std::uint64_t same = at[0] * 0x0101010101010101ULL;
  std::size_t n = 1;
  for (; n + 8 <= most; n += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, at + n, 8);
    if (word != same) return n + static_cast<std::size_t>(std::countr_zero(word ^ same)) / 8;
  }
  while (n < most && at[n] == at[0]) ++n;
  return n;
}

// The first place in [from, stop) where three equal bytes start, or stop;
// the three bytes from any place before `stop` lie in the row.
std::size_t threeAlike(const std::uint8_t* row, std::size_t from, std::size_t stop) {
  std::size_t at = from;
#ifdef __SSE2__
  // Sixteen places a step: each byte against the next and the one after.
  for (; at + 16 <= stop; at += 16) {
    const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + at));
    const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + at + 1));
    const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + at + 2));
    const int alike = _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(a, b), _mm_cmpeq_epi8(a, c)));
    if (alike != 0) return at + static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(alike)));
  }
#endif
  for (; at < stop; ++at) {
    if (row[at] == row[at + 1] && row[at] == row[at + 2]) return at;
  }
  return stop;
}

// The picture's rows bottom up as BMP's eight-bit runs, into `to`: a run
// of one grey as its length and the grey, a stretch without runs of three
// as its bytes, each row closed, then the picture. The length written, or 0
// where that would not fit in `room`, which is then to be filled again.
std::size_t runsInto(const ReviewPicture& picture, char* to, std::size_t room) {
  const auto w = static_cast<std::size_t>(picture.width);
  std::size_t at = 0;
  const auto put = [&](std::uint8_t a, std::uint8_t b) {
    if (at + 2 > room) return false;
    to[at++] = static_cast<char>(a);
    to[at++] = static_cast<char>(b);
    return true;
  };
  for (std::size_t y = static_cast<std::size_t>(picture.height); y-- > 0;) {
    const std::uint8_t* row = picture.pixels.data() + y * w;
    for (std::size_t x = 0; x < w;) {
      const std::size_t run = runLength(row + x, std::min<std::size_t>(w - x, 255));
      if (run >= 2) {
        if (!put(static_cast<std::uint8_t>(run), row[x])) return 0;
        x += run;
        continue;
      }
      // A stretch runs to where three alike start, or 255 bytes on.
      const std::size_t most = std::min(w, x + 255);
      const std::size_t stop = std::min(most, w - std::min<std::size_t>(w, 2));
      const std::size_t alike = threeAlike(row, x + 1, stop);
      const std::size_t end = alike < stop ? alike : most;
      const std::size_t n = end - x;
      if (n < 3) {
        // Shorter stretches have no form of their own: runs of one.
        for (; x < end; ++x) {
          if (!put(1, row[x])) return 0;
        }
        continue;
      }
      // A stretch ends on an even byte.
      if (at + 2 + n + n % 2 > room) return 0;
      put(0, static_cast<std::uint8_t>(n));
      std::memcpy(to + at, row + x, n);
      at += n;
      if (n % 2 != 0) to[at++] = 0;
      x = end;
    }
    if (!put(0, 0)) return 0;
  }
  return put(0, 1) ? at : 0;
}

// The numbers -99 to 99 as a path writes them after another, each after a
// blank unless its sign parts it from the last: most steps of a path are
// these. Five bytes each, so that four can be copied from either of the
// first two.
struct SmallNumber {
  std::array<char, 5> text;
  std::uint8_t size;
};
constexpr int kSmallest = -99;
constexpr std::array<SmallNumber, 199> kSmallNumbers = [] {
  std::array<SmallNumber, 199> out{};
  for (int v = kSmallest; v <= 99; ++v) {
    SmallNumber& n = out[static_cast<std::size_t>(v - kSmallest)];
    const int left = v < 0 ? -v : v;
    std::size_t at = 0;
    n.text[at++] = v < 0 ? '-' : ' ';
    if (left >= 10) n.text[at++] = static_cast<char>('0' + left / 10);
    n.text[at++] = static_cast<char>('0' + left % 10);
    n.size = static_cast<std::uint8_t>(at);
  }
  return out;
}();

// A number of a path at `to`, which has four bytes to spare, after a blank
// unless it is the first after a command or has a sign that parts it from
// the last.
[[gnu::always_inline]] inline char* putNumber(char* to, std::int32_t value, bool first) {
  const bool blankless = first && value >= 0;
  if (static_cast<std::uint32_t>(value - kSmallest) < kSmallNumbers.size()) {
    const SmallNumber& n = kSmallNumbers[static_cast<std::size_t>(value - kSmallest)];
    std::memcpy(to, n.text.data() + (blankless ? 1 : 0), 4);
    return to + n.size - (blankless ? 1 : 0);
  }
  if (!blankless) *to++ = value < 0 ? '-' : ' ';
  std::uint32_t left = value < 0 ? 0U - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
  char digits[10];
  int n = 0;
  do {
    digits[n++] = static_cast<char>('0' + left % 10);
    left /= 10;
  } while (left != 0);
  while (n > 0) *to++ = digits[--n];
  return to;
}

// A review picture's value as a BMP palette's entry: greys 0 to 253 as
// themselves, white at 254, the line colour at 255.
std::uint32_t paletteEntry(std::uint8_t value, Colour line) {
  if (value == kReviewLine) return __builtin_bswap32(static_cast<std::uint32_t>(line)) >> 8;
  const std::uint32_t g = value == kReviewLine - 1 ? 255 : value;
  return g << 16 | g << 8 | g;
}

// The two values pixels hold, the first pixel's first, when they hold no
// more (one value is given twice).
std::optional<std::array<std::uint8_t, 2>> twoValues(const std::vector<std::uint8_t>& pixels) {
  if (pixels.empty()) return std::array<std::uint8_t, 2>{0, 0};
  const std::uint8_t a = pixels[0];
  const std::size_t size = pixels.size();
  const std::uint8_t* p = pixels.data();
  std::size_t i = 1;
  while (i < size && p[i] == a) ++i;
  const std::uint8_t b = i < size ? p[i] : a;
#ifdef __SSE2__
  const __m128i va = _mm_set1_epi8(static_cast<char>(a));
  const __m128i vb = _mm_set1_epi8(static_cast<char>(b));
  for (; i + 16 <= size; i += 16) {
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + i));
    if (_mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(v, va), _mm_cmpeq_epi8(v, vb))) != 0xFFFF) return std::nullopt;
  }
#endif
  for (; i < size; ++i) {
    if (p[i] != a && p[i] != b) return std::nullopt;
  }
  return std::array<std::uint8_t, 2>{a, b};
}

// A row of `w` pixels as bits, set where a pixel is `one`, the leftmost
// pixel the highest bit of the first byte, into `to`.
void bitsOfRow(const std::uint8_t* row, std::size_t w, std::uint8_t one, std::uint8_t* to) {
  // Each byte's bits in the opposite order.
  static constexpr std::array<std::uint8_t, 256> kReversed = [] {
    std::array<std::uint8_t, 256> out{};
    for (unsigned v = 0; v < 256; ++v) {
      unsigned r = 0;
      for (unsigned k = 0; k < 8; ++k) r |= (v >> k & 1U) << (7 - k);
      out[v] = static_cast<std::uint8_t>(r);
    }
    return out;
  }();
  std::size_t x = 0;
#ifdef __SSE2__
  const __m128i vone = _mm_set1_epi8(static_cast<char>(one));
  for (; x + 16 <= w; x += 16, to += 2) {
    const auto bits = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x)), vone)));
    to[0] = kReversed[bits & 0xFF];
    to[1] = kReversed[bits >> 8];
  }
  for (; x + 8 <= w; x += 8, ++to) {
    const auto bits = static_cast<unsigned>(
        _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(row + x)), vone)));
    *to = kReversed[bits & 0xFF];
  }
#endif
  for (; x < w; x += 8, ++to) {
    unsigned bits = 0;
    for (std::size_t k = 0; k < 8 && x + k < w; ++k) bits |= (row[x + k] == one ? 0x80U : 0U) >> k;
    *to = static_cast<std::uint8_t>(bits);
  }
}

#if defined(__x86_64__) || defined(__i386__)
// Twelve bytes a step as sixteen base64 digits, while sixteen can be read:
// each three bytes' four six-bit numbers put in bytes of their own by
// shifts in sixteen-bit lanes, then each number moved to its digit by the
// offset of its range (A-Z, a-z, 0-9, '+', '/'). How many bytes were done.
[[gnu::target("ssse3")]] std::size_t base64Groups(const unsigned char* from, std::size_t size, char* to) {
  const __m128i spread = _mm_setr_epi8(1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10);
  const __m128i offsets = _mm_setr_epi8(71, -4, -4, -4, -4, -4, -4, -4, -4, -4, -4, -19, -16, 65, 0, 0);  // by range
  std::size_t i = 0;
  for (; i + 16 <= size; i += 12, to += 16) {
    const __m128i in = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i)), spread);
    // Numbers a and c of each three bytes into place by a high multiply,
    // b and d by a low one.
    const __m128i ac = _mm_mulhi_epu16(_mm_and_si128(in, _mm_set1_epi32(0x0FC0FC00)), _mm_set1_epi32(0x04000040));
    const __m128i bd = _mm_mullo_epi16(_mm_and_si128(in, _mm_set1_epi32(0x003F03F0)), _mm_set1_epi32(0x01000010));
    const __m128i numbers = _mm_or_si128(ac, bd);
    // The range: 0 for 26-51, 1 to 10 for 52-61, 11 for 62, 12 for 63, 13 for 0-25.
    __m128i range = _mm_subs_epu8(numbers, _mm_set1_epi8(51));
    range = _mm_or_si128(range, _mm_and_si128(_mm_cmpgt_epi8(_mm_set1_epi8(26), numbers), _mm_set1_epi8(13)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_add_epi8(numbers, _mm_shuffle_epi8(offsets, range)));
  }
  return i;
}
#endif

// The steps of -9 to 9 each way as a path writes them after another number:
// each number after a blank unless its sign parts it from the last.
// Most steps of a path are these; the step of no length writes nothing.
struct SmallStep {
  std::array<char, 4> text;
  std::uint32_t size;
};
constexpr int kStepReach = 9;
constexpr int kStepsAcross = 2 * kStepReach + 1;
constexpr std::array<SmallStep, kStepsAcross * kStepsAcross> kSmallSteps = [] {
  std::array<SmallStep, kStepsAcross * kStepsAcross> out{};
  for (int dx = -kStepReach; dx <= kStepReach; ++dx) {
    for (int dy = -kStepReach; dy <= kStepReach; ++dy) {
      SmallStep& step = out[static_cast<std::size_t>((dx + kStepReach) * kStepsAcross + dy + kStepReach)];
      if (dx == 0 && dy == 0) continue;
      std::size_t at = 0;
      for (const int v : {dx, dy}) {
        step.text[at++] = v < 0 ? '-' : ' ';
        step.text[at++] = static_cast<char>('0' + (v < 0 ? -v : v));
      }
      step.size = 4;
    }
  }
  return out;
}();

// Memory a thread keeps for what it writes picture after picture: none is
// cleared, and none touched but what is written.
class ScratchBuffer {
 public:
  char* atLeast(std::size_t size) {
    if (size_ < size) {
      bytes_ = std::make_unique_for_overwrite<char[]>(size);
      size_ = size;
    }
    return bytes_.get();
  }

 private:
  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0;
};

// The farthest a path's point lies from 0 in either direction, in steps: a
// box shows a few hundred; a line that would reach further is cut short there.
constexpr float kFarthest = 1 << 20;

}  // namespace

std::string bmpFileOf(const PictureBox& box) {
  const auto w = static_cast<std::size_t>(box.pixelWidth());
  const auto h = static_cast<std::size_t>(box.pixelHeight());
  const BmpLayout bmp = bmpLayout(w, h, 24, 0);
  std::string out(bmp.size, '\0');
  writeBmpHead(out.data(), bmp);
  const std::size_t row = bmp.row;
  const std::size_t pixelsAt = bmp.pixelsAt;
  const Colour* bits = box.bits();
  // Each pixel blue, green, red: the low three bytes of its colour in order.
  for (std::size_t y = 0; y < h; ++y) {
    char* to = out.data() + pixelsAt + (h - 1 - y) * row;
    const Colour* from = bits + y * w;
    const auto bgr = [&](std::size_t x) { return __builtin_bswap32(static_cast<std::uint32_t>(from[x])) >> 8; };
    // Four pixels make twelve bytes, stored as three words.
    std::size_t x = 0;
    for (; x + 4 <= w; x += 4, to += 12) {
      const std::uint32_t a = bgr(x);
      const std::uint32_t b = bgr(x + 1);
      const std::uint32_t c = bgr(x + 2);
      const std::uint32_t d = bgr(x + 3);
      const std::uint32_t words[3] = {a | b << 24, b >> 8 | c << 16, c >> 16 | d << 8};
      std::memcpy(to, words, sizeof words);
    }
    for (; x < w; ++x, to += 3) {
      const std::uint32_t c = bgr(x);
      std::memcpy(to, &c, 3);
    }
  }
  return out;
}

std::string linesPath(const PictureBox& box, std::span<const float> ends, float centre) {
  // Half pixels of the box a unit of its scale.
  const float sx = static_cast<float>(2 * box.pixelWidth() / static_cast<double>(box.ScaleWidth()));
  const float sy = static_cast<float>(2 * box.pixelHeight() / static_cast<double>(box.ScaleHeight()));
  // At most a command and four numbers of a sign and ten digits a line, and
  // four bytes to spare.
  thread_local ScratchBuffer writing;
  char* const from = writing.atLeast(ends.size() / 4 * 45 + 4);
  char* to = from;
  bool drawing = false;
  std::int32_t x = 0;
  std::int32_t y = 0;
  for (std::size_t i = 0; i + 4 <= ends.size(); i += 4) {
    // The four ends rounded to the nearest step, ties to even.
    std::int32_t at[4];
#ifdef __SSE2__
    const __m128 scaled =
        _mm_mul_ps(_mm_add_ps(_mm_loadu_ps(ends.data() + i), _mm_set1_ps(centre)), _mm_setr_ps(sx, sy, sx, sy));
    // Not a number becomes the nearest bound: the maximum gives its second operand then.
    const __m128 held = _mm_min_ps(_mm_max_ps(scaled, _mm_set1_ps(-kFarthest)), _mm_set1_ps(kFarthest));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at), _mm_cvtps_epi32(held));
#else
    for (int k = 0; k < 4; ++k) {
      const float scaled = (ends[i + k] + centre) * (k % 2 ? sy : sx);
      at[k] = static_cast<std::int32_t>(std::lrint(std::fmin(std::fmax(scaled, -kFarthest), kFarthest)));
    }
#endif
    const auto [ax, ay, bx, by] = at;
    if (!drawing || ax != x || ay != y) {
      // The first move of a path is taken from 0, 0 as the others are from the pen.
      *to++ = 'm';
      to = putNumber(to, ax - x, true);
      to = putNumber(to, ay - y, false);
      to = putNumber(to, bx - ax, false);
      to = putNumber(to, by - ay, false);
      drawing = true;
    } else if (const std::int32_t dx = bx - x, dy = by - y;
               static_cast<std::uint32_t>(dx + kStepReach) < kStepsAcross &&
               static_cast<std::uint32_t>(dy + kStepReach) < kStepsAcross) {
      // Half the steps of a small box have no length: those write nothing,
      // without a branch to mispredict.
      const SmallStep& step = kSmallSteps[static_cast<std::size_t>((dx + kStepReach) * kStepsAcross + dy + kStepReach)];
      std::memcpy(to, step.text.data(), 4);
      to += step.size;
    } else {
      to = putNumber(putNumber(to, dx, false), dy, false);
    }
    x = bx;
    y = by;
  }
  return std::string(from, to);
}

ReviewPicture reviewPicture(const PictureBox& box, Colour line) {
  ReviewPicture out{box.pixelWidth(), box.pixelHeight(), {}};
  const std::size_t area = static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height);
  out.pixels.resize(area);
  const Colour* from = box.bits();
  std::uint8_t* to = out.pixels.data();
  std::size_t i = 0;
#ifdef __SSE2__
  // Eight pixels a step, in sixteen-bit lanes: the sums stay below 2^15, and
  // a sum over 100 is its high half times 5243 shifted by three more.
  const __m128i byte = _mm_set1_epi32(0xFF);
  const __m128i lineColour = _mm_set1_epi32(line);
  const auto channel = [&](__m128i p, __m128i q, int shift) {
    return _mm_packs_epi32(_mm_and_si128(_mm_srli_epi32(p, shift), byte),
                           _mm_and_si128(_mm_srli_epi32(q, shift), byte));
  };
  for (; i + 8 <= area; i += 8) {
    const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i));
    const __m128i q = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i + 4));
    __m128i sum = _mm_add_epi16(_mm_mullo_epi16(channel(p, q, 0), _mm_set1_epi16(30)),
                                _mm_mullo_epi16(channel(p, q, 8), _mm_set1_epi16(59)));
    sum = _mm_add_epi16(sum, _mm_add_epi16(_mm_mullo_epi16(channel(p, q, 16), _mm_set1_epi16(11)), _mm_set1_epi16(50)));
    __m128i grey = _mm_srli_epi16(_mm_mulhi_epu16(sum, _mm_set1_epi16(5243)), 3);
    grey = _mm_min_epi16(grey, _mm_set1_epi16(254));
    const __m128i onLine = _mm_packs_epi32(_mm_cmpeq_epi32(p, lineColour), _mm_cmpeq_epi32(q, lineColour));
    grey = _mm_or_si128(grey, _mm_and_si128(onLine, _mm_set1_epi16(kReviewLine)));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to + i), _mm_packus_epi16(grey, grey));
  }
#endif
  for (; i < area; ++i) {
    // The luminance in hundredths, weighed as luminanceHundredths weighs it,
    // rounded to a whole grey; white takes 254's place. The box holds
    // colours of three bytes, so unsigned arithmetic gives the same.
    const auto c = static_cast<std::uint32_t>(from[i]);
    const std::uint32_t grey = (30 * (c & 0xFF) + 59 * (c >> 8 & 0xFF) + 11 * (c >> 16 & 0xFF) + 50) / 100;
    to[i] = from[i] == line ? kReviewLine : static_cast<std::uint8_t>(std::min(grey, 254U));
  }
  return out;
}

ReviewPicture halved(const ReviewPicture& picture) {
  const Int32 w = picture.width;
  const Int32 h = picture.height;
  ReviewPicture out{(w + 1) / 2, (h + 1) / 2, {}};
  out.pixels.resize(static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height));
  for (Int32 y = 0; y < out.height; ++y) {
    // An odd last row or column stands for its block alone.
    const std::uint8_t* a = picture.pixels.data() + static_cast<std::size_t>(2 * y) * w;
    const std::uint8_t* b = 2 * y + 1 < h ? a + w : a;
    std::uint8_t* to = out.pixels.data() + static_cast<std::size_t>(y) * out.width;
    Int32 x = 0;
#ifdef __SSE2__
    // Sixteen bytes of each row a step: the two rows' lower and higher bytes,
    // then those of each pair of neighbours, in sixteen-bit lanes.
    static_assert(kReviewLine == 0xFF, "the line is the lightest byte");
    const __m128i low = _mm_set1_epi16(0xFF);
    for (; 2 * x + 16 <= w; x += 8) {
      const __m128i p = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + 2 * x));
      const __m128i q = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + 2 * x));
      const __m128i lower = _mm_min_epu8(p, q);
      const __m128i higher = _mm_max_epu8(p, q);
      const __m128i darkest = _mm_min_epi16(_mm_and_si128(lower, low), _mm_srli_epi16(lower, 8));
      const __m128i lightest = _mm_max_epi16(_mm_and_si128(higher, low), _mm_srli_epi16(higher, 8));
      const __m128i shown = _mm_or_si128(darkest, _mm_and_si128(_mm_cmpeq_epi16(lightest, low), low));
      _mm_storel_epi64(reinterpret_cast<__m128i*>(to + x), _mm_packus_epi16(shown, shown));
    }
#endif
    for (; x < out.width; ++x) {
      const Int32 u = 2 * x;
      const Int32 v = std::min(u + 1, w - 1);
      const std::uint8_t darkest = std::min(std::min(a[u], a[v]), std::min(b[u], b[v]));
      const std::uint8_t lightest = std::max(std::max(a[u], a[v]), std::max(b[u], b[v]));
      to[x] = lightest == kReviewLine ? kReviewLine : darkest;
    }
  }
  return out;
}

std::string bmpFileOf(const ReviewPicture& picture, Colour line) {
  const auto w = static_cast<std::size_t>(picture.width);
  const auto h = static_cast<std::size_t>(picture.height);
  // A picture of two values, as line work on plain paper painted from a
  // black and white original is, takes a bit a pixel: smaller than its
  // runs, and quicker to write.
  if (const std::optional<std::array<std::uint8_t, 2>> two = twoValues(picture.pixels)) {
    const BmpLayout bmp = bmpLayout(w, h, 1, 2);
    std::string out(bmp.size, '\0');
    writeBmpHead(out.data(), bmp);
    putLittle(out.data() + 54, paletteEntry((*two)[0], line), 4);
    putLittle(out.data() + 58, paletteEntry((*two)[1], line), 4);
    for (std::size_t y = 0; y < h; ++y) {
      bitsOfRow(picture.pixels.data() + y * w, w, (*two)[1],
                reinterpret_cast<std::uint8_t*>(out.data() + bmp.pixelsAt + (h - 1 - y) * bmp.row));
    }
    return out;
  }
  // Coded in a buffer each thread keeps for its pictures, taken as large as
  // the rows uncoded.
  thread_local ScratchBuffer coding;
  const BmpLayout bmp = bmpLayout(w, h, 8, 256);
  const std::size_t whole = bmp.size;
  const std::size_t row = bmp.row;
  const std::size_t pixelsAt = bmp.pixelsAt;
  char* const out = coding.atLeast(whole);
  writeBmpHead(out, bmp);
  for (std::uint32_t i = 0; i < 256; ++i)
    putLittle(out + 54 + 4 * i, paletteEntry(static_cast<std::uint8_t>(i), line), 4);
  // Run-length coded where that is smaller, as it is many times over for
  // line work on plain paper; a busy scan keeps its rows as they are.
  if (const std::size_t coded = runsInto(picture, out + pixelsAt, whole - pixelsAt)) {
    putLittle(out + 2, static_cast<std::uint32_t>(pixelsAt + coded), 4);
    putLittle(out + 30, 1, 4);  // eight-bit runs
    putLittle(out + 34, static_cast<std::uint32_t>(coded), 4);
    return std::string(out, pixelsAt + coded);
  }
  for (std::size_t y = 0; y < h; ++y) {
    char* to = out + pixelsAt + (h - 1 - y) * row;
    std::memcpy(to, picture.pixels.data() + y * w, w);
    std::memset(to + w, 0, row - w);
  }
  return std::string(out, whole);
}

std::string dataUri(std::string_view mediaType, std::string_view bytes) {
  static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::string head = "data:" + std::string(mediaType) + ";base64,";
  std::string out(head.size() + (bytes.size() + 2) / 3 * 4, '=');
  std::memcpy(out.data(), head.data(), head.size());
  char* to = out.data() + head.size();
  const auto* from = reinterpret_cast<const unsigned char*>(bytes.data());
  std::size_t i = 0;
#if defined(__x86_64__) || defined(__i386__)
  static const bool shuffles = __builtin_cpu_supports("ssse3");
  if (shuffles) i = base64Groups(from, bytes.size(), to);
  to += i / 3 * 4;
#endif
  for (; i + 3 <= bytes.size(); i += 3, to += 4) {
    const std::uint32_t v = from[i] << 16 | from[i + 1] << 8 | from[i + 2];
    to[0] = kDigits[v >> 18];
    to[1] = kDigits[v >> 12 & 63];
    to[2] = kDigits[v >> 6 & 63];
    to[3] = kDigits[v & 63];
  }
  // One or two bytes left make two or three digits; the rest stays '='.
  if (const std::size_t left = bytes.size() - i; left > 0) {
    const std::uint32_t v = from[i] << 16 | (left > 1 ? from[i + 1] << 8 : 0U);
    to[0] = kDigits[v >> 18];
    to[1] = kDigits[v >> 12 & 63];
    if (left > 1) to[2] = kDigits[v >> 6 & 63];
  }
  return out;
}

PictureBox previewBox(Int32 pictureWidth, Int32 pictureHeight) {
  PictureBox box(static_cast<float>(kTwipsPerPixel), 0);
  layOutPreview(box, pictureWidth, pictureHeight);
  return box;
}

PictureBox pageBox(Int32 pictureWidth, Int32 pictureHeight) {
  PictureBox box(static_cast<float>(kTwipsPerPixel), 0);
  layOutPreview(box, pictureWidth, pictureHeight, kPreviewSide / 2);
  return box;
}

PictureBox::RowPainter originalPainter(PictureBox& box, Int32 pictureWidth, Int32 pictureHeight) {
  PictureBox::RowPainter painter(box, pictureWidth, pictureHeight, 0.0F, 0.0F, static_cast<float>(pictureWidth),
                                 static_cast<float>(pictureHeight));
  // The chain's rows stay in the picture until the threshold stage is done.
  painter.gatherRows();
  return painter;
}

ReviewPicture blankReview(const PictureBox& box) {
  ReviewPicture out{box.pixelWidth(), box.pixelHeight(), {}};
  // White, as a box that was never painted shows.
  out.pixels.assign(static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height), kReviewLine - 1);
  return out;
}

PreviewImages previewImages(PictureBox& box, ReviewPicture* painted, const RecordTable* segments, float factor,
                            const std::optional<std::string>& preview, Review review) {
  PreviewImages images;
  if (review == Review::none && !(preview && segments)) return images;
  if (review == Review::thumbnailAndPagePreview) {
    ReviewPicture page = painted ? std::move(*painted) : reviewPicture(box, kRed);
    const std::vector<float> ends = segments ? segmentEnds(*segments, factor) : std::vector<float>();
    std::string lines = linesPath(box, ends, 0.5F * factor);
    if (lines.size() > kLinesInPage) {
      box.LinesInto(ends, page.pixels.data(), kReviewLine);
      lines.clear();
    }
    images.shown = {dataUri("image/bmp", bmpFileOf(page, kRed)), 2 * page.width, 2 * page.height, true,
                    std::move(lines)};
    return images;
  }
  if (segments) drawSegments(*segments, box, factor);
  if (preview && segments) images.file = preview->ends_with(".bmp") ? bmpFileOf(box) : encodeBitmapPng(box);
  if (review != Review::none) {
    const ReviewPicture small = halved(reviewPicture(box, kRed));
    images.shown = {dataUri("image/bmp", bmpFileOf(small, kRed)), small.width, small.height, false, {}};
  }
  return images;
}

}  // namespace quern
