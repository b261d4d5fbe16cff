#include "app/form1.h"
#include "base/errors.h"
#include "pipeline/preview.h"
#include "vector/generalize.h"
#include "vector/normalize.h"

namespace quern {

namespace {
// The side chain has no stage of its own to fall back to: a failure ends it.
void throwUnlessDone(const StageOutcome& outcome) {
  if (!outcome.done()) throw QuernError(outcome.reason);
}
}  // namespace

void Form1::Command11_Click() {
  const StageOutcome thinned = thinStage();
  if (thinned.kind == StageOutcome::Kind::failed) throwUnlessDone(thinned);
  const auto w = static_cast<float>(IPCT.picwidth());
  const auto h = static_cast<float>(IPCT.picheight());
  Picture1.setScaleWidth(w);
  Picture1.setScaleHeight(h);
  Picture1.PaintPicture(IPCT.picture(), 0.0F, 0.0F, w, h);
  ChangeStats();
  if (Check1.isSet()) Command2_Click();
}

void Form1::Command2_Click() {
  PB(3).Value = 0.0F;
  throwUnlessDone(chain.chain());
  ChangeStats();
  if (Check1.isSet()) Command5_Click();
}

void Form1::Command5_Click() {
  const std::optional<Int32> tolerance = readTolerance();
  if (!tolerance) return;
  Picture1.setPicture(nullptr);
  Picture1.Cls();
  throwUnlessDone(chain.simplify(*tolerance));
  Picture1.Cls();
  const auto w = static_cast<float>(IPC2.picwidth());
  const auto h = static_cast<float>(IPC2.picheight());
  Picture1.setScaleWidth(w);
  Picture1.setScaleHeight(h);
  Picture1.PaintPicture(IPCH.picture(), 0.0F, 0.0F, w, h);
  drawSegments(chain.segments(), Picture1, 1.0F);
  ChangeStats();
}

void Form1::Command6_Click() {
  normalizeAsOnePolyline(session, TwipsPerPixelX());
  Picture1.Cls();
  session.GeneralizeTolerance = sub32(session.GeneralizeTolerance, 1);
  drawSegments(chain.segments(), Picture1, 1.0F, {}, std::nullopt);
}

void Form1::Command7_Click() {
  Picture2.Cls();
  fanFromGeneralized(session);
}

void Form1::DoGeneralize_Click() {
  simplifyPolyBuffer(session, TwipsPerPixelX());
}

}  // namespace quern
