// JPEG through libjpeg-turbo, set up to give the very pixels the window's old
// toolkit reader gave: the accurate integer DCT, smooth ("fancy") upsampling of
// the chroma, grey kept grey, and CMYK as Adobe writes it (inverted) turned to
// RGB by multiplying each channel with K.
#include <csetjmp>
#include <cstdio>
// jpeglib.h needs size_t and FILE declared before it.
#include <jerror.h>
#include <jpeglib.h>

#include <memory>
#include <vector>

#include "base/errors.h"
#include "intake/format_readers.h"

namespace quern {

namespace {

struct JpegErrors {
  jpeg_error_mgr manager;
  std::jmp_buf jump;
  char message[JMSG_LENGTH_MAX];
  bool failed;
};

[[noreturn]] void onError(j_common_ptr info) {
  auto* errors = reinterpret_cast<JpegErrors*>(info->err);
  (*info->err->format_message)(info, errors->message);
  std::longjmp(errors->jump, 1);
}

// Warnings never reach stderr. Those that say the compressed data is cut or
// damaged fail the load: the library would fill the rest in grey.
void onMessage(j_common_ptr info, int level) {
  if (level >= 0) return;
  auto* errors = reinterpret_cast<JpegErrors*>(info->err);
  const int code = info->err->msg_code;
  if (errors->failed) return;
  if (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER || code == JWRN_MUST_RESYNC || code == JWRN_HUFF_BAD_CODE) {
    (*info->err->format_message)(info, errors->message);
    errors->failed = true;
  }
}

// Everything the decoding touches after setjmp lives here, outside the frame
// that longjmp unwinds, so nothing with a destructor is skipped.
struct JpegJob {
  jpeg_decompress_struct info;
  JpegErrors errors;
  PixelBuffer pixels;
  GreyBuffer greys;  // a grey JPEG's pixels, kept a byte a pixel
  std::vector<unsigned char> row;
  long long maxPixels;
  Int32 width;
  Int32 height;
  const char* refusal;
};

// A CMYK row (as Adobe writes it, inverted) as colours.
void expandRow(const JpegJob& job, Colour* out) {
  const unsigned char* in = job.row.data();
  for (Int32 x = 0; x < job.width; ++x, in += 4) {
    const int k = in[3];
    out[x] = rgb(k * in[0] / 255, k * in[1] / 255, k * in[2] / 255);
  }
}

// Returns false when the library gave up; the reason is in job.errors.
bool decode(JpegJob& job, const unsigned char* data, std::size_t size) {
  if (setjmp(job.errors.jump) != 0) return false;
  jpeg_create_decompress(&job.info);
  jpeg_mem_src(&job.info, data, static_cast<unsigned long>(size));
  jpeg_read_header(&job.info, TRUE);
  job.info.dct_method = JDCT_ISLOW;
  job.info.do_fancy_upsampling = TRUE;
  const J_COLOR_SPACE source = job.info.jpeg_color_space;
  const bool direct = source != JCS_GRAYSCALE && source != JCS_CMYK && source != JCS_YCCK;
  job.info.out_color_space = source == JCS_GRAYSCALE ? JCS_GRAYSCALE : direct ? JCS_EXT_RGBX : JCS_CMYK;
  job.width = static_cast<Int32>(job.info.image_width);
  job.height = static_cast<Int32>(job.info.image_height);
  const long long area = static_cast<long long>(job.width) * job.height;
  if (area > job.maxPixels) {
    job.refusal = "over the limit";
    return false;
  }
  jpeg_start_decompress(&job.info);
  // A grey JPEG's rows are the picture's greys as they come; other rows
  // become colours.
  const bool grey = source == JCS_GRAYSCALE;
  if (grey) {
    job.greys = allocateGreys(area, area);
  } else {
    job.pixels = allocatePixels(area, area);
  }
  if (!direct && !grey) job.row.resize(static_cast<std::size_t>(job.width) * job.info.output_components);
  while (job.info.output_scanline < job.info.output_height && !job.errors.failed) {
    const std::size_t at = static_cast<std::size_t>(job.info.output_scanline) * job.width;
    if (grey) {
      JSAMPROW rows[1] = {job.greys.get() + at};
      jpeg_read_scanlines(&job.info, rows, 1);
      continue;
    }
    Colour* out = job.pixels.get() + at;
    JSAMPROW rows[1] = {direct ? reinterpret_cast<JSAMPROW>(out) : job.row.data()};
    jpeg_read_scanlines(&job.info, rows, 1);
    if (direct) {
      // The fourth byte comes out as 0xFF; a pixel keeps it clear.
      for (Int32 x = 0; x < job.width; ++x) out[x] &= 0x00FFFFFF;
    } else {
      expandRow(job, out);
    }
  }
  if (!job.errors.failed) jpeg_finish_decompress(&job.info);
  return !job.errors.failed;
}

}  // namespace

Picture readJpeg(const unsigned char* data, std::size_t size, long long maxPixels) {
  auto job = std::make_unique<JpegJob>();
  job->info.err = jpeg_std_error(&job->errors.manager);
  job->errors.manager.error_exit = onError;
  job->errors.manager.emit_message = onMessage;
  job->errors.failed = false;
  job->maxPixels = maxPixels;
  job->refusal = nullptr;
  bool done = false;
  try {
    done = decode(*job, data, size);
  } catch (...) {
    jpeg_destroy_decompress(&job->info);
    throw;
  }
  jpeg_destroy_decompress(&job->info);
  if (job->refusal != nullptr) checkPixelLimit(job->width, job->height, maxPixels);
  if (!done) throw FileError(std::string("the JPEG decoder stopped: ") + job->errors.message);
  if (job->greys) return makeGreyPicture(job->width, job->height, std::move(job->greys));
  return makePicture(job->width, job->height, std::move(job->pixels));
}

}  // namespace quern
