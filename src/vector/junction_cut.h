#pragma once

// The cutting half of joining through junctions, apart for its length.

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

#include "vector/junction_join.h"

namespace quern {

// A pixel's place as one key.
inline std::uint64_t cellKey(std::int64_t x, std::int64_t y) {
  return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) << 32) | static_cast<std::uint32_t>(y);
}

// Every pixel of the chains by its place: the chain and the index in it.
// Open addressing in two flat arrays: the lookups, nine for each pixel,
// are most of what cutting at junctions costs.
class PixelIndex {
 public:
  using Place = std::pair<std::uint32_t, std::uint32_t>;

  // For `pixels` pixels, all within the box from (minX, minY) to (maxX, maxY).
  PixelIndex(std::size_t pixels, std::int64_t minX, std::int64_t minY, std::int64_t maxX, std::int64_t maxY);
  // The first place given for a pixel stays.
  void insert(std::int64_t x, std::int64_t y, Place place);
  const Place* find(std::int64_t x, std::int64_t y) const;
  bool contains(std::int64_t x, std::int64_t y) const;
  // How many of the eight pixels round (x, y) are pixels of the chains: a
  // bit each in a map of the box, far cheaper than eight lookups.
  int neighbours(std::int64_t x, std::int64_t y) const;

 private:
  static constexpr std::uint64_t kEmpty = UINT64_MAX;  // (-1, -1), never a pixel
  std::size_t slot(std::uint64_t key) const { return (key * 0x9E3779B97F4A7C15ULL) >> shift_; }
  std::vector<std::uint64_t> keys_;
  std::vector<Place> places_;
  unsigned shift_ = 64;
  bool set(std::int64_t x, std::int64_t y) const;
  std::int64_t minX_, minY_, width_, height_;
  std::vector<std::uint64_t> bits_;
};

PixelIndex indexPixels(const std::vector<PixelChain>& chains);

// Whether a pixel of the chains lies within `reach` pixels (a square) of (x, y).
bool nearPixel(const PixelIndex& where, double x, double y, int reach);

// Chains cut at their junctions, and for each piece whether its start and
// its end lie at a junction (a cut, or an end that touches another chain).
struct Pieces {
  std::vector<PixelChain> chains;
  std::vector<std::array<bool, 2>> atJunction;
};

// Cuts chains at their junctions: a pixel touched by a pixel of another
// chain (or of the same chain further along) lies where lines meet, and a
// run of such pixels is the junction's core. The chain is cut at both ends
// of the run, so the core becomes a short piece of its own; the pixel at a
// cut belongs to both pieces. The last two pixels of an open chain are its
// end already and need no cut.
Pieces cutAtJunctions(std::vector<PixelChain> chains, const PixelIndex& where);

}  // namespace quern
