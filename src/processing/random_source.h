#pragma once

#include <cstdint>

namespace quern {

// The uniform source of the random filters: 32-bit floats from 0 up to but
// not including 1. Every new source gives the same sequence, in every
// process, so a random filter can be repeated exactly.
class RandomSource {
 public:
  float next() {
    // splitmix64: a counter run through a fixed mixing function.
    state_ += 0x9E3779B97F4A7C15ULL;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    z ^= z >> 31;
    // The top 24 bits fill a float's mantissa exactly, so 1 is never reached.
    return static_cast<float>(z >> 40) * (1.0F / 16777216.0F);
  }

 private:
  std::uint64_t state_ = 0x5155524E4C494E45ULL;
};

}  // namespace quern
