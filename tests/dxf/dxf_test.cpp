#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

#include "base/line_tables.h"
#include "dxf/dxf_writer.h"
#include "dxf/export.h"
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

struct FakePlatform : ExportPlatform {
  std::optional<std::string> answer;
  std::vector<std::string> messages;
  std::optional<std::string> ShowSaveDialog() override { return answer; }
  void MsgBox(const std::string& text) override { messages.push_back(text); }
};

TEST(WithDxfExtension, KeepsOnlyTheTwoSpellingsOfTheExtension) {
  const std::pair<const char*, const char*> cases[] = {
      {"plan", "plan.dxf"},         {"plan.dxf", "plan.dxf"}, {"plan.DXF", "plan.DXF"},
      {"plan.Dxf", "plan.Dxf.dxf"}, {".dxf", ".dxf"},         {"plan.dx", "plan.dx.dxf"},
  };
  for (const auto& [given, written] : cases) EXPECT_EQ(withDxfExtension(given), written) << given;
}

TEST(ExportImageClick, WritesOverTheFileSaysDoneAndNamesItAndACancelDoesNothing) {
  TempFolder folder;
  Session s;
  s.PictureName = "picture.bmp";
  FakePlatform platform;
  for (const auto& cancel : {std::optional<std::string>{}, std::optional<std::string>{""}}) {
    platform.answer = cancel;
    exportimage_Click(s, platform);
  }
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(s.PictureName, "picture.bmp");
  EXPECT_EQ(folder.entries(), 0);

  std::ofstream(folder.file("plan.dxf")) << "an older drawing";
  s.ChainTable.count() = 1;
  platform.answer = folder.file("plan");
  exportimage_Click(s, platform);
  EXPECT_TRUE(readAll(folder.file("plan.dxf")).starts_with("  0\r\nSECTION\r\n"));
  EXPECT_EQ(folder.entries(), 1);
  EXPECT_EQ(platform.messages, std::vector<std::string>{"done"});
  EXPECT_EQ(s.PictureName, "plan");
}

TEST(ExportImageClick, AFailedWriteNamesTheFileKeepsTheOldOneAndSaysNoDone) {
  TempFolder folder;
  const std::string existing = folder.file("old.dxf");
  std::ofstream(existing) << "an older drawing";
  std::filesystem::create_directory(folder.file("taken.dxf"));
  const std::tuple<std::string, Int32, const char*> cases[] = {
      {folder.file("missing/plan.dxf"), 1, "No such file or directory"},
      {folder.file("taken.dxf"), 1, "it is a folder, not a file"},
      {existing, RecordTable::kLastRecord + 1, "out of range"},
  };
  for (const auto& [chosen, count, reason] : cases) {
    Session s;
    s.ChainTable.count() = count;
    FakePlatform platform;
    platform.answer = chosen;
    exportimage_Click(s, platform);
    ASSERT_EQ(platform.messages.size(), 1U) << chosen;
    EXPECT_NE(platform.messages[0].find(chosen), std::string::npos) << platform.messages[0];
    EXPECT_NE(platform.messages[0].find(reason), std::string::npos) << platform.messages[0];
    EXPECT_TRUE(s.PictureName.empty());
  }
  EXPECT_EQ(readAll(existing), "an older drawing");
  EXPECT_EQ(folder.entries(), 2) << "nothing half-written is left beside the targets";
}

}  // namespace
}  // namespace quern
