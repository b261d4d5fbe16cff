#include "vector/junction_cut.h"

#include <algorithm>
#include <cmath>

namespace quern {

PixelIndex::PixelIndex(std::size_t pixels, std::int64_t minX, std::int64_t minY, std::int64_t maxX, std::int64_t maxY)
    : minX_(minX),
      minY_(minY),
      width_(std::max<std::int64_t>(0, maxX - minX + 1)),
      height_(std::max<std::int64_t>(0, maxY - minY + 1)) {
  bits_.assign(static_cast<std::size_t>((width_ * height_ + 63) / 64), 0);
  // At most half full, so that probes stay short.
  std::size_t size = 16;
  shift_ = 60;
  while (size < 2 * pixels) size *= 2, --shift_;
  keys_.assign(size, kEmpty);
  places_.resize(size);
}

void PixelIndex::insert(std::int64_t x, std::int64_t y, Place place) {
  const std::uint64_t key = cellKey(x, y);
  for (std::size_t s = slot(key);; s = (s + 1) & (keys_.size() - 1)) {
    if (keys_[s] == key) return;
    if (keys_[s] == kEmpty) {
      keys_[s] = key;
      places_[s] = place;
      const auto bit = static_cast<std::size_t>((y - minY_) * width_ + (x - minX_));
      bits_[bit / 64] |= std::uint64_t{1} << (bit % 64);
      return;
    }
  }
}

const PixelIndex::Place* PixelIndex::find(std::int64_t x, std::int64_t y) const {
  const std::uint64_t key = cellKey(x, y);
  for (std::size_t s = slot(key);; s = (s + 1) & (keys_.size() - 1)) {
    if (keys_[s] == key) return &places_[s];
    if (keys_[s] == kEmpty) return nullptr;
  }
}

bool PixelIndex::set(std::int64_t x, std::int64_t y) const {
  if (x < minX_ || y < minY_ || x >= minX_ + width_ || y >= minY_ + height_) return false;
  const auto bit = static_cast<std::size_t>((y - minY_) * width_ + (x - minX_));
  return (bits_[bit / 64] >> (bit % 64)) & 1U;
}

bool PixelIndex::contains(std::int64_t x, std::int64_t y) const {
  return set(x, y);
}

int PixelIndex::neighbours(std::int64_t x, std::int64_t y) const {
  int n = 0;
  for (int dy = -1; dy <= 1; ++dy) {
    for (int dx = -1; dx <= 1; ++dx) n += (dx != 0 || dy != 0) && set(x + dx, y + dy);
  }
  return n;
}

PixelIndex indexPixels(const std::vector<PixelChain>& chains) {
  std::size_t total = 0;
  std::int64_t minX = 0, minY = 0, maxX = -1, maxY = -1;
  for (const PixelChain& c : chains) {
    for (const PathPoint& p : c.points) {
      const auto x = static_cast<std::int64_t>(p.x), y = static_cast<std::int64_t>(p.y);
      if (total++ == 0) minX = maxX = x, minY = maxY = y;
      minX = std::min(minX, x), maxX = std::max(maxX, x), minY = std::min(minY, y), maxY = std::max(maxY, y);
    }
  }
  PixelIndex where(total, minX, minY, maxX, maxY);
  for (std::uint32_t c = 0; c < chains.size(); ++c) {
    for (std::uint32_t k = 0; k < chains[c].points.size(); ++k) {
      const PathPoint& p = chains[c].points[k];
      where.insert(static_cast<std::int64_t>(p.x), static_cast<std::int64_t>(p.y), {c, k});
    }
  }
  return where;
}

bool nearPixel(const PixelIndex& where, double x, double y, int reach) {
  const auto px = static_cast<std::int64_t>(std::lround(x)), py = static_cast<std::int64_t>(std::lround(y));
  for (int dy = -reach; dy <= reach; ++dy) {
    for (int dx = -reach; dx <= reach; ++dx) {
      if (where.contains(px + dx, py + dy)) return true;
    }
  }
  return false;
}

Pieces cutAtJunctions(std::vector<PixelChain> chains, const PixelIndex& where) {
  std::vector<std::vector<std::uint32_t>> cuts(chains.size());
  std::vector<std::array<bool, 2>> endsMeet(chains.size(), {false, false});
  std::vector<bool> meets;
  for (std::uint32_t c = 0; c < chains.size(); ++c) {
    const std::vector<PathPoint>& pts = chains[c].points;
    const std::size_t n = pts.size();
    const bool closed = chains[c].closed;
    meets.assign(n, false);
    for (std::uint32_t k = 0; k < n; ++k) {
      if (!closed && (k > 0 && k + 1 < n) && (k < 2 || k + 2 >= n)) continue;
      // A pixel touched only by the one or two next to it along its chain
      // meets nothing else.
      const bool end = !closed && (k == 0 || k + 1 == n);
      if (where.neighbours(static_cast<std::int64_t>(pts[k].x), static_cast<std::int64_t>(pts[k].y)) <= (end ? 1 : 2))
        continue;
      for (int dy = -1; dy <= 1 && !meets[k]; ++dy) {
        for (int dx = -1; dx <= 1 && !meets[k]; ++dx) {
          const PixelIndex::Place* found =
              where.find(static_cast<std::int64_t>(pts[k].x) + dx, static_cast<std::int64_t>(pts[k].y) + dy);
          if (!found) continue;
          const auto [oc, ok] = *found;
          std::size_t apart = ok > k ? ok - k : k - ok;
          if (closed && oc == c) apart = std::min(apart, n - apart);
          meets[k] = oc != c || apart > 2;
        }
      }
    }
    if (!closed && n > 0) {
      endsMeet[c] = {meets[0], meets[n - 1]};
      meets[0] = meets[n - 1] = false;
    }
    for (std::uint32_t k = 0; k < n; ++k) {
      if (!meets[k] || (k > 0 && meets[k - 1])) continue;
      std::uint32_t last = k;
      while (last + 1 < n && meets[last + 1]) ++last;
      cuts[c].push_back(k);
      if (last != k) cuts[c].push_back(last);
    }
  }
  Pieces pieces;
  for (std::uint32_t c = 0; c < chains.size(); ++c) {
    std::vector<std::uint32_t>& at = cuts[c];
    std::vector<PathPoint>& pts = chains[c].points;
    if (at.empty()) {
      pieces.chains.push_back(std::move(chains[c]));
      pieces.atJunction.push_back(endsMeet[c]);
      continue;
    }
    std::sort(at.begin(), at.end());
    at.erase(std::unique(at.begin(), at.end()), at.end());
    if (chains[c].closed) {
      // The ring opens at its first cut and runs back round to it.
      std::rotate(pts.begin(), pts.begin() + at.front(), pts.end());
      const std::uint32_t shift = at.front();
      for (std::uint32_t& k : at) k -= shift;
      pts.push_back(pts.front());
    } else {
      at.insert(at.begin(), 0);
    }
    at.push_back(static_cast<std::uint32_t>(pts.size() - 1));
    const bool closed = chains[c].closed;
    for (std::size_t s = 0; s + 1 < at.size(); ++s) {
      if (at[s + 1] == at[s]) continue;
      pieces.chains.push_back({{pts.begin() + at[s], pts.begin() + at[s + 1] + 1}, false});
      const bool first = s == 0, last = s + 2 == at.size();
      pieces.atJunction.push_back({closed || !first || endsMeet[c][0], closed || !last || endsMeet[c][1]});
    }
  }
  return pieces;
}

}  // namespace quern
