#include "sheet_score.h"

#include <gtest/gtest.h>

#include <vector>

#include "test_sheet.h"

namespace quern::tools {
namespace {

// A long diagonal and a horizontal line, traced shifted across their length.
TEST(ScoreTrace, CountsPointsWithinTheToleranceOnly) {
  // 487 and 391 points; a traced point is found up to 3 pixels past a line's end.
  const std::vector<SheetPolyline> truth = {{{10, 10}, {400, 300}}, {{10, 350}, {400, 350}}};
  struct Case {
    const char* name;
    std::vector<SheetPolyline> traced;
    std::vector<SheetBox> leftOut;
    double precision;
    double recall;
  };
  const std::vector<Case> cases = {
      {"on the lines", {{{10, 10}, {400, 300}}, {{10, 350}, {400, 350}}}, {}, 1.0, 1.0},
      // (1.7, -2.3) is 2.86 pixels across the diagonal.
      {"2.9 pixels off", {{{10, 352.9}, {400, 352.9}}, {{11.7, 7.7}, {401.7, 297.7}}}, {}, 1.0, 1.0},
      {"3.1 pixels off", {{{10, 353.1}, {400, 353.1}}}, {}, 0.0, 0.0},
      {"half of one line", {{{10, 350}, {205, 350}}}, {}, 1.0, 0.227},
      {"stray strokes inside a left-out box",
       {{{10, 350}, {400, 350}}, {{50, 100}, {60, 110}}},
       {{40, 90, 70, 120}},
       1.0,
       0.445},
      {"stray strokes outside it", {{{10, 350}, {400, 350}}, {{50, 100}, {60, 110}}}, {}, 0.961, 0.445},
  };
  for (const Case& c : cases) {
    const TraceScore s = scoreTrace(truth, c.traced, c.leftOut);
    EXPECT_NEAR(s.precision, c.precision, 0.01) << c.name;
    EXPECT_NEAR(s.recall, c.recall, 0.01) << c.name;
  }
}

TEST(ScoreTrace, ArcsCountAlongTheirLength) {
  SheetTruth circle;
  circle.arcs.push_back({{100, 100}, 50, 0, 360});
  SheetTruth half;
  half.arcs.push_back({{100, 100}, 51.5, 90, 180});
  const TraceScore s = scoreTrace(truthPaths(circle), truthPaths(half), {});
  EXPECT_NEAR(s.precision, 1.0, 1e-9);
  // and 2.6 pixels past either end, 1.5 pixels outside the circle
  EXPECT_NEAR(s.recall, 0.5 + 5.2 / (2 * 3.14159 * 50), 0.006);
  EXPECT_NEAR(static_cast<double>(s.truthPoints), 2 * 3.14159 * 50, 3);
}

// The truth runs along the ink of the drawn page, and a seed gives one scan.
TEST(TestSheet, TruthLiesOnTheInkAndScansRepeat) {
  SheetTruth truth;
  const QImage drawn = drawSheet(SheetSize::small, truth);
  EXPECT_FALSE(truth.segments.empty());
  EXPECT_FALSE(truth.arcs.empty());
  EXPECT_FALSE(truth.curves.empty());
  EXPECT_FALSE(truth.textBoxes.empty());
  long long points = 0;
  long long onInk = 0;
  for (const SheetPolyline& line : truthPaths(truth)) {
    for (const SheetPoint& p : line) {
      ++points;
      onInk += qRed(drawn.pixel(static_cast<int>(std::lround(p.x)), static_cast<int>(std::lround(p.y)))) < 100;
    }
  }
  EXPECT_GT(points, 1000);
  EXPECT_EQ(onInk, points);

  const Sheet a = scanSheet(SheetSize::small, Lighting::shadow, 5);
  const Sheet b = scanSheet(SheetSize::small, Lighting::shadow, 5);
  const Sheet c = scanSheet(SheetSize::small, Lighting::shadow, 6);
  EXPECT_TRUE(a.picture->pixels() == b.picture->pixels());
  EXPECT_FALSE(a.picture->pixels() == c.picture->pixels());
}

}  // namespace
}  // namespace quern::tools
