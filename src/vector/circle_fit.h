#pragma once

#include <cmath>
#include <optional>
#include <span>

#include "base/drawing_paths.h"

namespace quern {

// The length of (dx, dy). std::hypot guards against overflow at a cost
// several times a square root's, which pixel coordinates never need.
inline double length(double dx, double dy) {
  return std::sqrt(dx * dx + dy * dy);
}

struct Circle {
  double cx = 0.0, cy = 0.0, radius = 0.0;
};

// The circle nearest to the points in the sense of their distances from it:
// an algebraic fit (least squares on x^2 + y^2 + Dx + Ey + F) gives the
// start, a few Gauss-Newton steps on the true distances refine it, which
// takes out the algebraic fit's pull towards small radii on noisy pixels.
// Nothing for fewer than three points or points on a straight line.
std::optional<Circle> fitCircle(std::span<const PathPoint> points);

// The best circle that passes exactly through a and b, so that arcs fitted
// piece by piece meet end to end: its centre lies on the perpendicular
// bisector of ab, and one parameter is refined the same way. Nothing when a
// and b coincide or the points give no bend.
std::optional<Circle> fitCircleThrough(std::span<const PathPoint> points, const PathPoint& a, const PathPoint& b);

// The signed angle from a to b round c that passes by `via` (positive from
// +x towards +y), in (-2 pi, 2 pi).
double sweepThrough(const Circle& c, const PathPoint& a, const PathPoint& via, const PathPoint& b);

// The largest distance of a point from the arc of c that starts at a (on
// the circle) and turns by sweep.
double arcDeviation(std::span<const PathPoint> points, const Circle& c, const PathPoint& a, double sweep);

}  // namespace quern
