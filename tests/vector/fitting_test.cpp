#include "vector/fitting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>

#include "traced_sheet.h"

namespace quern {
namespace {

using Kind = DrawingEntity::Kind;
using testing::Sheet;
using testing::tracedChains;

double segmentDistance(double px, double py, const PathPoint& a, const PathPoint& b) {
  const double dx = b.x - a.x, dy = b.y - a.y, len2 = dx * dx + dy * dy;
  const double t = len2 > 0 ? std::clamp(((px - a.x) * dx + (py - a.y) * dy) / len2, 0.0, 1.0) : 0.0;
  return std::hypot(px - a.x - t * dx, py - a.y - t * dy);
}

// Points along an entity, every quarter pixel or so.
std::vector<PathPoint> samples(const DrawingEntity& e) {
  std::vector<PathPoint> out;
  const double length = e.kind == Kind::Line ? std::hypot(e.x2 - e.x1, e.y2 - e.y1) : std::abs(e.sweep) * e.radius;
  const int n = std::max(2, static_cast<int>(length * 4));
  for (int k = 0; k <= n; ++k) {
    const double t = static_cast<double>(k) / n;
    if (e.kind == Kind::Line) {
      out.push_back({static_cast<float>(e.x1 + t * (e.x2 - e.x1)), static_cast<float>(e.y1 + t * (e.y2 - e.y1))});
    } else {
      const double a = e.startAngle() + t * e.sweep;
      out.push_back(
          {static_cast<float>(e.cx + e.radius * std::cos(a)), static_cast<float>(e.cy + e.radius * std::sin(a))});
    }
  }
  return out;
}

// The farthest any point of any entity lies from the traced centre line,
// the chains' one-pixel segments as chain assembly left them.
double worstDeviation(const std::vector<FittedChain>& fitted, const RecordTable& LineTable) {
  std::vector<std::pair<PathPoint, PathPoint>> traced;
  for (const PixelChain& c : chainsOf(LineTable)) {
    for (std::size_t k = 0; k + 1 < c.points.size(); ++k) traced.emplace_back(c.points[k], c.points[k + 1]);
    if (c.points.size() == 1) traced.emplace_back(c.points[0], c.points[0]);
  }
  double worst = 0.0;
  for (const FittedChain& chain : fitted) {
    for (const DrawingEntity& e : chain.pieces) {
      for (const PathPoint& p : samples(e)) {
        double nearest = std::numeric_limits<double>::infinity();
        for (const auto& [a, b] : traced) nearest = std::min(nearest, segmentDistance(p.x, p.y, a, b));
        worst = std::max(worst, nearest);
      }
    }
  }
  return worst;
}

std::vector<DrawingEntity> entitiesOf(const std::vector<FittedChain>& fitted, Kind kind) {
  std::vector<DrawingEntity> out;
  for (const FittedChain& c : fitted) {
    for (const DrawingEntity& e : c.pieces) {
      if (e.kind == kind) out.push_back(e);
    }
  }
  return out;
}

std::size_t entityCount(const std::vector<FittedChain>& fitted) {
  std::size_t n = 0;
  for (const FittedChain& c : fitted) n += c.pieces.size();
  return n;
}

// The deviation check every traced case ends with: a little past the
// tolerance is allowed where a joined line bridges the junction's pixels.
void expectCloseToTrace(const std::vector<FittedChain>& fitted, const RecordTable& LineTable) {
  EXPECT_LE(worstDeviation(fitted, LineTable), kDefaultFitTolerance + 1e-3);
}

TEST(FitDrawing, TracedCirclesAreOneCircleWithTheirCentreAndRadius) {
  struct Case {
    double radius, width;
  };
  const Case cases[] = {{12, 1}, {20, 3}, {35, 1}, {35, 3}, {60, 5}, {100, 8}, {150, 2}};
  for (const Case& c : cases) {
    SCOPED_TRACE("radius " + std::to_string(c.radius) + ", width " + std::to_string(c.width));
    const int side = static_cast<int>(2 * c.radius + 3 * c.width + 20);
    const double cx = side / 2.0 + 0.3, cy = side / 2.0 - 0.4;
    Sheet sheet(side, side);
    sheet.circle(cx, cy, c.radius, c.width);
    const RecordTable chains = tracedChains(sheet.picture());
    const std::vector<FittedChain> fitted = fitDrawing(chains, kDefaultFitTolerance);
    ASSERT_EQ(entityCount(fitted), 1U);
    const std::vector<DrawingEntity> circles = entitiesOf(fitted, Kind::Circle);
    ASSERT_EQ(circles.size(), 1U);
    EXPECT_LE(std::hypot(circles[0].cx - cx, circles[0].cy - cy), 1.0);
    EXPECT_LE(std::abs(circles[0].radius - c.radius), std::max(0.5, 0.01 * c.radius));
    expectCloseToTrace(fitted, chains);
  }
}

// Lines that cross or meet others come out whole, one LINE each, from end
// to end, however the chaining cut them at the junction; a circle a line
// crosses stays one CIRCLE. Lines that meet nothing, or meet only at a
// corner, are not joined: a gap between two free ends is a gap in the drawing.
TEST(FitDrawing, CrossedAndTouchedLinesAreOneLineEachAndGapsStay) {
  struct Case {
    const char* name;
    std::vector<std::array<double, 4>> lines;
    std::vector<std::array<double, 3>> circles = {};
    double widest = 5;  // a 5-pixel line crossing a circle breaks it up
  };
  const Case cases[] = {
      {"plus", {{20, 80, 140, 80}, {80, 20, 80, 140}}},
      {"tee", {{20, 30, 140, 30}, {80, 30, 80, 140}}},
      {"cross at a slant", {{20, 20, 140, 140}, {20, 140, 140, 20}}},
      {"shallow cross", {{20, 60, 140, 100}, {20, 100, 140, 60}}},
      {"grid", {{20, 40, 140, 40}, {20, 80, 140, 80}, {20, 120, 140, 120}, {40, 20, 40, 140}, {100, 20, 100, 140}}},
      {"dashes in a row", {{20, 80, 70, 80}, {78, 80, 140, 80}}},
      // The gap lies over the other line's pixels, but the dashes do not touch it.
      {"dashes either side of a line", {{20, 80, 76, 80}, {84, 80, 140, 80}, {80, 20, 80, 140}}, {}, 3},
      {"a corner", {{20, 20, 120, 20}, {120, 20, 120, 140}}},
      {"close parallels", {{20, 60, 140, 60}, {20, 66, 140, 66}}},
      {"a circle crossed by a line", {{20, 100, 180, 100}}, {{100.4, 99.7, 50}}, 3},
  };
  for (const double width : {1.0, 3.0, 5.0}) {
    for (const Case& c : cases) {
      if (width > c.widest) continue;
      SCOPED_TRACE(std::string(c.name) + ", width " + std::to_string(width));
      Sheet sheet(200, 200);
      for (const auto& l : c.lines) sheet.line(l[0], l[1], l[2], l[3], width);
      for (const auto& o : c.circles) sheet.circle(o[0], o[1], o[2], width);
      const RecordTable chains = tracedChains(sheet.picture());
      const std::vector<FittedChain> fitted = fitDrawing(chains, kDefaultFitTolerance);
      const std::vector<DrawingEntity> lines = entitiesOf(fitted, Kind::Line);
      EXPECT_EQ(entityCount(fitted), c.lines.size() + c.circles.size());
      EXPECT_EQ(entitiesOf(fitted, Kind::Circle).size(), c.circles.size());
      ASSERT_EQ(lines.size(), c.lines.size());
      // Each true line has a fitted one whose ends lie near its ends.
      for (const auto& l : c.lines) {
        const bool found = std::any_of(lines.begin(), lines.end(), [&](const DrawingEntity& e) {
          const double near = width + 2.0;
          const bool same = std::hypot(e.x1 - l[0], e.y1 - l[1]) < near && std::hypot(e.x2 - l[2], e.y2 - l[3]) < near;
          const bool turned =
              std::hypot(e.x1 - l[2], e.y1 - l[3]) < near && std::hypot(e.x2 - l[0], e.y2 - l[1]) < near;
          return same || turned;
        });
        EXPECT_TRUE(found) << l[0] << "," << l[1] << " to " << l[2] << "," << l[3];
      }
      expectCloseToTrace(fitted, chains);
    }
  }
}

// A rounded rectangle: four lines and four quarter arcs of the corner
// radius, one closed run.
TEST(FitDrawing, RoundedRectangleIsFourLinesAndFourQuarterArcs) {
  for (const double width : {1.0, 3.0}) {
    for (const double r : {20.0, 30.0}) {
      SCOPED_TRACE("width " + std::to_string(width) + ", corner radius " + std::to_string(r));
      const double l = 30, t = 30, rt = 200, b = 150;
      Sheet sheet(230, 180);
      sheet.line(l + r, t, rt - r, t, width);
      sheet.line(rt, t + r, rt, b - r, width);
      sheet.line(rt - r, b, l + r, b, width);
      sheet.line(l, b - r, l, t + r, width);
      sheet.arc(rt - r, t + r, r, 270, 360, width);
      sheet.arc(rt - r, b - r, r, 0, 90, width);
      sheet.arc(l + r, b - r, r, 90, 180, width);
      sheet.arc(l + r, t + r, r, 180, 270, width);
      const RecordTable chains = tracedChains(sheet.picture());
      const std::vector<FittedChain> fitted = fitDrawing(chains, kDefaultFitTolerance);
      ASSERT_EQ(fitted.size(), 1U);
      EXPECT_TRUE(fitted[0].closed);
      const std::vector<DrawingEntity> arcs = entitiesOf(fitted, Kind::Arc);
      EXPECT_EQ(entitiesOf(fitted, Kind::Line).size(), 4U);
      ASSERT_EQ(arcs.size(), 4U);
      for (const DrawingEntity& a : arcs) {
        EXPECT_NEAR(std::abs(a.sweep) * 180 / std::numbers::pi, 90.0, 30.0);
        EXPECT_NEAR(a.radius, r, 0.2 * r);
      }
      expectCloseToTrace(fitted, chains);
    }
  }
}

double entityDistance(const DrawingEntity& e, double x, double y) {
  if (e.kind == Kind::Line) {
    return segmentDistance(x, y, {static_cast<float>(e.x1), static_cast<float>(e.y1)},
                           {static_cast<float>(e.x2), static_cast<float>(e.y2)});
  }
  const double radial = std::abs(std::hypot(x - e.cx, y - e.cy) - e.radius);
  if (e.kind == Kind::Circle) return radial;
  double turned = std::atan2(y - e.cy, x - e.cx) - e.startAngle();
  if (e.sweep < 0) turned = -turned;
  turned = std::fmod(turned + 4 * std::numbers::pi, 2 * std::numbers::pi);
  if (turned <= std::abs(e.sweep)) return radial;
  return std::min(std::hypot(x - e.x1, y - e.y1), std::hypot(x - e.x2, y - e.y2));
}

// Random wandering pixel chains, open and closed: the pieces meet end to
// end (and close where the chain does), and every pixel lies within the
// tolerance of a piece, whatever the tolerance.
TEST(FitChain, RandomCurvesAreFittedEndToEndWithinTheTolerance) {
  std::mt19937 rng(20261124);
  std::uniform_real_distribution<double> turn(-0.25, 0.25);
  for (int trial = 0; trial < 300; ++trial) {
    SCOPED_TRACE(trial);
    PixelChain chain;
    double x = 200, y = 200, heading = turn(rng) * 20;
    const int steps = 3 + static_cast<int>(rng() % 400);
    const double bend = trial % 3 == 0 ? 0.0 : turn(rng) * 0.2;  // straight, or curling
    for (int k = 0; k < steps; ++k) {
      chain.points.push_back({static_cast<float>(std::lround(x)), static_cast<float>(std::lround(y))});
      heading += bend + (trial % 2 == 0 ? turn(rng) * 0.3 : 0.0);
      x += std::cos(heading);
      y += std::sin(heading);
    }
    chain.points.erase(std::unique(chain.points.begin(), chain.points.end()), chain.points.end());
    chain.closed = trial % 4 <= 1 && chain.points.size() >= 8;
    const double tolerance = trial % 5 == 0 ? 0.75 : kDefaultFitTolerance;
    const FittedChain fitted = fitChain(chain, tolerance);
    ASSERT_FALSE(fitted.pieces.empty());
    EXPECT_EQ(fitted.closed, chain.closed);
    const std::vector<DrawingEntity>& run = fitted.pieces;
    for (std::size_t k = 0; k + 1 < run.size(); ++k) {
      EXPECT_EQ(run[k].x2, run[k + 1].x1);
      EXPECT_EQ(run[k].y2, run[k + 1].y1);
    }
    if (chain.closed && run[0].kind != Kind::Circle) {
      EXPECT_EQ(run.back().x2, run.front().x1);
      EXPECT_EQ(run.back().y2, run.front().y1);
    }
    // Lines and arcs start and end on pixels of the chain.
    for (const DrawingEntity& e : run) {
      if (e.kind == Kind::Circle) continue;
      for (const auto& [x, y] : {std::pair{e.x1, e.y1}, std::pair{e.x2, e.y2}}) {
        const PathPoint end{static_cast<float>(x), static_cast<float>(y)};
        EXPECT_NE(std::find(chain.points.begin(), chain.points.end(), end), chain.points.end()) << x << "," << y;
      }
    }
    for (const PathPoint& p : chain.points) {
      double nearest = std::numeric_limits<double>::infinity();
      for (const DrawingEntity& e : run) nearest = std::min(nearest, entityDistance(e, p.x, p.y));
      EXPECT_LE(nearest, tolerance + 1e-6) << p.x << "," << p.y;
    }
  }
}

}  // namespace
}  // namespace quern
