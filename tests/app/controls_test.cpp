#include "app/controls.h"

#include <gtest/gtest.h>

#include "app/layout.h"

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
  for (const Case& c : {Case{"1", 1}, {" 42 ", 42}, {"-7", -7}, {"+3", 3}, {"2147483647", 2147483647},
                        {"2147483648", std::nullopt}, {"1.5", std::nullopt}, {"", std::nullopt},
                        {"1e3", std::nullopt}, {"12a", std::nullopt}, {"- 1", std::nullopt}}) {
    EXPECT_EQ(readWhole32(c.text), c.value) << '"' << c.text << '"';
  }
}

TEST(Layout, ExtraButtonsLieBeyondTheClientAreaAndFramesAreHidden) {
  for (const char* name : {"Command12", "Command11", "Command2", "Command5", "Command6", "Command7", "DoGeneralize",
                           "Command1"}) {
    const ControlPlace& p = form1Place(name);
    EXPECT_TRUE(p.left >= kForm1ClientWidth || p.top + p.height > kForm1ClientHeight) << name;
  }
  for (const char* name : {"Frame4", "Frame5", "Frame7"}) EXPECT_FALSE(form1Place(name).visible) << name;
  // Every parent stands before its children, so a window can build them in order.
  std::vector<std::string_view> seen;
  for (const ControlPlace& p : form1Layout()) {
    if (!p.parent.empty()) {
      EXPECT_NE(std::find(seen.begin(), seen.end(), p.parent), seen.end()) << p.name;
    }
    seen.push_back(p.name);
  }
}

}  // namespace
}  // namespace quern
