#include "surface/picture.h"

#include <atomic>
#include <string>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "base/errors.h"
#include "base/zeroed_memory.h"

namespace quern {

namespace {
// Handles are unique in the whole process, whichever chain made the picture;
// the counter is the one thing all chains share, and it changes no result.
Int32 nextHandle() {
  static std::atomic<Int32> counter{0};
  Int32 h = ++counter;
  if (h <= 0) {  // after two thousand million pictures, start again above 0
    counter = 1;
    h = 1;
  }
  return h;
}

void checkSize(Int32 width, Int32 height) {
  if (width < 1 || height < 1) {
    throw SurfaceError("Invalid picture size " + std::to_string(width) + " by " + std::to_string(height));
  }
}
}  // namespace

PixelBuffer allocatePixels(long long count, long long limit) {
  if (count < 0 || count > limit) {
    throw LimitError("Out of memory: a surface of " + std::to_string(count) + " pixels is over the limit of " +
                     std::to_string(limit) + " pixels");
  }
  // Left uninitialised: every caller writes the whole buffer before reading it.
  const auto n = static_cast<std::size_t>(std::max(count, 1LL));
  PixelBuffer pixels(new Colour[n]);
  prefaultBlock(pixels.get(), n * sizeof(Colour));
  return pixels;
}

GreyBuffer allocateGreys(long long count, long long limit) {
  if (count < 0 || count > limit) {
    throw LimitError("Out of memory: a surface of " + std::to_string(count) + " pixels is over the limit of " +
                     std::to_string(limit) + " pixels");
  }
  const auto n = static_cast<std::size_t>(std::max(count, 1LL));
  GreyBuffer greys(new std::uint8_t[n]);
  prefaultBlock(greys.get(), n);
  return greys;
}

PictureData::PictureData(Int32 width, Int32 height, GreyBuffer greys)
    : width_(width), height_(height), greys_(std::move(greys)), handle_(nextHandle()), grey_(true) {
  checkSize(width, height);
  if (!greys_) throw SurfaceError("Picture without pixels");
}

void PictureData::expand() const {
  const std::size_t n = area();
  PixelBuffer colours = allocatePixels(static_cast<long long>(n), static_cast<long long>(n));
  const std::uint8_t* from = greys_.get();
  Colour* to = colours.get();
  std::size_t i = 0;
#ifdef __SSE2__
  // Sixteen greys a step, widened to 32-bit lanes and copied into green and blue.
  const __m128i zero = _mm_setzero_si128();
  for (; i + 16 <= n; i += 16) {
    const __m128i grey = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i));
    const __m128i lo = _mm_unpacklo_epi8(grey, zero);
    const __m128i hi = _mm_unpackhi_epi8(grey, zero);
    const __m128i lanes[4] = {_mm_unpacklo_epi16(lo, zero), _mm_unpackhi_epi16(lo, zero), _mm_unpacklo_epi16(hi, zero),
                              _mm_unpackhi_epi16(hi, zero)};
    for (int k = 0; k < 4; ++k) {
      const __m128i v = lanes[k];
      const __m128i colour = _mm_or_si128(v, _mm_or_si128(_mm_slli_epi32(v, 8), _mm_slli_epi32(v, 16)));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i + 4 * k), colour);
    }
  }
#endif
  for (; i < n; ++i) to[i] = static_cast<Colour>(from[i] * 0x010101U);
  pixels_ = std::move(colours);
}

PictureData::PictureData(Int32 width, Int32 height, PixelBuffer pixels, bool grey)
    : width_(width), height_(height), pixels_(std::move(pixels)), handle_(nextHandle()), grey_(grey) {
  checkSize(width, height);
  if (!pixels_) throw SurfaceError("Picture without pixels");
}

Int32 PictureData::Width() const {
  return roundToInt32(width_ * kHimetricPerPixel);
}
Int32 PictureData::Height() const {
  return roundToInt32(height_ * kHimetricPerPixel);
}

Picture makePicture(Int32 width, Int32 height, PixelBuffer pixels, bool grey) {
  return std::make_shared<const PictureData>(width, height, std::move(pixels), grey);
}

Picture makeGreyPicture(Int32 width, Int32 height, GreyBuffer greys) {
  return std::make_shared<const PictureData>(width, height, std::move(greys));
}

Picture makePicture(Int32 width, Int32 height, const std::vector<Colour>& pixels) {
  checkSize(width, height);
  const long long area = static_cast<long long>(width) * height;
  if (pixels.size() != static_cast<std::size_t>(area))
    throw SurfaceError("Picture pixel count does not match its size");
  PixelBuffer buffer = allocatePixels(area, std::max(area, kDefaultSurfacePixelLimit));
  std::copy(pixels.begin(), pixels.end(), buffer.get());
  return makePicture(width, height, std::move(buffer));
}

Picture makeFilledPicture(Int32 width, Int32 height, Colour colour) {
  checkSize(width, height);
  const long long area = static_cast<long long>(width) * height;
  PixelBuffer buffer = allocatePixels(area, std::max(area, kDefaultSurfacePixelLimit));
  std::fill_n(buffer.get(), area, colour);
  return makePicture(width, height, std::move(buffer));
}

}  // namespace quern
