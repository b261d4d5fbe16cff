#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "../temp_files.h"
#include "app/form1.h"
#include "scripted_platform.h"

namespace quern {
namespace {

using testing::readAll;
using testing::TempFolder;

TEST(ExportImageClick, WritesOverTheFileSaysDoneAndNamesItAndACancelDoesNothing) {
  TempFolder folder;
  testing::ScriptedPlatform platform;
  Form1 form(platform);
  form.PictureName = "picture.bmp";
  for (const auto& cancel : {std::optional<std::string>{}, std::optional<std::string>{""}}) {
    platform.saveAnswers.push_back(cancel);
    form.exportimage_Click();
  }
  EXPECT_TRUE(platform.messages.empty());
  EXPECT_EQ(form.PictureName, "picture.bmp");
  EXPECT_EQ(folder.entries(), 0);

  std::ofstream(folder.file("plan.dxf")) << "an older drawing";
  form.session.ChainTable.count() = 1;
  platform.saveAnswers.push_back(folder.file("plan"));
  form.exportimage_Click();
  EXPECT_TRUE(readAll(folder.file("plan.dxf")).starts_with("  0\r\nSECTION\r\n"));
  EXPECT_EQ(folder.entries(), 1);
  EXPECT_EQ(platform.messages, std::vector<std::string>{"done"});
  EXPECT_EQ(form.PictureName, "plan");
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
    testing::ScriptedPlatform platform;
    Form1 form(platform);
    form.session.ChainTable.count() = count;
    platform.saveAnswers.push_back(chosen);
    form.exportimage_Click();
    ASSERT_EQ(platform.messages.size(), 1U) << chosen;
    EXPECT_NE(platform.messages[0].find(chosen), std::string::npos) << platform.messages[0];
    EXPECT_NE(platform.messages[0].find(reason), std::string::npos) << platform.messages[0];
    EXPECT_TRUE(form.PictureName.empty());
  }
  EXPECT_EQ(readAll(existing), "an older drawing");
  EXPECT_EQ(folder.entries(), 2) << "nothing half-written is left beside the targets";
}

}  // namespace
}  // namespace quern
