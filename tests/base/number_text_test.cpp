#include "base/number_text.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quern {
namespace {

TEST(ValueText, ScaleTextsAreTheShortestDecimals) {
  const std::pair<Int32, const char*> cases[] = {{100, "1"},  {300, "3"},   {1, "0.01"},
                                                 {7, "0.07"}, {150, "1.5"}, {33, "0.33"}};
  for (const auto& [value, text] : cases) EXPECT_EQ(decimalText(value / 100.0), text);
}

// Whole values take a way of their own; every value must still come out
// as the library's shortest fixed form, zero of either sign as "0".
TEST(ValueText, DrawingNumbersAreTheShortestFixedForm) {
  const float inf = std::numeric_limits<float>::infinity();
  const float nan = std::numeric_limits<float>::quiet_NaN();
  std::vector<float> values = {1,         -1,       9,         10,       -10,   99999,  16777215,
                               -16777215, 16777216, -16777216, 16777218, 1e30F, -1e30F, 0.5F,
                               -0.25F,    123.456F, 1e-7F,     inf,      nan};
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
  const std::pair<const char*, std::optional<Int32>> cases[] = {
      {"1", 1}, {" 42 ", 42}, {"-7", -7},  {"+3", 3},  {"2147483647", 2147483647}, {"1.5", {}}, {"2147483648", {}},
      {"", {}}, {"1e3", {}},  {"12a", {}}, {"- 1", {}}};
  for (const auto& [text, value] : cases) EXPECT_EQ(readWhole32(text), value) << '"' << text << '"';
}

}  // namespace
}  // namespace quern
