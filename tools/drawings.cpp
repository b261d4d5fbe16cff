#include "drawings.h"

#include <QPainter>
#include <QPainterPath>
#include <QVector>
#include <cmath>
#include <numbers>

namespace quern::tools {

namespace {

QImage toGreyPalette(const QImage& rgb) {
  QVector<QRgb> table;
  for (int i = 0; i < 256; ++i) table.push_back(qRgb(i, i, i));
  return rgb.convertToFormat(QImage::Format_Grayscale8).convertToFormat(QImage::Format_Indexed8, table);
}

// A quern stone seen from above: rim, eye, and furrows swept round it.
void drawStone(QPainter& p, QPointF c, double r) {
  p.drawEllipse(c, r, r);
  p.drawEllipse(c, r * 0.18, r * 0.18);
  for (int i = 0; i < 8; ++i) {
    const double a = i * std::numbers::pi / 4.0;
    const QPointF from = c + QPointF(std::cos(a), std::sin(a)) * r * 0.25;
    const QPointF to = c + QPointF(std::cos(a + 0.35), std::sin(a + 0.35)) * r * 0.92;
    p.drawLine(from, to);
  }
}

void drawSpiral(QPainter& p, QPointF c, double r, double turns) {
  QPainterPath path(c);
  const int steps = 240;
  for (int i = 1; i <= steps; ++i) {
    const double t = static_cast<double>(i) / steps;
    const double a = t * turns * 2.0 * std::numbers::pi;
    path.lineTo(c + QPointF(std::cos(a), std::sin(a)) * r * t);
  }
  p.drawPath(path);
}

}  // namespace

QImage lineDrawing(int width, int height) {
  QImage img(width, height, QImage::Format_RGB32);
  img.fill(Qt::white);
  QPainter p(&img);
  p.setRenderHint(QPainter::Antialiasing, true);
  const double u = std::min(width, height) / 100.0;  // one drawing unit
  p.setPen(QPen(Qt::black, std::max(2.0, 0.6 * u), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  p.setBrush(Qt::NoBrush);

  // Frame and a title block in the lower right corner.
  p.drawRect(QRectF(3 * u, 3 * u, width - 6 * u, height - 6 * u));
  const QRectF block(width - 40 * u, height - 18 * u, 37 * u, 15 * u);
  p.drawRect(block);
  p.drawLine(QPointF(block.left(), block.center().y()), QPointF(block.right(), block.center().y()));
  p.drawLine(QPointF(block.center().x(), block.top()), QPointF(block.center().x(), block.bottom()));

  // Two stones and the spindle between them.
  drawStone(p, QPointF(0.25 * width, 0.38 * height), 17 * u);
  drawStone(p, QPointF(0.62 * width, 0.38 * height), 13 * u);
  p.drawLine(QPointF(0.25 * width, 0.38 * height + 17 * u), QPointF(0.25 * width, 0.88 * height));
  p.drawLine(QPointF(0.62 * width, 0.38 * height + 13 * u), QPointF(0.62 * width, 0.88 * height));
  p.drawLine(QPointF(0.15 * width, 0.88 * height), QPointF(0.72 * width, 0.88 * height));

  // A crank handle, a spiral and a wavy water line.
  QPainterPath crank(QPointF(0.85 * width, 0.12 * height));
  crank.cubicTo(QPointF(0.95 * width, 0.2 * height), QPointF(0.78 * width, 0.3 * height),
                QPointF(0.9 * width, 0.42 * height));
  p.drawPath(crank);
  drawSpiral(p, QPointF(0.85 * width, 0.62 * height), 9 * u, 3.0);
  QPainterPath wave(QPointF(0.08 * width, 0.72 * height));
  for (int i = 1; i <= 6; ++i) {
    const double x = 0.08 * width + i * 0.05 * width;
    wave.quadTo(QPointF(x - 0.025 * width, 0.72 * height + ((i % 2) ? -4 : 4) * u), QPointF(x, 0.72 * height));
  }
  p.drawPath(wave);

  // A grid of short hatching strokes: many small chains.
  for (int i = 0; i < 8; ++i) {
    const double x = 0.1 * width + i * 2.2 * u;
    p.drawLine(QPointF(x, 0.08 * height), QPointF(x + 1.5 * u, 0.08 * height + 6 * u));
  }
  p.end();
  return toGreyPalette(img);
}

QImage splashPicture(int width, int height) {
  QImage img(width, height, QImage::Format_RGB32);
  QLinearGradient sky(0, 0, 0, height);
  sky.setColorAt(0.0, QColor(222, 232, 244));
  sky.setColorAt(1.0, QColor(160, 182, 206));
  QPainter p(&img);
  p.setRenderHint(QPainter::Antialiasing, true);
  p.fillRect(img.rect(), sky);
  p.setPen(QPen(QColor(60, 52, 44), 3));
  p.setBrush(QColor(150, 138, 120));
  const QPointF c(width * 0.32, height * 0.55);
  const double r = height * 0.34;
  p.drawEllipse(c, r, r);
  p.setBrush(QColor(90, 80, 70));
  p.drawEllipse(c, r * 0.2, r * 0.2);
  p.setPen(QPen(QColor(200, 30, 30), 3));
  for (int i = 0; i < 5; ++i) {
    const double y = height * (0.25 + 0.12 * i);
    p.drawLine(QPointF(width * 0.62, y), QPointF(width * 0.92, y + (i % 2 ? 8 : -8)));
  }
  p.end();
  return img;
}

}  // namespace quern::tools
