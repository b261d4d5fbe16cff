#include <algorithm>
#include <atomic>
#include <cmath>
#include <string>
#include <utility>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#endif

#include "base/errors.h"
#include "surface/picture_box.h"

namespace quern {

namespace {
Colour combine(Colour dest, Colour src, Int32 opcode) {
  switch (opcode) {
    case kOpcodeCopy:
      return src;
    case kOpcodeAnd:
      return dest & src;
    case kOpcodePaint:
      return dest | src;
    case kOpcodeInvert:
      return dest ^ src;
    default:
      throw SurfaceError("Invalid procedure call: raster operation " + std::to_string(opcode));
  }
}

// For each destination index along one axis, the first and one-past-last
// source index it covers. A shrink gives blocks of several source pixels, an
// enlargement repeats one. The blocks follow each other: a block ends where
// the next begins, or the next is the same one pixel.
struct Span {
  Int32 from;
  Int32 to;
};

std::vector<Span> spans(Int32 destLength, double srcStart, double srcLength) {
  std::vector<Span> out(static_cast<std::size_t>(destLength));
  // A whole picture's length from its start, as a painting of all of it
  // has: the floors as whole quotients, which give the same (a quotient is
  // at least 1/destLength from the next whole number, far more than the
  // double's rounding), carried from one span to the next without dividing.
  if (srcStart == 0.0 && srcLength >= 0.0 && srcLength < (1 << 30) && std::floor(srcLength) == srcLength) {
    const auto length = static_cast<Int32>(srcLength);
    const Int32 step = length / destLength;
    const Int32 extra = length % destLength;
    Int32 at = 0;    // length * d / destLength, rounded down
    Int32 over = 0;  // and what is left over
    for (Int32 d = 0; d < destLength; ++d) {
      const Int32 a = at;
      at += step;
      over += extra;
      if (over >= destLength) {
        ++at;
        over -= destLength;
      }
      out[static_cast<std::size_t>(d)] = {a, at > a ? at : a + 1};
    }
    return out;
  }
  for (Int32 d = 0; d < destLength; ++d) {
    const auto a = static_cast<Int32>(std::floor(srcStart + srcLength * d / destLength));
    auto b = static_cast<Int32>(std::floor(srcStart + srcLength * (d + 1) / destLength));
    if (b <= a) b = a + 1;
    out[static_cast<std::size_t>(d)] = {a, b};
  }
  return out;
}

#if defined(__x86_64__) || defined(__i386__)
// Sixteen bytes, each the AND of two bytes of the blocks from `from`: for
// each block, `masks` holds the shuffle that picks the first bytes from it,
// then the one that picks the second (an index of 0x80 picks nothing).
template <int Blocks>
[[gnu::target("ssse3"), gnu::always_inline]] inline void shuffleGroup(const std::uint8_t* from,
                                                                      const std::uint8_t* masks, std::uint8_t* to) {
  __m128i a = _mm_setzero_si128();
  __m128i b = _mm_setzero_si128();
  for (int k = 0; k < Blocks; ++k) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 16 * k));
    a = _mm_or_si128(a, _mm_shuffle_epi8(block, _mm_loadu_si128(reinterpret_cast<const __m128i*>(masks + 32 * k))));
    b = _mm_or_si128(b,
                     _mm_shuffle_epi8(block, _mm_loadu_si128(reinterpret_cast<const __m128i*>(masks + 32 * k + 16))));
  }
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_and_si128(a, b));
}

// shuffleGroup for a number of blocks known only when run, from 1 to sizeof...(Less) + 1.
template <int... Less>
[[gnu::target("ssse3"), gnu::always_inline]] inline void shuffleBlocks(int blocks, const std::uint8_t* from,
                                                                       const std::uint8_t* masks, std::uint8_t* to,
                                                                       std::integer_sequence<int, Less...>) {
  (void)((blocks == Less + 1 && (shuffleGroup<Less + 1>(from, masks, to), true)) || ...);
}

std::atomic<PaintSteps> stepsAllowed{PaintSteps::all};

