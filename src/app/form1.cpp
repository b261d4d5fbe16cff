#include "app/form1.h"

#include <exception>

#include "app/layout.h"
#include "base/errors.h"
#include "intake/builtin_pictures.h"
#include "pipeline/preview.h"
#include "pipeline/statistics.h"
#include "vector/generalize.h"

namespace quern {

namespace {
// Picture boxes on the main window count their outer size in twips.
constexpr float kTwips = static_cast<float>(kTwipsPerPixel);

void placeBox(PictureBox& box, std::string_view name) {
  const ControlPlace& place = form1Place(name);
  box.setWidth(static_cast<float>(place.width));
  box.setHeight(static_cast<float>(place.height));
  box.setBackColor(kWhite);
}
}  // namespace

Form1::Form1(Platform& platform)
    : chain(rasterContext, *this, ChainOptions{Retention::keepAll, platform.TwipsPerPixelX()}),
      Picture1(kTwips, 0),
      Picture2(kTwips, 0),
      platform_(platform) {
  placeBox(Picture1, "Picture1");
  placeBox(Picture2, "Picture2");
  IPCH.setPicture(builtinPicture());
}

void Form1::Form_Load() {
  SetStage(1);
  fitPreview(Picture1.Width(), Picture1.Height());
  Picture1.setScaleWidth(static_cast<float>(IPCH.picwidth()));
  Picture1.setScaleHeight(static_cast<float>(IPCH.picheight()));
  Picture1.PaintPicture(IPCH.picture(), 0.0F, 0.0F, IPCH.Picture1.ScaleWidth(), IPCH.Picture1.ScaleHeight());
  session.GeneralizeTolerance = roundToInt32(platform_.TwipsPerPixelX() * 6.0);
  session.polyBuffer[0].redim(0);
  session.polyBuffer[1].redim(0);
  session.GeneralizeObject = std::make_unique<clsGeneralize>();
  ChangeStats();
}

// The picture decides only the branch: the box takes the shape of the
// original's control on the form, whatever the picture's own shape.
void Form1::fitPreview(float boxWidth, float boxHeight) {
  ::quern::fitPreview(Picture1, boxWidth, boxHeight, kPreviewShapeWidth, kPreviewShapeHeight, IPCH.picwidth(),
                      IPCH.picheight());
}

void Form1::paintPreview(const Picture& pic) {
  Picture1.PaintPicture(pic, 0.0F, 0.0F, static_cast<float>(IPCH.picwidth()), static_cast<float>(IPCH.picheight()));
}

namespace {
// One row of the state table: the bars PB(0, 1, 2, 3, 5, 6) as 'X' (Max),
// 'n' (Min) or '-' (untouched), then the Apply buttons of stages 1 to 6.
struct StageRow {
  Int16 stage;
  const char* bars;
  const char* buttons;
};
constexpr StageRow kStageTable[] = {
    {1, "nnnnnn", "100000"}, {2, "Xnnnnn", "110000"}, {3, "XXnnnn", "111000"},  {4, "XXXnnn", "111100"},
    {5, "XXXXnn", "111110"}, {6, "XXXXXn", "111111"}, {10, "------", "000000"}, {11, "XXXXXX", "111111"},
};
// The bar of each stage's row: PB(0, 1, 2, 3, 5, 6); there is no PB(4).
constexpr Int16 kBarIndex[] = {0, 1, 2, 3, 5, 6};
}  // namespace

Progress& Form1::progressOf(Stage stage) {
  return stageProgress_.emplace(*this, kBarIndex[static_cast<int>(stage) - 1]);
}

void Form1::SetStage(Int16 stage) {
  for (const StageRow& row : kStageTable) {
    if (row.stage != stage) continue;
    for (int i = 0; i < 6; ++i) {
      ProgressBar& bar = PB(kBarIndex[i]);
      if (row.bars[i] == 'X') bar.Value = bar.Max;
      if (row.bars[i] == 'n') bar.Value = bar.Min;
    }
    CommandButton* buttons[] = {&Command8, &Command9, &Command10, &Command13, &Command14, &Command15};
    for (int i = 0; i < 6; ++i) buttons[i]->Enabled = row.buttons[i] == '1';
    stage_ = stage;
    return;
  }
}

void Form1::ChangeStats() {
  const std::array<std::string, 6> lines = statisticsLines(
      PictureName, IPCH.picwidth(), IPCH.picheight(), IPC1.picwidth(), IPC1.picheight(), session.ChainTable.count());
  for (std::size_t i = 0; i < lines.size(); ++i) Stat[i].Caption = lines[i];
}

// --- Requests ----------------------------------------------------------------

bool Form1::request(std::string_view what, const std::function<void()>& fn) {
  if (running_) return false;
  running_ = true;
  runningStage_ = 0;
  try {
    fn();
  } catch (const std::exception& e) {
    // A stage that failed leaves the chain where that stage starts, so it
    // can be run again; the others keep what they had.
    if (stage_ == 10 && runningStage_ >= 1) SetStage(runningStage_);
    // Name the stage that failed, which may be a later one than the click started.
    static constexpr std::string_view kStageRows[] = {"Image Scale", "Blur Control",  "Sharpen",
                                                      "Center Line", "Center detect", "LineScale"};
    const std::string failed = runningStage_ >= 1 ? std::string(kStageRows[runningStage_ - 1]) + " (stage " +
                                                        std::to_string(runningStage_) + ")"
                                                  : std::string(what);
    lastError_ = failed + " failed: " + e.what();
    running_ = false;
    platform_.MsgBox(lastError_);
    return true;
  }
  running_ = false;
  return true;
}

void Form1::beginStage(Int16 stage) {
  runningStage_ = stage;
  SetStage(10);
}

void Form1::skipOnFailure(const std::function<void()>& step) {
  try {
    step();
  } catch (const QuernError&) {
    // The step falls away and the next one runs.
  }
}

namespace {
struct ButtonEntry {
  std::string_view name;
  std::string_view what;
  void (Form1::*handler)();
};
constexpr ButtonEntry kButtons[] = {
    {"Command8", "Image Scale", &Form1::Command8_Click},
    {"Command9", "Blur Control", &Form1::Command9_Click},
    {"Command10", "Sharpen", &Form1::Command10_Click},
    {"Command13", "Center Line", &Form1::Command13_Click},
    {"Command14", "Center detect", &Form1::Command14_Click},
    {"Command15", "LineScale", &Form1::Command15_Click},
    {"Command11", "Centerlines", &Form1::Command11_Click},
    {"Command2", "Get polylines", &Form1::Command2_Click},
    {"Command5", "Normalize", &Form1::Command5_Click},
    {"Command6", "normalize general", &Form1::Command6_Click},
    {"Command7", "Show generalized polylines", &Form1::Command7_Click},
    {"DoGeneralize", "generalize", &Form1::DoGeneralize_Click},
    {"Command1", "Treat", &Form1::Command1_Click},
};
constexpr ButtonEntry kMenus[] = {
    {"loadimage", "Load image", &Form1::loadimage_Click},
    {"exportimage", "Export DXF", &Form1::exportimage_Click},
    {"Restormenu", "Restore", &Form1::Restormenu_Click},
};
}  // namespace

CommandButton* Form1::button(std::string_view control) {
  if (control == "Command8") return &Command8;
  if (control == "Command9") return &Command9;
  if (control == "Command10") return &Command10;
  if (control == "Command13") return &Command13;
  if (control == "Command14") return &Command14;
  if (control == "Command15") return &Command15;
  return nullptr;  // the other buttons are always on
}

bool Form1::click(std::string_view control) {
  const CommandButton* b = button(control);
  if (b && !b->Enabled) return false;
  for (const ButtonEntry& e : kButtons) {
    if (e.name == control) return request(e.what, [this, &e] { (this->*e.handler)(); });
  }
  return false;
}

bool Form1::menu(std::string_view entry) {
  for (const ButtonEntry& e : kMenus) {
    if (e.name == entry) return request(e.what, [this, &e] { (this->*e.handler)(); });
  }
  return false;
}

HScrollBar& Form1::scrollBar(std::string_view control) {
  if (control == "HScroll1") return HScroll1;
  if (control == "HScroll2") return HScroll2;
  if (control == "HScroll3") return HScroll3;
  if (control == "HScroll6") return HScroll6;
  throw IndexError("no scroll bar named " + std::string(control));
}

CheckBox& Form1::checkBox(std::string_view control) {
  if (control == "Check1") return Check1;
  if (control == "Check2") return Check2;
  if (control == "Check3") return Check3;
  throw IndexError("no check box named " + std::string(control));
}

bool Form1::scroll(std::string_view control, Int32 value) {
  HScrollBar& bar = scrollBar(control);
  if (!inRange(bar, value)) return false;
  if (bar.Value == value) return true;
  if (&bar == &HScroll1) {
    // The one bar that starts a stage waits its turn like a click.
    if (running_) return false;
    bar.Value = value;
    return request("Image Scale", [this] { HScroll1_Change(); });
  }
  bar.Value = value;
  if (&bar == &HScroll2) HScroll2_Change();
  if (&bar == &HScroll3) HScroll3_Change();
  if (&bar == &HScroll6) HScroll6_Change();
  return true;
}

void Form1::HScroll1_Change() {
  Text1.Text = decimalText(HScroll1.Value / 100.0);
  Command8_Click();
}
void Form1::HScroll2_Change() {
  Text2.Text = std::to_string(HScroll2.Value);
}
void Form1::HScroll3_Change() {
  Text4.Text = std::to_string(HScroll3.Value);
}
void Form1::HScroll6_Change() {
  Text3.Text = std::to_string(HScroll6.Value);
}

}  // namespace quern
