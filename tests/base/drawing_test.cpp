#include <gtest/gtest.h>

#include <vector>

#include "base/drawing_paths.h"
#include "base/drawing_units.h"

namespace quern {
namespace {

TEST(UnitsPerPixel, CountsTheRescaleIntoTheLengthOfAThinnedPixel) {
  struct Case {
    DrawingUnit unit;
    double dpi;
    double rescale;
    double expected;
  };
  const Case cases[] = {
      {DrawingUnit::Pixel, 0, 0, 1.0},                  // pixels stay pixels, whatever else is given
      {DrawingUnit::Millimetre, 300, 1, 25.4 / 300},    //
      {DrawingUnit::Millimetre, 300, 0.5, 25.4 / 150},  // half the pixels, each twice as long
      {DrawingUnit::Inch, 200, 2, 1.0 / 400},           //
      {DrawingUnit::Millimetre, 254, 0.25, 0.4},        //
  };
  for (const Case& c : cases) {
    EXPECT_DOUBLE_EQ(unitsPerPixel(c.unit, c.dpi, c.rescale), c.expected) << unitName(c.unit) << " " << c.dpi;
  }
  EXPECT_THROW(unitsPerPixel(DrawingUnit::Inch, 0, 1), QuernError);
  EXPECT_THROW(unitsPerPixel(DrawingUnit::Millimetre, 300, -1), QuernError);
  EXPECT_EQ(drawingUnitNamed("mm"), DrawingUnit::Millimetre);
  EXPECT_EQ(drawingUnitNamed("MM"), std::nullopt);
}

std::vector<std::vector<float>> flat(const std::vector<DrawingPath>& paths) {
  std::vector<std::vector<float>> out;
  for (const DrawingPath& p : paths) {
    std::vector<float> v{p.closed ? 1.0F : 0.0F};
    for (const PathPoint& q : p.points) v.insert(v.end(), {q.x, q.y});
    out.push_back(v);
  }
  return out;
}

TEST(DrawingPaths, JoinsRecordsThatTouchLeavesOutThoseWithoutLengthAndClosesLoops) {
  RecordTable t("ChainTable");
  const std::vector<LineRecord> records = {
      {1, 1, 2, 1, 0}, {2, 1, 2, 2, 0}, {-1, -1, -1, -1, 0},  // a path, then its separator
      {2, 2, 3, 3, 0},                                        // starts where the path ended: joined across it
      {9, 9, 9, 9, 0}, {5, 5, 6, 5, 0}, {6, 5, 5, 5, 0},      // an empty record; out and back is a loop
      {7, 0, 8, 0, 0}, {0, 0, 0, 0, 0},                       // a lone segment; the record past the end
  };
  for (std::size_t k = 0; k < records.size(); ++k) t[static_cast<Int32>(k + 1)] = records[k];
  t.count() = static_cast<Int32>(records.size());
  EXPECT_EQ(flat(drawingPaths(t, true)),
            (std::vector<std::vector<float>>{{0, 1, 1, 2, 1, 2, 2, 3, 3}, {1, 5, 5, 6, 5}, {0, 7, 0, 8, 0}}));
  const std::vector<DrawingPath> loose = drawingPaths(t, false);
  EXPECT_EQ(loose.size(), 6U);
  EXPECT_EQ(flat(loose)[4], (std::vector<float>{0, 6, 5, 5, 5}));
}

}  // namespace
}  // namespace quern