bool allowed(PaintSteps steps) {
  return stepsAllowed.load(std::memory_order_relaxed) >= steps;
}

bool shufflesWork() {
  static const bool work = __builtin_cpu_supports("ssse3");
  return work && allowed(PaintSteps::sixteenBytes);
}

bool wideWorks() {
  static const bool work = __builtin_cpu_supports("avx2");
  return work && allowed(PaintSteps::all);
}

bool permutesWork() {
  static const bool work = __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512bw");
  return work && allowed(PaintSteps::all);
}

[[gnu::target("avx2"), gnu::always_inline]] inline __m256i bytes32(const std::uint8_t* at) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(at));
}

[[gnu::target("avx2"), gnu::always_inline]] inline void andRowsStep(std::uint8_t* acc, const std::uint8_t* s0,
                                                                   const std::uint8_t* s1, const std::uint8_t* s2,
                                                                   const std::uint8_t* s3, Int32 at, bool first) {
  __m256i v = _mm256_and_si256(_mm256_and_si256(bytes32(s0 + at), bytes32(s1 + at)),
                               _mm256_and_si256(bytes32(s2 + at), bytes32(s3 + at)));
  if (!first) v = _mm256_and_si256(v, bytes32(acc + at));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(acc + at), v);
}

// Grey rows ANDed into `acc` over columns [u, end), 32 bytes a step; the
// columns left over, fewer than 32, by a last step that ends at `end`, which
// ANDs some columns again. Returns the first column not done.
[[gnu::target("avx2")]] Int32 andRowsWide(std::uint8_t* acc, const std::uint8_t* s0, const std::uint8_t* s1,
                                          const std::uint8_t* s2, const std::uint8_t* s3, Int32 u, Int32 end,
                                          bool first) {
  if (end - u < 32) return u;
  for (; u + 32 <= end; u += 32) andRowsStep(acc, s0, s1, s2, s3, u, first);
  if (u < end) andRowsStep(acc, s0, s1, s2, s3, end - 32, first);
  return end;
}

// `acc` ANDed with itself `w` columns on, over columns [u, end - w), 32
// bytes a step; each step reads its columns before a later one writes them.
// The columns left over, fewer than 32, by a last step that ends there,
// worked out from `acc` as it was and stored after the others. Returns the
// first column not done.
[[gnu::target("avx2")]] Int32 andWindowsWide(std::uint8_t* acc, Int32 u, Int32 end, Int32 w) {
  const Int32 last = end - w - 32;
  if (last < u) return u;
  const __m256i lastStep = _mm256_and_si256(bytes32(acc + last), bytes32(acc + last + w));
  for (; u <= last; u += 32) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(acc + u), _mm256_and_si256(bytes32(acc + u), bytes32(acc + u + w)));
  }
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(acc + last), lastStep);
  return end - w;
}
#else
bool wideWorks() {
  return false;
}

bool permutesWork() {
  return false;
}
bool shufflesWork() {
  return false;
}
#endif

}  // namespace

void limitPaintSteps(PaintSteps steps) {
#if defined(__x86_64__) || defined(__i386__)
  stepsAllowed.store(steps, std::memory_order_relaxed);
#else
  (void)steps;
#endif
}

