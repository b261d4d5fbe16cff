#include "app/layout.h"

#include <gtest/gtest.h>

#include "app/main_window_records.h"
#include "base/errors.h"
#include "imgproc/imgproc.h"

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

// The stored records of the window's five picture controls read back into
// controls of the defined sizes: the original with its picture, the rest empty.
TEST(MainWindowRecords, ReadBackAsTheWindowsFivePictureControls) {
  const Picture start = makeFilledPicture(700, 557, kWhite);
  const std::tuple<const char*, Int32, bool, Colour> cases[] = {
      {"IPCH", 700, true, kSysButtonFace}, {"IPC1", 1, false, kSysButtonFace}, {"IPC2", 1, false, 0xC0C0C0},
      {"IPC3", 1, false, kSysButtonFace},  {"IPCT", 1, false, kSysButtonFace},
  };
  for (const auto& [name, width, holds, back] : cases) {
    ImgProc control;
    control.UserControl_ReadProperties(mainWindowRecord(name, start));
    EXPECT_EQ(control.picwidth(), width) << name;
    EXPECT_EQ(control.picture() != nullptr, holds) << name;
    EXPECT_EQ(control.picbackcolor(), back) << name;
  }
  EXPECT_THROW(mainWindowRecord("Picture1", start), IndexError);
}

}  // namespace
}  // namespace quern
