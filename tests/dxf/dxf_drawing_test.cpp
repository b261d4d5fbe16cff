#include "dxf/dxf_drawing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../temp_files.h"
#include "dxf/dxf_writer.h"

namespace quern {
namespace {

RecordTable tableOf(const std::vector<LineRecord>& records, Int32 count) {
  RecordTable t("ChainTable");
  for (std::size_t k = 0; k < records.size(); ++k) t[static_cast<Int32>(k + 1)] = records[k];
  t.count() = count;
  return t;
}

TEST(WriteDxfDrawing, DefaultOptionsWriteTheBytesOfWriteDxfFile) {
  const testing::TempFolder folder;
  const LineRecord sep{-1, -1, -1, -1, 0};
  const std::vector<RecordTable> tables = {
      tableOf({}, 0),
      tableOf({}, 1),  // a fresh record 1
      // Two polylines and their separators, y = 0 turning into -0, a 52.5,
      // and a leftover past the last separator that is read too.
      tableOf({{3, 0, 4, 1, 0}, {4, 1, 52.5F, 7, 9}, sep, {10, 10, 12, 10, 0}, sep, {8, 8, 9, 9, 0}}, 6),
      // The record past the last separator is not read when the count stops before it.
      tableOf({{5, 5, 6, 6, 0}, sep, {7, 7, 8, 8, 0}}, 2),
  };
  for (std::size_t k = 0; k < tables.size(); ++k) {
    const std::string a = folder.file("today" + std::to_string(k) + ".dxf");
    const std::string b = folder.file("options" + std::to_string(k) + ".dxf");
    WriteDxfFile(a, tables[k]);
    writeDxfDrawing(b, tables[k], DrawingOptions{});
    EXPECT_EQ(testing::readAll(b), testing::readAll(a)) << "table " << k;
  }
}

TEST(DxfDrawing, ScalesBothAxesByOneFactorAndKeepsYTurned) {
  const RecordTable t = tableOf({{12, 34, 15, 0, 0}, {-1, -1, -1, -1, 0}}, 2);
  const std::string text = dxfDrawing(t, {DrawingUnit::Millimetre, 25.4 / 300, false}).DxfEntities;
  // 12 px at 300 dpi is 1.016 mm; each value is the shortest decimal of its 32-bit float.
  EXPECT_NE(text.find("LINE|8|Quern_CNC| 10|1.016| 20|-2.8786666| 30|0| 11|1.27| 21|0| 31|0|0|"), std::string::npos)
      << text;
  // Without --polyline a separator is still written, scaled like the rest.
  EXPECT_NE(text.find("| 10|-0.08466667| 20|0.08466667|"), std::string::npos) << text;
}

TEST(DxfDrawing, JoinsTouchingSegmentsIntoPolylinesAndClosesLoops) {
  const LineRecord sep{-1, -1, -1, -1, 0};
  // A triangle that returns to its start, then an open path of two segments,
  // an empty record, and a lone segment.
  const RecordTable t = tableOf({{1, 1, 5, 1, 0},
                                 {5, 1, 5, 4, 0},
                                 {5, 4, 1, 1, 0},
                                 sep,
                                 {7, 7, 8, 8, 0},
                                 {8, 8, 9, 8, 0},
                                 {0, 0, 0, 0, 0},
                                 {20, 2, 21, 2, 0}},
                                8);
  const std::string e = dxfDrawing(t, {DrawingUnit::Pixel, 1.0, true}).DxfEntities;
  const std::string head = "POLYLINE|  8|Quern_CNC| 66|     1| 10|0.0| 20|0.0| 30|0.0| 70|";
  auto vertex = [](const char* x, const char* y) {
    return std::string("VERTEX|  8|Quern_CNC| 10|") + x + "| 20|" + y + "| 30|0.0|  0|";
  };
  const std::string seqend = "SEQEND|  8|Quern_CNC|  0|";
  const std::string expected = head + "     1|  0|" + vertex("1", "-1") + vertex("5", "-1") + vertex("5", "-4") +
                               seqend + head + "     0|  0|" + vertex("7", "-7") + vertex("8", "-8") +
                               vertex("9", "-8") + seqend + head + "     0|  0|" + vertex("20", "-2") +
                               vertex("21", "-2") + seqend;
  EXPECT_TRUE(e.ends_with(expected)) << e;
  EXPECT_EQ(e.find("LINE|"), e.find("POLYLINE|") + 4) << "no LINE entity is left";
}

TEST(WithDxfExtension, KeepsOnlyTheTwoSpellingsOfTheExtension) {
  const std::pair<const char*, const char*> cases[] = {
      {"plan", "plan.dxf"},         {"plan.dxf", "plan.dxf"}, {"plan.DXF", "plan.DXF"},
      {"plan.Dxf", "plan.Dxf.dxf"}, {".dxf", ".dxf"},         {"plan.dx", "plan.dx.dxf"},
  };
  for (const auto& [given, written] : cases) EXPECT_EQ(withDxfExtension(given), written) << given;
}

}  // namespace
}  // namespace quern
