#include "vector/chains.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "base/errors.h"
#include "vector/session.h"

namespace quern {

bool IsNeighbour(float ax, float ay, float bx, float by) {
  if (ax == 0.0F || ay == 0.0F || bx == 0.0F || by == 0.0F) return false;
  if (ax == kSeparator) return false;
  const double dx = std::fabs(static_cast<double>(bx) - ax);
  const double dy = std::fabs(static_cast<double>(by) - ay);
  return dx <= 1.0 && dy <= 1.0 && !(bx == ax && by == ay);
}

namespace {

bool isFree(const LineRecord& r) {
  return r.x1 != 0.0F && r.y1 != 0.0F;
}

// Whole numbers small enough that v - 1, v and v + 1 are all exact floats:
// the only values the position index takes. Anything else is looked at
// one by one, so odd tables stay correct, only slower.
bool isGridValue(float v) {
  return std::fabs(v) <= 16777216.0F && std::nearbyint(v) == v;
}

std::uint64_t positionKey(Int32 x, Int32 y) {
  return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(x)) << 32) | static_cast<std::uint32_t>(y);
}

// Position key to position number, open addressing: the walk asks eight
// keys per link, and most are not there.
class PositionMap {
 public:
  explicit PositionMap(std::size_t positions) {
    std::size_t capacity = 16;
    while (capacity < 2 * positions) capacity *= 2;
    keys_.resize(capacity);
    values_.assign(capacity, -1);
    mask_ = capacity - 1;
  }

  void insert(std::uint64_t key, Int32 value) {
    std::size_t slot = home(key);
    while (values_[slot] >= 0) slot = (slot + 1) & mask_;
    keys_[slot] = key;
    values_[slot] = value;
  }

  // -1 when the key is not there.
  Int32 find(std::uint64_t key) const {
    for (std::size_t slot = home(key);; slot = (slot + 1) & mask_) {
      if (values_[slot] < 0 || keys_[slot] == key) return values_[slot];
    }
  }

 private:
  std::size_t home(std::uint64_t key) const {
    return static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ULL) >> 32) & mask_;
  }

  std::vector<std::uint64_t> keys_;
  std::vector<Int32> values_;
  std::size_t mask_ = 0;
};

// The free pixels of the listing, found by position. Every pick must be the
// one a scan from record 1 would make: the lowest record number among the
// free neighbours, or among all free pixels for a new chain. Records are only
// ever used up, never freed, so a position's records are kept in number
// order and skipped from the front once used.
class FreePixels {
 public:
  FreePixels(const RecordTable& table, Int32 n) : table_(table), n_(n) {
    std::vector<std::pair<std::uint64_t, Int32>> listed;
    listed.reserve(static_cast<std::size_t>(std::max(n, 0)));
    for (Int32 i = 1; i <= n; ++i) {
      const LineRecord& r = table[i];
      if (!isFree(r)) continue;
      if (isGridValue(r.x1) && isGridValue(r.y1)) {
        listed.emplace_back(positionKey(static_cast<Int32>(r.x1), static_cast<Int32>(r.y1)), i);
      } else {
        odd_.push_back(i);
      }
    }
    // Thinning lists its pixels column by column, which is already key order.
    if (!std::is_sorted(listed.begin(), listed.end())) std::sort(listed.begin(), listed.end());
    byKey_ = PositionMap(listed.size());
    markPresent(listed);
    members_.reserve(listed.size());
    for (std::size_t k = 0; k < listed.size(); ++k) {
      const auto [key, index] = listed[k];
      if (k == 0 || listed[k - 1].first != key) {
        byKey_.insert(key, static_cast<Int32>(positions_.size()));
        positions_.push_back({static_cast<Int32>(k), static_cast<Int32>(k)});
      }
      members_.push_back(index);
      positions_.back().end = static_cast<Int32>(k + 1);
    }
  }

  // The first free neighbour of (ax, ay) in table order, 0 if none.
  Int32 firstNeighbour(float ax, float ay) {
    if (ax == 0.0F || ay == 0.0F || ax == kSeparator) return 0;
    if (!isGridValue(ax) || !isGridValue(ay)) return scan(ax, ay, 1, n_);
    const auto x = static_cast<Int32>(ax);
    const auto y = static_cast<Int32>(ay);
    Int32 best = 0;
    for (Int32 dx = -1; dx <= 1; ++dx) {
      for (Int32 dy = -1; dy <= 1; ++dy) {
        if (dx == 0 && dy == 0) continue;
        if (!maybePresent(x + dx, y + dy)) continue;
        const Int32 i = firstAt(positionKey(x + dx, y + dy));
        if (i != 0 && (best == 0 || i < best)) best = i;
      }
    }
    for (const Int32 i : odd_) {
      if (best != 0 && i > best) break;
      const LineRecord& r = table_[i];
      if (IsNeighbour(ax, ay, r.x1, r.y1)) {
        best = i;
        break;
      }
    }
    return best;
  }

  // The first free record in table order, 0 if none.
  Int32 firstFree() {
    while (cursor_ <= n_ && !isFree(table_[cursor_])) ++cursor_;
    return cursor_ <= n_ ? cursor_ : 0;
  }

 private:
  struct Position {
    Int32 head;
    Int32 end;
  };

  Int32 firstAt(std::uint64_t key) {
    const Int32 found = byKey_.find(key);
    if (found < 0) return 0;
    Position& p = positions_[static_cast<std::size_t>(found)];
    while (p.head < p.end && !isFree(table_[members_[static_cast<std::size_t>(p.head)]])) ++p.head;
    if (p.head < p.end) return members_[static_cast<std::size_t>(p.head)];
    // Used up for good: records are never freed.
    forget(static_cast<Int32>(key >> 32), static_cast<Int32>(key & 0xFFFFFFFFU));
    return 0;
  }

