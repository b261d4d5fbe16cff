#include "app/form1.h"
#include "base/errors.h"
#include "pipeline/preview.h"
#include "processing/colour_normalise.h"

namespace quern {

namespace {
// A stage the chain cannot go on from: its reason reaches the user as the
// failure of that stage, and the chain stands where that stage starts.
void stopUnlessDone(const StageOutcome& outcome) {
  if (!outcome.done()) throw QuernError(outcome.reason);
}
// Stages 3 and 4 tell the user of a refusal themselves and the chain goes on
// with the picture as it stands; only an error stops it.
void stopIfFailed(const StageOutcome& outcome) {
  if (outcome.kind == StageOutcome::Kind::failed) throw QuernError(outcome.reason);
}
}  // namespace

double Form1::readScale() const {
  const std::optional<double> v = readNumber(Text1.Text);
  if (!v) throw QuernError("the scale \"" + Text1.Text + "\" is not a number");
  return *v;
}

Int32 Form1::readCount(const TextBox& box, std::string_view row) const {
  const std::optional<Int32> v = readWhole32(box.Text);
  if (!v) throw QuernError("the " + std::string(row) + " value \"" + box.Text + "\" is not a whole number");
  return *v;
}

std::optional<Int32> Form1::readTolerance() {
  const std::optional<Int32> v = readWhole32(Text3.Text);
  if (!v) {
    MsgBox("The LineScale value \"" + Text3.Text +
           "\" is not a whole number. Enter a whole number such as 1 to 100; the lines were left as they were.");
  }
  return v;
}

void Form1::showChain() {
  IPC1.setPicture(chain.picture(Stage::rescale));
  IPC2.setPicture(chain.picture(Stage::blur));
  IPC3.setPicture(chain.picture(Stage::threshold));
  IPCT.setPicture(chain.picture(Stage::thin));
}

StageOutcome Form1::thinStage() {
  const StageOutcome thinned = chain.thin();
  showChain();
  if (thinned.kind == StageOutcome::Kind::refused) {
    const ThinOutcome why = thinned.count > 0 ? ThinOutcome::TooManyPixels : ThinOutcome::TooLarge;
    MsgBox(thinRefusalMessage(why, thinned.width, thinned.height, thinned.count, thinned.limit));
  }
  return thinned;
}

void Form1::Command8_Click() {
  beginStage(1);
  PB(0).Value = 0.0F;
  for (Int32 scan = 0; scan <= 100; ++scan) PB(0).Value = static_cast<float>(scan);
  const double factor = readScale();
  chain.setOriginal(IPCH.picture());
  const StageOutcome rescaled = chain.rescale(factor);
  showChain();
  stopUnlessDone(rescaled);
  PB(0).Value = 0.0F;
  ChangeStats();
  Picture1.Cls();
  paintPreview(IPCH.picture());
  SetStage(2);
  if (Check1.isSet()) Command9_Click();
}

void Form1::Command9_Click() {
  beginStage(2);
  const StageOutcome smoothed = chain.blur(readCount(Text4, "Blur Control"));
  showChain();
  stopUnlessDone(smoothed);
  ChangeStats();
  Picture1.Cls();
  paintPreview(IPC2.picture());
  SetStage(3);
  if (Check1.isSet()) Command10_Click();
}

void Form1::setThresholdMode(ThresholdMode mode) {
  if (mode == ThresholdMode::fixed && thresholdMode_ != ThresholdMode::fixed) HScroll2_Change();
  thresholdMode_ = mode;
}

void Form1::Command10_Click() {
  beginStage(3);
  ThresholdSetting setting;
  setting.mode = thresholdMode_;
  if (thresholdMode_ == ThresholdMode::fixed) setting.value = toInt16(readCount(Text2, "Sharpen"));
  const StageOutcome blackWhite = chain.threshold(setting);
  showChain();
  if (blackWhite.done() && thresholdMode_ == ThresholdMode::automatic) Text2.Text = std::to_string(blackWhite.value);
  if (blackWhite.done() && thresholdMode_ == ThresholdMode::local) Text2.Text = "local";
  if (blackWhite.kind == StageOutcome::Kind::refused) MsgBox(kImageTooLarge);
  stopIfFailed(blackWhite);
  ChangeStats();
  Picture1.Cls();
  paintPreview(IPC3.picture());
  SetStage(4);
  if (Check1.isSet()) Command13_Click();
}

void Form1::Command13_Click() {
  beginStage(4);
  stopIfFailed(thinStage());
  // Two more paints ANDed one unit right and one down thicken the black
  // one-pixel lines for the eye; the surface keeps its thin lines.
  const float w = static_cast<float>(IPCH.picwidth());
  const float h = static_cast<float>(IPCH.picheight());
  Picture1.PaintPicture(IPCT.picture(), 0.0F, 0.0F, w, h);
  Picture1.PaintPicture(IPCT.picture(), 0.0F, 1.0F, w, h, std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                        kOpcodeAnd);
  Picture1.PaintPicture(IPCT.picture(), 1.0F, 0.0F, w, h, std::nullopt, std::nullopt, std::nullopt, std::nullopt,
                        kOpcodeAnd);
  ChangeStats();
  SetStage(5);
  if (Check1.isSet()) Command14_Click();
}

void Form1::Command14_Click() {
  beginStage(5);
  PB(5).Value = 0.0F;
  stopUnlessDone(chain.chain());
  ChangeStats();
  SetStage(6);
  if (Check1.isSet()) Command15_Click();
}

void Form1::Command15_Click() {
  // Read before anything is cleared: a value that is no number leaves the
  // drawing and the chain as they were.
  const std::optional<Int32> tolerance = readTolerance();
  if (!tolerance) return;
  beginStage(6);
  Picture1.Cls();
  Picture1.setPicture(nullptr);
  Picture1.Cls();
  DoEvents();
  // A step of this stage that fails falls away and the next one runs.
  chain.simplify(*tolerance);
  if (!Check3.isSet()) chain.reorder();
  if (Check2.isSet()) {
    skipOnFailure([this] {
      Picture1.PaintPicture(IPCH.picture(), 0.0F, 0.0F, static_cast<float>(IPCH.picwidth()),
                            static_cast<float>(IPCH.picheight()));
    });
  }
  const float factor = previewFactor(IPCH.picwidth(), IPCT.picwidth());
  // Eleven chances for the interface after each line make the drawing
  // visible line by line.
  skipOnFailure([this, factor] {
    drawSegments(chain.segments(), Picture1, factor, [this] {
      for (int chance = 0; chance <= 10; ++chance) DoEvents();
    });
  });
  ChangeStats();
  SetStage(11);
}

// "Treat" runs rescale, one smoothing, threshold and thinning on a surface
// of its own, so the stages keep what they hold, and shows each step in the
// small box of the hidden frame.
void Form1::Command1_Click() {
  session.LineTable.count() = 0;
  auto show = [this] {
    Picture2.setScaleWidth(static_cast<float>(IPCTreat.picwidth()));
    Picture2.setScaleHeight(static_cast<float>(IPCTreat.picheight()));
    Picture2.PaintPicture(IPCTreat.picture(), 0.0F, 0.0F, static_cast<float>(IPCTreat.picwidth()),
                          static_cast<float>(IPCTreat.picheight()));
  };
  IPCTreat.setPicture(IPCH.picture());
  show();
  IPCTreat.scalesign(readScale());
  show();
  IPCTreat.filtersmooth();
  show();
  IPCTreat.colnorm3(toInt16(readCount(Text2, "Sharpen")));
  show();
  IPCTreat.thin(session.LineTable);
  show();
}

}  // namespace quern
