#include "svg/svg_writer.h"

#include <algorithm>
#include <limits>

#include "base/cad_paths.h"
#include "base/drawing_paths.h"
#include "base/number_text.h"
#include "base/numbers.h"
#include "base/replace_file.h"

namespace quern {

namespace {

void appendPoints(std::string& out, const std::vector<PathPoint>& points) {
  for (std::size_t k = 0; k < points.size(); ++k) {
    if (k != 0) out += ' ';
    appendDecimal(out, points[k].x);
    out += ',';
    appendDecimal(out, points[k].y);
  }
}

struct Extent {
  float minX = std::numeric_limits<float>::max();
  float minY = std::numeric_limits<float>::max();
  float maxX = std::numeric_limits<float>::lowest();
  float maxY = std::numeric_limits<float>::lowest();

  void take(const PathPoint& p) {
    minX = std::min(minX, p.x);
    minY = std::min(minY, p.y);
    maxX = std::max(maxX, p.x);
    maxY = std::max(maxY, p.y);
  }
  bool empty() const { return minX > maxX; }
};

}  // namespace

std::string svgDrawing(const RecordTable& ChainTable, const DrawingOptions& options) {
  // A clean drawing is one path for each line, closed loops as polygons.
  const bool joined = options.polyline || options.clean;
  std::vector<DrawingPath> paths = options.clean ? cadPaths(ChainTable, cleanupForLineWidth(options.lineWidth))
                                                 : drawingPaths(ChainTable, options.polyline);
  Extent extent;
  for (DrawingPath& path : paths) {
    for (PathPoint& p : path.points) {
      p = {toFloat32(p.x * options.unitScale), toFloat32(p.y * options.unitScale)};
      extent.take(p);
    }
  }
  if (extent.empty()) extent.take({0.0F, 0.0F});

  // A pixel of the thinned picture: the width of the lines and the margin
  // that keeps them whole at the edge.
  const float pixel = toFloat32(options.unitScale);
  const float left = extent.minX - pixel;
  const float top = extent.minY - pixel;
  const float width = extent.maxX - extent.minX + 2 * pixel;
  const float height = extent.maxY - extent.minY + 2 * pixel;
  const std::string unit = options.unit == DrawingUnit::Pixel ? "" : std::string(unitName(options.unit));

  std::string out =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\"";
  out += " width=\"";
  appendDecimal(out, width);
  out += unit + "\" height=\"";
  appendDecimal(out, height);
  out += unit + "\" viewBox=\"";
  appendDecimal(out, left);
  out += ' ';
  appendDecimal(out, top);
  out += ' ';
  appendDecimal(out, width);
  out += ' ';
  appendDecimal(out, height);
  out += "\">\n<g fill=\"none\" stroke=\"black\" stroke-width=\"";
  appendDecimal(out, pixel);
  out += "\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n";
  for (const DrawingPath& path : paths) {
    if (!joined) {
      const PathPoint& a = path.points.front();
      const PathPoint& b = path.points.back();
      out += "<line x1=\"";
      appendDecimal(out, a.x);
      out += "\" y1=\"";
      appendDecimal(out, a.y);
      out += "\" x2=\"";
      appendDecimal(out, b.x);
      out += "\" y2=\"";
      appendDecimal(out, b.y);
      out += "\"/>\n";
      continue;
    }
    out += path.closed ? "<polygon points=\"" : "<polyline points=\"";
    appendPoints(out, path.points);
    out += "\"/>\n";
  }
  out += "</g>\n</svg>\n";
  return out;
}

void writeSvgFile(const std::string& path, const RecordTable& ChainTable, const DrawingOptions& options) {
  replaceFile(path, svgDrawing(ChainTable, options));
}

}  // namespace quern
