// PNG in and out through libpng. Reading expands every kind (grey, grey with
// alpha, palette with or without tRNS, RGB, RGBA; 1 to 16 bits; interlaced)
// to eight-bit RGBA rows written straight into the picture's pixel buffer,
// then lays alpha on white in place.
//
// Sixteen-bit samples become eight-bit ones by png_set_scale_16: v * 255 /
// 65535 rounded to the nearest, which is (v + 128) / 257 in whole numbers.
// Alpha is scaled the same way before it is laid on white with onWhite().
#include <png.h>

#include <csetjmp>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/errors.h"
#include "base/replace_file.h"
#include "intake/format_readers.h"
#include "intake/picture_loader.h"
#include "surface/picture_box.h"

namespace quern {

namespace {

// libpng reports through these and longjmps out of its own frames; all that
// lives across setjmp is in this plain struct, so nothing is left undone.
struct PngJob {
  png_structp png = nullptr;
  png_infop info = nullptr;
  char message[200] = {};
  const unsigned char* data = nullptr;
  std::size_t size = 0;
  std::size_t pos = 0;
  long long maxPixels = 0;
  Int32 width = 0;
  Int32 height = 0;
  bool overLimit = false;
  bool grey = false;  // no colour in the file: every pixel, on white, a grey
  PixelBuffer pixels;
  std::vector<png_bytep> rows;
  std::string written;
};

void onError(png_structp png, png_const_charp text) {
  auto* job = static_cast<PngJob*>(png_get_error_ptr(png));
  std::snprintf(job->message, sizeof job->message, "%s", text);
  png_longjmp(png, 1);
}

// Warnings (a doubtful colour profile, a chunk out of place) say nothing the
// pixels depend on; they stay off stderr.
void onWarning(png_structp, png_const_charp) {}

void readFromMemory(png_structp png, png_bytep out, png_size_t wanted) {
  auto* job = static_cast<PngJob*>(png_get_io_ptr(png));
  if (wanted > job->size - job->pos) png_error(png, "the file ends inside its image data");
  std::memcpy(out, job->data + job->pos, wanted);
  job->pos += wanted;
}

bool decode(PngJob& job) {
  if (setjmp(png_jmpbuf(job.png)) != 0) return false;
  png_set_read_fn(job.png, &job, readFromMemory);
  png_read_info(job.png, job.info);
  job.width = static_cast<Int32>(png_get_image_width(job.png, job.info));
  job.height = static_cast<Int32>(png_get_image_height(job.png, job.info));
  if (static_cast<long long>(job.width) * job.height > job.maxPixels) {
    job.overLimit = true;
    return false;
  }
  job.grey = (png_get_color_type(job.png, job.info) & PNG_COLOR_MASK_COLOR) == 0;
  png_set_expand(job.png);
  png_set_scale_16(job.png);
  png_set_gray_to_rgb(job.png);
  png_set_add_alpha(job.png, 0xFF, PNG_FILLER_AFTER);
  png_set_interlace_handling(job.png);
  png_read_update_info(job.png, job.info);
  if (png_get_rowbytes(job.png, job.info) != static_cast<png_size_t>(job.width) * 4)
    png_error(job.png, "its pixels do not expand to eight-bit RGBA");
  const long long area = static_cast<long long>(job.width) * job.height;
  job.pixels = allocatePixels(area, area);
  job.rows.resize(static_cast<std::size_t>(job.height));
  for (Int32 y = 0; y < job.height; ++y)
    job.rows[static_cast<std::size_t>(y)] =
        reinterpret_cast<png_bytep>(job.pixels.get() + static_cast<std::size_t>(y) * job.width);
  png_read_image(job.png, job.rows.data());
  png_read_end(job.png, nullptr);
  return true;
}

// Bytes R, G, B, A in memory; the pixel keeps R, G, B laid on white.
void layOnWhite(Colour* pixels, std::size_t count) {
  auto* bytes = reinterpret_cast<unsigned char*>(pixels);
  for (std::size_t i = 0; i < count; ++i, bytes += 4) {
    const int a = bytes[3];
    pixels[i] = a == 255 ? rgb(bytes[0], bytes[1], bytes[2])
                         : rgb(onWhite(bytes[0], a), onWhite(bytes[1], a), onWhite(bytes[2], a));
  }
}

void writeToString(png_structp png, png_bytep bytes, png_size_t n) {
  auto* job = static_cast<PngJob*>(png_get_io_ptr(png));
  job->written.append(reinterpret_cast<const char*>(bytes), n);
}

void flushNothing(png_structp) {}

bool encode(PngJob& job, const Colour* pixels) {
  if (setjmp(png_jmpbuf(job.png)) != 0) return false;
  png_set_write_fn(job.png, &job, writeToString, flushNothing);
  png_set_IHDR(job.png, job.info, static_cast<png_uint_32>(job.width), static_cast<png_uint_32>(job.height), 8,
               PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(job.png, job.info);
  // Each pixel is R, G, B and a spare byte in memory: libpng drops the spare.
  png_set_filler(job.png, 0, PNG_FILLER_AFTER);
  for (Int32 y = 0; y < job.height; ++y) {
    png_write_row(job.png, reinterpret_cast<png_const_bytep>(pixels + static_cast<std::size_t>(y) * job.width));
  }
  png_write_end(job.png, nullptr);
  return true;
}

}  // namespace

Picture readPng(const unsigned char* data, std::size_t size, long long maxPixels) {
  auto job = std::make_unique<PngJob>();
  job->data = data;
  job->size = size;
  job->maxPixels = maxPixels;
  job->png = png_create_read_struct(PNG_LIBPNG_VER_STRING, job.get(), onError, onWarning);
  if (job->png != nullptr) job->info = png_create_info_struct(job->png);
  if (job->info == nullptr) {
    png_destroy_read_struct(&job->png, nullptr, nullptr);
    throw FileError("the PNG decoder could not start");
  }
  bool done = false;
  try {
    done = decode(*job);
  } catch (...) {
    png_destroy_read_struct(&job->png, &job->info, nullptr);
    throw;
  }
  png_destroy_read_struct(&job->png, &job->info, nullptr);
  if (job->overLimit) checkPixelLimit(job->width, job->height, maxPixels);
  if (!done) throw FileError(std::string("the PNG decoder stopped: ") + job->message);
  layOnWhite(job->pixels.get(), static_cast<std::size_t>(job->width) * static_cast<std::size_t>(job->height));
  return makePicture(job->width, job->height, std::move(job->pixels), job->grey);
}

std::string encodeBitmapPng(const PictureBox& box) {
  auto job = std::make_unique<PngJob>();
  job->width = box.pixelWidth();
  job->height = box.pixelHeight();
  job->png = png_create_write_struct(PNG_LIBPNG_VER_STRING, job.get(), onError, onWarning);
  if (job->png != nullptr) job->info = png_create_info_struct(job->png);
  bool done = false;
  if (job->info != nullptr) done = encode(*job, box.bits());
  png_destroy_write_struct(&job->png, &job->info);
  if (!done) {
    throw FileError("cannot make a PNG of " + std::to_string(job->width) + " by " + std::to_string(job->height) +
                    " pixels: " + (job->message[0] != 0 ? job->message : "no memory"));
  }
  return std::move(job->written);
}

void saveBitmapPng(const PictureBox& box, const std::string& path) {
  replaceFile(path, encodeBitmapPng(box));
}

}  // namespace quern
