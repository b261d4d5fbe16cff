#include "base/number_text.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

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

// Whole values take a way of their own; every value must still come out
// as the library's shortest fixed form, zero of either sign as "0".
TEST(ValueText, DrawingNumbersAreTheShortestFixedForm) {
  std::vector<float> values = {1.0F,
                               -1.0F,
                               9.0F,
                               10.0F,
                               -10.0F,
                               99999.0F,
                               16777215.0F,
                               -16777215.0F,
                               16777216.0F,
                               -16777216.0F,
                               16777218.0F,
                               1e30F,
                               -1e30F,
                               0.5F,
                               -0.25F,
                               123.456F,
                               1e-7F,
                               std::numeric_limits<float>::infinity(),
                               std::numeric_limits<float>::quiet_NaN()};
  std::uint32_t state = 2463534242U;
  for (int i = 0; i < 200000; ++i) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    values.push_back(static_cast<float>(static_cast<std::int32_t>(state) >> (state % 24)));  // whole, all sizes
    values.push_back(static_cast<float>(static_cast<std::int32_t>(state) >> 12) / 8.0F);     // eighths
  }
  for (const float v : values) {
    char expected[128];
    const auto end = std::to_chars(expected, expected + sizeof expected, v, std::chars_format::fixed).ptr;
    std::string got;
    appendDecimal(got, v);
    ASSERT_EQ(got, std::string(expected, end)) << v;
  }
  for (const float zero : {0.0F, -0.0F}) {
    std::string got;
    appendDecimal(got, zero);
    EXPECT_EQ(got, "0");
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
