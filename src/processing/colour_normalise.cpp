#include "processing/colour_normalise.h"

#include <algorithm>
#include <cmath>
#include <functional>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "processing/filter_store.h"

namespace quern {

namespace {
// A step that fails is skipped and the run goes on.
template <typename Step>
void skipOnError(Step&& step) {
  try {
    step();
  } catch (const std::exception&) {
  }
}
// The luminance test as defined, in doubles.
Colour exactShade(Colour colour, Int16 threshold) {
  const double luminance = (0.3 * redOf(colour) + 0.59 * greenOf(colour)) + 0.11 * blueOf(colour);
  return luminance > threshold ? kWhite : kBlack;
}

}  // namespace

// 30 r + 59 g + 11 b is one hundred times the luminance, exactly; the
// doubles are off from it by far less than the 0.01 between two such sums,
// so only a sum equal to 100 times the threshold can come out either way,
// and those (and colours that are not plain 0x00BBGGRR bytes) take the
// double arithmetic. `out` may be `row`.
void shadeRow(const Colour* row, Colour* out, Int32 width, Int16 threshold) {
  const Int32 limit = 100 * static_cast<Int32>(threshold);
  Int32 x = 0;
#ifdef __SSE2__
  const __m128i bytes = _mm_set1_epi32(0xFF);
  const __m128i wr = _mm_set1_epi32(30);
  const __m128i wg = _mm_set1_epi32(59);
  const __m128i wb = _mm_set1_epi32(11);
  const __m128i lim = _mm_set1_epi32(limit);
  const __m128i white = _mm_set1_epi32(kWhite);
  for (; x + 4 <= width; x += 4) {
    const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x));
    // Bytes times weights stay below 2^16, so the 16-bit multiply is exact
    // in each 32-bit lane.
    const __m128i r = _mm_mullo_epi16(_mm_and_si128(c, bytes), wr);
    const __m128i g = _mm_mullo_epi16(_mm_and_si128(_mm_srli_epi32(c, 8), bytes), wg);
    const __m128i b = _mm_mullo_epi16(_mm_and_si128(_mm_srli_epi32(c, 16), bytes), wb);
    const __m128i sum = _mm_add_epi32(_mm_add_epi32(r, g), b);
    const __m128i odd = _mm_or_si128(_mm_cmpeq_epi32(sum, lim), _mm_cmplt_epi32(c, _mm_setzero_si128()));
    if (_mm_movemask_epi8(odd) != 0) {
      for (int k = 0; k < 4; ++k) out[x + k] = exactShade(row[x + k], threshold);
      continue;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_and_si128(_mm_cmpgt_epi32(sum, lim), white));
  }
#endif
  for (; x < width; ++x) {
    const Colour c = row[x];
    const Int32 sum = 30 * (c & 0xFF) + 59 * (c >> 8 & 0xFF) + 11 * (c >> 16 & 0xFF);
    out[x] = c < 0 || sum == limit ? exactShade(c, threshold) : sum > limit ? kWhite : kBlack;
  }
}

void shadeRows(const Colour* from, Int32 width, Int32 height, Int16 threshold, Progress& progress,
               const std::function<Colour*(Int32)>& into, const std::function<void(Int32, const Colour*)>& made) {
  const auto w = static_cast<std::size_t>(width);
  for (Int32 y = 0; y < height; ++y) {
    Colour* out = into(y);
    shadeRow(from + y * w, out, width, threshold);
    if (made) made(y, out);
    skipOnError([&] {
      progress.yield();
      progress.bar().Value = static_cast<float>(y);
    });
  }
  skipOnError([&] { progress.bar().Value = 0.0F; });
}

