#include "app/layout.h"

#include <array>
#include <string>

#include "base/errors.h"
#include "pipeline/preview.h"

namespace quern {

namespace {
using K = ControlKind;

constexpr std::array kForm1 = {
    ControlPlace{"Picture4", K::PictureBox, "", 60, 0, 4035, 2355, ""},
    ControlPlace{"Image2", K::Image, "Picture4", 120, -30, 3750, 2280, ""},
    ControlPlace{"Frame6", K::Frame, "", 90, 2370, 4005, 1365, "Statistics"},
    ControlPlace{"Stat(0)", K::Label, "Frame6", 90, 180, 3015, 225, "Stats"},
    ControlPlace{"Stat(1)", K::Label, "Frame6", 90, 360, 3015, 225, "Stats"},
    ControlPlace{"Stat(2)", K::Label, "Frame6", 90, 540, 3015, 225, "Stats"},
    ControlPlace{"Stat(3)", K::Label, "Frame6", 90, 720, 3015, 225, "Stats"},
    ControlPlace{"Stat(4)", K::Label, "Frame6", 90, 900, 3015, 225, "Stats"},
    ControlPlace{"Stat(5)", K::Label, "Frame6", 90, 1080, 3015, 225, "Stats"},
    ControlPlace{"Check3", K::CheckBox, "Frame6", 2700, 570, 1155, 195, "QuickLogic"},
    ControlPlace{"Check1", K::CheckBox, "", 2790, 2490, 1065, 225, "Continue"},
    ControlPlace{"Check2", K::CheckBox, "", 2790, 2700, 1245, 225, "Show original"},
    ControlPlace{"Frame1", K::Frame, "", 90, 3750, 4005, 2325, "Options"},
    ControlPlace{"Label4", K::Label, "Frame1", 120, 240, 975, 255, "Image Scale"},
    ControlPlace{"Label5", K::Label, "Frame1", 120, 570, 975, 255, "Blur Control"},
    ControlPlace{"Label6", K::Label, "Frame1", 120, 900, 975, 255, "Sharpen"},
    ControlPlace{"Label7", K::Label, "Frame1", 120, 1260, 975, 255, "Center Line"},
    ControlPlace{"Label8", K::Label, "Frame1", 120, 1590, 975, 255, "Center detect"},
    ControlPlace{"Label9", K::Label, "Frame1", 120, 1920, 975, 255, "LineScale"},
    ControlPlace{"HScroll1", K::ScrollBar, "Frame1", 1050, 240, 855, 285, ""},
    ControlPlace{"HScroll3", K::ScrollBar, "Frame1", 1050, 570, 855, 285, ""},
    ControlPlace{"HScroll2", K::ScrollBar, "Frame1", 1050, 900, 855, 285, ""},
    ControlPlace{"HScroll6", K::ScrollBar, "Frame1", 1050, 1890, 855, 285, ""},
    ControlPlace{"Text1", K::TextBox, "Frame1", 1920, 240, 405, 285, "1"},
    ControlPlace{"Text4", K::TextBox, "Frame1", 1920, 570, 405, 285, "1"},
    ControlPlace{"Text2", K::TextBox, "Frame1", 1920, 900, 405, 285, "200"},
    ControlPlace{"Text3", K::TextBox, "Frame1", 1920, 1890, 435, 285, "1"},
    ControlPlace{"PB(0)", K::ProgressBar, "Frame1", 2370, 240, 975, 285, ""},
    ControlPlace{"PB(1)", K::ProgressBar, "Frame1", 2370, 570, 975, 285, ""},
    ControlPlace{"PB(2)", K::ProgressBar, "Frame1", 2370, 900, 975, 285, ""},
    ControlPlace{"PB(3)", K::ProgressBar, "Frame1", 2370, 1230, 975, 285, ""},
    ControlPlace{"PB(5)", K::ProgressBar, "Frame1", 2370, 1560, 975, 285, ""},
    ControlPlace{"PB(6)", K::ProgressBar, "Frame1", 2370, 1890, 975, 285, ""},
    ControlPlace{"Command8", K::Button, "Frame1", 3360, 210, 585, 315, "Apply"},
    ControlPlace{"Command9", K::Button, "Frame1", 3360, 540, 585, 315, "Apply"},
    ControlPlace{"Command10", K::Button, "Frame1", 3360, 870, 585, 315, "Apply"},
    ControlPlace{"Command13", K::Button, "Frame1", 3360, 1200, 585, 315, "Apply"},
    ControlPlace{"Command14", K::Button, "Frame1", 3360, 1530, 585, 315, "Apply"},
    ControlPlace{"Command15", K::Button, "Frame1", 3360, 1860, 585, 315, "Apply"},
    ControlPlace{"Frame2", K::Frame, "", 4080, 0, 6135, 6195, ""},
    ControlPlace{"Picture1", K::PictureBox, "", 4170, 0, 6000, 6000, ""},
    ControlPlace{"Frame4", K::Frame, "", 4860, 960, 5385, 1215, "Menu File", false},
    ControlPlace{"Picture2", K::PictureBox, "Frame4", 3960, 180, 1335, 945, ""},
    ControlPlace{"Text5", K::TextBox, "Frame4", 120, 840, 3525, 285, "Filename..."},
    ControlPlace{"Command3", K::Button, "Frame4", 120, 390, 615, 345, "get"},
    ControlPlace{"Command4", K::Button, "Frame4", 750, 390, 615, 345, "restart"},
    ControlPlace{"Frame5", K::Frame, "", 4140, 1380, 5385, 2475, "", false},
    ControlPlace{"IPCH", K::Surface, "Frame5", 30, 300, kPreviewShapeWidthTwips, kPreviewShapeHeightTwips, ""},
    ControlPlace{"IPCT", K::Surface, "Frame5", 2640, 300, 2655, 2055, ""},
    ControlPlace{"Label2", K::Label, "Frame5", 60, 120, 1485, 195, "Original"},
    ControlPlace{"Label3", K::Label, "Frame5", 2670, 120, 1485, 225, "Centerlines"},
    ControlPlace{"Frame7", K::Frame, "", 4320, 3090, 5655, 1695, "Frame7", false},
    ControlPlace{"IPC2", K::Surface, "Frame7", 90, 210, 1635, 1365, ""},
    ControlPlace{"IPC1", K::Surface, "Frame7", 1830, 210, 1695, 1365, ""},
    ControlPlace{"IPC3", K::Surface, "Frame7", 3570, 210, 1965, 1395, ""},
    ControlPlace{"Command12", K::Button, "", 12150, 6120, 435, 975, ">>>process>>>"},
    ControlPlace{"Command11", K::Button, "", 12600, 6120, 1100, 315, "Centerlines"},
    ControlPlace{"Command2", K::Button, "", 12600, 6450, 1100, 315, "Get polylines"},
    ControlPlace{"Command5", K::Button, "", 12600, 6780, 1100, 315, "Normalize"},
    ControlPlace{"Command6", K::Button, "", 13980, 6180, 3015, 255, "normalize general"},
    ControlPlace{"Command7", K::Button, "", 13980, 6540, 3525, 345, "SHOW GENERALIZED POLYS SPL\xC3\xA9IT"},
    ControlPlace{"DoGeneralize", K::Button, "", 13980, 6990, 1575, 255, "generalize "},
    ControlPlace{"Command1", K::Button, "", 14250, 7260, 2985, 315, "Treat"},
    ControlPlace{"Label1", K::Label, "", 10830, 7470, 975, 225, "Line Factor"},
};

constexpr std::array kSplash = {
    ControlPlace{"Picture4", K::PictureBox, "", 60, 60, 4035, 2355, ""},
    ControlPlace{"Image2", K::Image, "Picture4", 120, 0, 3750, 2280, ""},
    ControlPlace{"Label1", K::Label, "", 90, 2490, 3975, 405, kSplashTitle},
    ControlPlace{"Label2", K::Label, "", 90, 2760, 3975, 405, kSplashNotice},
};
}  // namespace

std::span<const ControlPlace> form1Layout() {
  return kForm1;
}
std::span<const ControlPlace> splashLayout() {
  return kSplash;
}

const ControlPlace& form1Place(std::string_view name) {
  for (const ControlPlace& c : kForm1) {
    if (c.name == name) return c;
  }
  throw IndexError("no control named " + std::string(name) + " on the main window");
}

}  // namespace quern
