#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>

#include "app/controls.h"
#include "app/platform.h"
#include "base/host.h"
#include "imgproc/imgproc.h"
#include "pipeline/stage_chain.h"
#include "surface/picture_box.h"
#include "vector/session.h"

namespace quern {

// The main window as plain C++: its controls as values, the chain of stages it
// owns and every handler. The Qt window shows and drives it, the tests script
// it; the form reaches the world around it only through the Platform.
//
// Requests from outside (clicks, menu entries, the scroll bar that starts
// stage 1) go through click(), menu() and scroll(): each runs behind one
// error boundary, and while one is running another that would start a stage,
// load or export is refused, since the running one must finish with the
// surfaces and tables it began with.
class Form1 : public Host, public StageReport {
 public:
  explicit Form1(Platform& platform);
  Form1(const Form1&) = delete;
  Form1& operator=(const Form1&) = delete;

  // One filter store and one random source for the whole window, shared by
  // its chain and its picture controls.
  RasterContext rasterContext;
  // The stages and their session. The window keeps every stage's picture, so
  // that any stage can run again with a new value.
  StageChain chain;
  Session& session = chain.session;
  // The window's hidden picture controls: the original, which stage 1 reads,
  // and the picture each raster stage left, as the chain has them.
  ImgProc IPCH{rasterContext, this};
  ImgProc IPC1{rasterContext, this};
  ImgProc IPC2{rasterContext, this};
  ImgProc IPC3{rasterContext, this};
  ImgProc IPCT{rasterContext, this};
  // A sixth surface, of the "Treat" button.
  ImgProc IPCTreat{rasterContext, this};

  // What the window keeps of its own: the splash's ticks, the path of the
  // picture named last in the open dialog and the bare name shown in the
  // statistics (of that picture, or of the drawing exported last).
  Int32 SplashTicks = 0;
  std::string PicturePath;
  std::string PictureName;

  PictureBox Picture1;  // the preview, laid out in twips
  PictureBox Picture2;  // small copy of the original in the hidden frame

  TextBox Text1{"1", true};
  TextBox Text2{"200", true};
  TextBox Text3{"1", false};
  TextBox Text4{"1", true};
  TextBox Text5{"Filename...", false};
  HScrollBar HScroll1{1, 300, 100};
  HScrollBar HScroll2{1, 255, 200};
  HScrollBar HScroll3{0, 3, 1};
  HScrollBar HScroll6{1, 100, 1};
  CheckBox Check1;  // "Continue"
  CheckBox Check2;  // "Show original"
  CheckBox Check3;  // "QuickLogic"
  CommandButton Command8{"Apply"};
  CommandButton Command9{"Apply"};
  CommandButton Command10{"Apply"};
  CommandButton Command13{"Apply"};
  CommandButton Command14{"Apply"};
  CommandButton Command15{"Apply"};
  std::array<Label, 6> Stat{Label{"Stats"}, Label{"Stats"}, Label{"Stats"},
                            Label{"Stats"}, Label{"Stats"}, Label{"Stats"}};

  // --- Host: what the surfaces and chain routines reach -----------------
  void DoEvents() override { platform_.DoEvents(); }
  ProgressBar& PB(Int16 index) override { return progressBarAt(bars_, index); }
  void MsgBox(const std::string& text) override { platform_.MsgBox(text); }
  Int32 TwipsPerPixelX() const override { return platform_.TwipsPerPixelX(); }
  Int32 TwipsPerPixelY() const override { return platform_.TwipsPerPixelY(); }
  // --- StageReport: each stage of the chain moves its row's bar ----------
  Progress& progressOf(Stage stage) override;

  // How stage 3 makes black and white: the fixed threshold of its row (as
  // defined), or a way the window's "Threshold" menu offers for scans. With
  // another way, stage 3 leaves Text2 saying what it used; going back to the
  // fixed threshold gives Text2 the value of its scroll bar again.
  ThresholdMode thresholdMode() const { return thresholdMode_; }
  void setThresholdMode(ThresholdMode mode);

  // --- Start-up and the stage chain -------------------------------------
  void Form_Load();
  void SetStage(Int16 stage);
  void ChangeStats();
  void Command8_Click();
  void Command9_Click();
  void Command10_Click();
  void Command13_Click();
  void Command14_Click();
  void Command15_Click();
  void HScroll1_Change();
  void HScroll2_Change();
  void HScroll3_Change();
  void HScroll6_Change();
  void Command1_Click();

  // --- Image intake -----------------------------------------------------
  void loadimage_Click();
  void Command3_Click();
  void Command4_Click();
  void Restormenu_Click();
  void exportimage_Click();

  // --- The side chain ---------------------------------------------------
  void Command11_Click();
  void Command2_Click();
  void Command5_Click();
  void Command6_Click();
  void Command7_Click();
  void DoGeneralize_Click();

  // --- Requests from the window or a test script ------------------------
  // A click on a button by its control name. False when it was refused
  // (the button is off, or another request is running) or has no handler.
  bool click(std::string_view control);
  // A menu entry by its name ("loadimage", "exportimage", "Restormenu", ...).
  bool menu(std::string_view entry);
  // Moves a scroll bar to `value` and fires its change. False when refused:
  // a value outside the bar's range, or HScroll1 while a request runs.
  bool scroll(std::string_view control, Int32 value);
  // The scroll bars by name, for views: HScroll1, HScroll2, HScroll3, HScroll6.
  HScrollBar& scrollBar(std::string_view control);
  CommandButton* button(std::string_view control);
  CheckBox& checkBox(std::string_view control);

  bool busy() const { return running_; }
  // The state of the stage chain: the last row of the state table applied.
  Int16 stage() const { return stage_; }
  // The text of the last error caught by the boundary; empty when none.
  const std::string& lastError() const { return lastError_; }

 private:
  // Runs `fn` behind the error boundary; refused (false) while another request runs.
  bool request(std::string_view what, const std::function<void()>& fn);
  void fitPreview(float boxWidth, float boxHeight);
  void paintPreview(const Picture& pic);
  double readScale() const;
  Int32 readCount(const TextBox& box, std::string_view row) const;
  // Text3 as a whole number, or a message to the user and nothing.
  std::optional<Int32> readTolerance();
  void beginStage(Int16 stage);
  // The chain's pictures on the window's picture controls.
  void showChain();
  // Stage 4's work, for the stage and the side chain: a refusal is told, the
  // chain goes on with the picture as it stands.
  StageOutcome thinStage();
  // Stage 6 and the normalisation passes skip a failing step and go on.
  void skipOnFailure(const std::function<void()>& step);

  Platform& platform_;
  ProgressBar bars_[7];
  std::optional<HostProgress> stageProgress_;
  bool running_ = false;
  Int16 runningStage_ = 0;
  Int16 stage_ = 0;
  ThresholdMode thresholdMode_ = ThresholdMode::fixed;
  std::string lastError_;
};

// The bare file name of a path: what follows the last separator of this
// platform, or the whole text when it holds none.
std::string FileName(const std::string& WithPath);

}  // namespace quern
