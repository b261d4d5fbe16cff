#include "sheet_score.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace quern::tools {

namespace {

constexpr double kCell = 4.0;  // grid cell side, and the longest piece a cell keeps

// Points along each polyline, about one per pixel, ends included.
std::vector<SheetPoint> samplePoints(const std::vector<SheetPolyline>& lines) {
  std::vector<SheetPoint> points;
  for (const SheetPolyline& line : lines) {
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
      const SheetPoint a = line[i];
      const SheetPoint b = line[i + 1];
      const int steps = std::max(1, static_cast<int>(std::ceil(std::hypot(b.x - a.x, b.y - a.y))));
      for (int k = 0; k < steps; ++k) {
        const double t = static_cast<double>(k) / steps;
        points.push_back({a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t});
      }
    }
    if (!line.empty()) points.push_back(line.back());
  }
  return points;
}

double distanceToPiece(SheetPoint p, SheetPoint a, SheetPoint b) {
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double lengthSquared = dx * dx + dy * dy;
  double t = 0.0;
  if (lengthSquared > 0.0) t = std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / lengthSquared, 0.0, 1.0);
  return std::hypot(p.x - (a.x + t * dx), p.y - (a.y + t * dy));
}

// The lines of one side cut into pieces no longer than a cell, each filed
// under the cell of its middle: a piece within `tolerance` of a point then
// has its middle within tolerance + half a cell of it.
class PieceGrid {
 public:
  PieceGrid(const std::vector<SheetPolyline>& lines, double tolerance) : tolerance_(tolerance) {
    for (const SheetPolyline& line : lines) {
      if (line.size() == 1) pieces_.push_back({line[0], line[0]});
      for (std::size_t i = 0; i + 1 < line.size(); ++i) {
        const SheetPoint a = line[i];
        const SheetPoint b = line[i + 1];
        const int cuts = std::max(1, static_cast<int>(std::ceil(std::hypot(b.x - a.x, b.y - a.y) / kCell)));
        for (int k = 0; k < cuts; ++k) {
          const double t0 = static_cast<double>(k) / cuts;
          const double t1 = static_cast<double>(k + 1) / cuts;
          pieces_.push_back(
              {{a.x + (b.x - a.x) * t0, a.y + (b.y - a.y) * t0}, {a.x + (b.x - a.x) * t1, a.y + (b.y - a.y) * t1}});
        }
      }
    }
    double minX = std::numeric_limits<double>::max();
    double minY = minX;
    double maxX = std::numeric_limits<double>::lowest();
    double maxY = maxX;
    for (const Piece& p : pieces_) {
      const SheetPoint m = p.middle();
      minX = std::min(minX, m.x);
      minY = std::min(minY, m.y);
      maxX = std::max(maxX, m.x);
      maxY = std::max(maxY, m.y);
    }
    if (pieces_.empty()) return;
    originX_ = minX;
    originY_ = minY;
    columns_ = static_cast<long long>((maxX - minX) / kCell) + 1;
    rows_ = static_cast<long long>((maxY - minY) / kCell) + 1;
    // Filed as one array sorted by cell, with where each cell starts.
    starts_.assign(static_cast<std::size_t>(columns_ * rows_ + 1), 0);
    for (const Piece& p : pieces_) ++starts_[static_cast<std::size_t>(cellOf(p.middle())) + 1];
    for (std::size_t i = 1; i < starts_.size(); ++i) starts_[i] += starts_[i - 1];
    filed_.resize(pieces_.size());
    std::vector<std::size_t> next(starts_.begin(), starts_.end() - 1);
    for (const Piece& p : pieces_) filed_[next[static_cast<std::size_t>(cellOf(p.middle()))]++] = p;
  }

  bool near(SheetPoint p) const {
    if (pieces_.empty()) return false;
    const auto reach = static_cast<long long>(std::ceil((tolerance_ + kCell / 2.0) / kCell));
    const auto cx = static_cast<long long>(std::floor((p.x - originX_) / kCell));
    const auto cy = static_cast<long long>(std::floor((p.y - originY_) / kCell));
    for (long long y = std::max(0LL, cy - reach); y <= std::min(rows_ - 1, cy + reach); ++y) {
      for (long long x = std::max(0LL, cx - reach); x <= std::min(columns_ - 1, cx + reach); ++x) {
        const auto cell = static_cast<std::size_t>(y * columns_ + x);
        for (std::size_t i = starts_[cell]; i < starts_[cell + 1]; ++i) {
          if (distanceToPiece(p, filed_[i].a, filed_[i].b) <= tolerance_) return true;
        }
      }
    }
    return false;
  }

 private:
  struct Piece {
    SheetPoint a;
    SheetPoint b;
    SheetPoint middle() const { return {(a.x + b.x) / 2.0, (a.y + b.y) / 2.0}; }
  };

  long long cellOf(SheetPoint m) const {
    return static_cast<long long>((m.y - originY_) / kCell) * columns_ +
           static_cast<long long>((m.x - originX_) / kCell);
  }

  double tolerance_;
  std::vector<Piece> pieces_;
  std::vector<Piece> filed_;
  std::vector<std::size_t> starts_;
  double originX_ = 0.0;
  double originY_ = 0.0;
  long long columns_ = 0;
  long long rows_ = 0;
};

}  // namespace

TraceScore scoreTrace(const std::vector<SheetPolyline>& truth, const std::vector<SheetPolyline>& traced,
                      const std::vector<SheetBox>& leftOut, double tolerance) {
  const PieceGrid truthGrid(truth, tolerance);
  const PieceGrid tracedGrid(traced, tolerance);
  TraceScore score;
  long long tracedNear = 0;
  for (const SheetPoint p : samplePoints(traced)) {
    if (std::any_of(leftOut.begin(), leftOut.end(), [&](const SheetBox& b) { return b.contains(p); })) continue;
    ++score.tracedPoints;
    if (truthGrid.near(p)) ++tracedNear;
  }
  long long truthFound = 0;
  for (const SheetPoint p : samplePoints(truth)) {
    ++score.truthPoints;
    if (tracedGrid.near(p)) ++truthFound;
  }
  // An empty side has nothing wrong in it: a blank trace is precise and finds nothing.
  score.precision = score.tracedPoints ? static_cast<double>(tracedNear) / score.tracedPoints : 1.0;
  score.recall = score.truthPoints ? static_cast<double>(truthFound) / score.truthPoints : 1.0;
  return score;
}

}  // namespace quern::tools
