#include "dxf/dxf_drawing.h"

#include "base/cad_paths.h"
#include "base/numbers.h"
#include "base/replace_file.h"
#include "dxf/cad_dxf.h"

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

void writeDxfDrawing(const std::string& path, const std::vector<FittedChain>& fitted, const DrawingOptions& options) {
  replaceFile(path, cadDxfText(fitted, options));
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

std::string dxfDrawingBytes(const RecordTable& ChainTable, const DrawingOptions& options) {
  if (options.clean) {
    const std::vector<DrawingPath> paths = cadPaths(ChainTable, cleanupForLineWidth(options.lineWidth));
    return cadDxfText(chainsOfPaths(paths), options);
  }
  return dxfDrawing(ChainTable, options).fileBytes();
}

void writeDxfDrawing(const std::string& path, const RecordTable& ChainTable, const DrawingOptions& options) {
  replaceFile(path, dxfDrawingBytes(ChainTable, options));
}

}  // namespace quern
