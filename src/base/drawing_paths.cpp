#include "base/drawing_paths.h"

namespace quern {

std::vector<DrawingPath> drawingPaths(const RecordTable& table, bool join) {
  std::vector<DrawingPath> paths;
  auto finish = [&paths]() {
    if (paths.empty()) return;
    DrawingPath& p = paths.back();
    if (p.points.size() > 2 && p.points.front() == p.points.back()) {
      p.points.pop_back();
      p.closed = true;
    }
  };
  for (Int32 i = 1; i <= table.count(); ++i) {
    const LineRecord& r = table[i];
    if (hasNoLength(r)) continue;
    const PathPoint start{r.x1, r.y1};
    const PathPoint end{r.x2, r.y2};
    if (join && !paths.empty() && paths.back().points.back() == start) {
      paths.back().points.push_back(end);
      continue;
    }
    if (join) finish();
    paths.push_back({{start, end}, false});
  }
  if (join) finish();
  return paths;
}

}  // namespace quern
