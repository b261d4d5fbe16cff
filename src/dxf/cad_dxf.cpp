#include "dxf/cad_dxf.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "dxf/dxf_groups.h"
#include "dxf/dxf_r2000.h"

namespace quern {

std::vector<FittedChain> chainsOfPaths(const std::vector<DrawingPath>& paths) {
  std::vector<FittedChain> chains;
  chains.reserve(paths.size());
  for (const DrawingPath& path : paths) {
    FittedChain chain;
    chain.closed = path.closed;
    const std::size_t n = path.points.size();
    for (std::size_t k = 0; k < path.segments(); ++k) {
      const PathPoint a = path.points[k];
      const PathPoint b = path.points[(k + 1) % n];
      chain.pieces.push_back(lineEntity(a.x, a.y, b.x, b.y));
    }
    if (!chain.pieces.empty()) chains.push_back(std::move(chain));
  }
  return chains;
}

namespace {

// Where an arc passes, finely enough for the extents of a drawing.
template <typename Take>
void arcPoints(const DrawingEntity& e, Take take) {
  constexpr int kSteps = 64;
  const double from = e.startAngle();
  for (int i = 0; i <= kSteps; ++i) {
    const double a = from + e.sweep * i / kSteps;
    take(e.cx + e.radius * std::cos(a), e.cy + e.radius * std::sin(a));
  }
}

bool hasLength(const DrawingEntity& e) {
  return e.kind != DrawingEntity::Kind::Line || e.x1 != e.x2 || e.y1 != e.y2;
}

double degreesOf(double cx, double cy, double x, double y) {
  return degreesAround(std::atan2(y - cy, x - cx));
}

// The entities of a placed drawing, numbered with handles in R2000.
class EntityWriter {
 public:
  explicit EntityWriter(DxfVersion version) : version_(version) {}

  void line(const DrawingEntity& e) {
    begin("LINE", "AcDbLine");
    point(10, e.x1, e.y1);
    point(11, e.x2, e.y2);
  }
  void circle(const DrawingEntity& e) {
    begin("CIRCLE", "AcDbCircle");
    point(10, e.cx, e.cy);
    g_.number(40, e.radius);
  }
  // Counter-clockwise from its start angle to its end angle.
  void arc(const DrawingEntity& e) {
    begin("ARC", "AcDbCircle");
    point(10, e.cx, e.cy);
    g_.number(40, e.radius);
    if (version_ == DxfVersion::R2000) g_.text(100, "AcDbArc");
    const double a1 = degreesOf(e.cx, e.cy, e.x1, e.y1);
    const double a2 = degreesOf(e.cx, e.cy, e.x2, e.y2);
    g_.number(50, e.sweep > 0.0 ? a1 : a2);
    g_.number(51, e.sweep > 0.0 ? a2 : a1);
  }
  void polyline(const std::vector<PathPoint>& points, const std::vector<double>& bulges, bool closed) {
    if (version_ == DxfVersion::R2000) {
      begin("LWPOLYLINE", "AcDbPolyline");
      g_.whole(90, static_cast<long long>(points.size()));
      g_.whole(70, closed ? 1 : 0);
      g_.number(43, 0.0);
      for (std::size_t k = 0; k < points.size(); ++k) {
        g_.number(10, points[k].x);
        g_.number(20, points[k].y);
        if (bulges[k] != 0.0) g_.number(42, bulges[k]);
      }
      return;
    }
    begin("POLYLINE", "");
    g_.whole(66, 1);
    point(10, 0.0, 0.0);
    g_.whole(70, closed ? 1 : 0);
    for (std::size_t k = 0; k < points.size(); ++k) {
      begin("VERTEX", "");
      point(10, points[k].x, points[k].y);
      if (bulges[k] != 0.0) g_.number(42, bulges[k]);
    }
    begin("SEQEND", "");
  }

  const DxfGroups& groups() const { return g_; }
  unsigned nextHandle() const { return handle_; }

 private:
  void begin(std::string_view type, std::string_view subclass) {
    g_.text(0, type);
    if (version_ == DxfVersion::R2000) {
      g_.handle(5, handle_++);
      g_.handle(330, kModelSpaceRecord);
      g_.text(100, "AcDbEntity");
    }
    g_.text(8, kDrawingLayer);
    if (version_ == DxfVersion::R2000 && !subclass.empty()) g_.text(100, subclass);
  }
  void point(int code, double x, double y) {
    g_.number(code, x);
    g_.number(code + 10, y);
    g_.number(code + 20, 0.0);
  }

