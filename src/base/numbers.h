#pragma once

// The system's arithmetic is narrow and exact: 16-bit and 32-bit signed
// integers where leaving the range is an error, 32-bit floats where values are
// stored, and round-half-to-even wherever a whole number is made from a float.
// Every layer takes these rules from here.

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "base/errors.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace quern {

using Int16 = std::int16_t;
using Int32 = std::int32_t;
using Colour = std::int32_t;  // 0x00BBGGRR, red in the low byte; -1 is no colour

inline constexpr Colour kNoColour = -1;

// The error of the check below, made out of line so that the check inlines
// to two compares.
[[noreturn]] void throwOutOfRange(const char* what, long long v, int bits);

template <typename T>
constexpr T checkedRange(long long v, const char* what) {
  if (v < std::numeric_limits<T>::min() || v > std::numeric_limits<T>::max()) {
    throwOutOfRange(what, v, 8 * sizeof(T));
  }
  return static_cast<T>(v);
}

constexpr Int16 toInt16(long long v) { return checkedRange<Int16>(v, "value"); }
constexpr Int32 toInt32(long long v) { return checkedRange<Int32>(v, "value"); }

constexpr Int16 add16(Int16 a, Int16 b) { return checkedRange<Int16>(static_cast<long long>(a) + b, "sum"); }
constexpr Int16 sub16(Int16 a, Int16 b) { return checkedRange<Int16>(static_cast<long long>(a) - b, "difference"); }
constexpr Int16 mul16(Int16 a, Int16 b) { return checkedRange<Int16>(static_cast<long long>(a) * b, "product"); }
constexpr Int32 add32(Int32 a, Int32 b) { return checkedRange<Int32>(static_cast<long long>(a) + b, "sum"); }
constexpr Int32 sub32(Int32 a, Int32 b) { return checkedRange<Int32>(static_cast<long long>(a) - b, "difference"); }
constexpr Int32 mul32(Int32 a, Int32 b) { return checkedRange<Int32>(static_cast<long long>(a) * b, "product"); }

// Rounding of a 64-bit value to the 32-bit float that stores it.
constexpr float toFloat32(double v) { return static_cast<float>(v); }

// Nearest whole number, ties to the even one (2.5 -> 2, 3.5 -> 4, -2.5 -> -2).
inline double roundHalfEven(double v) {
  if (std::isnan(v)) throw OverflowError("Overflow: not a number");
  return std::nearbyint(v);  // the default floating-point mode rounds ties to even
}

inline Int16 roundToInt16(double v) {
  const double r = roundHalfEven(v);
  if (r < -32768.0 || r > 32767.0) throw OverflowError("Overflow: " + std::to_string(v) + " does not fit a 16-bit integer");
  return static_cast<Int16>(r);
}

// Out of line: the checks and the message cost a call only where they matter.
[[gnu::noinline, gnu::cold]] inline Int32 roundToInt32Checked(double v) {
  const double r = roundHalfEven(v);
  if (r < -2147483648.0 || r > 2147483647.0) throw OverflowError("Overflow: " + std::to_string(v) + " does not fit a 32-bit integer");
  return static_cast<Int32>(r);
}

inline Int32 roundToInt32(double v) {
#ifdef __SSE2__
  // One conversion in the current rounding mode, as nearbyint rounds; it
  // gives INT32_MIN for every value out of range and for not-a-number, which
  // the checked way then tells from a true -2147483648.
  const int r = _mm_cvtsd_si32(_mm_set_sd(v));
  if (r != std::numeric_limits<Int32>::min()) [[likely]] return r;
#endif
  return roundToInt32Checked(v);
}

// The colour split used throughout: on a valid colour these are its bytes;
// on -1 they give red -1, green -1 and blue 255.
constexpr Int32 redOf(Colour c) { return c % 256; }
constexpr Int32 greenOf(Colour c) { return ((c & ~0xFF) / 256) % 256; }
constexpr Int32 blueOf(Colour c) { return (c & 0xFF0000) / 65536; }

constexpr Colour rgb(Int32 r, Int32 g, Int32 b) {
  return (r & 0xFF) | ((g & 0xFF) << 8) | ((b & 0xFF) << 16);
}

// A grey: red, green and blue equal, and nothing above them.
constexpr bool isGrey(Colour c) { return c == static_cast<Colour>((c & 0xFF) * 0x010101U); }

inline constexpr Colour kBlack = 0x000000;
inline constexpr Colour kWhite = 0xFFFFFF;
inline constexpr Colour kRed = 0x0000FF;
inline constexpr Colour kGreen = 0x00FF00;
inline constexpr Colour kBlue = 0xFF0000;

}  // namespace quern
