#include "base/cad_paths.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <optional>
#include <set>
#include <unordered_map>
#include <utility>

namespace quern {

namespace {

struct Segment {
  PathPoint a;
  PathPoint b;
};

// A path under construction: its points, where it came from in the table,
// and whether each end is free (no other segment meets it there).
struct WorkPath {
  std::size_t segments() const { return closed ? points.size() : points.size() - 1; }
  std::vector<PathPoint> points;
  bool closed = false;
  bool alive = true;
  bool freeFront = false;
  bool freeBack = false;
  std::size_t order = 0;
};

std::uint64_t keyOf(PathPoint p) {
  // Table values are whole numbers; adding 0 folds -0 into 0.
  const float x = p.x + 0.0F;
  const float y = p.y + 0.0F;
  std::uint32_t bx = 0;
  std::uint32_t by = 0;
  std::memcpy(&bx, &x, sizeof bx);
  std::memcpy(&by, &y, sizeof by);
  return (static_cast<std::uint64_t>(bx) << 32) | by;
}

double distance(PathPoint p, PathPoint q) {
  return std::hypot(static_cast<double>(p.x) - q.x, static_cast<double>(p.y) - q.y);
}

double distanceToSegment(PathPoint p, PathPoint a, PathPoint b) {
  const double dx = static_cast<double>(b.x) - a.x;
  const double dy = static_cast<double>(b.y) - a.y;
  const double len2 = dx * dx + dy * dy;
  double t = len2 == 0.0 ? 0.0 : ((p.x - a.x) * dx + (p.y - a.y) * dy) / len2;
  t = std::clamp(t, 0.0, 1.0);
  return std::hypot(p.x - (a.x + t * dx), p.y - (a.y + t * dy));
}

double pathLength(const WorkPath& path) {
  double sum = 0.0;
  for (std::size_t k = 1; k < path.points.size(); ++k) sum += distance(path.points[k - 1], path.points[k]);
  if (path.closed && path.points.size() > 2) sum += distance(path.points.back(), path.points.front());
  return sum;
}

// Segments walked into paths through every point where exactly two meet.
std::vector<WorkPath> walk(const std::vector<Segment>& segments) {
  std::unordered_map<std::uint64_t, std::size_t> nodeOf;
  std::vector<std::vector<std::size_t>> touching;
  auto node = [&](PathPoint p) {
    const auto [it, added] = nodeOf.try_emplace(keyOf(p), touching.size());
    if (added) touching.emplace_back();
    return it->second;
  };
  std::vector<std::pair<std::size_t, std::size_t>> ends(segments.size());
  for (std::size_t s = 0; s < segments.size(); ++s) {
    ends[s] = {node(segments[s].a), node(segments[s].b)};
    touching[ends[s].first].push_back(s);
    touching[ends[s].second].push_back(s);
  }
  std::vector<bool> used(segments.size(), false);
  std::vector<WorkPath> paths;
  auto follow = [&](std::size_t startNode, std::size_t first) {
    WorkPath path;
    path.order = first;
    path.freeFront = touching[startNode].size() == 1;
    std::size_t at = startNode;
    std::size_t s = first;
    path.points.push_back(ends[s].first == at ? segments[s].a : segments[s].b);
    while (true) {
      used[s] = true;
      path.order = std::min(path.order, s);
      const bool forward = ends[s].first == at;
      at = forward ? ends[s].second : ends[s].first;
      path.points.push_back(forward ? segments[s].b : segments[s].a);
      if (touching[at].size() != 2) break;
      const std::size_t next = touching[at][0] == s ? touching[at][1] : touching[at][0];
      if (used[next]) break;
      s = next;
    }
    path.freeBack = touching[at].size() == 1;
    if (path.points.size() > 2 && path.points.front() == path.points.back()) {
      path.points.pop_back();
      path.closed = true;
    }
    paths.push_back(std::move(path));
  };
  for (std::size_t n = 0; n < touching.size(); ++n) {
    if (touching[n].size() == 2) continue;
    for (const std::size_t s : touching[n]) {
      if (!used[s]) follow(n, s);
    }
  }
  // What is left runs through points of two segments only: rings.
  for (std::size_t s = 0; s < segments.size(); ++s) {
    if (!used[s]) follow(ends[s].first, s);
  }
  return paths;
}

// Segments of the living paths by the cells of a grid, for "what lies near".
class SegmentGrid {
 public:
  SegmentGrid(const std::vector<WorkPath>& paths, double cell) : cell_(cell) {
    for (std::size_t p = 0; p < paths.size(); ++p) {
      const WorkPath& path = paths[p];
      const std::size_t n = path.points.size();
      const std::size_t count = path.closed ? n : n - 1;
      for (std::size_t k = 0; k < count; ++k) {
        const PathPoint a = path.points[k];
        const PathPoint b = path.points[(k + 1) % n];
        for (long long cx = cellOf(std::min(a.x, b.x)); cx <= cellOf(std::max(a.x, b.x)); ++cx) {
          for (long long cy = cellOf(std::min(a.y, b.y)); cy <= cellOf(std::max(a.y, b.y)); ++cy) {
            cells_[key(cx, cy)].push_back({p, a, b});
          }
        }
      }
    }
  }

