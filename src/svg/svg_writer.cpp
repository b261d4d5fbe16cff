#include "svg/svg_writer.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "base/drawing_paths.h"
#include "base/numbers.h"
#include "base/replace_file.h"

namespace quern {

namespace {

// The shortest decimal that reads back as the same 32-bit float, never in
// exponent form, and 0 without a sign.
void appendNumber(std::string& out, float v) {
  if (v == 0.0F) {
    out += '0';
    return;
  }
  char buffer[128];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::fixed);
  out.append(buffer, result.ptr);
}

void appendPoints(std::string& out, const std::vector<PathPoint>& points) {
  for (std::size_t k = 0; k < points.size(); ++k) {
    if (k != 0) out += ' ';
    appendNumber(out, points[k].x);
    out += ',';
    appendNumber(out, points[k].y);
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
  std::vector<DrawingPath> paths = drawingPaths(ChainTable, options.polyline);
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
  appendNumber(out, width);
  out += unit + "\" height=\"";
  appendNumber(out, height);
  out += unit + "\" viewBox=\"";
  appendNumber(out, left);
  out += ' ';
  appendNumber(out, top);
  out += ' ';
  appendNumber(out, width);
  out += ' ';
  appendNumber(out, height);
  out += "\">\n<g fill=\"none\" stroke=\"black\" stroke-width=\"";
  appendNumber(out, pixel);
  out += "\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n";
  for (const DrawingPath& path : paths) {
    if (!options.polyline) {
      const PathPoint& a = path.points.front();
      const PathPoint& b = path.points.back();
      out += "<line x1=\"";
      appendNumber(out, a.x);
      out += "\" y1=\"";
      appendNumber(out, a.y);
      out += "\" x2=\"";
      appendNumber(out, b.x);
      out += "\" y2=\"";
      appendNumber(out, b.y);
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
