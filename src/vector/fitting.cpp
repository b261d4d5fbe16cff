#include "vector/fitting.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "vector/circle_fit.h"

namespace quern {

namespace {

// An arc needs this many pixels to have a curvature worth trusting.
constexpr std::size_t kMinArcPixels = 6;
constexpr std::size_t kMinCirclePixels = 8;
// How far the meeting point of a line and an arc may move when it is set
// where the two fit best together.
constexpr std::size_t kShiftReach = 16;
constexpr std::size_t kShiftStep = 4;
constexpr double kGrowShare = 0.6;
// The quick test of an arc: this many pixels, none farther off the circle
// through three of them than this many tolerances.
constexpr std::size_t kRoughSamples = 16;
constexpr double kRoughShare = 4.0;

struct Piece {
  std::size_t first = 0, last = 0;  // pixel indices of its two ends
  bool arc = false;
  Circle circle;
  double sweep = 0.0;
  double residual = -1.0;  // squared distances, when known
};

Piece linePiece(std::size_t first, std::size_t last) {
  Piece p;
  p.first = first;
  p.last = last;
  return p;
}

// Most tries of a circle fail, and fail by far: a few points set against the
// circle through three of them tell so before any refining.
bool roughlyOnCircle(std::span<const PathPoint> pts, const PathPoint& a, const PathPoint& m, const PathPoint& b,
                     double tol) {
  const double d = 2.0 * (a.x * (m.y - b.y) + m.x * (b.y - a.y) + b.x * (a.y - m.y));
  if (d == 0.0) return true;  // in a line: let the fit decide
  const double a2 = a.x * a.x + a.y * a.y, m2 = m.x * m.x + m.y * m.y, b2 = b.x * b.x + b.y * b.y;
  const double cx = (a2 * (m.y - b.y) + m2 * (b.y - a.y) + b2 * (a.y - m.y)) / d;
  const double cy = (a2 * (b.x - m.x) + m2 * (a.x - b.x) + b2 * (m.x - a.x)) / d;
  const double r = length(a.x - cx, a.y - cy);
  const std::size_t step = std::max<std::size_t>(1, pts.size() / kRoughSamples);
  for (std::size_t k = 0; k < pts.size(); k += step) {
    if (std::abs(length(pts[k].x - cx, pts[k].y - cy) - r) > kRoughShare * tol) return false;
  }
  return true;
}

class Fitter {
 public:
  Fitter(std::span<const PathPoint> points, double tolerance) : pts_(points), tol_(tolerance) {}

  bool lineFits(std::size_t i, std::size_t j) const { return lineFits(i, j, tol_); }
  // With `sum`, also the sum of the squared distances, for refining.
  bool lineFits(std::size_t i, std::size_t j, double tol, double* sum = nullptr) const {
    const PathPoint& a = pts_[i];
    const PathPoint& b = pts_[j];
    const double dx = b.x - a.x, dy = b.y - a.y, len2 = dx * dx + dy * dy;
    const double limit2 = tol * tol;
    for (std::size_t k = i + 1; k < j; ++k) {
      const double px = pts_[k].x - a.x, py = pts_[k].y - a.y;
      const double along = len2 > 0.0 ? std::clamp((px * dx + py * dy) / len2, 0.0, 1.0) : 0.0;
      const double ex = px - along * dx, ey = py - along * dy;
      const double e2 = ex * ex + ey * ey;
      if (e2 > limit2) return false;
      if (sum) *sum += e2;
    }
    return true;
  }

  std::optional<Piece> arc(std::size_t i, std::size_t j) const { return arc(i, j, tol_); }
  std::optional<Piece> arc(std::size_t i, std::size_t j, double tol) const {
    if (j - i + 1 < kMinArcPixels) return std::nullopt;
    const std::span<const PathPoint> inner = pts_.subspan(i, j - i + 1);
    if (!roughlyOnCircle(inner, inner.front(), inner[inner.size() / 2], inner.back(), tol)) return std::nullopt;
    const std::optional<Circle> c = fitCircleThrough(inner, pts_[i], pts_[j]);
    if (!c) return std::nullopt;
    const double sweep = sweepThrough(*c, pts_[i], pts_[(i + j) / 2], pts_[j]);
    if (arcDeviation(inner, *c, pts_[i], sweep) > tol) return std::nullopt;
    return Piece{i, j, true, *c, sweep};
  }

