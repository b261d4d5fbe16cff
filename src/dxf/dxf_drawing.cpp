#include "dxf/dxf_drawing.h"

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

}  // namespace

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
