#include "app/layout.h"

#include <gtest/gtest.h>

namespace quern {
namespace {

TEST(Layout, ExtraButtonsLieBeyondTheClientAreaAndFramesAreHidden) {
  for (const char* name :
       {"Command12", "Command11", "Command2", "Command5", "Command6", "Command7", "DoGeneralize", "Command1"}) {
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