  // Whether p lies within `reach` of a segment of a living path other than `self`.
  bool near(PathPoint p, double reach, std::size_t self, const std::vector<WorkPath>& paths) const {
    for (long long cx = cellOf(p.x - reach); cx <= cellOf(p.x + reach); ++cx) {
      for (long long cy = cellOf(p.y - reach); cy <= cellOf(p.y + reach); ++cy) {
        const auto it = cells_.find(key(cx, cy));
        if (it == cells_.end()) continue;
        for (const Entry& e : it->second) {
          if (e.path != self && paths[e.path].alive && distanceToSegment(p, e.a, e.b) <= reach) return true;
        }
      }
    }
    return false;
  }

 private:
  struct Entry {
    std::size_t path;
    PathPoint a;
    PathPoint b;
  };
  long long cellOf(double v) const { return static_cast<long long>(std::floor(v / cell_)); }
  static std::uint64_t key(long long cx, long long cy) {
    return (static_cast<std::uint64_t>(cx) << 32) ^ static_cast<std::uint32_t>(cy);
  }
  double cell_;
  std::unordered_map<std::uint64_t, std::vector<Entry>> cells_;
};

// Whether every point of the path, taken every half pixel, lies near another.
bool liesAlongAnother(const WorkPath& path, std::size_t self, const SegmentGrid& grid, double reach,
                      const std::vector<WorkPath>& paths) {
  const std::size_t n = path.points.size();
  const std::size_t count = path.closed ? n : n - 1;
  for (std::size_t k = 0; k < count; ++k) {
    const PathPoint a = path.points[k];
    const PathPoint b = path.points[(k + 1) % n];
    const int steps = std::max(1, static_cast<int>(std::ceil(distance(a, b) * 2.0)));
    for (int i = 0; i <= steps; ++i) {
      const double t = static_cast<double>(i) / steps;
      const PathPoint q{static_cast<float>(a.x + t * (b.x - a.x)), static_cast<float>(a.y + t * (b.y - a.y))};
      if (!grid.near(q, reach, self, paths)) return false;
    }
  }
  return true;
}

void dropStubs(std::vector<WorkPath>& paths, double reach) {
  const SegmentGrid grid(paths, std::max(4.0, reach * 2.0));
  std::vector<std::size_t> byLength(paths.size());
  std::iota(byLength.begin(), byLength.end(), 0);
  std::vector<double> length(paths.size());
  for (std::size_t p = 0; p < paths.size(); ++p) length[p] = pathLength(paths[p]);
  std::stable_sort(byLength.begin(), byLength.end(),
                   [&](std::size_t a, std::size_t b) { return length[a] < length[b]; });
  for (const std::size_t p : byLength) {
    if (liesAlongAnother(paths[p], p, grid, reach, paths)) paths[p].alive = false;
  }
}

// Free ends within the gap, nearest first, each taken once: the path's own
// other end closes it, another path's end joins the two. The links are
// found on a grid of the free ends and only then followed into paths.
void closeAndJoin(std::vector<WorkPath>& paths, double gap) {
  struct End {
    std::size_t path;
    bool back;
    PathPoint at;
  };
  std::vector<End> ends;
  std::unordered_map<std::uint64_t, std::vector<std::size_t>> grid;
  const auto cell = [gap](float v) { return static_cast<long long>(std::floor(v / gap)); };
  const auto cellKey = [](long long cx, long long cy) {
    return (static_cast<std::uint64_t>(cx) << 32) ^ static_cast<std::uint32_t>(cy);
  };
  // End 2p is path p's front, 2p + 1 its back; ends that are not free stay out.
  std::vector<std::ptrdiff_t> endIndex(paths.size() * 2, -1);
  for (std::size_t p = 0; p < paths.size(); ++p) {
    const WorkPath& w = paths[p];
    if (!w.alive || w.closed) continue;
    for (const bool back : {false, true}) {
      if (!(back ? w.freeBack : w.freeFront)) continue;
      const PathPoint at = back ? w.points.back() : w.points.front();
      endIndex[2 * p + (back ? 1 : 0)] = static_cast<std::ptrdiff_t>(ends.size());
      grid[cellKey(cell(at.x), cell(at.y))].push_back(ends.size());
      ends.push_back({p, back, at});
    }
  }
  struct Pair {
    double d;
    std::size_t e;
    std::size_t f;
  };
  std::vector<Pair> pairs;
  for (std::size_t e = 0; e < ends.size(); ++e) {
    const PathPoint at = ends[e].at;
    for (long long cx = cell(at.x) - 1; cx <= cell(at.x) + 1; ++cx) {
      for (long long cy = cell(at.y) - 1; cy <= cell(at.y) + 1; ++cy) {
        const auto it = grid.find(cellKey(cx, cy));
        if (it == grid.end()) continue;
        for (const std::size_t f : it->second) {
          if (f <= e) continue;
          const double d = distance(at, ends[f].at);
          if (d <= gap) pairs.push_back({d, e, f});
        }
      }
    }
  }
  std::stable_sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) { return a.d < b.d; });