PictureBox::RowPainter::RowPainter(PictureBox& box, Int32 pw, Int32 ph, float x1, float y1, std::optional<float> width1,
                                   std::optional<float> height1, std::optional<float> x2, std::optional<float> y2,
                                   std::optional<float> width2, std::optional<float> height2, Int32 opcode)
    : box_(&box), op_(opcode) {
  combine(0, 0, op_);  // refuse an unknown operation before anything is drawn

  // Lengths in the box's scale become pixels of the box for the destination
  // and pixels of the picture for the source.
  const double fx = 1.0 / box.unitsPerPixelX(box.scaleMode_);
  const double fy = 1.0 / box.unitsPerPixelY(box.scaleMode_);
  const double srcX = x2 ? *x2 * fx : 0.0;
  const double srcY = y2 ? *y2 * fy : 0.0;
  const double srcW = width2 ? *width2 * fx : pw;
  const double srcH = height2 ? *height2 * fy : ph;

  dx0_ = roundToInt32(x1 * fx);
  const Int32 dy0 = roundToInt32(y1 * fy);
  const Int32 dx1 = width1 ? roundToInt32((x1 + *width1) * fx) : roundToInt32(dx0_ + srcW);
  const Int32 dy1 = height1 ? roundToInt32((y1 + *height1) * fy) : roundToInt32(dy0 + srcH);
  const Int32 dw = dx1 - dx0_;
  const Int32 dh = dy1 - dy0;
  if (dw <= 0 || dh <= 0 || srcW <= 0 || srcH <= 0) return;

  const std::vector<Span> xs = spans(dw, srcX, srcW);
  // Destination columns inside the box that draw on some source column: the
  // spans only grow left to right, so these form one run [iFrom, iTo).
  iFrom_ = std::max(0, -dx0_);
  iTo_ = std::min(dw, box.innerW_ - dx0_);
  while (iFrom_ < iTo_ && std::min(xs[static_cast<std::size_t>(iFrom_)].to, pw) <= 0) ++iFrom_;
  while (iTo_ > iFrom_ && xs[static_cast<std::size_t>(iTo_ - 1)].from >= pw) --iTo_;
  if (iFrom_ >= iTo_) return;
  paints_ = true;

  const bool wholeBox = dx0_ == 0 && dy0 == 0 && dw == box.innerW_ && dh == box.innerH_;
  asItIs_ = op_ == kOpcodeCopy && wholeBox && srcX == 0.0 && srcY == 0.0 && srcW == pw && srcH == ph &&
            pw == box.innerW_ && ph == box.innerH_;
  // A copy from within the picture onto the whole box writes every pixel.
  coversAll_ = op_ == kOpcodeCopy && wholeBox && srcX >= 0.0 && srcY >= 0.0 && srcX + srcW <= pw && srcY + srcH <= ph;
  uFrom_ = std::max(xs[static_cast<std::size_t>(iFrom_)].from, 0);
  uTo_ = std::min(xs[static_cast<std::size_t>(iTo_ - 1)].to, pw);
  // Each span of the run overlaps the picture; its columns there, worked out once.
  columns_.resize(static_cast<std::size_t>(iTo_));
  Int32 narrowest = pw;
  Int32 widest = 1;
  for (Int32 i = iFrom_; i < iTo_; ++i) {
    const Span sx = xs[static_cast<std::size_t>(i)];
    const Columns c{std::max(sx.from, 0), std::min(sx.to, pw)};
    columns_[static_cast<std::size_t>(i)] = c;
    narrowest = std::min(narrowest, c.to - c.from);
    widest = std::max(widest, c.to - c.from);
  }
  // Spans between w and 2w columns wide, w a power of two, as those of a
  // shrink by one factor are: each span is then the AND of two windows of w
  // columns, its first and its last, which may overlap.
  window_ = 1;
  while (window_ * 2 <= narrowest) window_ *= 2;
  if (widest > 2 * window_) window_ = 0;
  // Box rows that show the same picture rows make one band.
  const std::vector<Span> ys = spans(dh, srcY, srcH);
  for (Int32 j = 0; j < dh; ++j) {
    const Int32 ty = dy0 + j;
    if (ty < 0 || ty >= box.innerH_) continue;
    const Span sy = ys[static_cast<std::size_t>(j)];
    const Int32 from = std::max(sy.from, 0);
    const Int32 to = std::min(sy.to, ph);
    if (from >= to) continue;
    if (!bands_.empty() && bands_.back().from == from && bands_.back().to == to) {
      bands_.back().lastRow = ty;
    } else {
      bands_.push_back({from, to, ty, ty});
    }
  }
  if (bands_.empty()) return;
  next_ = bands_.front().from;
  acc_.resize(static_cast<std::size_t>(pw));
  line_.resize(static_cast<std::size_t>(iTo_));
}

