#include <algorithm>
#include <cmath>
#include <string>

#include "base/errors.h"
#include "surface/picture_box.h"

namespace quern {

void PictureBox::plot(Int32 x, Int32 y, Colour pen) {
  if (x < 0 || y < 0 || x >= innerW_ || y >= innerH_) return;
  Colour& d = bitmap_[static_cast<std::size_t>(y) * innerW_ + x];  // callers made the bitmap their own
  switch (DrawMode) {
    case 1:  // blackness
      d = 0;
      break;
    case 6:  // invert
      d = ~d & 0xFFFFFF;
      break;
    case 7:  // xor pen
      d = (d ^ pen) & 0xFFFFFF;
      break;
    case 9:  // mask pen
      d = d & pen;
      break;
    case 11:  // no operation
      break;
    case 15:  // merge pen
      d = (d | pen) & 0xFFFFFF;
      break;
    case 16:  // whiteness
      d = 0xFFFFFF;
      break;
    default:  // 13, copy pen
      d = pen;
      break;
  }
}

// One point of the pen: a single pixel, or a round dot DrawWidth pixels across.
void PictureBox::dot(Int32 x, Int32 y, Colour pen) {
  if (DrawWidth <= 1) {
    plot(x, y, pen);
    return;
  }
  const double r = DrawWidth / 2.0;
  const Int32 lo = -static_cast<Int32>(std::floor(r));
  const Int32 hi = DrawWidth + lo - 1;
  for (Int32 dy = lo; dy <= hi; ++dy) {
    for (Int32 dx = lo; dx <= hi; ++dx) {
      if ((dx + 0.5 - (hi + lo + 1) / 2.0) * (dx + 0.5 - (hi + lo + 1) / 2.0) +
              (dy + 0.5 - (hi + lo + 1) / 2.0) * (dy + 0.5 - (hi + lo + 1) / 2.0) <=
          r * r + 0.5) {
        plot(x + dx, y + dy, pen);
      }
    }
  }
}

void PictureBox::PSet(float x, float y, std::optional<Colour> colour) {
  const Colour pen = resolveColour(colour.value_or(ForeColor));
  mutableBits();
  dot(roundToInt32(toPixelX(x)), roundToInt32(toPixelY(y)), pen);
  CurrentX = x;
  CurrentY = y;
  touch();
}

void PictureBox::Line(float x1, float y1, float x2, float y2, std::optional<Colour> colour) {
  const Colour pen = resolveColour(colour.value_or(ForeColor));
  // The scale looked up once for both ends, as toPixelX and toPixelY divide.
  const double ux = unitsPerPixelX(scaleMode_);
  const double uy = unitsPerPixelY(scaleMode_);
  const Int32 ax = roundToInt32(x1 / ux);
  const Int32 ay = roundToInt32(y1 / uy);
  const Int32 bx = roundToInt32(x2 / ux);
  const Int32 by = roundToInt32(y2 / uy);
  if (stroke(ax, ay, bx, by, pen)) touch();
  CurrentX = x2;
  CurrentY = y2;
}

template <typename Draw>
std::pair<float, float> PictureBox::eachLine(std::span<const float> ends, Draw draw) const {
  const double ux = unitsPerPixelX(scaleMode_);
  const double uy = unitsPerPixelY(scaleMode_);
  // A line that starts where the last one ended takes that end's pixel
  // rather than working it out again.
  float lastX = 0.0F;
  float lastY = 0.0F;
  Int32 bx = 0;
  Int32 by = 0;
  for (std::size_t i = 0; i + 4 <= ends.size(); i += 4) {
    const bool joined = i > 0 && ends[i] == lastX && ends[i + 1] == lastY;
    const Int32 ax = joined ? bx : roundToInt32(ends[i] / ux);
    const Int32 ay = joined ? by : roundToInt32(ends[i + 1] / uy);
    lastX = ends[i + 2];
    lastY = ends[i + 3];
    bx = roundToInt32(lastX / ux);
    by = roundToInt32(lastY / uy);
    if (!beyondBitmap(ax, ay, bx, by)) draw(ax, ay, bx, by);
  }
  return {lastX, lastY};
}

void PictureBox::Lines(std::span<const float> ends, std::optional<Colour> colour) {
  const Colour pen = resolveColour(colour.value_or(ForeColor));
  // A plain pen's lines are drawn here, with the bitmap made this box's own
  // at the first line drawn.
  const bool plain = plainPen();
  Colour* bits = nullptr;
  bool drawn = false;
  const auto [lastX, lastY] = eachLine(ends, [&](Int32 ax, Int32 ay, Int32 bx, Int32 by) {
    if (!plain) {
      drawn = stroke(ax, ay, bx, by, pen) || drawn;
      return;
    }
    if (!bits) bits = mutableBits();
    plainStroke(bits, ax, ay, bx, by, pen);
    drawn = true;
  });
  if (ends.size() >= 4) {
    CurrentX = lastX;
    CurrentY = lastY;
  }
  if (drawn) touch();
}

// A line wholly beyond one edge of the bitmap draws nothing; skipping it
// keeps far-off coordinates from costing a loop over every pixel between.
bool PictureBox::beyondBitmap(Int32 ax, Int32 ay, Int32 bx, Int32 by) const {
  const Int32 reach = DrawWidth;
  return std::max(ax, bx) < -reach || std::min(ax, bx) >= innerW_ + reach || std::max(ay, by) < -reach ||
         std::min(ay, by) >= innerH_ + reach;
}

namespace {

// Both end points are drawn, so that a polyline has no gaps at its corners.
template <typename Put>
[[gnu::always_inline]] inline void bresenham(Int32 ax, Int32 ay, Int32 bx, Int32 by, Put put) {
  const Int32 dx = std::abs(bx - ax);
  const Int32 dy = -std::abs(by - ay);
  // A line within a pixel of its start is its two ends, as the steps below
  // would find: most of a shrunk drawing's lines are, and take no loop.
  if (dx <= 1 && dy >= -1) {
    put(ax, ay);
    if (dx != 0 || dy != 0) put(bx, by);
    return;
  }
  const Int32 sx = ax < bx ? 1 : -1;
  const Int32 sy = ay < by ? 1 : -1;
  long long err = static_cast<long long>(dx) + dy;
  for (;;) {
    put(ax, ay);
    if (ax == bx && ay == by) break;
    const long long e2 = 2 * err;
    if (e2 >= dy) {
      err += dy;
      ax += sx;
    }
    if (e2 <= dx) {
      err += dx;
      ay += sy;
    }
  }
}

}  // namespace

void PictureBox::plainStroke(Colour* bits, Int32 ax, Int32 ay, Int32 bx, Int32 by, Colour pen) const {
  bresenham(ax, ay, bx, by, [&](Int32 x, Int32 y) {
    if (x >= 0 && y >= 0 && x < innerW_ && y < innerH_) bits[static_cast<std::size_t>(y) * innerW_ + x] = pen;
  });
}

void PictureBox::LinesInto(std::span<const float> ends, std::uint8_t* greys, std::uint8_t value) const {
  eachLine(ends, [&](Int32 ax, Int32 ay, Int32 bx, Int32 by) {
    bresenham(ax, ay, bx, by, [&](Int32 x, Int32 y) {
      if (x >= 0 && y >= 0 && x < innerW_ && y < innerH_) greys[static_cast<std::size_t>(y) * innerW_ + x] = value;
    });
  });
}

bool PictureBox::stroke(Int32 ax, Int32 ay, Int32 bx, Int32 by, Colour pen) {
  if (beyondBitmap(ax, ay, bx, by)) return false;
  Colour* const bits = mutableBits();
  if (plainPen()) {
    plainStroke(bits, ax, ay, bx, by, pen);
  } else {
    bresenham(ax, ay, bx, by, [&](Int32 x, Int32 y) { dot(x, y, pen); });
  }
  return true;
}

void PictureBox::Circle(float x, float y, float radius, std::optional<Colour> colour) {
  const Colour pen = resolveColour(colour.value_or(ForeColor));
  const double cx = toPixelX(x);
  const double cy = toPixelY(y);
  const double r = std::abs(radius / unitsPerPixelX(scaleMode_));
  const Int32 x0 = static_cast<Int32>(std::floor(cx - r)) - 1;
  const Int32 x1 = static_cast<Int32>(std::ceil(cx + r)) + 1;
  const Int32 y0 = static_cast<Int32>(std::floor(cy - r)) - 1;
  const Int32 y1 = static_cast<Int32>(std::ceil(cy + r)) + 1;
  // A pixel belongs to the outline when its centre lies within half a pixel of
  // the circle; inside it, to the fill.
  mutableBits();
  for (Int32 py = std::max(y0, 0); py <= std::min(y1, innerH_ - 1); ++py) {
    for (Int32 px = std::max(x0, 0); px <= std::min(x1, innerW_ - 1); ++px) {
      const double d = std::hypot(px - cx, py - cy);
      if (std::abs(d - r) <= 0.5) {
        dot(px, py, pen);
      } else if (FillStyle == 0 && d < r) {
        plot(px, py, resolveColour(FillColor));
      }
    }
  }
  CurrentX = x;
  CurrentY = y;
  touch();
}

}  // namespace quern
