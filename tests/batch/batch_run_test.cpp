#include "batch/batch_run.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "../temp_files.h"

namespace quern {
namespace {

using testing::readAll;
using testing::TempFolder;

// Pictures converted on two threads at once, each in a chain of its own,
// give the drawings that one at a time gives; a picture that fails among
// them stops none of the others.
TEST(ManyPictures, ThreadsGiveTheDrawingsOfOneAtATime) {
  const std::string golden = QUERN_GOLDEN_PICTURES;
  BatchArgs args;
  args.pictures = {golden + "/plan.gif", golden + "/strokes.bmp", golden + "/wide.gif", golden + "/sketch.jpg"};
  args.blur = 2;
  args.reorder = true;
  TempFolder one;
  TempFolder two;
  args.outDir = one.path.string();
  args.jobs = 1;
  const std::vector<BatchResult> alone = runMany(args);
  args.outDir = two.path.string();
  args.jobs = 2;
  const std::vector<BatchResult> together = runMany(args);
  ASSERT_EQ(alone.size(), 4U);
  ASSERT_EQ(together.size(), 4U);
  for (std::size_t i = 0; i < alone.size(); ++i) {
    EXPECT_EQ(together[i].picture, args.pictures[i]) << "results in the order given, whatever the order of work";
    EXPECT_EQ(alone[i].ok(), together[i].ok()) << args.pictures[i];
    EXPECT_EQ(alone[i].lines, together[i].lines) << args.pictures[i];
  }
  EXPECT_FALSE(alone[2].ok()) << "the wide picture is refused by the filters";
  for (const char* name : {"plan.dxf", "strokes.dxf", "sketch.dxf"}) {
    const std::string written = readAll(one.path / name);
    EXPECT_GT(written.size(), 1000U) << name;
    EXPECT_EQ(written, readAll(two.path / name)) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(two.path / "wide.dxf"));
  const std::string table = summaryTable(together);
  EXPECT_NE(table.find("failed: stage 2 (blur) refused"), std::string::npos) << table;
}

// The largest files start first, so that none is left to run alone at the
// end; files of one size, and those that cannot be read, keep their order.
TEST(ManyPictures, LargestFilesStartFirst) {
  TempFolder in;
  const auto file = [&](const char* name, std::size_t bytes) {
    std::ofstream(in.path / name, std::ios::binary) << std::string(bytes, 'x');
    return (in.path / name).string();
  };
  BatchArgs args;
  args.pictures = {file("small.gif", 10), (in.path / "missing.gif").string(), file("large.gif", 300),
                   file("small2.gif", 10), file("middle.gif", 50)};
  TempFolder out;
  args.outDir = out.path.string();
  const RunPlan plan = planRun(args);
  ASSERT_TRUE(plan.error.empty()) << plan.error;
  EXPECT_EQ(plan.order, (std::vector<std::size_t>{2, 4, 0, 3, 1}));
}

}  // namespace
}  // namespace quern