void PictureBox::RowPainter::planShuffles() {
  shuffledTo_ = iFrom_;
  // A block read from the last group's base on may reach past the picture's
  // columns, as may the 128 bytes a permute reads.
  greyAcc_.assign(acc_.size() + 16 * kShuffleBlocks, 0);
  if (window_ == 0 || (permutesWork() && planPermutes()) || !shufflesWork()) return;
  const Int32 last = window_;
  // Groups of sixteen from the first box column on; the columns left over,
  // fewer than sixteen, by a last group that ends at the last column and so
  // works some columns out again.
  for (Int32 next = iFrom_; next < iTo_ && iTo_ - iFrom_ >= 16; next += 16) {
    const Int32 first = std::min(next, iTo_ - 16);
    const Columns* c = columns_.data() + first;
    const Int32 base = c[0].from;
    const Int32 blocks = (c[15].to - last - base) / 16 + 1;
    if (blocks > kShuffleBlocks) break;
    const std::size_t at = shuffleMasks_.size();
    shuffleGroups_.push_back({first, base, blocks, at});
    shuffleMasks_.resize(at + static_cast<std::size_t>(32 * blocks), 0x80);
    for (Int32 k = 0; k < 16; ++k) {
      const Int32 ends[2] = {c[k].from - base, c[k].to - last - base};
      for (int e = 0; e < 2; ++e) {
        shuffleMasks_[at + static_cast<std::size_t>(32 * (ends[e] / 16) + 16 * e + k)] =
            static_cast<std::uint8_t>(ends[e] % 16);
      }
    }
    shuffledTo_ = first + 16;
  }
}