  DxfVersion version_;
  DxfGroups g_;
  unsigned handle_ = kFirstEntityHandle;
};

void writeChain(EntityWriter& out, const FittedChain& chain, bool polyline) {
  if (chain.pieces.size() == 1 && chain.pieces[0].kind == DrawingEntity::Kind::Circle) {
    out.circle(chain.pieces[0]);
    return;
  }
  if (!polyline) {
    for (const DrawingEntity& e : chain.pieces) {
      if (!hasLength(e)) continue;
      if (e.kind == DrawingEntity::Kind::Arc) {
        out.arc(e);
      } else if (e.kind == DrawingEntity::Kind::Circle) {
        out.circle(e);
      } else {
        out.line(e);
      }
    }
    return;
  }
  std::vector<PathPoint> points;
  std::vector<double> bulges;
  for (const DrawingEntity& e : chain.pieces) {
    if (!hasLength(e)) continue;
    points.push_back({static_cast<float>(e.x1), static_cast<float>(e.y1)});
    bulges.push_back(e.kind == DrawingEntity::Kind::Arc ? std::tan(e.sweep / 4.0) : 0.0);
  }
  if (points.empty()) return;
  if (!chain.closed) {
    const DrawingEntity& last = chain.pieces.back();
    points.push_back({static_cast<float>(last.x2), static_cast<float>(last.y2)});
    bulges.push_back(0.0);
  }
  out.polyline(points, bulges, chain.closed);
}

std::string r12File(const DxfGroups& entities, const DrawingBox& box) {
  DxfGroups g;
  g.text(0, "SECTION");
  g.text(2, "HEADER");
  g.text(9, "$ACADVER");
  g.text(1, "AC1009");
  g.text(9, "$INSBASE");
  for (const int code : {10, 20, 30}) g.number(code, 0.0);
  g.text(9, "$EXTMIN");
  g.number(10, box.minX);
  g.number(20, box.minY);
  g.number(30, 0.0);
  g.text(9, "$EXTMAX");
  g.number(10, box.maxX);
  g.number(20, box.maxY);
  g.number(30, 0.0);
  g.text(9, "$LIMMIN");
  g.number(10, box.minX);
  g.number(20, box.minY);
  g.text(9, "$LIMMAX");
  g.number(10, box.maxX);
  g.number(20, box.maxY);
  g.text(0, "ENDSEC");
  g.text(0, "SECTION");
  g.text(2, "TABLES");
  g.text(0, "TABLE");
  g.text(2, "LTYPE");
  g.whole(70, 1);
  g.text(0, "LTYPE");
  g.text(2, "CONTINUOUS");
  g.whole(70, 0);
  g.text(3, "Solid line");
  g.whole(72, 65);
  g.whole(73, 0);
  g.number(40, 0.0);
  g.text(0, "ENDTAB");
  g.text(0, "TABLE");
  g.text(2, "LAYER");
  g.whole(70, 2);
  for (const std::string_view layer : {std::string_view("0"), kDrawingLayer}) {
    g.text(0, "LAYER");
    g.text(2, layer);
    g.whole(70, 0);
    g.whole(62, 7);
    g.text(6, "CONTINUOUS");
  }
  g.text(0, "ENDTAB");
  g.text(0, "ENDSEC");
  g.text(0, "SECTION");
  g.text(2, "BLOCKS");
  g.text(0, "ENDSEC");
  g.text(0, "SECTION");
  g.text(2, "ENTITIES");
  g.append(entities);
  g.text(0, "ENDSEC");
  g.text(0, "EOF");
  return g.str();
}

}  // namespace

DrawingBox extentsOf(const std::vector<FittedChain>& placed) {
  DrawingBox box{std::numeric_limits<double>::max(), std::numeric_limits<double>::max(),
                 std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest()};
  auto take = [&box](double x, double y) {
    box.minX = std::min(box.minX, x);
    box.minY = std::min(box.minY, y);
    box.maxX = std::max(box.maxX, x);
    box.maxY = std::max(box.maxY, y);
  };
  for (const FittedChain& chain : placed) {
    for (const DrawingEntity& e : chain.pieces) {
      if (e.kind == DrawingEntity::Kind::Circle) {
        take(e.cx - e.radius, e.cy - e.radius);
        take(e.cx + e.radius, e.cy + e.radius);
      } else if (e.kind == DrawingEntity::Kind::Arc) {
        arcPoints(e, take);
      } else {
        take(e.x1, e.y1);
        take(e.x2, e.y2);
      }
    }
  }
  if (box.minX > box.maxX) return {};
  return box;
}

std::vector<FittedChain> placeChains(const std::vector<FittedChain>& chains, const DrawingOptions& options) {
  const double s = options.unitScale;
  double ox = 0.0;
  double oy = 0.0;
  if (options.origin == DrawingOrigin::LowerLeft) {
    const DrawingBox box = extentsOf(chains);
    ox = box.minX;
    oy = box.maxY;
  }
  const auto x = [s, ox](double v) { return (v - ox) * s; };
  const auto y = [s, oy](double v) { return (oy - v) * s; };
  std::vector<FittedChain> placed = chains;
  for (FittedChain& chain : placed) {
    for (DrawingEntity& e : chain.pieces) {
      e.x1 = x(e.x1);
      e.y1 = y(e.y1);
      e.x2 = x(e.x2);
      e.y2 = y(e.y2);
      e.cx = x(e.cx);
      e.cy = y(e.cy);
      e.radius *= s;
      if (e.kind == DrawingEntity::Kind::Arc) e.sweep = -e.sweep;
    }
  }
  return placed;
}

std::string cadDxfText(const std::vector<FittedChain>& chains, const DrawingOptions& options) {
  const std::vector<FittedChain> placed = placeChains(chains, options);
  EntityWriter entities(options.dxfVersion);
  for (const FittedChain& chain : placed) writeChain(entities, chain, options.polyline);
  const DrawingBox box = extentsOf(placed);
  if (options.dxfVersion == DxfVersion::R2000) {
    return r2000File(entities.groups(), entities.nextHandle(), box, options.unit);
  }
  return r12File(entities.groups(), box);
}

}  // namespace quern
