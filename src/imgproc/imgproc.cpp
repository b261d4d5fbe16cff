#include "imgproc/imgproc.h"

namespace quern {

ImgProc::ImgProc(Host* host)
    : ownContext_(std::make_unique<RasterContext>()), context_(ownContext_.get()), host_(host) {
  setUp();
}

ImgProc::ImgProc(RasterContext& context, Host* host) : context_(&context), host_(host) {
  setUp();
}

void ImgProc::setUp() {
  for (PictureBox* box : {&Picture1, &Picture3, &Picture4}) box->setPixelLimit(context_->limits.surfacePixels);
  Picture1.AutoSize = true;
  Picture3.AutoSize = true;
  Picture4.AutoSize = true;
  Picture3.AutoRedraw = true;
  Picture4.AutoRedraw = true;
  VScroll1.Visible = true;
  HScroll1.Visible = true;
}

Int32 ImgProc::picwidth() const {
  return roundToInt32(Picture1.Width());
}
Int32 ImgProc::picheight() const {
  return roundToInt32(Picture1.Height());
}
void ImgProc::setpicwidth(Int32 w) {
  Picture1.setWidth(static_cast<float>(w));
  notify("picwidth");
}
void ImgProc::setpicheight(Int32 h) {
  Picture1.setHeight(static_cast<float>(h));
  notify("picheight");
}
void ImgProc::setpicbackcolor(Colour c) {
  Picture1.setBackColor(c);
  notify("picbackcolor");
}
void ImgProc::setBackColor(Colour c) {
  Picture2.setBackColor(c);
  notify("BackColor");
}

void ImgProc::setPicture(Picture p) {
  Picture1.setPicture(std::move(p));
  notify("Picture");
  notify("Picwidth");
  notify("Picheight");
  if (handleOf(Picture1.picture()) == 0) {
    Picture1.setWidth(1.0F);
    Picture1.setHeight(1.0F);
  }
}

void ImgProc::setwh(Int16 w, Int16 h) {
  Picture1.setWidth(w);
  Picture1.setHeight(h);
}

void ImgProc::About() {
  host().MsgBox("This control is created ");
}

}  // namespace quern