bool PictureBox::RowPainter::planPermutes() {
  static_assert(16 * kShuffleBlocks >= 128, "a permute reads 128 bytes from a group's base");
  const Int32 last = window_;
  // Groups of thirty-two box columns where every group's ends lie within
  // 128 bytes, else of sixteen. As with the shuffles, a last group that ends
  // at the last column works out again some columns the one before did.
  for (const Int32 size : {32, 16}) {
    if (iTo_ - iFrom_ < size) continue;
    std::vector<ShuffleGroup> groups;
    std::vector<std::uint8_t> masks;
    bool fits = true;
    for (Int32 next = iFrom_; fits && next < iTo_; next += size) {
      const Int32 first = std::min(next, iTo_ - size);
      const Columns* c = columns_.data() + first;
      const Int32 base = c[0].from;
      // The spans only grow, and each is at least `last` wide: the last
      // column's second end is the group's farthest.
      fits = c[size - 1].to - last - base < 128;
      // Each index vector whole, the lanes past the group's picking byte 0 for nothing.
      const std::size_t at = masks.size();
      groups.push_back({first, base, size, at});
      masks.resize(at + 128, 0);
      for (Int32 k = 0; k < size; ++k) {
        masks[at + static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(c[k].from - base);
        masks[at + 64 + static_cast<std::size_t>(k)] = static_cast<std::uint8_t>(c[k].to - last - base);
      }
    }
    if (!fits) continue;
    shuffleGroups_ = std::move(groups);
    shuffleMasks_ = std::move(masks);
    permutes_ = true;
    shuffledTo_ = iTo_;
    return true;
  }
  return false;
}

#if defined(__x86_64__) || defined(__i386__)
[[gnu::target("avx512f,avx512bw,avx512vbmi")]] void PictureBox::RowPainter::permuteGroups(const std::uint8_t* acc,
                                                                                          std::uint8_t* line) const {
  for (const ShuffleGroup& g : shuffleGroups_) {
    const __m512i low = _mm512_loadu_si512(acc + g.base);
    const __m512i high = _mm512_loadu_si512(acc + g.base + 64);
    const std::uint8_t* masks = shuffleMasks_.data() + g.masks;
    const __m512i firsts = _mm512_loadu_si512(masks);
    const __m512i seconds = _mm512_loadu_si512(masks + 64);
    const __m512i both = _mm512_and_si512(_mm512_permutex2var_epi8(low, firsts, high),
                                          _mm512_permutex2var_epi8(low, seconds, high));
    _mm512_mask_storeu_epi8(line + g.first, (__mmask64{1} << g.blocks) - 1, both);
  }
}
#else
void PictureBox::RowPainter::permuteGroups(const std::uint8_t*, std::uint8_t*) const {}
#endif

namespace {

// Each byte no more than `most`, sixteen a step where there are as many.
void capBytes(std::uint8_t* bytes, Int32 count, std::uint8_t most) {
  Int32 i = 0;
#ifdef __SSE2__
  if (count >= 16) {
    const __m128i cap = _mm_set1_epi8(static_cast<char>(most));
    const auto step = [&](Int32 at) {
      auto* p = reinterpret_cast<__m128i*>(bytes + at);
      _mm_storeu_si128(p, _mm_min_epu8(_mm_loadu_si128(p), cap));
    };
    for (; i + 16 <= count; i += 16) step(i);
    // The last few again within the last sixteen: capping twice changes nothing.
    if (i < count) step(count - 16);
    i = count;
  }
#endif
  for (; i < count; ++i) bytes[i] = std::min(bytes[i], most);
}

}  // namespace

void PictureBox::RowPainter::gatherRows() {
  // About a quarter of a megabyte of rows.
  const std::size_t width = std::max<std::size_t>(acc_.size(), 1);
  deferRows_ = std::max<std::size_t>(1, (std::size_t{256} << 10) / (sizeof(Colour) * width));
}

void PictureBox::RowPainter::intoGreys(std::uint8_t* greys, std::uint8_t lightest) {
  if (op_ != kOpcodeCopy) throw SurfaceError("Invalid procedure call: only a copy paints greys");
  greyOut_ = greys;
  lightest_ = lightest;
}

void PictureBox::RowPainter::row(Int32 y, const Colour* pixels) {
  take(y, pixels, false);
}

void PictureBox::RowPainter::row(Int32 y, const std::uint8_t* greys) {
  take(y, greys, true);
}

void PictureBox::RowPainter::take(Int32 y, const void* pixels, bool grey) {
  if (band_ >= bands_.size() || y < next_) return;
  if (y > next_) throw SurfaceError("Invalid procedure call: picture row " + std::to_string(next_) + " left out");
  greyRows_ = grey;
  rows_.push_back(pixels);
  if (++next_ < bands_[band_].to) return;
  if (++band_ < bands_.size()) next_ = bands_[band_].from;
  if (rows_.size() < deferRows_ && band_ < bands_.size()) return;
  // The bands whose rows are all in, each from its rows in `rows_`.
  const void* const* rows = rows_.data();
  for (; drawn_ < band_; ++drawn_) {
    finishBand(bands_[drawn_], rows);
    rows += bands_[drawn_].to - bands_[drawn_].from;
  }
  rows_.clear();
}

#if defined(__x86_64__) || defined(__i386__)
[[gnu::target("ssse3")]] void PictureBox::RowPainter::shuffleGroups(const std::uint8_t* acc,
                                                                      std::uint8_t* line) const {
  for (const ShuffleGroup& g : shuffleGroups_) {
    const std::uint8_t* from = acc + g.base;
    const std::uint8_t* masks = shuffleMasks_.data() + g.masks;
    std::uint8_t* to = line + g.first;
    shuffleBlocks(g.blocks, from, masks, to, std::make_integer_sequence<int, kShuffleBlocks>{});
  }
}
#else
void PictureBox::RowPainter::shuffleGroups(const std::uint8_t*, std::uint8_t*) const {}
#endif

template <typename Pixel>
void PictureBox::RowPainter::fold(const Band& band, const void* const* rows, Pixel* __restrict acc,
                                  Pixel* __restrict line) {
  // The band's rows ANDed into `acc`, up to four a sweep so that `acc` is
  // written once for most bands: a shrink thus ANDs the pixels it drops into
  // the one it keeps, so dark line work on a light ground survives it. A
  // sweep of fewer rows reads its last row again, which the AND does not mind.
  // Greys AND as their colours do, a byte for three. The bounds are copied so
  // that the stores are not taken to change them.
  constexpr Pixel kAll = sizeof(Pixel) == 1 ? Pixel(0xFF) : Pixel(0xFFFFFF);
  const Int32 uFrom = uFrom_;
  const Int32 uTo = uTo_;
  const Int32 height = band.to - band.from;
  [[maybe_unused]] const bool wide = sizeof(Pixel) == 1 && wideWorks();
  const auto rowAt = [&](Int32 r) { return static_cast<const Pixel*>(rows[r]); };
  for (Int32 r = 0; r < height;) {
    const Int32 n = std::min<Int32>(4, height - r);
    const Pixel* __restrict s0 = rowAt(r);
    const Pixel* __restrict s1 = rowAt(r + std::min<Int32>(1, n - 1));
    const Pixel* __restrict s2 = rowAt(r + std::min<Int32>(2, n - 1));
    const Pixel* __restrict s3 = rowAt(r + n - 1);
    Int32 u = uFrom;
#if defined(__x86_64__) || defined(__i386__)
    if constexpr (sizeof(Pixel) == 1) {
      if (wide) u = andRowsWide(acc, s0, s1, s2, s3, u, uTo, r == 0);
    }
#endif
    if (r == 0) {
      for (; u < uTo; ++u) acc[u] = s0[u] & s1[u] & s2[u] & s3[u] & kAll;
    } else {
      for (; u < uTo; ++u) acc[u] &= s0[u] & s1[u] & s2[u] & s3[u];
    }
    r += n;
  }
  // Each box pixel the AND of its columns of `acc`.
  const Pixel* a = acc;
  const Columns* columns = columns_.data();
  const Int32 iFrom = iFrom_;
  const Int32 iTo = iTo_;
  if (window_ > 0) {
    // `acc` becomes the AND of each window of `window_` columns from there
    // on, doubled a step; a window is read only where all of it was.
    for (Int32 w = 1; w < window_; w *= 2) {
      Int32 u = uFrom;
#if defined(__x86_64__) || defined(__i386__)
      if constexpr (sizeof(Pixel) == 1) {
        if (wide) u = andWindowsWide(acc, u, uTo, w);
      }
#endif
      for (; u + w < uTo; ++u) acc[u] &= acc[u + w];
    }
    const Int32 last = window_;
    Int32 i = iFrom;
#if defined(__x86_64__) || defined(__i386__)
    if constexpr (sizeof(Pixel) == 1) {
      if (permutes_) {
        permuteGroups(a, line);
      } else if (!shuffleGroups_.empty()) {
        shuffleGroups(a, line);
      }
      i = shuffledTo_;
    }
#endif
    for (; i < iTo; ++i) line[i] = a[columns[i].from] & a[columns[i].to - last];
    return;
  }
  // Spans of widths further apart, as where the picture is cut off at an
  // edge: those of a few columns unrolled.
  for (Int32 i = iFrom; i < iTo; ++i) {
    const Columns sx = columns[i];
    const Int32 sxTo = sx.to;
    Int32 u = sx.from;
    Pixel c = a[u];
    switch (sxTo - u) {
      case 1:
        break;
      case 2:
        c &= a[u + 1];
        break;
      case 3:
        c &= a[u + 1] & a[u + 2];
        break;
      case 4:
        c &= a[u + 1] & a[u + 2] & a[u + 3];
        break;
      default:
        while (++u < sxTo) c &= a[u];
    }
    line[i] = c;
  }
}

void PictureBox::RowPainter::finishBand(const Band& band, const void* const* rows) {
  if (greyOut_) {
    paintGreys(band, rows);
    return;
  }
  const Int32 iFrom = iFrom_;
  const Int32 iTo = iTo_;
  Colour* __restrict line = line_.data();
  if (greyRows_) {
    const std::uint8_t* greyLine = foldGreys(band, rows);
    // A grey is its colour's three bytes.
    for (Int32 i = iFrom; i < iTo; ++i) {
      const Colour g = greyLine[i];
      line[i] = g | g << 8 | g << 16;
    }
  } else {
    fold<Colour>(band, rows, acc_.data(), line);
  }
  if (!out_) out_ = coversAll_ ? box_->overwriteBits() : box_->mutableBits();
  for (Int32 ty = band.firstRow; ty <= band.lastRow; ++ty) {
    Colour* row = out_ + static_cast<std::size_t>(ty) * box_->innerW_ + dx0_;
    if (op_ == kOpcodeCopy) {
      std::copy(line + iFrom, line + iTo, row + iFrom);
    } else if (op_ == kOpcodeAnd) {
      for (Int32 i = iFrom; i < iTo; ++i) row[i] &= line[i];
    } else {
      for (Int32 i = iFrom; i < iTo; ++i) row[i] = combine(row[i], line[i], op_) & 0xFFFFFF;
    }
  }
  if (&band == &bands_.back()) box_->touch();
}

std::uint8_t* PictureBox::RowPainter::foldGreys(const Band& band, const void* const* rows) {
  if (shuffledTo_ < 0) planShuffles();
  if (greyLine_.empty()) greyLine_.resize(line_.size());
  fold<std::uint8_t>(band, rows, greyAcc_.data(), greyLine_.data());
  return greyLine_.data();
}

void PictureBox::RowPainter::paintGreys(const Band& band, const void* const* rows) {
  const Int32 iFrom = iFrom_;
  const Int32 iTo = iTo_;
  const std::uint8_t lightest = lightest_;
  std::uint8_t* __restrict greyLine = nullptr;
  if (greyRows_) {
    greyLine = foldGreys(band, rows);
    capBytes(greyLine + iFrom, iTo - iFrom, lightest);
  } else {
    if (greyLine_.empty()) greyLine_.resize(line_.size());
    greyLine = greyLine_.data();
    Colour* __restrict line = line_.data();
    fold<Colour>(band, rows, acc_.data(), line);
    for (Int32 i = iFrom; i < iTo; ++i) {
      // The luminance rounded to a whole grey; in sixteen bits, which hold
      // it, the loop runs eight pixels a step.
      const auto c = static_cast<std::uint32_t>(line[i]);
      const auto sum = static_cast<std::uint16_t>(30 * (c & 0xFF) + 59 * (c >> 8 & 0xFF) + 11 * (c >> 16 & 0xFF) + 50);
      greyLine[i] = static_cast<std::uint8_t>(std::min<std::uint16_t>(sum / 100, lightest));
    }
  }
  for (Int32 ty = band.firstRow; ty <= band.lastRow; ++ty) {
    std::uint8_t* row = greyOut_ + static_cast<std::size_t>(ty) * box_->innerW_ + dx0_;
    std::copy(greyLine + iFrom, greyLine + iTo, row + iFrom);
  }
}

void PictureBox::PaintPicture(const Picture& pic, float x1, float y1, std::optional<float> width1,
                              std::optional<float> height1, std::optional<float> x2, std::optional<float> y2,
                              std::optional<float> width2, std::optional<float> height2, std::optional<Int32> opcode) {
  if (!pic) throw SurfaceError("Invalid picture");
  const Int32 pw = pic->pixelWidth();
  RowPainter painter(*this, pw, pic->pixelHeight(), x1, y1, width1, height1, x2, y2, width2, height2,
                     opcode.value_or(kOpcodeCopy));
  if (!painter.paintsAnything()) return;
  // A plain copy of a picture of the box's own size over the whole box shows
  // that picture's pixels as they are: share them instead of copying.
  if (painter.wholeBoxAsItIs()) {
    bitmap_ = pic->buffer();
    shown(*pic);
    touch();
    return;
  }
  // A picture kept as greys is painted from its greys, its colours not made.
  const auto feed = [&](const auto* rows) {
    for (Int32 v = painter.firstRow(); v < painter.endRow(); ++v)
      painter.row(v, rows + static_cast<std::size_t>(v) * pw);
  };
  if (const std::uint8_t* greys = pic->greys()) {
    feed(greys);
  } else {
    feed(pic->data());
  }
  if (painter.firstRow() == painter.endRow()) touch();
}

}  // namespace quern
