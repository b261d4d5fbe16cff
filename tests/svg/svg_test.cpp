#include <gtest/gtest.h>

#include <string>

#include "svg/svg_writer.h"

namespace quern {
namespace {

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(SvgDrawing, SizesTheDrawingToItsExtentInItsUnitWithYDown) {
  RecordTable table("ChainTable");
  table[1] = {2, 3, 12, 8, 0};
  table[2] = {-1, -1, -1, -1, 0};  // a separator neither draws nor widens the extent
  table[3] = {12, 8, 12, 8, 0};
  table.count() = 3;
  struct Case {
    DrawingOptions options;
    const char* size;
    const char* view;
    const char* line;
  };
  const Case cases[] = {
      {{}, R"(width="12" height="7")", R"(viewBox="1 2 12 7")", R"(<line x1="2" y1="3" x2="12" y2="8"/>)"},
      {{DrawingUnit::Millimetre, 0.5, false},
       R"(width="6mm" height="3.5mm")",
       R"(viewBox="0.5 1 6 3.5")",
       R"(<line x1="1" y1="1.5" x2="6" y2="4"/>)"},
      {{DrawingUnit::Inch, 0.25, true},
       R"(width="3in" height="1.75in")",
       R"(viewBox="0.25 0.5 3 1.75")",
       R"(<polyline points="0.5,0.75 3,2"/>)"},
  };
  for (const Case& c : cases) {
    const std::string svg = svgDrawing(table, c.options);
    EXPECT_TRUE(has(svg, c.size)) << svg;
    EXPECT_TRUE(has(svg, c.view)) << svg;
    EXPECT_TRUE(has(svg, c.line)) << svg;
    EXPECT_FALSE(has(svg, "-1")) << svg;
  }
}

TEST(SvgDrawing, ALoopBecomesAPolygonAndAnEmptyTableAnEmptyDrawing) {
  RecordTable table("ChainTable");
  table[1] = {1, 1, 4, 1, 0};
  table[2] = {4, 1, 4, 5, 0};
  table[3] = {4, 5, 1, 1, 0};
  table.count() = 3;
  const std::string svg = svgDrawing(table, {DrawingUnit::Pixel, 1.0, true});
  EXPECT_TRUE(has(svg, R"(<polygon points="1,1 4,1 4,5"/>)")) << svg;
  EXPECT_FALSE(has(svg, "<polyline")) << svg;

  const std::string empty = svgDrawing(RecordTable("ChainTable"), {});
  EXPECT_TRUE(has(empty, R"(viewBox="-1 -1 2 2")")) << empty;
  EXPECT_FALSE(has(empty, "<line")) << empty;
}

}  // namespace
}  // namespace quern
