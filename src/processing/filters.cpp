#include "processing/filters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "base/errors.h"
#include "processing/filter_store.h"

namespace quern {

FilterArray::FilterArray(Int16 size, std::initializer_list<Int16> rowByRow) : size_(size), weights_(rowByRow) {
  if (size < 1 || weights_.size() != static_cast<std::size_t>(size) * static_cast<std::size_t>(size)) {
    throw IndexError("A filter array of size " + std::to_string(size) + " needs " + std::to_string(size * size) +
                     " weights, not " + std::to_string(weights_.size()));
  }
}

namespace {

using Record = FilterStore::Record;

void runcust(PictureBox& picture, FilterStore& filterpixels, const FilterArray& filter, Int16 filternorm,
             Int16 filterbias, bool takeabs, Int16 radius, Progress& progress) {
  const Int32 side = 2 * radius + 1;
  if (filter.size() < side) {
    throw IndexError("Subscript out of range: the filter array reaches index " + std::to_string(filter.size() - 1) +
                     ", the kernel needs 0 to " + std::to_string(side - 1));
  }
  const FilterStore& store = loadfilterpixels(filterpixels, picture, progress);
  const Int32 w = store.width();
  const Int32 h = store.height();
  if (filternorm == 0 && w > 2 * radius && h > 2 * radius) {
    throw QuernError("Division by zero: a filter norm of 0 cannot scale the weighted sum");
  }
  paintInner(store, radius, picture, progress, [&](Int32 y, Int32 x) {
    std::array<Int32, 3> sum{0, 0, 0};
    for (Int32 i = -radius; i <= radius; ++i) {
      for (Int32 j = -radius; j <= radius; ++j) {
        const Int32 weight = filter(i + radius, j + radius);
        const Record r = store.at(y + i, x + j);
        for (int k = 0; k < 3; ++k) {
          // Products of a byte and a 16-bit weight are exact in a 32-bit float.
          sum[k] = checkedRange<Int16>(sum[k] + FilterStore::channel(r, k) * weight, "filter sum");
        }
      }
    }
    std::array<Int32, 3> out{};
    for (int k = 0; k < 3; ++k) {
      const double v = static_cast<double>(sum[k]) / filternorm + filterbias;
      out[k] = takeabs ? capByte(roundToInt16(std::abs(v))) : clampByte(roundToInt16(v));
    }
    return rgb(out[0], out[1], out[2]);
  });
}

}  // namespace

void runcust3(PictureBox& picture, FilterStore& filterpixels, const FilterArray& filter, Int16 filternorm,
              Int16 filterbias, bool takeabs, Progress& progress) {
  runcust(picture, filterpixels, filter, filternorm, filterbias, takeabs, 1, progress);
}

void runcust5(PictureBox& picture, FilterStore& filterpixels, const FilterArray& filter, Int16 filternorm,
              Int16 filterbias, bool takeabs, Progress& progress) {
  runcust(picture, filterpixels, filter, filternorm, filterbias, takeabs, 2, progress);
}

void runsharpen(PictureBox& picture, FilterStore& filterpixels, Progress& progress) {
  const FilterStore& store = loadfilterpixels(filterpixels, picture, progress);
  paintInner(store, 1, picture, progress, [&](Int32 y, Int32 x) {
    const Record c = store.at(y, x);
    const Record d = store.at(y - 1, x - 1);
    std::array<Int32, 3> out{};
    for (int k = 0; k < 3; ++k) {
      const Int32 ck = FilterStore::channel(c, k);
      out[k] = clampByte(roundToInt16(0.5 * (ck - FilterStore::channel(d, k)) + ck));
    }
    return rgb(out[0], out[1], out[2]);
  });
}

namespace {

// The smoothing of w by h colours (h at least 10) whose rows `rowOf` gives:
// row y of the result, 1 to h - 2, is written from x = 1 up to `paintable`
// where `into(y)` says (nowhere when it gives null), then handed to `made`.
// Only the colour bytes are read. The bar, where there is one, follows the rows.
void smoothRows(const std::function<const Colour*(Int32)>& rowOf, Int32 w, Int32 h, Int32 paintable,
                const std::function<Colour*(Int32)>& into, const std::function<void(Int32)>& made, Progress* progress) {
  ProgressBar* bar = progress ? &progress->bar() : nullptr;
  if (bar) {
    bar->Value = 0.0F;
    bar->Max = static_cast<float>(h - 1);
  }

  // Nine bytes sum to at most 2295. Their mean, rounded, by a multiply and a
  // shift instead of a table, so the loop below can run on vector lanes. A
  // sum never sits halfway between two multiples of 9, so no tie arises.
  constexpr auto mean = [](std::uint64_t s) { return static_cast<Int32>((s + 4) * 7282 >> 16); };
  static_assert([] {
    for (std::uint64_t s = 0; s <= 9 * 255; ++s) {
      if (static_cast<std::uint64_t>((s + 4) * 7282 >> 16) != (2 * s + 9) / 18) return false;
    }
    return true;
  }());

  // Column sums of three rows, all channels in one add; then three of them
  // across. Each row is unpacked into 16-bit lanes once and kept while the
  // window passes over it. A record is four 16-bit lanes, so the vector unit
  // takes two pixels in each register.
  std::vector<Record> lanes[3];
  for (std::vector<Record>& l : lanes) l.resize(static_cast<std::size_t>(w));
  auto unpack = [&](Int32 y, std::vector<Record>& into) {
    const Colour* in = rowOf(y);
    Int32 x = 0;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    const __m128i colour = _mm_set1_epi32(0xFFFFFF);
    for (; x + 4 <= w; x += 4) {
      const __m128i c = _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x)), colour);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(into.data() + x), _mm_unpacklo_epi8(c, zero));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(into.data() + x + 2), _mm_unpackhi_epi8(c, zero));
    }
