#include "base/errors.h"
#include "imgproc/imgproc.h"
#include "processing/raster_stages.h"

namespace quern {

namespace {
// The persistent bitmap stretched from the control's size by the factors,
// each new size rounded to a 32-bit float.
void stretch(ImgProc& c, double factorX, double factorY) {
  const RasterResult result = rescalePicture(c.Picture1.Image(), c.Picture1.Width(), c.Picture1.Height(), factorX,
                                             factorY, c.context().limits.surfacePixels);
  if (!result.done()) throw LimitError(result.refusal->reason);
  c.Picture1.setPicture(result.picture);
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