  // The farthest end j from i for which fits(i, j) holds: doubling steps,
  // then halving between the last that fitted and the first that did not.
  template <typename Fits>
  std::size_t farthest(std::size_t i, std::size_t first, Fits fits) const {
    const std::size_t end = pts_.size() - 1;
    if (first > end || !fits(i, first)) return i;
    std::size_t good = first, step = 1;
    std::size_t bad = end + 1;
    while (good < end) {
      const std::size_t next = std::min(end, good + step);
      if (!fits(i, next)) {
        bad = next;
        break;
      }
      good = next;
      step *= 2;
    }
    while (bad - good > 1) {
      const std::size_t mid = good + (bad - good) / 2;
      (fits(i, mid) ? good : bad) = mid;
    }
    return good;
  }

  std::vector<Piece> pieces() const {
    std::vector<Piece> out;
    const std::size_t end = pts_.size() - 1;
    // Grown with the full tolerance, a line runs far into the bend of a
    // fillet and leaves too little of it for an arc; grown with part of it,
    // pieces stop nearer the bends, and merging with the full tolerance
    // joins what the tighter limit cut needlessly.
    const double grow = tol_ * kGrowShare;
    for (std::size_t i = 0; i < end;) {
      const std::size_t lineEnd =
          farthest(i, i + 1, [this, grow](std::size_t a, std::size_t b) { return lineFits(a, b, grow); });
      // A very flat arc fits wherever a line does: an arc is only worth
      // trying from where the line falls clearly short of it, and the end
      // of a straight run is reached with no arc tried at all.
      const std::size_t margin = std::max<std::size_t>(2, (lineEnd - i) / 8);
      const std::size_t arcFrom = std::max(i + kMinArcPixels - 1, lineEnd + margin + 1);
      const std::size_t arcEnd =
          farthest(i, arcFrom, [this, grow](std::size_t a, std::size_t b) { return arc(a, b, grow).has_value(); });
      if (arcEnd > lineEnd + margin) {
        out.push_back(*arc(i, arcEnd, grow));
        i = arcEnd;
      } else {
        out.push_back(linePiece(i, lineEnd));
        i = lineEnd;
      }
    }
    merge(out);
    refine(out);
    return out;
  }

  // Two neighbours as one line, or else as one arc, when that fits.
  std::optional<Piece> joined(const Piece& a, const Piece& b) const {
    if (lineFits(a.first, b.last)) return linePiece(a.first, b.last);
    return arc(a.first, b.last);
  }

 private:
  std::optional<Piece> refit(bool asArc, std::size_t i, std::size_t j) const {
    if (asArc) return arc(i, j);
    double sum = 0.0;
    if (!lineFits(i, j, tol_, &sum)) return std::nullopt;
    Piece p = linePiece(i, j);
    p.residual = sum;
    return p;
  }

  double squaredResidual(const Piece& p) const {
    if (p.residual >= 0.0) return p.residual;
    double sum = 0.0;
    const PathPoint& a = pts_[p.first];
    const PathPoint& b = pts_[p.last];
    const double dx = b.x - a.x, dy = b.y - a.y, len2 = dx * dx + dy * dy;
    for (std::size_t k = p.first; k <= p.last; ++k) {
      if (p.arc) {
        const double e = length(pts_[k].x - p.circle.cx, pts_[k].y - p.circle.cy) - p.circle.radius;
        sum += e * e;
      } else if (len2 > 0.0) {
        const double e = (pts_[k].x - a.x) * dy - (pts_[k].y - a.y) * dx;
        sum += e * e / len2;
      }
    }
    return sum;
  }

  // Growing greedily, a line runs on into the start of the arc after it and
  // an arc into the line after it. Each meeting point next to an arc moves
  // to where the two pieces together stray least from the pixels.
  void refine(std::vector<Piece>& out) const {
    for (std::size_t k = 0; k + 1 < out.size(); ++k) {
      const Piece& a = out[k];
      const Piece& b = out[k + 1];
      if (!a.arc && !b.arc) continue;
      const std::size_t lo =
          std::max(a.first + (a.arc ? kMinArcPixels - 1 : 1), a.last - std::min(a.last, kShiftReach));
      const std::size_t room = b.arc ? kMinArcPixels - 1 : 1;
      const std::size_t hi = std::min(b.last >= room ? b.last - room : 0, a.last + kShiftReach);
      double best = squaredResidual(a) + squaredResidual(b);
      std::optional<std::pair<Piece, Piece>> pick;
      std::size_t at = a.last;
      auto tryAt = [&](std::size_t m) {
        if (m < lo || m > hi || m == a.last) return;
        const std::optional<Piece> na = refit(a.arc, a.first, m);
        if (!na) return;
        const std::optional<Piece> nb = refit(b.arc, m, b.last);
        if (!nb) return;
        const double sum = squaredResidual(*na) + squaredResidual(*nb);
        if (sum < best) best = sum, pick = {*na, *nb}, at = m;
      };
      // Every few pixels first, then every pixel round the best of those.
      for (std::size_t m = lo; m <= hi; m += kShiftStep) tryAt(m);
      const std::size_t coarse = at;
      for (std::size_t m = coarse - std::min(coarse, kShiftStep - 1); m < coarse + kShiftStep; ++m) tryAt(m);
      if (pick) {
        out[k] = pick->first;
        out[k + 1] = pick->second;
      }
    }
  }

