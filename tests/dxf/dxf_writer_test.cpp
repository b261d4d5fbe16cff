#include "dxf/dxf_writer.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "base/line_tables.h"
#include "dxf_files.h"

namespace quern {
namespace {

using testing::readLines;
using testing::TempFolder;

TEST(DxfNumber, WritesTheShortestDecimalForm) {
  const std::pair<float, const char*> cases[] = {
      {0.0F, "0"},   {-0.0F, "0"},        {52.5F, "52.5"}, {-34.0F, "-34"}, {90.0F, "90"}, {1000000.0F, "1000000"},
      {-1.0F, "-1"}, {0.0625F, "0.0625"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(dxfNumber(value), text) << value;
}

// Index of the first place where `run` stands in `lines`, or lines.size().
std::size_t find(const std::vector<std::string>& lines, const std::vector<std::string>& run, std::size_t from = 0) {
  const auto at = std::search(lines.begin() + static_cast<std::ptrdiff_t>(from), lines.end(), run.begin(), run.end());
  return static_cast<std::size_t>(at - lines.begin());
}

std::size_t occurrences(const std::vector<std::string>& lines, const std::vector<std::string>& run) {
  std::size_t n = 0;
  for (std::size_t at = find(lines, run); at < lines.size(); at = find(lines, run, at + 1)) ++n;
  return n;
}

struct Written {
  TempFolder folder;
  std::vector<std::string> lines;
  std::string raw;

  explicit Written(const RecordTable& table) {
    const std::string path = folder.file("drawing.dxf");
    WriteDxfFile(path, table);
    raw = testing::readAll(path);
    lines = readLines(raw);
  }
};

TEST(WriteDxfFile, AnEmptyTableGivesTheFixedFrameAndNoLine) {
  RecordTable table("ChainTable");
  const Written w(table);
  const std::vector<std::string> start = {"  0", "SECTION", "  2", "HEADER", "  9", "$ACADVER", "  1", "AC1009"};
  EXPECT_TRUE(std::equal(start.begin(), start.end(), w.lines.begin()));
  EXPECT_EQ(occurrences(w.lines, {"LINE"}), 0U);
  EXPECT_EQ(occurrences(w.lines, {"DIMENSION"}), 4U);
  EXPECT_EQ(occurrences(w.lines, {"BLOCK"}), 4U);
  // The fourth dimension and the fourth block both name *D3.
  EXPECT_EQ(occurrences(w.lines, {"CONTINUOUS", "  2", "*D3", " 10", "55"}), 1U);
  EXPECT_EQ(occurrences(w.lines, {"BLOCK", "  8", "0", "  2", "*D3", "70"}), 1U);
  EXPECT_EQ(occurrences(w.lines, {"  3", "*D3", "  1", "", "0", "ENDBLK"}), 1U);
  EXPECT_EQ(occurrences(w.lines, {"  1", "", "0", "ENDBLK"}), 4U);
  EXPECT_LT(find(w.lines, {"  3", "", "  4", "", "  5", "", "  6", "", "  7", "", " 40", "1.0"}), w.lines.size());
  // Dimensions at 90 degrees carry an angle, those at 0 none; two carry a text.
  EXPECT_EQ(occurrences(w.lines, {" 50", "90"}), 2U);
  EXPECT_EQ(occurrences(w.lines, {"  1", "Height"}), 1U);
  EXPECT_EQ(occurrences(w.lines, {" 11", "52.5", " 21", "85"}), 1U);
  const std::vector<std::string> end = {"ENDSEC", "  0", "EOF"};
  EXPECT_TRUE(std::equal(end.rbegin(), end.rend(), w.lines.rbegin()));
  EXPECT_TRUE(w.raw.ends_with("EOF\r\n"));
  EXPECT_EQ(std::count(w.raw.begin(), w.raw.end(), '\n'), std::count(w.raw.begin(), w.raw.end(), '\r'));
  EXPECT_EQ(w.raw.find("\r\r"), std::string::npos);
}

TEST(WriteDxfFile, EachRecordBecomesALineWithYTurned) {
  RecordTable table("ChainTable");
  table[1] = {12, 34, 15, 40, 0};
  table[2] = {-1, -1, -1, -1, 0};
  table.count() = 3;  // record 3 is the untouched one past the separator
  const Written w(table);
  EXPECT_EQ(occurrences(w.lines, {"LINE"}), 3U);
  const std::vector<std::string> first = {"LINE", "8",   "Quern_CNC", " 10", "12",  " 20", "-34", " 30",
                                          "0",    " 11", "15",        " 21", "-40", " 31", "0",   "0"};
  const std::vector<std::string> separator = {"LINE", "8",   "Quern_CNC", " 10", "-1", " 20", "1", " 30",
                                              "0",    " 11", "-1",        " 21", "1",  " 31", "0", "0"};
  const std::vector<std::string> fresh = {"LINE", "8", "Quern_CNC", " 10", "0",   " 20", "0", " 30",   "0",
                                          " 11",  "0", " 21",       "0",   " 31", "0",   "0", "ENDSEC"};
  const std::size_t a = find(w.lines, first);
  const std::size_t b = find(w.lines, separator);
  const std::size_t c = find(w.lines, fresh);
  ASSERT_LT(c, w.lines.size());
  EXPECT_LT(a, b);
  EXPECT_LT(b, c);
}

}  // namespace
}  // namespace quern
