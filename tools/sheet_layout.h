#pragma once

#include <QPainter>
#include <QPointF>
#include <QString>

#include "sheet_geometry.h"

namespace quern::tools {

// Draws each primitive of a sheet and writes down its centre line, so the
// truth is exactly what was drawn. Stroke widths go round 2, 3, 4 and 5
// pixels from one primitive to the next.
class SheetPen {
 public:
  SheetPen(QPainter& painter, SheetTruth& truth) : painter_(painter), truth_(truth) {}

  void line(QPointF from, QPointF to);
  void circle(QPointF centre, double radius);
  // Clockwise on the page from `startDegrees`.
  void arc(QPointF centre, double radius, double startDegrees, double sweepDegrees);
  void curve(const SheetPolyline& points);
  // Text of `pixelSize` with its baseline starting at `at`; its box goes
  // into the truth to be left out of a score.
  void text(QPointF at, const QString& words, int pixelSize);

 private:
  void nextStroke();

  QPainter& painter_;
  SheetTruth& truth_;
  int strokes_ = 0;
};

// The primitives of a page of `width` by `height`: the full set for A4, a
// few of each kind for the small page.
void layOutSheet(SheetPen& pen, int width, int height, bool full);

}  // namespace quern::tools