#endif
    for (; x < w; ++x) into[x] = FilterStore::pack(in[x]);
  };
  unpack(0, lanes[0]);
  unpack(1, lanes[1]);
  std::vector<Record> column(static_cast<std::size_t>(w));
  for (Int32 y = 1; y < h - 1; ++y) {
    const Record* above = lanes[(y - 1) % 3].data();
    const Record* here = lanes[y % 3].data();
    std::vector<Record>& below = lanes[(y + 1) % 3];
    unpack(y + 1, below);
    Int32 x = 0;
#ifdef __SSE2__
    const auto load = [](const Record* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); };
    for (; x + 2 <= w; x += 2) {
      const __m128i sum = _mm_add_epi16(_mm_add_epi16(load(above + x), load(here + x)), load(below.data() + x));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(column.data() + x), sum);
    }
#endif
    for (; x < w; ++x) column[x] = above[x] + here[x] + below[x];
    Colour* out = into(y);
    const Int32 end = out ? paintable : 0;
    x = 1;
#ifdef __SSE2__
    // The mean's multiply and shift is the high half of a 16-bit product.
    const __m128i four = _mm_set1_epi16(4);
    const __m128i ninth = _mm_set1_epi16(7282);
    const auto mean2 = [&](const Record* c) {
      const __m128i s = _mm_add_epi16(_mm_add_epi16(load(c - 1), load(c)), load(c + 1));
      return _mm_mulhi_epu16(_mm_add_epi16(s, four), ninth);
    };
    for (; x + 4 <= end; x += 4) {
      const __m128i bytes = _mm_packus_epi16(mean2(column.data() + x), mean2(column.data() + x + 2));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), bytes);
    }
#endif
    for (; x < end; ++x) {
      const Record s = column[x - 1] + column[x] + column[x + 1];
      out[x] = rgb(mean(s & 0xFFFF), mean(s >> 16 & 0xFFFF), mean(s >> 32 & 0xFFFF));
    }
    if (made) made(y);
    if (bar) {
      bar->Value = static_cast<float>(y);
      progress->yield();
    }
  }
  if (bar) bar->Value = 0.0F;
}

// The smoothing painted into `picture`: a picture loaded whole is painted
// whole but for its outer band.
void paintSmoothed(const std::function<const Colour*(Int32)>& rowOf, Int32 w, Int32 h, PictureBox& picture,
                   Progress& progress) {
  if (h < 10) return;
  const bool whole = w == picture.pixelWidth() && h == picture.pixelHeight();
  Canvas canvas(picture, whole ? 1 : std::numeric_limits<Int32>::max());
  smoothRows(
      rowOf, w, h, std::min(w - 1, canvas.width()), [&](Int32 y) { return canvas.row(y); }, {}, &progress);
}

}  // namespace

void runsmooth(PictureBox& picture, FilterStore& filterpixels, Progress& progress) {
  const FilterStore& store = loadfilterpixels(filterpixels, picture, progress);
  paintSmoothed([&](Int32 y) { return store.row(y); }, store.width(), store.height(), picture, progress);
}

void smoothWithoutStore(PictureBox& picture, const FilterStore& filterpixels, Progress& progress) {
  const FilterStore::Size size = filterpixels.admit(picture);
  if (size.width != picture.pixelWidth() || size.height != picture.pixelHeight()) {
    throw SurfaceError("smoothing without the filter store takes a box's whole bitmap");
  }
  // The chances to run that loading the store would give.
  for (Int32 y = 0; y < size.height; ++y) progress.yield();
  const Colour* bits = picture.bits();
  const auto stride = static_cast<std::size_t>(size.width);
  paintSmoothed([&](Int32 y) { return bits + y * stride; }, size.width, size.height, picture, progress);
}

