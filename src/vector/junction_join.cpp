#include "vector/junction_join.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <unordered_map>

#include "vector/circle_fit.h"
#include "vector/junction_cut.h"

namespace quern {

namespace {

// Ends this close close a ring: the walk stops a pixel or two short.
constexpr double kLoopGapSquared = 8.0;
constexpr std::size_t kMinLoopPixels = 8;
// An end's direction is read off this many pixels; shorter pieces are not
// joined by direction (they are too short to have a reliable one).
constexpr std::size_t kDirectionPixels = 12;
constexpr std::size_t kMinJoinPixels = 5;
// Pixels at a joined end that stray more than this from the end's line were
// bent by the junction and are left out.
constexpr double kStray = 1.0;
constexpr std::size_t kBentPixels = 4;
// Pixels on each side of a junction that must fit one line or circle.
constexpr std::size_t kContinuationPixels = 20;

double distanceSquared(const PathPoint& a, const PathPoint& b) {
  const double dx = static_cast<double>(a.x) - b.x;
  const double dy = static_cast<double>(a.y) - b.y;
  return dx * dx + dy * dy;
}

void markLoop(PixelChain& c) {
  if (c.closed) return;
  c.closed = c.points.size() >= kMinLoopPixels && distanceSquared(c.points.front(), c.points.back()) <= kLoopGapSquared;
}

// One end of a piece: where it is, which way the line leaves through it, and
// how many pixels at the end the junction bent away from that line.
struct End {
  double x = 0, y = 0, dx = 0, dy = 0;
  double ax = 0, ay = 0;  // a point of the end's line, clear of the junction
  std::size_t stray = 0;
  bool usable = false;
};

// The principal direction of the pixels next to the end, pointing out of it.
End endOf(const std::vector<PathPoint>& pts, bool atStart) {
  End e;
  const std::size_t n = pts.size();
  auto at = [&](std::size_t k) -> const PathPoint& { return atStart ? pts[k] : pts[n - 1 - k]; };
  e.x = at(0).x;
  e.y = at(0).y;
  if (n < kMinJoinPixels) return e;
  const std::size_t skip = std::min<std::size_t>(kBentPixels, n / 4);
  const std::size_t last = std::min(n, skip + kDirectionPixels);
  double mx = 0, my = 0;
  for (std::size_t k = skip; k < last; ++k) mx += at(k).x, my += at(k).y;
  const double m = static_cast<double>(last - skip);
  mx /= m;
  my /= m;
  e.ax = mx;
  e.ay = my;
  double sxx = 0, syy = 0, sxy = 0;
  for (std::size_t k = skip; k < last; ++k) {
    const double u = at(k).x - mx, v = at(k).y - my;
    sxx += u * u, syy += v * v, sxy += u * v;
  }
  const double angle = 0.5 * std::atan2(2 * sxy, sxx - syy);
  e.dx = std::cos(angle);
  e.dy = std::sin(angle);
  if ((at(skip).x - at(last - 1).x) * e.dx + (at(skip).y - at(last - 1).y) * e.dy < 0) e.dx = -e.dx, e.dy = -e.dy;
  while (e.stray < skip) {
    const PathPoint& p = at(e.stray);
    if (std::abs((p.x - mx) * e.dy - (p.y - my) * e.dx) <= kStray) break;
    ++e.stray;
  }
  e.usable = true;
  return e;
}

// The pixels next to two ends, the pixels the junction bent left out, read
// across the junction from the one end into the other.
std::vector<PathPoint> acrossJunction(const std::vector<PixelChain>& pieces, const std::vector<End>& ends,
                                      std::uint32_t a, std::uint32_t b) {
  std::vector<PathPoint> out;
  for (const std::uint32_t e : {a, b}) {
    const std::vector<PathPoint>& pts = pieces[e >> 1U].points;
    const std::size_t n = pts.size();
    const std::size_t first = ends[e].stray, last = std::min(n, first + kContinuationPixels);
    const std::size_t start = out.size();
    for (std::size_t k = first; k < last; ++k) out.push_back((e & 1U) == 0 ? pts[k] : pts[n - 1 - k]);
    // The first end is read towards the junction.
    if (e == a) std::reverse(out.begin() + static_cast<std::ptrdiff_t>(start), out.end());
  }
  return out;
}

// Two ends continue each other when the pixels on both sides of the
// junction lie within the tolerance of one straight line or one circle.
bool continuesAsOne(const std::vector<PixelChain>& pieces, const std::vector<End>& ends, std::uint32_t a,
                    std::uint32_t b, double tolerance) {
  const std::vector<PathPoint> pts = acrossJunction(pieces, ends, a, b);
  const PathPoint& p = pts.front();
  const PathPoint& q = pts.back();
  const double dx = q.x - p.x, dy = q.y - p.y, len = length(dx, dy);
  if (len > 0.0) {
    double worst = 0.0;
    for (const PathPoint& r : pts) worst = std::max(worst, std::abs((r.x - p.x) * dy - (r.y - p.y) * dx) / len);
    if (worst <= tolerance) return true;
  }
  const std::optional<Circle> c = fitCircle(pts);
  if (!c) return false;
  for (const PathPoint& r : pts) {
    if (std::abs(length(r.x - c->cx, r.y - c->cy) - c->radius) > tolerance) return false;
  }
  return true;
}

struct Pairing {
  double score;
  std::uint32_t a, b;  // end numbers: 2 * piece + (0 start, 1 end)
};

}  // namespace

std::vector<PixelChain> chainsOf(const RecordTable& LineTable) {
  std::vector<PixelChain> chains;
  PixelChain run;
  const Int32 last = std::min(LineTable.count() - 1, LineTable.lastRecord());
  for (Int32 i = 1; i <= last; ++i) {
    const LineRecord& r = LineTable[i];
    if (isSeparator(r)) {
      if (!run.points.empty()) {
        markLoop(run);
        chains.push_back(std::move(run));
      }
      run = {};
      continue;
    }
    if (run.points.empty()) run.points.push_back({r.x1, r.y1});
    run.points.push_back({r.x2, r.y2});
  }
  return chains;
}

std::vector<PixelChain> joinThroughJunctions(std::vector<PixelChain> chains, const JoinLimits& limits) {
  const PixelIndex where = indexPixels(chains);
  Pieces cut = cutAtJunctions(std::move(chains), where);
  std::vector<PixelChain>& pieces = cut.chains;
  const std::size_t endCount = 2 * pieces.size();
  std::vector<End> ends(endCount);
  // A short piece between two junctions is the core of a junction of thick
  // strokes: its direction says nothing about the lines through it.
  auto bridge = [&](std::size_t p) {
    return cut.atJunction[p][0] && cut.atJunction[p][1] &&
           static_cast<double>(pieces[p].points.size()) <= limits.maxGap + 1;
  };
  for (std::size_t p = 0; p < pieces.size(); ++p) {
    if (pieces[p].closed || pieces[p].points.empty()) continue;
    ends[2 * p] = endOf(pieces[p].points, true);
    ends[2 * p + 1] = endOf(pieces[p].points, false);
    // Only lines that run into a junction are joined: a gap between two
    // free ends is a gap in the drawing.
    for (const int side : {0, 1}) ends[2 * p + side].usable &= cut.atJunction[p][side] && !bridge(p);
  }
  // Ends by cells as large as the gap: a match lies in the 3 by 3 cells round.
  const double cell = std::max(1.0, limits.maxGap);
  auto cellOf = [cell](double v) { return static_cast<std::int64_t>(std::floor(v / cell)); };
  std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> grid;
  for (std::uint32_t k = 0; k < endCount; ++k) {
    if (ends[k].usable) grid[cellKey(cellOf(ends[k].x), cellOf(ends[k].y))].push_back(k);
  }
  const double cosLimit = std::cos(limits.maxAngleDegrees * std::numbers::pi / 180.0);
  std::vector<Pairing> pairings;
  for (std::uint32_t a = 0; a < endCount; ++a) {
    const End& ea = ends[a];
    if (!ea.usable) continue;
    for (int gy = -1; gy <= 1; ++gy) {
      for (int gx = -1; gx <= 1; ++gx) {
        const auto found = grid.find(cellKey(cellOf(ea.x) + gx, cellOf(ea.y) + gy));
        if (found == grid.end()) continue;
        for (const std::uint32_t b : found->second) {
          if (b <= a || b == (a ^ 1U)) continue;
          const End& eb = ends[b];
          const double vx = eb.x - ea.x, vy = eb.y - ea.y;
          const double gap = length(vx, vy);
          const double turn = -(ea.dx * eb.dx + ea.dy * eb.dy);  // cosine between running on and coming in
          if (gap > limits.maxGap || turn < cosLimit) continue;
          if (vx * ea.dx + vy * ea.dy < -limits.maxOffset) continue;
          bool bridged = true;  // the gap runs over the junction's pixels
          for (double t = 1.0; t < gap && bridged; t += 1.0) {
            bridged = nearPixel(where, ea.x + vx * t / gap, ea.y + vy * t / gap, 2);
          }
          if (!bridged || !continuesAsOne(pieces, ends, a, b, limits.tolerance)) continue;
          const double angle = std::acos(std::min(1.0, turn)) * 180.0 / std::numbers::pi;
          pairings.push_back({angle + gap, a, b});
        }
      }
    }
  }
  std::sort(pairings.begin(), pairings.end(), [](const Pairing& l, const Pairing& r) {
    return l.score != r.score ? l.score < r.score : (l.a != r.a ? l.a < r.a : l.b < r.b);
  });
  constexpr std::uint32_t kNone = UINT32_MAX;
  std::vector<std::uint32_t> partner(endCount, kNone);
  for (const Pairing& p : pairings) {
    if (partner[p.a] != kNone || partner[p.b] != kNone) continue;
    partner[p.a] = p.b;
    partner[p.b] = p.a;
  }

  // A short unjoined piece both of whose ends sit at a joined junction was
  // the bridge between the junction's two nodes: the joined line covers it.
  std::vector<bool> used(pieces.size(), false);
  auto nearJoinedEnd = [&](std::uint32_t self) {
    const End& e = ends[self];
    for (int gy = -1; gy <= 1; ++gy) {
      for (int gx = -1; gx <= 1; ++gx) {
        const auto cellEnds = grid.find(cellKey(cellOf(e.x) + gx, cellOf(e.y) + gy));
        if (cellEnds == grid.end()) continue;
        for (const std::uint32_t o : cellEnds->second) {
          if ((o >> 1U) != (self >> 1U) && partner[o] != kNone && length(ends[o].x - e.x, ends[o].y - e.y) <= 2.5)
            return true;
        }
      }
    }
    return false;
  };
  for (std::uint32_t p = 0; p < pieces.size(); ++p) {
    if (!bridge(p) || partner[2 * p] != kNone || partner[2 * p + 1] != kNone) continue;
    ends[2 * p].x = pieces[p].points.front().x, ends[2 * p].y = pieces[p].points.front().y;
    ends[2 * p + 1].x = pieces[p].points.back().x, ends[2 * p + 1].y = pieces[p].points.back().y;
    if (nearJoinedEnd(2 * p) && nearJoinedEnd(2 * p + 1)) used[p] = true;
  }

  std::vector<PixelChain> out;
  // Walks from the end `enter` through its piece and on through partners.
  auto walk = [&](std::uint32_t enter) {
    PixelChain joined;
    std::uint32_t e = enter;
    while (true) {
      const std::uint32_t p = e >> 1U;
      used[p] = true;
      const std::vector<PathPoint>& pts = pieces[p].points;
      const std::uint32_t exit = e ^ 1U;
      const std::size_t skipIn = partner[e] != kNone ? ends[e].stray : 0;
      const std::size_t skipOut = partner[exit] != kNone ? ends[exit].stray : 0;
      const std::size_t n = pts.size();
      for (std::size_t k = skipIn; k + skipOut < n; ++k) {
        const PathPoint& q = (e & 1U) == 0 ? pts[k] : pts[n - 1 - k];
        if (joined.points.empty() || !(joined.points.back() == q)) joined.points.push_back(q);
      }
      const std::uint32_t next = partner[exit];
      if (next == kNone) break;
      if (used[next >> 1U]) {
        joined.closed = true;  // back at the piece it started from
        break;
      }
      e = next;
    }
    if (joined.closed && joined.points.size() > 1 && joined.points.front() == joined.points.back())
      joined.points.pop_back();
    markLoop(joined);
    out.push_back(std::move(joined));
  };
  for (std::uint32_t p = 0; p < pieces.size(); ++p) {
    if (used[p]) continue;
    if (pieces[p].closed) {
      used[p] = true;
      out.push_back(std::move(pieces[p]));
    } else if (partner[2 * p] == kNone) {
      walk(2 * p);
    } else if (partner[2 * p + 1] == kNone) {
      walk(2 * p + 1);
    }
  }
  // What is left runs round in rings.
  for (std::uint32_t p = 0; p < pieces.size(); ++p) {
    if (!used[p]) walk(2 * p);
  }
  return out;
}

}  // namespace quern
