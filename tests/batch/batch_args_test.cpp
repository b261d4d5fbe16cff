#include "batch/batch_args.h"

#include <gtest/gtest.h>

namespace quern {
namespace {

TEST(BatchArgs, ValuesBecomeScrollBarPositions) {
  const BatchParse p = parseBatchArgs({"--scale", "0.5", "--blur", "0", "--threshold", "128", "--tolerance", "30",
                                       "--reorder", "--no-original", "--preview", "p.png", "in.gif", "out.dxf"});
  ASSERT_TRUE(p.args) << p.error;
  EXPECT_EQ(p.args->scale, 50);
  EXPECT_EQ(p.args->blur, 0);
  EXPECT_EQ(p.args->threshold, 128);
  EXPECT_EQ(p.args->tolerance, 30);
  EXPECT_TRUE(p.args->reorder);
  EXPECT_TRUE(p.args->noOriginal);
  EXPECT_EQ(p.args->preview, "p.png");
  EXPECT_EQ(p.args->picture, "in.gif");
  EXPECT_EQ(p.args->drawing, "out.dxf");

  const BatchParse only = parseBatchArgs({"out.dxf"});
  ASSERT_TRUE(only.args);
  EXPECT_EQ(only.args->picture, std::nullopt);
  EXPECT_EQ(only.args->scale, 100);
  EXPECT_EQ(only.args->threshold, 200);
}

TEST(BatchArgs, OutOfRangeAndMalformedArgumentsAreRefused) {
  const std::vector<std::vector<std::string>> bad = {
      {},
      {"--scale", "0", "o.dxf"},
      {"--scale", "3.01", "o.dxf"},
      {"--scale", "0.005", "o.dxf"},
      {"--scale", "abc", "o.dxf"},
      {"--blur", "4", "o.dxf"},
      {"--threshold", "0", "o.dxf"},
      {"--threshold", "256", "o.dxf"},
      {"--tolerance", "101", "o.dxf"},
      {"--tolerance", "1.5", "o.dxf"},
      {"--tolerance"},
      {"--colour", "o.dxf"},
      {"a.gif", "b.gif", "o.dxf"},
  };
  for (const auto& argv : bad) {
    const BatchParse p = parseBatchArgs(argv);
    EXPECT_FALSE(p.args) << ::testing::PrintToString(argv);
    EXPECT_FALSE(p.error.empty());
  }
  EXPECT_NE(parseBatchArgs({"--blur", "4", "o.dxf"}).error.find("0 to 3"), std::string::npos);
}

}  // namespace
}  // namespace quern
