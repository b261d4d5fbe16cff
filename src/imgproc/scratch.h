#pragma once

#include "imgproc/imgproc.h"

namespace quern {

// Empties the scratch boxes when an operation ends, by return or by error, and
// shrinks them to one pixel so that a large intermediate picture is not kept
// alive between operations.
class ScratchGuard {
 public:
  explicit ScratchGuard(ImgProc& control) : c_(control) {}
  ~ScratchGuard() {
    for (PictureBox* box : {&c_.Picture4, &c_.Picture3}) {
      box->setPicture(nullptr);
      box->setWidth(1.0F);
      box->setHeight(1.0F);
    }
  }
  ScratchGuard(const ScratchGuard&) = delete;
  ScratchGuard& operator=(const ScratchGuard&) = delete;

 private:
  ImgProc& c_;
};

}  // namespace quern
