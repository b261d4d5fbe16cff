#include "vector/circle_fit.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace quern {

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;
constexpr int kRefineSteps = 12;
// Past this radius a bend is no bend at pixel scale.
constexpr double kLargestRadius = 1e7;

double around(double a) {
  a = std::fmod(a, kTwoPi);
  return a < 0.0 ? a + kTwoPi : a;
}

double angleOf(const Circle& c, const PathPoint& p) {
  return std::atan2(p.y - c.cy, p.x - c.cx);
}

}  // namespace

std::optional<Circle> fitCircle(std::span<const PathPoint> points) {
  const std::size_t n = points.size();
  if (n < 3) return std::nullopt;
  double mx = 0.0, my = 0.0;
  for (const PathPoint& p : points) mx += p.x, my += p.y;
  mx /= static_cast<double>(n);
  my /= static_cast<double>(n);
  // Centred sums keep the normal equations well conditioned far from the origin.
  double suu = 0, svv = 0, suv = 0, suz = 0, svz = 0, sz = 0;
  for (const PathPoint& p : points) {
    const double u = p.x - mx, v = p.y - my, z = u * u + v * v;
    suu += u * u, svv += v * v, suv += u * v, suz += u * z, svz += v * z, sz += z;
  }
  const double det = suu * svv - suv * suv;
  if (!(std::abs(det) > 1e-9 * (suu + svv) * (suu + svv))) return std::nullopt;
  const double d = -(suz * svv - svz * suv) / det;
  const double e = -(svz * suu - suz * suv) / det;
  const double f = -sz / static_cast<double>(n);
  Circle c{mx - d / 2.0, my - e / 2.0, std::sqrt(d * d / 4.0 + e * e / 4.0 - f)};
  for (int step = 0; step < kRefineSteps; ++step) {
    // Normal equations of the distances' residuals in (cx, cy, r).
    double a[3][3] = {}, g[3] = {};
    for (const PathPoint& p : points) {
      const double dx = p.x - c.cx, dy = p.y - c.cy, dist = length(dx, dy);
      if (dist == 0.0) continue;
      const double j[3] = {-dx / dist, -dy / dist, -1.0};
      const double res = dist - c.radius;
      for (int r = 0; r < 3; ++r) {
        g[r] += j[r] * res;
        for (int k = 0; k < 3; ++k) a[r][k] += j[r] * j[k];
      }
    }
    const double det3 = a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
                        a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
                        a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
    if (std::abs(det3) < 1e-12) break;
    double delta[3];
    for (int k = 0; k < 3; ++k) {
      double m[3][3];
      for (int r = 0; r < 3; ++r) {
        for (int q = 0; q < 3; ++q) m[r][q] = q == k ? g[r] : a[r][q];
      }
      delta[k] =
          (m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0])) /
          det3;
    }
    c.cx -= delta[0];
    c.cy -= delta[1];
    c.radius -= delta[2];
    if (std::abs(delta[0]) + std::abs(delta[1]) + std::abs(delta[2]) < 1e-5) break;
  }
  if (!(c.radius > 0.0 && c.radius < kLargestRadius)) return std::nullopt;
  return c;
}

std::optional<Circle> fitCircleThrough(std::span<const PathPoint> points, const PathPoint& a, const PathPoint& b) {
  const double chord = length(b.x - a.x, b.y - a.y);
  if (chord < 1e-9 || points.size() < 3) return std::nullopt;
  const double mx = (a.x + b.x) / 2.0, my = (a.y + b.y) / 2.0;
  const double nx = -(b.y - a.y) / chord, ny = (b.x - a.x) / chord;
  const double half2 = chord * chord / 4.0;
  // Start from the circle through a, b and the middle point.
  const PathPoint& mid = points[points.size() / 2];
  const double side = nx * (mx - mid.x) + ny * (my - mid.y);
  if (std::abs(side) < 1e-9) return std::nullopt;
  const double midDist2 = (mx - mid.x) * (mx - mid.x) + (my - mid.y) * (my - mid.y);
  double t = (half2 - midDist2) / (2.0 * side);
  for (int step = 0; step < kRefineSteps; ++step) {
    const double cx = mx + t * nx, cy = my + t * ny, r = std::sqrt(half2 + t * t);
    double jj = 0.0, jr = 0.0;
    for (const PathPoint& p : points) {
      const double dx = p.x - cx, dy = p.y - cy, dist = length(dx, dy);
      if (dist == 0.0) continue;
      const double j = -(nx * dx + ny * dy) / dist - t / r;
      jj += j * j;
      jr += j * (dist - r);
    }
    if (jj < 1e-300) break;
    const double delta = jr / jj;
    t -= delta;
    // A ten-thousandth of a pixel is past anything a drawing shows.
    if (std::abs(delta) < 1e-4) break;
  }
  const Circle c{mx + t * nx, my + t * ny, std::sqrt(half2 + t * t)};
  if (!(c.radius < kLargestRadius)) return std::nullopt;
  return c;
}

double sweepThrough(const Circle& c, const PathPoint& a, const PathPoint& via, const PathPoint& b) {
  const double start = angleOf(c, a);
  const double toEnd = around(angleOf(c, b) - start);
  const double toVia = around(angleOf(c, via) - start);
  return toVia <= toEnd ? toEnd : toEnd - kTwoPi;
}

double arcDeviation(std::span<const PathPoint> points, const Circle& c, const PathPoint& a, double sweep) {
  // The chord cuts the circle into the arc and the rest, one each side: a
  // point whose foot on the circle lies on the side of the arc's middle is
  // as far from the arc as from the circle, any other as far as from the
  // nearer end. This spares an arc tangent for every point.
  const double start = angleOf(c, a);
  const double endAngle = start + sweep, middle = start + sweep / 2.0;
  const double ax = c.cx + c.radius * std::cos(start), ay = c.cy + c.radius * std::sin(start);
  const double bx = c.cx + c.radius * std::cos(endAngle), by = c.cy + c.radius * std::sin(endAngle);
  const double mx = c.cx + c.radius * std::cos(middle), my = c.cy + c.radius * std::sin(middle);
  double nx = -(by - ay), ny = bx - ax;
  if ((mx - ax) * nx + (my - ay) * ny < 0.0) nx = -nx, ny = -ny;
  double worst = 0.0;
  for (const PathPoint& p : points) {
    const double dx = p.x - c.cx, dy = p.y - c.cy, dist = length(dx, dy);
    const double fx = dist > 0.0 ? c.cx + c.radius * dx / dist : mx, fy = dist > 0.0 ? c.cy + c.radius * dy / dist : my;
    const bool onArc = (fx - ax) * nx + (fy - ay) * ny >= 0.0;
    worst = std::max(
        worst, onArc ? std::abs(dist - c.radius) : std::min(length(p.x - ax, p.y - ay), length(p.x - bx, p.y - by)));
  }
  return worst;
}

}  // namespace quern
