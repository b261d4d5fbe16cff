#include "imgproc/imgproc.h"
#include "imgproc/scratch.h"
#include "processing/colour_normalise.h"
#include "processing/rank_filters.h"
#include "processing/raster_stages.h"

namespace quern {

namespace {
// The frame of every filter: the source into Picture3, the kernel on it, the
// commit. takeimage False starts from the stored picture alone. The filters
// give way through the host; smoothing moves PB(1).
template <typename Kernel>
void runFilter(ImgProc& c, bool takeimage, Kernel kernel) {
  ScratchScope scratch(c);
  if (takeimage) {
    c.Picture3.setPicture(c.Picture1.Image());
  } else {
    c.Picture3.setPicture(c.Picture1.picture());
    c.Picture3.Cls();
  }
  HostProgress progress(c.host(), 1);
  kernel(c.Picture3, progress);
  c.commit(c.Picture3);
}
}  // namespace

bool ImgProc::colnorm3(Int16 threshold) {
  HostProgress progress(host(), 2);
  const RasterResult result = blackWhitePicture(Picture1.picture(), threshold, context().limits, progress);
  // A refused picture stays the very picture it was.
  if (!result.done()) {
    host().MsgBox(kImageTooLarge);
    return false;
  }
  Picture1.setPicture(result.picture);
  return true;
}

void ImgProc::filtercust3(const FilterArray& filter, Int16 filternorm, Int16 filterbias, bool takeimage, bool takeabs) {
  runFilter(*this, takeimage, [&](PictureBox& box, Progress& progress) {
    runcust3(box, context().filterpixels, filter, filternorm, filterbias, takeabs, progress);
  });
}

void ImgProc::filtercust5(const FilterArray& filter, Int16 filternorm, Int16 filterbias, bool takeimage, bool takeabs) {
  runFilter(*this, takeimage, [&](PictureBox& box, Progress& progress) {
    runcust5(box, context().filterpixels, filter, filternorm, filterbias, takeabs, progress);
  });
}

void ImgProc::filtersharpen(bool takeimage) {
  runFilter(*this, takeimage,
            [&](PictureBox& box, Progress& progress) { runsharpen(box, context().filterpixels, progress); });
}

void ImgProc::filtersmooth(bool takeimage) {
  runFilter(*this, takeimage,
            [&](PictureBox& box, Progress& progress) { runsmooth(box, context().filterpixels, progress); });
}

FilterArray ImgProc::filtcreatecust3(Int16 f11, Int16 f12, Int16 f13, Int16 f21, Int16 f22, Int16 f23, Int16 f31,
                                     Int16 f32, Int16 f33) {
  return FilterArray(3, {f11, f12, f13, f21, f22, f23, f31, f32, f33});
}

FilterArray ImgProc::filtcreatecust5(Int16 f11, Int16 f12, Int16 f13, Int16 f14, Int16 f15, Int16 f21, Int16 f22,
                                     Int16 f23, Int16 f24, Int16 f25, Int16 f31, Int16 f32, Int16 f33, Int16 f34,
                                     Int16 f35, Int16 f41, Int16 f42, Int16 f43, Int16 f44, Int16 f45, Int16 f51,
                                     Int16 f52, Int16 f53, Int16 f54, Int16 f55) {
  return FilterArray(5, {f11, f12, f13, f14, f15, f21, f22, f23, f24, f25, f31, f32, f33,
                         f34, f35, f41, f42, f43, f44, f45, f51, f52, f53, f54, f55});
}

void ImgProc::filtermedian(Int16 filterbias, bool takeimage, bool takeabs) {
  runFilter(*this, takeimage, [&](PictureBox& box, Progress& progress) {
    runmedian(box, context().filterpixels, filterbias, takeabs, progress);
  });
}

void ImgProc::filtermedianKC(Int16 filterbias, bool takeimage, bool takeabs) {
  runFilter(*this, takeimage, [&](PictureBox& box, Progress& progress) {
    runmedianKC(box, context().filterpixels, filterbias, takeabs, progress);
  });
}

void ImgProc::filterdiffuse(Int16 rndinto, Int16 rndminus, bool takeimage) {
  runFilter(*this, takeimage, [&](PictureBox& box, Progress& progress) {
    rundiffuse(box, context().filterpixels, rndinto, rndminus, randomSource(), progress);
  });
}

void ImgProc::filteremboss(Int16 filterbias, bool takeimage) {
  runFilter(*this, takeimage,
            [&](PictureBox& box, Progress& progress) { runemboss(box, context().filterpixels, filterbias, progress); });
}

void ImgProc::filterpixelize(Int16 rndplus, Int16 rndminus, Int16 intoradius, Int16 minradius, bool takeimage) {
  runFilter(*this, takeimage, [&](PictureBox& box, Progress& progress) {
    runpixelize(box, context().filterpixels, rndplus, rndminus, intoradius, minradius, randomSource(), progress);
  });
}

void ImgProc::filtersolarize(Int16 ll, Int16 ul, bool takeimage) {
  runFilter(*this, takeimage,
            [&](PictureBox& box, Progress& progress) { runsolarize(box, context().filterpixels, ll, ul, progress); });
}

}  // namespace quern