void smoothEachRow(const Colour* bits, Int32 width, Int32 height,
                   const std::function<void(Int32, const Colour*)>& row) {
  const auto stride = static_cast<std::size_t>(width);
  const auto source = [&](Int32 y) { return bits + y * stride; };
  if (height < 10) {
    for (Int32 y = 0; y < height; ++y) row(y, source(y));
    return;
  }
  // The inside of each row is written whole; its first and last pixels
  // are the outer band, kept from the source.
  std::vector<Colour> out(stride);
  row(0, source(0));
  smoothRows(
      source, width, height, width - 1,
      [&](Int32 y) {
        out.front() = source(y)[0];
        out.back() = source(y)[stride - 1];
        return out.data();
      },
      [&](Int32 y) { row(y, out.data()); }, nullptr);
  row(height - 1, source(height - 1));
}

namespace {
// The greys of colours (their red bytes) or of bytes.
template <typename Pixel>
void smoothGreys(const Pixel* bits, Int32 width, Int32 height,
                 const std::function<void(Int32, const std::uint8_t*)>& row) {
  const auto w = static_cast<std::size_t>(width);
  std::vector<std::uint8_t> out(w);
  // A row as it is: the red byte of each pixel.
  const auto asItIs = [&](Int32 y) {
    const Pixel* in = bits + static_cast<std::size_t>(y) * w;
    for (std::size_t x = 0; x < w; ++x) out[x] = static_cast<std::uint8_t>(in[x]);
    row(y, out.data());
  };
  if (height < 10) {
    for (Int32 y = 0; y < height; ++y) asItIs(y);
    return;
  }
  // Each row's greys in 16-bit lanes, kept while the window passes over them;
  // column sums of three rows, then three sums across, and the mean as the
  // colour smoothing takes it: (s + 4) * 7282 >> 16.
  std::vector<std::uint16_t> lanes[3];
  for (std::vector<std::uint16_t>& l : lanes) l.resize(w + 8);
  std::vector<std::uint16_t> column(w + 8);
  const auto unpack = [&](Int32 y, std::vector<std::uint16_t>& into) {
    const Pixel* in = bits + static_cast<std::size_t>(y) * w;
    std::size_t x = 0;
#ifdef __SSE2__
    if constexpr (sizeof(Pixel) == 1) {
      const __m128i zero = _mm_setzero_si128();
      for (; x + 16 <= w; x += 16) {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(into.data() + x), _mm_unpacklo_epi8(v, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(into.data() + x + 8), _mm_unpackhi_epi8(v, zero));
      }
    } else {
      const __m128i low = _mm_set1_epi32(0xFF);
      for (; x + 8 <= w; x += 8) {
        const __m128i a = _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x)), low);
        const __m128i b = _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + x + 4)), low);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(into.data() + x), _mm_packs_epi32(a, b));
      }
    }
#endif
    for (; x < w; ++x) into[x] = static_cast<std::uint16_t>(in[x] & 0xFF);
  };
  asItIs(0);
  unpack(0, lanes[0]);
  unpack(1, lanes[1]);
  for (Int32 y = 1; y < height - 1; ++y) {
    const std::uint16_t* above = lanes[(y - 1) % 3].data();
    const std::uint16_t* here = lanes[y % 3].data();
    std::uint16_t* below = lanes[(y + 1) % 3].data();
    unpack(y + 1, lanes[(y + 1) % 3]);
    std::uint16_t* c = column.data();
    for (std::size_t x = 0; x < w; ++x) c[x] = static_cast<std::uint16_t>(above[x] + here[x] + below[x]);
    // The outer band, first and last pixel, stays as it is.
    const Pixel* in = bits + static_cast<std::size_t>(y) * w;
    out[0] = static_cast<std::uint8_t>(in[0]);
    out[w - 1] = static_cast<std::uint8_t>(in[w - 1]);
    std::size_t x = 1;
#ifdef __SSE2__
    const __m128i four = _mm_set1_epi16(4);
    const __m128i ninth = _mm_set1_epi16(7282);
    const auto load = [&](std::size_t at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(c + at)); };
    for (; x + 16 <= w - 1; x += 16) {
      const auto mean8 = [&](std::size_t at) {
        const __m128i sum = _mm_add_epi16(_mm_add_epi16(load(at - 1), load(at)), load(at + 1));
        return _mm_mulhi_epu16(_mm_add_epi16(sum, four), ninth);
      };
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out.data() + x), _mm_packus_epi16(mean8(x), mean8(x + 8)));
    }
#endif
    for (; x < w - 1; ++x) {
      const std::uint32_t sum = c[x - 1] + c[x] + c[x + 1];
      out[x] = static_cast<std::uint8_t>((sum + 4) * 7282 >> 16);
    }
    row(y, out.data());
  }
  asItIs(height - 1);
}

}  // namespace

void smoothEachGreyRow(const Colour* bits, Int32 width, Int32 height,
                       const std::function<void(Int32, const std::uint8_t*)>& row) {
  smoothGreys(bits, width, height, row);
}

void smoothEachGreyRow(const std::uint8_t* greys, Int32 width, Int32 height,
                       const std::function<void(Int32, const std::uint8_t*)>& row) {
  smoothGreys(greys, width, height, row);
}

}  // namespace quern
