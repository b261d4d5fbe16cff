#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "base/line_tables.h"
#include "dxf/dxf_writer.h"
#include "vector/session.h"

namespace quern {
namespace {

// A folder of its own for one test, removed with everything in it.
struct TempFolder {
  std::filesystem::path path =
      std::filesystem::temp_directory_path() / ("quern-dxf-" + std::to_string(std::random_device()()));
  TempFolder() { std::filesystem::create_directories(path); }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string file(const std::string& name) const { return (path / name).string(); }
  long entries() const { return std::distance(std::filesystem::directory_iterator(path), {}); }
};

inline std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(DxfNumber, WritesTheShortestDecimalForm) {
  const std::pair<float, const char*> cases[] = {
      {0.0F, "0"}, {-0.0F, "0"}, {52.5F, "52.5"}, {-34.0F, "-34"}, {1000000.0F, "1000000"}, {0.0625F, "0.0625"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(dxfNumber(value), text) << value;
}

// The file of `table` as its CR LF lines, and how often a run of lines stands in it.
struct Written {
  TempFolder folder;
  std::string raw;
  std::vector<std::string> lines;

  explicit Written(const RecordTable& table) {
    WriteDxfFile(folder.file("drawing.dxf"), table);
    raw = readAll(folder.file("drawing.dxf"));
    std::size_t from = 0;
    for (std::size_t at = raw.find("\r\n"); at != std::string::npos; at = raw.find("\r\n", from)) {
      lines.push_back(raw.substr(from, at - from));
      from = at + 2;
    }
  }
  std::size_t find(const std::vector<std::string>& run, std::size_t from = 0) const {
    return static_cast<std::size_t>(
        std::search(lines.begin() + static_cast<std::ptrdiff_t>(from), lines.end(), run.begin(), run.end()) -
        lines.begin());
  }
  std::size_t count(const std::vector<std::string>& run) const {
    std::size_t n = 0;
    for (std::size_t at = find(run); at < lines.size(); at = find(run, at + 1)) ++n;
    return n;
  }
};

TEST(WriteDxfFile, AnEmptyTableGivesTheFixedFrameAndNoLine) {
  const Written w(RecordTable("ChainTable"));
  EXPECT_EQ(w.find({"  0", "SECTION", "  2", "HEADER", "  9", "$ACADVER", "  1", "AC1009"}), 0U);
  EXPECT_EQ(w.count({"LINE"}), 0U);
  EXPECT_EQ(w.count({"DIMENSION"}), 4U);
  EXPECT_EQ(w.count({"BLOCK"}), 4U);
  // The fourth dimension and the fourth block both name *D3.
  EXPECT_EQ(w.count({"CONTINUOUS", "  2", "*D3", " 10", "55"}), 1U);
  EXPECT_EQ(w.count({"BLOCK", "  8", "0", "  2", "*D3", "70"}), 1U);
  EXPECT_EQ(w.count({"  3", "*D3", "  1", "", "0", "ENDBLK"}), 1U);
  EXPECT_EQ(w.count({"  1", "", "0", "ENDBLK"}), 4U);
  EXPECT_LT(w.find({"  3", "", "  4", "", "  5", "", "  6", "", "  7", "", " 40", "1.0"}), w.lines.size());
  // Dimensions at 90 degrees carry an angle, those at 0 none; two carry a text.
  EXPECT_EQ(w.count({" 50", "90"}), 2U);
  EXPECT_EQ(w.count({"  1", "Height"}), 1U);
  EXPECT_EQ(w.count({" 11", "52.5", " 21", "85"}), 1U);
  EXPECT_TRUE(w.raw.ends_with("ENDSEC\r\n  0\r\nEOF\r\n"));
  EXPECT_EQ(std::count(w.raw.begin(), w.raw.end(), '\n'), std::count(w.raw.begin(), w.raw.end(), '\r'));
  EXPECT_EQ(w.raw.find("\r\r"), std::string::npos);
}

TEST(WriteDxfFile, EachRecordBecomesALineWithYTurnedInTableOrder) {
  RecordTable table("ChainTable");
  table[1] = {12, 34, 15, 40, 0};
  table[2] = {-1, -1, -1, -1, 0};
  table.count() = 3;  // record 3 is the untouched one past the separator
  const Written w(table);
  EXPECT_EQ(w.count({"LINE"}), 3U);
  auto entity = [](const char* x1, const char* y1, const char* x2, const char* y2) {
    return std::vector<std::string>{"LINE", "8",   "Quern_CNC", " 10", x1, " 20", y1,  " 30",
                                    "0",    " 11", x2,          " 21", y2, " 31", "0", "0"};
  };
  const std::size_t a = w.find(entity("12", "-34", "15", "-40"));
  const std::size_t b = w.find(entity("-1", "1", "-1", "1"));
  std::vector<std::string> last = entity("0", "0", "0", "0");
  last.push_back("ENDSEC");
  const std::size_t c = w.find(last);
  ASSERT_LT(c, w.lines.size());
  EXPECT_LT(a, b);
  EXPECT_LT(b, c);
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
