#pragma once

// The cutting half of joining through junctions, apart for its length.

#include <array>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vector/junction_join.h"

namespace quern {

// A pixel's place as one key.
inline std::uint64_t cellKey(std::int64_t x, std::int64_t y) {
  return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) << 32) | static_cast<std::uint32_t>(y);
}

// Every pixel of the chains by its place: the chain and the index in it.
using PixelIndex = std::unordered_map<std::uint64_t, std::pair<std::uint32_t, std::uint32_t>>;

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
