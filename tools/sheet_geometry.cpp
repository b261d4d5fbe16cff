#include "sheet_geometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quern::tools {

std::vector<SheetPolyline> truthPaths(const SheetTruth& truth) {
  std::vector<SheetPolyline> paths;
  for (const SheetSegment& s : truth.segments) paths.push_back({s.from, s.to});
  for (const SheetArc& a : truth.arcs) {
    const double length = std::abs(a.sweepDegrees) * std::numbers::pi / 180.0 * a.radius;
    const int steps = std::max(8, static_cast<int>(std::ceil(length)));
    SheetPolyline arc;
    for (int i = 0; i <= steps; ++i) {
      const double angle = (a.startDegrees + a.sweepDegrees * i / steps) * std::numbers::pi / 180.0;
      arc.push_back({a.centre.x + a.radius * std::cos(angle), a.centre.y + a.radius * std::sin(angle)});
    }
    paths.push_back(std::move(arc));
  }
  paths.insert(paths.end(), truth.curves.begin(), truth.curves.end());
  return paths;
}

}  // namespace quern::tools