  // Neighbours that fit as one line or one arc become one piece.
  void merge(std::vector<Piece>& out) const {
    // An arc grown with part of the tolerance may be a line with all of it.
    for (Piece& p : out) {
      if (p.arc && lineFits(p.first, p.last)) p = linePiece(p.first, p.last);
    }
    // One pass: a piece takes in its next neighbours while they fit.
    for (std::size_t k = 0; k + 1 < out.size();) {
      const std::optional<Piece> one = joined(out[k], out[k + 1]);
      if (!one) {
        ++k;
        continue;
      }
      out[k] = *one;
      out.erase(out.begin() + static_cast<std::ptrdiff_t>(k) + 1);
    }
  }

  std::span<const PathPoint> pts_;
  double tol_;
};

DrawingEntity entityOf(const Piece& p, std::span<const PathPoint> pts) {
  const PathPoint& a = pts[p.first];
  const PathPoint& b = pts[p.last];
  DrawingEntity e = lineEntity(a.x, a.y, b.x, b.y);
  if (p.arc) {
    e.kind = DrawingEntity::Kind::Arc;
    e.cx = p.circle.cx;
    e.cy = p.circle.cy;
    e.radius = p.circle.radius;
    e.sweep = p.sweep;
  }
  return e;
}

}  // namespace

FittedChain fitChain(const PixelChain& chain, double tolerance) {
  FittedChain out;
  std::vector<PathPoint> pts = chain.points;
  if (pts.size() < 2) return out;
  if (!chain.closed) {
    for (const Piece& p : Fitter(pts, tolerance).pieces()) out.pieces.push_back(entityOf(p, pts));
    return out;
  }
  out.closed = true;
  const std::size_t third = pts.size() / 3;
  if (pts.size() >= kMinCirclePixels && roughlyOnCircle(pts, pts[0], pts[third], pts[2 * third], tolerance)) {
    if (const std::optional<Circle> c = fitCircle(pts)) {
      double worst = 0.0;
      for (const PathPoint& p : pts) worst = std::max(worst, std::abs(length(p.x - c->cx, p.y - c->cy) - c->radius));
      if (worst <= tolerance) {
        out.pieces.push_back(circleEntity(c->cx, c->cy, c->radius));
        return out;
      }
    }
  }
  // Round once from the first pixel, then again from the middle of the
  // longest piece, where no two pieces meet; last, the pieces on either side
  // of that seam become one where they fit as one.
  pts.push_back(pts.front());
  std::vector<Piece> pieces = Fitter(pts, tolerance).pieces();
  if (pieces.size() > 1) {
    const auto longest = std::max_element(pieces.begin(), pieces.end(), [](const Piece& l, const Piece& r) {
      return l.last - l.first < r.last - r.first;
    });
    pts.pop_back();
    std::rotate(pts.begin(), pts.begin() + static_cast<std::ptrdiff_t>((longest->first + longest->last) / 2),
                pts.end());
    pts.push_back(pts.front());
    pieces = Fitter(pts, tolerance).pieces();
  }
  if (pieces.size() > 2) {
    const std::size_t n = pts.size() - 1, seam = pieces.back().first;
    pts.pop_back();
    std::rotate(pts.begin(), pts.begin() + static_cast<std::ptrdiff_t>(seam), pts.end());
    pts.push_back(pts.front());
    // The last piece, from the seam to the closing pixel, now comes first.
    std::rotate(pieces.begin(), pieces.end() - 1, pieces.end());
    pieces[0].first = 0;
    pieces[0].last = n - seam;
    for (std::size_t k = 1; k < pieces.size(); ++k) {
      pieces[k].first += n - seam;
      pieces[k].last += n - seam;
    }
    if (const std::optional<Piece> one = Fitter(pts, tolerance).joined(pieces[0], pieces[1])) {
      pieces[1] = *one;
      pieces.erase(pieces.begin());
    }
  }
  for (const Piece& p : pieces) out.pieces.push_back(entityOf(p, pts));
  return out;
}

std::vector<FittedChain> fitDrawing(const RecordTable& LineTable, double tolerance) {
  std::vector<FittedChain> out;
  JoinLimits limits;
  limits.tolerance = tolerance;
  for (const PixelChain& chain : joinThroughJunctions(chainsOf(LineTable), limits)) {
    FittedChain fitted = fitChain(chain, tolerance);
    if (!fitted.pieces.empty()) out.push_back(std::move(fitted));
  }
  return out;
}

}  // namespace quern
