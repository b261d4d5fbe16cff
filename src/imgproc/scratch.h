#pragma once

#include <utility>

#include "imgproc/imgproc.h"

namespace quern {

// Empties both scratch boxes when an operation ends, by its last step or by
// an error, so that a failed operation leaves them as a finished one does,
// and shrinks them to one pixel so that a large intermediate picture is not
// kept alive between operations. With `restoreCanvas` it also gives Picture4
// back the background and fill style it had, as the pattern members need.
class ScratchScope {
 public:
  explicit ScratchScope(ImgProc& control, bool restoreCanvas = false)
      : c_(control),
        restore_(restoreCanvas),
        backColor_(control.Picture4.BackColor()),
        fillStyle_(control.Picture4.FillStyle) {}
  ScratchScope(const ScratchScope&) = delete;
  ScratchScope& operator=(const ScratchScope&) = delete;
  ~ScratchScope() {
    if (restore_) {
      c_.Picture4.setBackColor(backColor_);
      c_.Picture4.FillStyle = fillStyle_;
    }
    for (PictureBox* box : {&c_.Picture4, &c_.Picture3}) {
      box->setPicture(nullptr);
      box->setWidth(1.0F);
      box->setHeight(1.0F);
    }
  }

 private:
  ImgProc& c_;
  bool restore_;
  Colour backColor_;
  Int16 fillStyle_;
};

// The stored picture's own size in pixels (ScaleX and ScaleY from
// hundredths of a millimetre); 0 by 0 when the box holds none.
inline std::pair<float, float> nativeSize(const PictureBox& box) {
  const Picture& p = box.picture();
  if (!p) return {0.0F, 0.0F};
  return {box.ScaleX(static_cast<float>(p->Width()), kScaleHimetric, kScalePixels),
          box.ScaleY(static_cast<float>(p->Height()), kScaleHimetric, kScalePixels)};
}

}  // namespace quern
