#include "base/cad_paths.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quern {
namespace {

LineRecord seg(float x1, float y1, float x2, float y2) {
  return {x1, y1, x2, y2, 0};
}

// A polyline through the points as records, one segment each.
std::vector<LineRecord> through(const std::vector<PathPoint>& points) {
  std::vector<LineRecord> out;
  for (std::size_t k = 1; k < points.size(); ++k) {
    out.push_back(seg(points[k - 1].x, points[k - 1].y, points[k].x, points[k].y));
  }
  return out;
}

std::vector<LineRecord> operator+(std::vector<LineRecord> a, const std::vector<LineRecord>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// The square (10,10)-(40,40) walked the way thinning leaves it: ending two
// pixels short of where it started.
const std::vector<LineRecord> kShortSquare = through({{12, 10}, {40, 10}, {40, 40}, {10, 40}, {10, 10}});

TEST(CadPaths, ClosesLoopsJoinsRunsAndDropsStubs) {
  struct Case {
    std::string what;
    std::vector<LineRecord> segments;
    std::size_t paths;
    std::size_t closed;
    std::size_t segmentsInAll;
  };
  const Case cases[] = {
      {"a ring in no order, some segments reversed, one given twice, separators between",
       {seg(40, 10, 40, 40), seg(-1, -1, -1, -1), seg(10, 10, 40, 10), seg(10, 40, 40, 40), seg(10, 10, 10, 40),
        seg(40, 40, 40, 10)},
       1,
       1,
       4},
      {"a loop two pixels short of its start gets its closing segment", kShortSquare, 1, 1, 5},
      {"a stub along the side is dropped and the side runs through its foot again",
       kShortSquare + through({{25, 40}, {27, 39}, {30, 39}}), 1, 1, 5},
      {"two runs whose free ends are a pixel apart are one loop",
       through({{10, 10}, {40, 10}, {40, 40}}) + through({{40, 41}, {10, 40}, {10, 11}}), 1, 1, 6},
      {"a short stroke whose ends are close stays open", through({{0, 0}, {2, 0}, {2, 1}}), 1, 0, 2},
      {"two parallel lines five pixels apart are both kept", through({{0, 0}, {50, 0}}) + through({{0, 5}, {50, 5}}), 2,
       0, 2},
      {"a T keeps its three arms: no loop is made across a junction",
       through({{0, 0}, {20, 0}}) + through({{20, 0}, {40, 0}}) + through({{20, 0}, {20, 20}}), 3, 0, 3},
      {"a loop through a junction is closed where it meets it",
       through({{0, 0}, {20, 0}, {20, 20}, {0, 20}, {0, 0}}) + through({{0, 0}, {-20, -20}}), 2, 1, 5},
  };
  for (const Case& c : cases) {
    const std::vector<DrawingPath> paths = cadPaths(c.segments, CadCleanup{});
    std::size_t closed = 0;
    std::size_t segments = 0;
    for (const DrawingPath& p : paths) {
      closed += p.closed ? 1 : 0;
      segments += p.segments();
    }
    EXPECT_EQ(paths.size(), c.paths) << c.what;
    EXPECT_EQ(closed, c.closed) << c.what;
    EXPECT_EQ(segments, c.segmentsInAll) << c.what;
  }
}

TEST(CadPaths, ALoopGivenPieceByPieceKeepsItsCourse) {
  // The short square: the closing segment joins (10,10) back to (12,10), and
  // every corner stays where it was.
  const std::vector<DrawingPath> paths = cadPaths(kShortSquare, CadCleanup{});
  ASSERT_EQ(paths.size(), 1U);
  std::vector<PathPoint> expected{{12, 10}, {40, 10}, {40, 40}, {10, 40}, {10, 10}};
  EXPECT_EQ(paths[0].points, expected);
}

TEST(CadPaths, TheGapAndTheStubReachGrowWithTheLineWidth) {
  // Ends 7 pixels apart: open for thin lines, closed for a 6-pixel stroke.
  const std::vector<LineRecord> wide = through({{17, 10}, {40, 10}, {40, 40}, {10, 40}, {10, 10}});
  EXPECT_FALSE(cadPaths(wide, cleanupForLineWidth(1)).front().closed);
  EXPECT_TRUE(cadPaths(wide, cleanupForLineWidth(6)).front().closed);
  // A stub two pixels off the side: kept beside a thin line, a stub of a wide one.
  const std::vector<LineRecord> beside = kShortSquare + through({{20, 42}, {30, 42}});
  EXPECT_EQ(cadPaths(beside, cleanupForLineWidth(1)).size(), 2U);
  EXPECT_EQ(cadPaths(beside, cleanupForLineWidth(6)).size(), 1U);
}

}  // namespace
}  // namespace quern
