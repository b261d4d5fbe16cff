#include "batch/batch_run.h"

#include <gtest/gtest.h>

#include <fstream>
#include <regex>

#include "../temp_files.h"
#include "batch/batch_args.h"

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

// The threshold each way took, as the table and the page show it; without
// --sensitivity the local threshold takes the default --help gives.
TEST(OnePicture, SaysWhatThresholdItUsed) {
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{}, "200"},
      {{"--threshold", "90"}, "90"},
      {{"--threshold", "auto"}, "auto [0-9]+"},
      {{"--threshold", "local"}, "local, window [0-9]+ pixels, sensitivity 0\\.8"},
      {{"--threshold", "local", "--local-window", "31", "--sensitivity", "0.55"},
       "local, window 31 pixels, sensitivity 0\\.55"},
  };
  for (const auto& [words, told] : cases) {
    TempFolder out;
    std::vector<std::string> all = words;
    all.push_back((out.path / "o.dxf").string());
    const BatchParse parsed = parseBatchArgs(all);
    ASSERT_TRUE(parsed.args) << parsed.error;
    const BatchResult result = runBatch(*parsed.args);
    ASSERT_TRUE(result.ok()) << result.error;
    EXPECT_TRUE(std::regex_match(result.threshold, std::regex(told))) << result.threshold << " against " << told;
  }
}

}  // namespace
}  // namespace quern
