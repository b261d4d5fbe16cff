#include "sheet_layout.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainterPath>
#include <QRectF>
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <optional>
#include <vector>

namespace quern::tools {

namespace {

constexpr double kDegree = std::numbers::pi / 180.0;

SheetPoint toSheet(QPointF p) {
  return {p.x(), p.y()};
}

QPointF along(QPointF from, double degrees, double length) {
  return from + QPointF(std::cos(degrees * kDegree), std::sin(degrees * kDegree)) * length;
}

// The part of the line through `through` at `degrees` inside `box`, if any.
std::optional<std::array<QPointF, 2>> clipped(QPointF through, double degrees, const QRectF& box) {
  const double dx = std::cos(degrees * kDegree);
  const double dy = std::sin(degrees * kDegree);
  double low = -1e9;
  double high = 1e9;
  auto limit = [&](double d, double start, double min, double max) {
    if (std::abs(d) < 1e-12) return start >= min && start <= max;
    double a = (min - start) / d;
    double b = (max - start) / d;
    if (a > b) std::swap(a, b);
    low = std::max(low, a);
    high = std::min(high, b);
    return low < high;
  };
  if (!limit(dx, through.x(), box.left(), box.right())) return std::nullopt;
  if (!limit(dy, through.y(), box.top(), box.bottom())) return std::nullopt;
  if (high - low < 2.0) return std::nullopt;
  return std::array<QPointF, 2>{through + QPointF(dx, dy) * low, through + QPointF(dx, dy) * high};
}

void rectangle(SheetPen& pen, const QRectF& r) {
  pen.line(r.topLeft(), r.topRight());
  pen.line(r.topRight(), r.bottomRight());
  pen.line(r.bottomRight(), r.bottomLeft());
  pen.line(r.bottomLeft(), r.topLeft());
}

void linesAtAngles(SheetPen& pen, const QRectF& cell, bool full) {
  static constexpr std::array<double, 12> kAngles = {0, 90, 45, 135, 15, 30, 60, 75, 5, 105, 150, 170};
  const int columns = full ? 4 : 3;
  const int rows = full ? 3 : 2;
  const double w = cell.width() / columns;
  const double h = cell.height() / rows;
  for (int i = 0; i < columns * rows; ++i) {
    const QPointF centre(cell.left() + (i % columns + 0.5) * w, cell.top() + (i / columns + 0.5) * h);
    const double half = 0.4 * std::min(w, h);
    pen.line(along(centre, kAngles[i] + 180.0, half), along(centre, kAngles[i], half));
  }
}

void concentricCircles(SheetPen& pen, const QRectF& cell, bool) {
  const double side = std::min(cell.width(), cell.height());
  for (const double share : {0.46, 0.34, 0.22, 0.1}) pen.circle(cell.center(), share * side);
}

void arcs(SheetPen& pen, const QRectF& cell, bool full) {
  const double side = std::min(cell.width(), cell.height());
  const int count = full ? 5 : 3;
  for (int i = 0; i < count; ++i) {
    pen.arc(cell.center(), (0.46 - 0.09 * i) * side, 70.0 * i, 90.0 + 50.0 * i);
  }
}

// Dashes as drawn by hand or plotter: long-gap, and long-short for centre lines.
void dashedLines(SheetPen& pen, const QRectF& cell, bool full) {
  const double unit = full ? 10.0 : 6.0;
  const int count = full ? 5 : 3;
  for (int i = 0; i < count; ++i) {
    // Rising a little more each: they spread apart and stay in the cell.
    const double degrees = -4.0 * i;
    const QPointF start(cell.left() + 0.05 * cell.width(), cell.top() + (i + 0.5) * cell.height() / count);
    const double length = 0.9 * cell.width() / std::cos(degrees * kDegree);
    const std::vector<double> pattern = i % 2 ? std::vector<double>{4, 1.5, 1, 1.5} : std::vector<double>{3, 1.5};
    double at = 0.0;
    for (std::size_t k = 0; at < length; ++k) {
      const double run = pattern[k % pattern.size()] * unit;
      if (k % 2 == 0) pen.line(along(start, degrees, at), along(start, degrees, std::min(length, at + run)));
      at += run;
    }
  }
}

void hatching(SheetPen& pen, const QRectF& cell, const std::vector<double>& angles, double pitch) {
  const QRectF box =
      cell.adjusted(0.12 * cell.width(), 0.12 * cell.height(), -0.12 * cell.width(), -0.12 * cell.height());
  rectangle(pen, box);
  // Hatch lines stop short of the outline, as they do when drawn by hand.
  const QRectF inside = box.adjusted(8, 8, -8, -8);
  for (const double degrees : angles) {
    const QPointF across = along(QPointF(0, 0), degrees + 90.0, 1.0);
    const double reach = std::hypot(box.width(), box.height()) / 2.0;
    for (double offset = -reach; offset <= reach; offset += pitch) {
      if (auto ends = clipped(box.center() + across * offset, degrees, inside)) pen.line((*ends)[0], (*ends)[1]);
    }
  }
}

void freeCurve(SheetPen& pen, const QRectF& cell, bool, double phase) {
  SheetPolyline points;
  const int steps = static_cast<int>(cell.width() * 2.0);
  for (int i = 0; i <= steps; ++i) {
    const double t = static_cast<double>(i) / steps;
    const double wave = 0.25 * std::sin(2.0 * std::numbers::pi * (1.3 * t + phase)) +
                        0.12 * std::sin(2.0 * std::numbers::pi * (3.1 * t + 2.0 * phase));
    points.push_back({cell.left() + (0.05 + 0.9 * t) * cell.width(), cell.center().y() + wave * cell.height()});
  }
  pen.curve(points);
}

void smallCircles(SheetPen& pen, const QRectF& cell, bool) {
  static constexpr std::array<double, 9> kRadii = {8, 12, 18, 25, 35, 50, 65, 80, 95};
  const double w = cell.width() / 3.0;
  const double h = cell.height() / 3.0;
  for (int i = 0; i < 9; ++i) {
    pen.circle(QPointF(cell.left() + (i % 3 + 0.5) * w, cell.top() + (i / 3 + 0.5) * h), kRadii[i]);
  }
}

void textBlock(SheetPen& pen, const QRectF& cell, bool full) {
  const int size = full ? 30 : 14;
  const QStringList words = {"GENERAL NOTES", "1. Break all sharp edges 0.5 x 45",
                             "2. Tolerances unless stated +/- 0.2", "3. Surface finish Ra 3.2",
                             "Material: mild steel, 6 mm plate"};
  for (int i = 0; i < words.size(); ++i) {
    pen.text(QPointF(cell.left() + 0.05 * cell.width(), cell.top() + (i + 1) * 2.2 * size), words[i], size);
  }
}

}  // namespace

void SheetPen::nextStroke() {
  const double width = 2.0 + strokes_++ % 4;
  painter_.setPen(QPen(Qt::black, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  painter_.setBrush(Qt::NoBrush);
}

void SheetPen::line(QPointF from, QPointF to) {
  nextStroke();
  painter_.drawLine(from, to);
  truth_.segments.push_back({toSheet(from), toSheet(to)});
}

void SheetPen::circle(QPointF centre, double radius) {
  nextStroke();
  painter_.drawEllipse(centre, radius, radius);
  truth_.arcs.push_back({toSheet(centre), radius, 0.0, 360.0});
}

void SheetPen::arc(QPointF centre, double radius, double startDegrees, double sweepDegrees) {
  nextStroke();
  SheetArc a{toSheet(centre), radius, startDegrees, sweepDegrees};
  SheetTruth one;
  one.arcs.push_back(a);
  const SheetPolyline points = truthPaths(one).front();
  QPainterPath path(QPointF(points.front().x, points.front().y));
  for (const SheetPoint& p : points) path.lineTo(p.x, p.y);
  painter_.drawPath(path);
  truth_.arcs.push_back(a);
}

void SheetPen::curve(const SheetPolyline& points) {
  nextStroke();
  QPainterPath path(QPointF(points.front().x, points.front().y));
  for (const SheetPoint& p : points) path.lineTo(p.x, p.y);
  painter_.drawPath(path);
  truth_.curves.push_back(points);
}

void SheetPen::text(QPointF at, const QString& words, int pixelSize) {
  QFont font("DejaVu Sans");
  font.setPixelSize(pixelSize);
  painter_.setFont(font);
  painter_.setPen(QPen(Qt::black));
  painter_.drawText(at, words);
  const QRectF box = QFontMetricsF(font).boundingRect(words).translated(at).adjusted(-4, -4, 4, 4);
  truth_.textBoxes.push_back({box.left(), box.top(), box.right(), box.bottom()});
}

void layOutSheet(SheetPen& pen, int width, int height, bool full) {
  // A drawing frame 10 mm in from the edge (at 300 dpi), and a title block.
  const double margin = full ? 118.0 : 24.0;
  const QRectF frame(margin, margin, width - 2 * margin, height - 2 * margin);
  rectangle(pen, frame);
  const double titleHeight = full ? 260.0 : 90.0;
  const QRectF title(frame.right() - 0.5 * frame.width(), frame.bottom() - titleHeight, 0.5 * frame.width(),
                     titleHeight);
  rectangle(pen, title);
  pen.line(QPointF(title.left(), title.center().y()), QPointF(title.right(), title.center().y()));
  // Each line of the title sits in the middle of its half, clear of the rules.
  const int titleSize = full ? 56 : 14;
  const double baselineLift = 0.5 * (0.5 * titleHeight - titleSize);
  pen.text(QPointF(title.left() + 0.05 * title.width(), title.center().y() - baselineLift), "QUERN TEST SHEET",
           titleSize);
  pen.text(QPointF(title.left() + 0.05 * title.width(), title.bottom() - baselineLift), "Scale 1:1  Sheet 1 of 1",
           titleSize);

  using Kind = std::function<void(SheetPen&, const QRectF&, bool)>;
  const std::vector<Kind> kinds = {
      linesAtAngles,
      concentricCircles,
      arcs,
      dashedLines,
      [](SheetPen& p, const QRectF& c, bool f) { hatching(p, c, {45.0}, f ? 24.0 : 16.0); },
      [](SheetPen& p, const QRectF& c, bool f) { freeCurve(p, c, f, 0.0); },
      smallCircles,
      [](SheetPen& p, const QRectF& c, bool) {
        hatching(p, c, {45.0, 135.0}, 32.0);
      },
      textBlock,
      linesAtAngles,
      [](SheetPen& p, const QRectF& c, bool f) { freeCurve(p, c, f, 0.37); },
      dashedLines,
  };
  const int columns = full ? 3 : 2;
  const int rows = full ? 4 : 3;
  const double inset = full ? 40.0 : 10.0;
  const QRectF area = frame.adjusted(inset, inset, -inset, -titleHeight - inset);
  const double w = area.width() / columns;
  const double h = area.height() / rows;
  for (int i = 0; i < columns * rows; ++i) {
    const QRectF cell(area.left() + (i % columns) * w, area.top() + (i / columns) * h, w, h);
    kinds[static_cast<std::size_t>(i)](pen, cell.adjusted(inset, inset, -inset, -inset), full);
  }
}

}  // namespace quern::tools