  // Most neighbours asked for hold no free pixel. A bit for each position of
  // the listing's box (with a margin of one, which the neighbours of its
  // edge reach) answers for those without the map; it is cleared once a
  // position is found used up. A box too large for that leaves every
  // question to the map.
  void markPresent(const std::vector<std::pair<std::uint64_t, Int32>>& listed) {
    if (listed.empty()) return;
    const auto xOf = [](std::uint64_t key) { return static_cast<Int32>(key >> 32); };
    const auto yOf = [](std::uint64_t key) { return static_cast<Int32>(key & 0xFFFFFFFFU); };
    Int32 minX = xOf(listed.front().first);
    Int32 maxX = minX;
    Int32 minY = yOf(listed.front().first);
    Int32 maxY = minY;
    for (const auto& entry : listed) {
      minX = std::min(minX, xOf(entry.first));
      maxX = std::max(maxX, xOf(entry.first));
      minY = std::min(minY, yOf(entry.first));
      maxY = std::max(maxY, yOf(entry.first));
    }
    const std::int64_t across = static_cast<std::int64_t>(maxX) - minX + 3;
    const std::int64_t down = static_cast<std::int64_t>(maxY) - minY + 3;
    if (across * down > kMostBoxCells) return;
    boxX_ = minX - 1;
    boxY_ = minY - 1;
    boxAcross_ = across;
    boxDown_ = down;
    present_.assign(static_cast<std::size_t>((across * down + 63) / 64), 0);
    for (const auto& entry : listed) {
      const std::size_t bit = boxBit(xOf(entry.first), yOf(entry.first));
      present_[bit / 64] |= std::uint64_t{1} << (bit % 64);
    }
  }
  bool maybePresent(Int32 x, Int32 y) const {
    if (present_.empty()) return true;
    if (x < boxX_ || y < boxY_ || x - boxX_ >= boxAcross_ || y - boxY_ >= boxDown_) return false;
    const std::size_t bit = boxBit(x, y);
    return (present_[bit / 64] >> (bit % 64) & 1) != 0;
  }
  void forget(Int32 x, Int32 y) {
    if (present_.empty() || !maybePresent(x, y)) return;
    const std::size_t bit = boxBit(x, y);
    present_[bit / 64] &= ~(std::uint64_t{1} << (bit % 64));
  }
  std::size_t boxBit(Int32 x, Int32 y) const {
    return static_cast<std::size_t>((static_cast<std::int64_t>(x) - boxX_) * boxDown_ + (y - boxY_));
  }

  Int32 scan(float ax, float ay, Int32 from, Int32 to) const {
    for (Int32 i = from; i <= to; ++i) {
      const LineRecord& r = table_[i];
      if (IsNeighbour(ax, ay, r.x1, r.y1)) return i;
    }
    return 0;
  }

  const RecordTable& table_;
  Int32 n_;
  Int32 cursor_ = 1;
  std::vector<Int32> members_;
  std::vector<Position> positions_;
  PositionMap byKey_{0};
  std::vector<Int32> odd_;
  // Bits for the listing's box: at most 32 MB of them.
  static constexpr std::int64_t kMostBoxCells = std::int64_t{1} << 28;
  std::vector<std::uint64_t> present_;
  Int32 boxX_ = 0;
  Int32 boxY_ = 0;
  std::int64_t boxAcross_ = 0;
  std::int64_t boxDown_ = 0;
};

void useUp(LineRecord& r) {
  r.x1 = 0.0F;
  r.y1 = 0.0F;
}

}  // namespace

void BuildChains(Session& session, Progress& progress) {
  RecordTable& lines = session.LineTable;
  RecordTable& chains = session.ChainTable;
  const Int32 n = lines.count();
  // The chains take one record more than the listing.
  if (n > chains.lastRecord() - 1 && !(chains.reserve(add32(n, 1)) && lines.reserve(add32(n, 1)))) {
    throw LimitError("Too many line pixels to chain: " + std::to_string(n) + " are listed, the tables hold " +
                     std::to_string(chains.lastRecord() - 1));
  }
  ProgressBar& bar = progress.bar();
  bar.Value = 0.0F;

  Int32& count = chains.count();
  count = 1;
  chains[1].x1 = lines[1].x1;
  chains[1].y1 = lines[1].y1;
  useUp(lines[1]);
  if (n != 0) bar.Max = static_cast<float>(n);

  FreePixels free(lines, n);
  for (;;) {
    const Int32 next = free.firstNeighbour(chains[count].x1, chains[count].y1);
    if (next != 0) {
      LineRecord& pixel = lines[next];
      chains[count].x2 = pixel.x1;
      chains[count].y2 = pixel.y1;
      count = add32(count, 1);
      chains[count].x1 = pixel.x1;
      chains[count].y1 = pixel.y1;
      useUp(pixel);
      bar.Value = static_cast<float>(count);
      continue;
    }
    if (n < count) break;
    // A chain of one pixel has no segment: its start is simply overwritten.
    const LineRecord& before = chains[count - 1];
    if (before.x1 != kSeparator && before.y1 != kSeparator) {
      LineRecord& r = chains[count];
      r.x1 = r.y1 = r.x2 = r.y2 = kSeparator;
      count = add32(count, 1);
    }
    const Int32 start = free.firstFree();
    if (start == 0) break;
    chains[count].x1 = lines[start].x1;
    chains[count].y1 = lines[start].y1;
    useUp(lines[start]);
  }

  for (Int32 i = 1; i <= count; ++i) lines[i] = chains[i];
  lines.count() = count;
  bar.Value = 0.0F;
}

}  // namespace quern
