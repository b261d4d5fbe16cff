// Picture file bytes through the intake, all six stages and the export.
#include <cstddef>
#include <cstdint>

#include "app/form1.h"
#include "base/errors.h"
#include "fuzz_platform.h"
#include "intake/picture_format.h"
#include "intake/picture_loader.h"

namespace {

// Complete pictures larger than this are not run through the stages: one
// input must take milliseconds. Incomplete or lying files of any claimed size
// still go through the intake, which must refuse them cheaply.
constexpr std::int64_t kMaxStagedPixels = 96 * 96;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const quern::PictureShape shape = quern::inspectPictureFile(data, size);
  if (shape.problem.empty() && shape.width * shape.height > kMaxStagedPixels) return 0;
  quern::Picture picture;
  // Now and then the second page, which only a TIFF of two pages or more has;
  // its size is not the first page's, so the limit keeps it small.
  const int page = size % 4 == 3 ? 2 : 1;
  try {
    picture =
        quern::decodePictureFile(data, size, "fuzz", page == 1 ? quern::kMaxPicturePixels : kMaxStagedPixels, page);
  } catch (const quern::FileError&) {
    return 0;
  }
  if (!shape.problem.empty()) __builtin_trap();  // the intake took a file it found incomplete
  quern::Form1& form = quern::fuzz::formWith(picture);
  if (form.IPCH.picture() != picture) __builtin_trap();
  form.Check3.Value = size % 2;  // with and without the reorder pass
  form.click("Command8");
  if (form.stage() != 11 && form.lastError().empty()) __builtin_trap();
  form.menu("exportimage");
  return 0;
}