void shadeGreyRow(const std::uint8_t* greys, Colour* out, Int32 width, Int16 threshold) {
  // 30 g + 59 g + 11 g is 100 g: above 100 times the threshold exactly when
  // g is above it. A grey equal to it goes the way the exact test takes it.
  const Colour atThreshold =
      threshold >= 0 && threshold <= 255 ? exactShade(rgb(threshold, threshold, threshold), threshold) : kBlack;
  Int32 x = 0;
#ifdef __SSE2__
  if (threshold >= 1 && threshold <= 255) {
    const __m128i bias = _mm_set1_epi8(static_cast<char>(-128));
    const __m128i limit = _mm_set1_epi8(static_cast<char>(threshold - 128));
    const __m128i equalShade = _mm_set1_epi32(atThreshold);
    const __m128i white = _mm_set1_epi32(kWhite);
    for (; x + 16 <= width; x += 16) {
      const __m128i g = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(greys + x)), bias);
      const __m128i above = _mm_cmpgt_epi8(g, limit);
      const __m128i equal = _mm_cmpeq_epi8(g, limit);
      // Byte masks widened to a lane a pixel.
      const __m128i aboveLow = _mm_unpacklo_epi8(above, above);
      const __m128i aboveHigh = _mm_unpackhi_epi8(above, above);
      const __m128i equalLow = _mm_unpacklo_epi8(equal, equal);
      const __m128i equalHigh = _mm_unpackhi_epi8(equal, equal);
      const auto put = [&](Int32 at, __m128i a, __m128i e) {
        const __m128i shade = _mm_or_si128(_mm_and_si128(a, white), _mm_and_si128(e, equalShade));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + at), shade);
      };
      put(x, _mm_unpacklo_epi16(aboveLow, aboveLow), _mm_unpacklo_epi16(equalLow, equalLow));
      put(x + 4, _mm_unpackhi_epi16(aboveLow, aboveLow), _mm_unpackhi_epi16(equalLow, equalLow));
      put(x + 8, _mm_unpacklo_epi16(aboveHigh, aboveHigh), _mm_unpacklo_epi16(equalHigh, equalHigh));
      put(x + 12, _mm_unpackhi_epi16(aboveHigh, aboveHigh), _mm_unpackhi_epi16(equalHigh, equalHigh));
    }
  }
#endif
  for (; x < width; ++x) {
    const Int32 g = greys[x];
    out[x] = g > threshold ? kWhite : g < threshold ? kBlack : atThreshold;
  }
}

bool makeblackwhite(PictureBox& picture, Int16 threshold, Progress& progress, Int32 limit) {
  float width = 0.0F;
  float height = 0.0F;
  skipOnError([&] { width = picture.ScaleWidth(); });
  skipOnError([&] { height = picture.ScaleHeight(); });
  skipOnError([&] {
    ProgressBar& bar = progress.bar();
    bar.Max = height;
    bar.Value = 0.0F;
  });
  if (width > limit || height > limit) return false;

  // In pixel scale Point reads the bitmap itself; under a user scale it is asked.
  const bool direct = picture.ScaleMode() == kScalePixels;
  if (direct && width == static_cast<float>(picture.pixelWidth()) &&
      height == static_cast<float>(picture.pixelHeight())) {
    // Every pixel is painted: read them where they lie and paint a bitmap of
    // the box's own, instead of copying the shared pixels first. The box's
    // picture keeps the pixels read alive.
    const Colour* from = picture.bits();
    Colour* to = picture.overwriteBits();
    const auto w = static_cast<std::size_t>(picture.pixelWidth());
    shadeRows(from, picture.pixelWidth(), picture.pixelHeight(), threshold, progress,
              [&](Int32 y) { return to + y * w; });
    picture.bitsChanged();
    return true;
  }
  Canvas canvas(picture);
  Colour c = 0;
  // The counters are 16-bit; the limit keeps them far from overflow.
  for (Int16 y = 0; y < height; ++y) {
    Colour* row = direct ? canvas.row(y) : nullptr;
    if (row) {
      const Int32 inside = std::min<Int32>(static_cast<Int32>(std::ceil(width)), canvas.width());
      shadeRow(row, row, inside, threshold);
    } else {
      for (Int16 x = 0; x < width; ++x) {
        skipOnError([&] { c = picture.Point(x, y); });
        canvas.set(x, y, exactShade(c, threshold));
      }
    }
    skipOnError([&] {
      progress.yield();
      progress.bar().Value = y;
    });
  }
  skipOnError([&] { progress.bar().Value = 0.0F; });
  return true;
}

}  // namespace quern
