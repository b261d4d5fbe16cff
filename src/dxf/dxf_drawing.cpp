#include "dxf/dxf_drawing.h"

#include <cmath>

#include "base/numbers.h"

namespace quern {

namespace {

// Products are taken in 64 bits and stored in 32, like every table value; a
// scale of 1 therefore gives each value back unchanged.
float scaled(float v, double scale) {
  return toFloat32(static_cast<double>(v) * scale);
}
float scaledTurned(float v, double scale) {
  return toFloat32(-(static_cast<double>(v) * scale));
}

// An angle of the picture (y down) as the turned drawing sees it.
float turnedDegrees(double cx, double cy, double x, double y) {
  return toFloat32(degreesAround(std::atan2(-(y - cy), x - cx)));
}

}  // namespace

DxfDocument dxfDrawing(const std::vector<FittedChain>& fitted, const DrawingOptions& options) {
  DxfDocument doc;
  DxfAddFixedDimensions(doc);
  const double s = options.unitScale;
  auto x = [s](double v) { return toFloat32(v * s); };
  auto y = [s](double v) { return toFloat32(-(v * s)); };
  for (const FittedChain& chain : fitted) {
    if (options.polyline && !(chain.pieces.size() == 1 && chain.pieces[0].kind == DrawingEntity::Kind::Circle)) {
      std::vector<PathPoint> points;
      std::vector<float> bulges;
      for (const DrawingEntity& e : chain.pieces) {
        points.push_back({x(e.x1), y(e.y1)});
        // The turn of y reverses the sweep.
        bulges.push_back(e.kind == DrawingEntity::Kind::Arc ? toFloat32(std::tan(-e.sweep / 4.0)) : 0.0F);
      }
      if (!chain.closed && !chain.pieces.empty()) {
        points.push_back({x(chain.pieces.back().x2), y(chain.pieces.back().y2)});
        bulges.push_back(0.0F);
      }
      doc.DxfAddPolyline(doc.DxfLayer, points, bulges, chain.closed);
      continue;
    }
    for (const DrawingEntity& e : chain.pieces) {
      switch (e.kind) {
        case DrawingEntity::Kind::Line:
          doc.DxfAddLine(doc.DxfLayer, x(e.x1), y(e.y1), 0, x(e.x2), y(e.y2), 0);
          break;
        case DrawingEntity::Kind::Circle:
          doc.DxfAddCircle(doc.DxfLayer, x(e.cx), y(e.cy), toFloat32(e.radius * s));
          break;
        case DrawingEntity::Kind::Arc: {
          const float from = turnedDegrees(e.cx, e.cy, e.x1, e.y1);
          const float to = turnedDegrees(e.cx, e.cy, e.x2, e.y2);
          // A sweep towards +y in the picture is clockwise once y is turned.
          const bool clockwise = e.sweep > 0.0;
          doc.DxfAddArc(doc.DxfLayer, x(e.cx), y(e.cy), toFloat32(e.radius * s), clockwise ? to : from,
                        clockwise ? from : to);
          break;
        }
      }
    }
  }
  return doc;
}

void writeDxfDrawing(const std::string& path, const std::vector<FittedChain>& fitted, const DrawingOptions& options) {
  dxfDrawing(fitted, options).DxfWriteAll(path);
}

DxfDocument dxfDrawing(const RecordTable& ChainTable, const DrawingOptions& options) {
  DxfDocument doc;
  DxfAddFixedDimensions(doc);
  const double s = options.unitScale;
  if (!options.polyline) {
    DxfAddTableLines(doc, ChainTable, s);
    return doc;
  }
  for (DrawingPath& path : drawingPaths(ChainTable, true)) {
    for (PathPoint& p : path.points) p = {scaled(p.x, s), scaledTurned(p.y, s)};
    doc.DxfAddPolyline(doc.DxfLayer, path.points, path.closed);
  }
  return doc;
}

void writeDxfDrawing(const std::string& path, const RecordTable& ChainTable, const DrawingOptions& options) {
  dxfDrawing(ChainTable, options).DxfWriteAll(path);
}

}  // namespace quern
