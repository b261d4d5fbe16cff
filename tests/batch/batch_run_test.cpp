#include "batch/batch_run.h"

#include <gtest/gtest.h>

#include <fstream>

#include "../temp_files.h"

namespace quern {
namespace {

using testing::TempFolder;

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
