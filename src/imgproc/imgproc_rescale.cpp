#include "imgproc/imgproc.h"
#include "imgproc/scratch.h"

namespace quern {

namespace {
// Sizes come from the 32-bit float size times the factor, rounded to a 32-bit float.
void stretch(ImgProc& c, double factorX, double factorY) {
  const float w = c.Picture1.Width();
  const float h = c.Picture1.Height();
  ScratchScope scratch(c);
  c.Picture3.setWidth(w);
  c.Picture3.setHeight(h);
  c.Picture3.setPicture(c.Picture1.Image());
  c.Picture4.setWidth(toFloat32(w * factorX));
  c.Picture4.setHeight(toFloat32(h * factorY));
  c.Picture4.PaintPicture(c.Picture3.picture(), 0.0F, 0.0F, c.Picture4.Width(), c.Picture4.Height());
  c.commit(c.Picture4);
  c.HScroll1.Value = 0;
  c.VScroll1.Value = 0;
}
}  // namespace

void ImgProc::scalesign(double scalefactor) {
  stretch(*this, scalefactor, scalefactor);
}
void ImgProc::scalesignwidth(double scalefactor) {
  stretch(*this, scalefactor, 1.0);
}
void ImgProc::scalesignheight(double scalefactor) {
  stretch(*this, 1.0, scalefactor);
}

}  // namespace quern
