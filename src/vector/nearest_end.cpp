#include "vector/nearest_end.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace quern {

namespace {

constexpr float kNoDistance = 10000000.0F;  // a search takes only what is nearer

double distance(double x, double y, double ex, double ey) {
  return std::sqrt((x - ex) * (x - ex) + (y - ey) * (y - ey));
}

bool isIndexable(float v) {
  return std::fabs(v) <= 16777216.0F && std::nearbyint(v) == v;
}

}  // namespace

EndPick scanNearestEnd(const RecordTable& table, Int32 count, float ex, float ey) {
  float best = kNoDistance;
  EndPick pick;
  for (Int32 i = 1; i <= count; ++i) {
    const LineRecord& r = table[i];
    if (r.x1 == kTaken) continue;
    const double ds = distance(r.x1, r.y1, ex, ey);
    const double de = distance(r.x2, r.y2, ex, ey);
    if (toFloat32(ds) < best) {
      best = toFloat32(ds);
      pick = {i, false};
    }
    if (toFloat32(de) < best) {
      best = toFloat32(de);
      pick = {i, true};
    }
    if (ds == 0.0) return {i, false};
    if (de == 0.0) return {i, true};
  }
  return pick;
}

// The order of the scan: smaller float distance, then lower record, then start.
struct NearestEnd::Best {
  float distance = kNoDistance;
  Int32 record = 0;
  bool isEnd = false;

  bool beatenBy(float d, Int32 rec, bool end) const {
    if (d != distance) return d < distance;
    if (record == 0) return false;
    if (rec != record) return rec < record;
    return !end && isEnd;
  }
};

bool NearestEnd::canIndex(const RecordTable& table, Int32 count) {
  for (Int32 i = 1; i <= count; ++i) {
    const LineRecord& r = table[i];
    if (!isIndexable(r.x1) || !isIndexable(r.y1) || !isIndexable(r.x2) || !isIndexable(r.y2)) return false;
  }
  return true;
}

NearestEnd::NearestEnd(const RecordTable& table, Int32 count) {
  positionOf_.assign(2 * static_cast<std::size_t>(std::max(count, 0)) + 2, -1);
  for (Int32 i = 1; i <= count; ++i) {
    const LineRecord& r = table[i];
    if (r.x1 == kTaken) continue;
    ends_.push_back({static_cast<Int32>(r.x1), static_cast<Int32>(r.y1), i, false});
    ends_.push_back({static_cast<Int32>(r.x2), static_cast<Int32>(r.y2), i, true});
  }
  nodes_.resize(ends_.size());
  live_.assign(ends_.size(), true);
  build(0, static_cast<Int32>(ends_.size()));
  for (std::size_t p = 0; p < ends_.size(); ++p) {
    positionOf_[2 * static_cast<std::size_t>(ends_[p].record) + (ends_[p].isEnd ? 1 : 0)] = static_cast<Int32>(p);
  }
}

void NearestEnd::build(Int32 lo, Int32 hi) {
  if (lo >= hi) return;
  const auto first = ends_.begin() + lo;
  const auto last = ends_.begin() + hi;
  Node box{std::numeric_limits<Int32>::max(),
           std::numeric_limits<Int32>::min(),
           std::numeric_limits<Int32>::max(),
           std::numeric_limits<Int32>::min(),
           hi - lo,
           true};
  for (auto e = first; e != last; ++e) {
    box.minX = std::min(box.minX, e->x);
    box.maxX = std::max(box.maxX, e->x);
    box.minY = std::min(box.minY, e->y);
    box.maxY = std::max(box.maxY, e->y);
  }
  box.splitOnX = static_cast<long long>(box.maxX) - box.minX >= static_cast<long long>(box.maxY) - box.minY;
  const Int32 mid = lo + (hi - lo) / 2;
  std::nth_element(first, ends_.begin() + mid, last,
                   [&box](const End& a, const End& b) { return box.splitOnX ? a.x < b.x : a.y < b.y; });
  nodes_[static_cast<std::size_t>(mid)] = box;
  build(lo, mid);
  build(mid + 1, hi);
}

EndPick NearestEnd::find(float ex, float ey) const {
  Best best;
  search(0, static_cast<Int32>(ends_.size()), ex, ey, best);
  return {best.record, best.isEnd};
}

void NearestEnd::search(Int32 lo, Int32 hi, double qx, double qy, Best& best) const {
  if (lo >= hi) return;
  const Int32 mid = lo + (hi - lo) / 2;
  const Node& node = nodes_[static_cast<std::size_t>(mid)];
  if (node.alive == 0) return;
  const double gx = std::max({node.minX - qx, 0.0, qx - node.maxX});
  const double gy = std::max({node.minY - qy, 0.0, qy - node.maxY});
  // Float rounding is monotone, so nothing in this box can come out nearer
  // than its corner; an equal distance may still win on a lower record.
  if (toFloat32(std::sqrt(gx * gx + gy * gy)) > best.distance) return;

  const End& e = ends_[static_cast<std::size_t>(mid)];
  if (live_[static_cast<std::size_t>(mid)]) {
    const float d = toFloat32(distance(e.x, e.y, qx, qy));
    if (best.beatenBy(d, e.record, e.isEnd)) best = {d, e.record, e.isEnd};
  }
  const bool nearIsLow = node.splitOnX ? qx < e.x : qy < e.y;
  if (nearIsLow) {
    search(lo, mid, qx, qy, best);
    search(mid + 1, hi, qx, qy, best);
  } else {
    search(mid + 1, hi, qx, qy, best);
    search(lo, mid, qx, qy, best);
  }
}

void NearestEnd::remove(Int32 record) {
  for (const std::size_t slot : {2 * static_cast<std::size_t>(record), 2 * static_cast<std::size_t>(record) + 1}) {
    if (slot >= positionOf_.size() || positionOf_[slot] < 0) continue;
    removeAt(positionOf_[slot]);
    positionOf_[slot] = -1;
  }
}

void NearestEnd::removeAt(Int32 position) {
  live_[static_cast<std::size_t>(position)] = false;
  Int32 lo = 0;
  Int32 hi = static_cast<Int32>(ends_.size());
  for (;;) {
    const Int32 mid = lo + (hi - lo) / 2;
    --nodes_[static_cast<std::size_t>(mid)].alive;
    if (mid == position) return;
    if (position < mid) {
      hi = mid;
    } else {
      lo = mid + 1;
    }
  }
}

}  // namespace quern
