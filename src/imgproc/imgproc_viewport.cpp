#include <algorithm>
#include <sstream>

#include "imgproc/imgproc.h"

namespace quern {

namespace {
constexpr float kBarThickness = 20.0F;
constexpr float kViewportFrame = 4.0F;  // 2 pixels of border on each side
constexpr Int32 kScrollPageStep = 8;
}  // namespace

bool ImgProc::initShell() {
  Picture1.onResize = [this] { Picture1_Resize(); };
  HScroll1.LargeChange = kScrollPageStep;
  VScroll1.LargeChange = kScrollPageStep;
  return true;
}

void ImgProc::UserControl_Resize(float widthTwips, float heightTwips) {
  controlWidthTwips_ = widthTwips;
  controlHeightTwips_ = heightTwips;
  const auto tx = static_cast<float>(host().TwipsPerPixelX());
  const auto ty = static_cast<float>(host().TwipsPerPixelY());
  // The viewport stays at 0, 0; a control under 20 pixels is refused by the box.
  Picture2.setWidth(widthTwips / tx - kBarThickness);
  Picture2.setHeight(heightTwips / ty - kBarThickness);
  HScroll1Place = Placement{0.0F, Picture2.Height(), Picture2.Width(), kBarThickness};
  VScroll1Place = Placement{Picture2.Width(), 0.0F, kBarThickness, Picture2.Height()};
  resetscroll();
}

void ImgProc::resetscroll() {
  Picture1Top = 0.0F;
  Picture1Left = 0.0F;
  HScroll1.Value = 0;
  VScroll1.Value = 0;
  HScroll1.Enabled = true;
  VScroll1.Enabled = true;
  // How far the picture exceeds the viewport's client area.
  const float dx = Picture1.Width() - Picture2.Width() + kViewportFrame;
  if (dx > 0.0F) {
    HScroll1.Max = roundToInt16(dx);
  } else {
    HScroll1.Enabled = false;
  }
  const float dy = Picture1.Height() - Picture2.Height() + kViewportFrame;
  if (dy > 0.0F) {
    VScroll1.Max = roundToInt16(dy);
  } else {
    VScroll1.Enabled = false;
  }
  viewportChanged();
}

void ImgProc::HScroll1_Change() {
  Picture1Left = -static_cast<float>(HScroll1.Value);
  viewportChanged();
}

void ImgProc::VScroll1_Change() {
  Picture1Top = -static_cast<float>(VScroll1.Value);
  viewportChanged();
}

void ImgProc::setScaleMode(Int16 v) {
  Picture1.setScaleMode(v);
  notify("ScaleMode");
}

void ImgProc::setScaleHeight(float v) {
  Picture1.setScaleHeight(v);
  notify("ScaleHeight");
}

void ImgProc::setScaleWidth(float v) {
  Picture1.setScaleWidth(v);
  notify("ScaleWidth");
}

void ImgProc::LinkPoke() {
  throw SurfaceError("LinkPoke: this control is linked to no other application");
}
void ImgProc::LinkRequest() {
  throw SurfaceError("LinkRequest: this control is linked to no other application");
}
void ImgProc::LinkSend() {
  throw SurfaceError("LinkSend: this control is linked to no other application");
}

void ImgProc::OLEDrag() {
  DataObject data;
  Int32 allowedEffects = 0;
  Picture1_OLEStartDrag(data, allowedEffects);
  Int32 effect = 0;
  Picture1_OLECompleteDrag(effect);
}

void ImgProc::Scale_(std::optional<float> X1, std::optional<float> Y1, std::optional<float> X2,
                     std::optional<float> Y2) {
  if (!X1 && !Y1 && !X2 && !Y2) {
    Picture1.setScaleMode(kScalePixels);
    extras_.ScaleLeft = 0.0F;
    extras_.ScaleTop = 0.0F;
    return;
  }
  if (!X1 || !Y1 || !X2 || !Y2) throw SurfaceError("Scale_ takes both corners, or none to go back to pixels");
  Picture1.setScaleWidth(*X2 - *X1);
  Picture1.setScaleHeight(*Y2 - *Y1);
  extras_.ScaleLeft = *X1;
  extras_.ScaleTop = *Y1;
}

float ImgProc::ScaleX(float Width, std::optional<Int16> FromScale, std::optional<Int16> ToScale) const {
  return Picture1.ScaleX(Width, FromScale.value_or(kScaleHimetric), ToScale.value_or(Picture1.ScaleMode()));
}

float ImgProc::ScaleY(float height, std::optional<Int16> FromScale, std::optional<Int16> ToScale) const {
  return Picture1.ScaleY(height, FromScale.value_or(kScaleHimetric), ToScale.value_or(Picture1.ScaleMode()));
}

namespace {
// Text extent in pixels when no view measures it: lines of 1.2 em, characters
// of half an em on average.
std::pair<float, float> estimateText(const StdFont& font, const std::string& text) {
  const float em = font.Size * 96.0F / 72.0F;
  std::istringstream lines(text);
  std::string line;
  std::size_t longest = 0;
  int count = 0;
  while (std::getline(lines, line)) {
    longest = std::max(longest, line.size());
    ++count;
  }
  return {static_cast<float>(longest) * em * 0.5F, static_cast<float>(std::max(count, 1)) * em * 1.2F};
}
}  // namespace

float ImgProc::TextHeight(const std::string& Str) const {
  const auto extent = measureText ? measureText(extras_.Font, Str) : estimateText(extras_.Font, Str);
  return Picture1.ScaleY(extent.second, kScalePixels, Picture1.ScaleMode());
}

float ImgProc::TextWidth(const std::string& Str) const {
  const auto extent = measureText ? measureText(extras_.Font, Str) : estimateText(extras_.Font, Str);
  return Picture1.ScaleX(extent.first, kScalePixels, Picture1.ScaleMode());
}

}  // namespace quern
