#include "dxf/export.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "dxf_files.h"
#include "vector/session.h"

namespace quern {
namespace {

using testing::TempFolder;

struct FakePlatform : ExportPlatform {
  std::optional<std::string> answer;
  std::vector<std::string> messages;
  std::optional<std::string> ShowSaveDialog() override { return answer; }
  void MsgBox(const std::string& text) override { messages.push_back(text); }
};

TEST(WithDxfExtension, KeepsOnlyTheTwoSpellingsOfTheExtension) {
  const std::pair<const char*, const char*> cases[] = {
      {"plan", "plan.dxf"}, {"plan.dxf", "plan.dxf"}, {"plan.DXF", "plan.DXF"}, {"plan.Dxf", "plan.Dxf.dxf"},
      {"dxf", "dxf.dxf"},   {"a", "a.dxf"},           {".dxf", ".dxf"},         {"plan.dx", "plan.dx.dxf"},
  };
  for (const auto& [given, written] : cases) EXPECT_EQ(withDxfExtension(given), written) << given;
}

TEST(ExportImageClick, WritesOverTheFileSaysDoneAndNamesIt) {
  TempFolder folder;
  { std::ofstream(folder.file("plan.dxf")) << "an older drawing"; }
  Session s;
  s.ChainTable.count() = 1;
  FakePlatform platform;
  platform.answer = folder.file("plan");
  exportimage_Click(s, platform);
  EXPECT_TRUE(testing::readAll(folder.file("plan.dxf")).starts_with("  0\r\nSECTION\r\n"));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 1);
  EXPECT_EQ(platform.messages, std::vector<std::string>{"done"});
  EXPECT_EQ(s.PictureName, "plan");
}

TEST(ExportImageClick, CancelledDialogWritesAndSaysNothing) {
  TempFolder folder;
  Session s;
  s.PictureName = "picture.bmp";
  FakePlatform platform;
  exportimage_Click(s, platform);
  platform.answer = "";
  exportimage_Click(s, platform);
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(s.PictureName, "picture.bmp");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

TEST(ExportImageClick, AFailedWriteNamesTheFileKeepsTheOldOneAndSaysNoDone) {
  TempFolder folder;
  const std::string existing = folder.file("old.dxf");
  { std::ofstream(existing) << "an older drawing"; }
  std::filesystem::create_directory(folder.file("taken.dxf"));
  struct Case {
    const char* name;
    std::string chosen;
    Int32 count;
    std::string reason;
  };
  const Case cases[] = {
      {"no such folder", folder.file("missing/plan.dxf"), 1, "No such file or directory"},
      {"a folder of that name", folder.file("taken.dxf"), 1, "Is a directory"},
      {"a count past the table", existing, RecordTable::kLastRecord + 1, "out of range"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Session s;
    s.ChainTable.count() = c.count;
    FakePlatform platform;
    platform.answer = c.chosen;
    exportimage_Click(s, platform);
    ASSERT_EQ(platform.messages.size(), 1U);
    EXPECT_NE(platform.messages[0].find(c.chosen), std::string::npos) << platform.messages[0];
    EXPECT_NE(platform.messages[0].find(c.reason), std::string::npos) << platform.messages[0];
    EXPECT_TRUE(s.PictureName.empty());
  }
  EXPECT_EQ(testing::readAll(existing), "an older drawing");
  EXPECT_TRUE(std::filesystem::is_directory(folder.file("taken.dxf")));
  // Nothing half-written is left beside the targets.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 2);
}

}  // namespace
}  // namespace quern
