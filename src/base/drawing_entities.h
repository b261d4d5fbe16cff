#pragma once

#include <cmath>
#include <numbers>
#include <vector>

namespace quern {

// A primitive of a fitted drawing, in pixels of the thinned picture with y
// down, as the tables hold them. Angles are therefore measured from +x
// towards +y (clockwise on the screen); the writers turn them for y up.
struct DrawingEntity {
  enum class Kind { Line, Arc, Circle };
  Kind kind = Kind::Line;
  // A line runs from start to end; so does an arc, round the centre.
  double x1 = 0.0, y1 = 0.0, x2 = 0.0, y2 = 0.0;
  double cx = 0.0, cy = 0.0, radius = 0.0;  // arc and circle
  double sweep = 0.0;                       // arc: signed angle from start to end, radians

  double startAngle() const { return std::atan2(y1 - cy, x1 - cx); }
};

// The primitives of one centre line, each starting where the one before it
// ended; closed when the last ends where the first starts. A circle stands
// alone in its chain.
struct FittedChain {
  std::vector<DrawingEntity> pieces;
  bool closed = false;
};

inline DrawingEntity lineEntity(double x1, double y1, double x2, double y2) {
  DrawingEntity e;
  e.x1 = x1;
  e.y1 = y1;
  e.x2 = x2;
  e.y2 = y2;
  return e;
}

inline DrawingEntity circleEntity(double cx, double cy, double radius) {
  DrawingEntity e;
  e.kind = DrawingEntity::Kind::Circle;
  e.cx = cx;
  e.cy = cy;
  e.radius = radius;
  e.x1 = e.x2 = cx + radius;
  e.y1 = e.y2 = cy;
  e.sweep = 2.0 * std::numbers::pi;
  return e;
}

// The radian angle in degrees, brought into [0, 360).
inline double degreesAround(double radians) {
  double d = std::fmod(radians * 180.0 / std::numbers::pi, 360.0);
  if (d < 0.0) d += 360.0;
  if (d >= 360.0) d -= 360.0;
  return d;
}

}  // namespace quern