  // Paths linked so far, with their summed length, to tell a closing link.
  std::vector<std::size_t> root(paths.size());
  std::iota(root.begin(), root.end(), 0);
  std::vector<double> length(paths.size(), 0.0);
  std::vector<std::size_t> pointCount(paths.size(), 0);
  for (std::size_t p = 0; p < paths.size(); ++p) {
    length[p] = pathLength(paths[p]);
    pointCount[p] = paths[p].points.size();
  }
  const auto find = [&root](std::size_t p) {
    while (root[p] != p) p = root[p] = root[root[p]];
    return p;
  };
  std::vector<std::ptrdiff_t> link(ends.size(), -1);
  for (const Pair& pair : pairs) {
    if (link[pair.e] >= 0 || link[pair.f] >= 0) continue;
    const std::size_t a = find(ends[pair.e].path);
    const std::size_t b = find(ends[pair.f].path);
    if (a == b) {
      // Only a long enough run closes on itself; a short stub stays open.
      if (pointCount[a] < 3 || length[a] <= 4.0 * gap) continue;
    } else {
      root[b] = a;
      length[a] += length[b] + pair.d;
      pointCount[a] += pointCount[b];
    }
    link[pair.e] = static_cast<std::ptrdiff_t>(pair.f);
    link[pair.f] = static_cast<std::ptrdiff_t>(pair.e);
  }

