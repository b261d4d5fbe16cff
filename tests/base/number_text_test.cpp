#include "base/number_text.h"

#include <gtest/gtest.h>

namespace quern {
namespace {

TEST(ValueText, ScaleTextsAreTheShortestDecimals) {
  struct Case {
    Int32 value;
    const char* text;
  };
  for (const Case c : {Case{100, "1"}, {300, "3"}, {1, "0.01"}, {7, "0.07"}, {150, "1.5"}, {33, "0.33"}}) {
    EXPECT_EQ(decimalText(c.value / 100.0), c.text);
  }
}

TEST(ValueText, OnlyWholeNumbersOf32BitsAreRead) {
  struct Case {
    const char* text;
    std::optional<Int32> value;
  };
  for (const Case& c : {Case{"1", 1},
                        {" 42 ", 42},
                        {"-7", -7},
                        {"+3", 3},
                        {"2147483647", 2147483647},
                        {"2147483648", std::nullopt},
                        {"1.5", std::nullopt},
                        {"", std::nullopt},
                        {"1e3", std::nullopt},
                        {"12a", std::nullopt},
                        {"- 1", std::nullopt}}) {
    EXPECT_EQ(readWhole32(c.text), c.value) << '"' << c.text << '"';
  }
}

}  // namespace
}  // namespace quern
