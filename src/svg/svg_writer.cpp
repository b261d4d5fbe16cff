#include "svg/svg_writer.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

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

// The document up to the group that holds the drawing: its size in the unit
// and a viewBox of the extent with a margin of one thinned pixel.
std::string svgHead(const Extent& extent, const DrawingOptions& options) {
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
  return out;
}

// The extent of an entity already in the drawing's unit: its ends, and
// where an arc passes the four points of its circle furthest along x or y.
void takeEntity(Extent& extent, const DrawingEntity& e) {
  const auto point = [](double x, double y) { return PathPoint{toFloat32(x), toFloat32(y)}; };
  extent.take(point(e.x1, e.y1));
  extent.take(point(e.x2, e.y2));
  if (e.kind == DrawingEntity::Kind::Line) return;
  const double start = e.startAngle();
  for (int quarter = 0; quarter < 4; ++quarter) {
    const double angle = quarter * std::numbers::pi / 2.0;
    double turned = std::fmod((e.sweep >= 0 ? angle - start : start - angle), 2.0 * std::numbers::pi);
    if (turned < 0) turned += 2.0 * std::numbers::pi;
    if (turned <= std::abs(e.sweep))
      extent.take(point(e.cx + e.radius * std::cos(angle), e.cy + e.radius * std::sin(angle)));
  }
}

void appendPair(std::string& out, double x, double y) {
  appendDecimal(out, toFloat32(x));
  out += ' ';
  appendDecimal(out, toFloat32(y));
}

// The path command that draws the entity from where the last one ended.
void appendStep(std::string& out, const DrawingEntity& e) {
  if (e.kind == DrawingEntity::Kind::Line) {
    out += " L ";
  } else {
    out += " A ";
    appendPair(out, e.radius, e.radius);
    // A positive sweep turns from +x towards +y, which is the sense of
    // SVG's sweep flag 1 in its y-down frame.
    out += std::abs(e.sweep) > std::numbers::pi ? " 0 1 " : " 0 0 ";
    out += e.sweep > 0 ? "1 " : "0 ";
  }
  appendPair(out, e.x2, e.y2);
}

DrawingEntity scaledEntity(DrawingEntity e, double s) {
  e.x1 *= s, e.y1 *= s, e.x2 *= s, e.y2 *= s, e.cx *= s, e.cy *= s, e.radius *= s;
  return e;
}

}  // namespace

std::string svgDrawing(const std::vector<FittedChain>& fitted, const DrawingOptions& options) {
  std::vector<FittedChain> chains = fitted;
  Extent extent;
  for (FittedChain& chain : chains) {
    for (DrawingEntity& e : chain.pieces) {
      e = scaledEntity(e, options.unitScale);
      takeEntity(extent, e);
    }
  }
  if (extent.empty()) extent.take({0.0F, 0.0F});
  std::string out = svgHead(extent, options);
  for (const FittedChain& chain : chains) {
    for (std::size_t k = 0; k < chain.pieces.size(); ++k) {
      const DrawingEntity& e = chain.pieces[k];
      if (e.kind == DrawingEntity::Kind::Circle) {
        out += "<circle cx=\"";
        appendDecimal(out, toFloat32(e.cx));
        out += "\" cy=\"";
        appendDecimal(out, toFloat32(e.cy));
        out += "\" r=\"";
        appendDecimal(out, toFloat32(e.radius));
        out += "\"/>\n";
        continue;
      }
      // Joined, a chain is one path; loose, each line or arc is one.
      if (!options.polyline || k == 0) {
        out += "<path d=\"M ";
        appendPair(out, e.x1, e.y1);
      }
      appendStep(out, e);
      if (!options.polyline || k + 1 == chain.pieces.size())
        out += options.polyline && chain.closed ? " Z\"/>\n" : "\"/>\n";
    }
  }
  out += "</g>\n</svg>\n";
  return out;
}

void writeSvgFile(const std::string& path, const std::vector<FittedChain>& fitted, const DrawingOptions& options) {
  replaceFile(path, svgDrawing(fitted, options));
}

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

  std::string out = svgHead(extent, options);
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