  // The partner of a path's end, as (path, back), if it was linked.
  const auto partner = [&](std::size_t p, bool back) -> std::optional<std::pair<std::size_t, bool>> {
    const std::ptrdiff_t e = endIndex[2 * p + (back ? 1 : 0)];
    if (e < 0 || link[static_cast<std::size_t>(e)] < 0) return std::nullopt;
    const End& f = ends[static_cast<std::size_t>(link[static_cast<std::size_t>(e)])];
    return std::pair{f.path, f.back};
  };
  std::vector<bool> taken(paths.size(), false);
  std::vector<WorkPath> joined;
  for (std::size_t p = 0; p < paths.size(); ++p) {
    if (taken[p] || !paths[p].alive) continue;
    if (paths[p].closed || (!partner(p, false) && !partner(p, true))) {
      taken[p] = true;
      joined.push_back(std::move(paths[p]));
      continue;
    }
    // Back up to where the run starts (or round the ring to p again).
    std::size_t first = p;
    bool enteredBack = false;  // the end of `first` the run enters by
    for (auto at = partner(p, false); at && at->first != p;) {
      first = at->first;
      enteredBack = !at->second;
      at = partner(first, enteredBack);
    }
    WorkPath run;
    run.order = paths[first].order;
    run.freeFront = enteredBack ? paths[first].freeBack : paths[first].freeFront;
    std::size_t at = first;
    bool inBack = enteredBack;
    while (true) {
      taken[at] = true;
      WorkPath& piece = paths[at];
      run.order = std::min(run.order, piece.order);
      if (inBack) std::reverse(piece.points.begin(), piece.points.end());
      const std::size_t skip = !run.points.empty() && run.points.back() == piece.points.front() ? 1 : 0;
      run.points.insert(run.points.end(), piece.points.begin() + static_cast<std::ptrdiff_t>(skip), piece.points.end());
      const bool outBack = !inBack;
      run.freeBack = outBack ? piece.freeBack : piece.freeFront;
      const auto next = partner(at, outBack);
      if (!next) break;
      if (next->first == first) {
        run.closed = true;
        break;
      }
      at = next->first;
      inBack = next->second;
    }
    if (run.closed && run.points.size() > 1 && run.points.front() == run.points.back()) run.points.pop_back();
    joined.push_back(std::move(run));
  }
  paths = std::move(joined);
}

}  // namespace

CadCleanup cleanupForLineWidth(float lineWidth) {
  const float w = std::max(1.0F, lineWidth);
  return {std::max(3.0F, 1.5F * w), std::max(1.5F, 0.5F * w)};
}

std::vector<DrawingPath> cadPaths(const std::vector<LineRecord>& records, const CadCleanup& cleanup) {
  std::vector<Segment> segments;
  std::set<std::pair<std::uint64_t, std::uint64_t>> seen;
  for (const LineRecord& r : records) {
    if (hasNoLength(r)) continue;
    const PathPoint a{r.x1, r.y1};
    const PathPoint b{r.x2, r.y2};
    const std::uint64_t ka = keyOf(a);
    const std::uint64_t kb = keyOf(b);
    if (!seen.insert({std::min(ka, kb), std::max(ka, kb)}).second) continue;
    segments.push_back({a, b});
  }
  std::vector<WorkPath> paths = walk(segments);
  dropStubs(paths, cleanup.stubDistance);
  // A stub's foot made a junction of its line; without the stub the line
  // runs through there again, so the rest is walked anew.
  std::vector<std::pair<std::size_t, Segment>> kept;
  for (const WorkPath& path : paths) {
    if (!path.alive) continue;
    const std::size_t n = path.points.size();
    for (std::size_t k = 0; k < path.segments(); ++k) {
      kept.push_back({path.order, {path.points[k], path.points[(k + 1) % n]}});
    }
  }
  std::stable_sort(kept.begin(), kept.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  segments.clear();
  for (const auto& [order, segment] : kept) segments.push_back(segment);
  paths = walk(segments);
  closeAndJoin(paths, cleanup.closeGap);
  std::erase_if(paths, [](const WorkPath& p) { return !p.alive; });
  std::stable_sort(paths.begin(), paths.end(), [](const WorkPath& a, const WorkPath& b) { return a.order < b.order; });
  std::vector<DrawingPath> out;
  out.reserve(paths.size());
  for (WorkPath& p : paths) out.push_back({std::move(p.points), p.closed});
  return out;
}

std::vector<DrawingPath> cadPaths(const RecordTable& table, const CadCleanup& cleanup) {
  std::vector<LineRecord> records;
  records.reserve(static_cast<std::size_t>(std::max(0, table.count())));
  for (Int32 i = 1; i <= table.count(); ++i) records.push_back(table[i]);
  return cadPaths(records, cleanup);
}

}  // namespace quern
