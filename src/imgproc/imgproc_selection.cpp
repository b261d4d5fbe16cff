#include <string>

#include "imgproc/imgproc.h"
#include "imgproc/scratch.h"

namespace quern {

namespace {
void refuseEmpty(const char* member, Int16 X, Int16 Y, Int16 w, Int16 h) {
  if (w > 0 && h > 0) return;
  throw SurfaceError(std::string(member) + ": the rectangle at " + std::to_string(X) + ", " + std::to_string(Y) +
                     " of " + std::to_string(w) + " by " + std::to_string(h) + " pixels holds no part of the picture");
}
}  // namespace

void ImgProc::sourceToPicture3(bool takeimage) {
  if (takeimage) {
    Picture3.setPicture(Picture1.Image());
  } else {
    Picture3.setPicture(Picture1.picture());
    Picture3.Cls();
  }
}

void ImgProc::selviewport() {
  Int16 w = roundToInt16(HScroll1.Enabled ? Picture2.Width() - 4.0F : Picture1.Width());
  Int16 h = roundToInt16(VScroll1.Enabled ? Picture2.Height() - 4.0F : Picture1.Height());
  if (w > shapemaxwidth) w = shapemaxwidth;
  if (h > shapemaxheight) h = shapemaxheight;
  Shape1.Visible = true;
  Shape1.Left = static_cast<float>(HScroll1.Value);
  Shape1.Top = static_cast<float>(VScroll1.Value);
  Shape1.Width = w;
  Shape1.Height = h;
}

// A spent frame is 0 by 0, a fresh one 1 by 1: neither is a selection.
bool ImgProc::hasSelection() const {
  return Shape1.Visible && !(Shape1.Width <= 1.0F && Shape1.Height <= 1.0F);
}

// Cuts what the frame marks into Picture4 and gives it as a picture.
Picture ImgProc::cutFrame(bool takeimage) {
  Picture4.setPicture(nullptr);
  Picture4.setBackColor(Picture1.BackColor());
  Shape1.Visible = false;
  Picture3.setWidth(Picture1.Width());
  Picture3.setHeight(Picture1.Height());
  sourceToPicture3(takeimage);
  Picture4.setWidth(Shape1.Width);
  Picture4.setHeight(Shape1.Height);
  Picture4.PaintPicture(takeimage ? Picture3.Image() : Picture3.picture(), 0.0F, 0.0F, Picture4.Width(),
                        Picture4.Height(), Shape1.Left, Shape1.Top, Shape1.Width, Shape1.Height);
  Picture3.setPicture(nullptr);
  return Picture4.Image();
}

void ImgProc::getselpart(bool takeimage) {
  if (!hasSelection()) return;
  ScratchScope scratch(*this);
  Picture1.setPicture(cutFrame(takeimage));
  Picture4.setPicture(nullptr);
  Shape1 = SelectionFrame{true, 0.0F, 0.0F, 0.0F, 0.0F};
}

Picture ImgProc::getselpartIMAGE(bool takeimage) {
  if (!hasSelection()) return nullptr;
  ScratchScope scratch(*this);
  Picture cut = cutFrame(takeimage);
  Picture4.setPicture(nullptr);
  Shape1 = SelectionFrame{true, 0.0F, 0.0F, 0.0F, 0.0F};
  return cut;
}

void ImgProc::crop(Int16 X, Int16 Y, Int16 w, Int16 h, bool takeimage) {
  ScratchScope scratch(*this);
  Picture3.setWidth(Picture1.Width());
  Picture3.setHeight(Picture1.Height());
  // A rectangle sticking out on the left or top moves inside; it keeps its size.
  if (X < 0) X = 0;
  if (Y < 0) Y = 0;
  if (Picture1.Width() < add16(X, w)) w = roundToInt16(Picture1.Width() - X);
  if (Picture1.Height() < add16(Y, h)) h = roundToInt16(Picture1.Height() - Y);
  refuseEmpty("crop", X, Y, w, h);
  Picture4.setPicture(nullptr);
  sourceToPicture3(takeimage);
  Picture4.setWidth(w);
  Picture4.setHeight(h);
  Picture4.PaintPicture(takeimage ? Picture3.Image() : Picture3.picture(), 0.0F, 0.0F, Picture4.Width(),
                        Picture4.Height(), X, Y, w, h);
  Picture3.setPicture(nullptr);
  commit(Picture4);
}

Picture ImgProc::copypart(Int16 X, Int16 Y, Int16 w, Int16 h, bool takeimage) {
  // Goes by the stored picture's own size, not by the size of the box.
  const auto [nativeW, nativeH] = nativeSize(Picture1);
  const Int16 pw = roundToInt16(nativeW);
  const Int16 ph = roundToInt16(nativeH);
  if (X < 0) X = 0;
  if (Y < 0) Y = 0;
  if (add16(X, w) > pw) w = sub16(pw, X);
  if (add16(Y, h) > ph) h = sub16(ph, Y);
  refuseEmpty("copypart", X, Y, w, h);
  ScratchScope scratch(*this);
  Picture4.setWidth(w);
  Picture4.setHeight(h);
  Picture3.setPicture(Picture1.picture());
  Picture3.Cls();
  Picture4.PaintPicture(takeimage ? Picture1.Image() : Picture3.picture(), 0.0F, 0.0F, w, h, X, Y, w, h);
  return Picture4.Image();
}

}  // namespace quern
