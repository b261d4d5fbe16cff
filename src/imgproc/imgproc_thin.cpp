#include "imgproc/imgproc.h"
#include "processing/raster_stages.h"

namespace quern {

ThinResult ImgProc::thin(RecordTable& LineTable) {
  HostProgress progress(host(), 3);
  const ThinPictureResult result = thinPicture(Picture1.picture(), LineTable, context().limits, progress);
  if (result.refusal) {
    const Refusal& r = *result.refusal;
    host().MsgBox(thinRefusalMessage(result.thin.outcome, r.width, r.height, r.count, r.limit));
  } else if (result.thin.outcome != ThinOutcome::NoPicture) {
    Picture1.setPicture(result.picture);
  }
  return result.thin;
}

}  // namespace quern
