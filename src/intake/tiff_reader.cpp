// TIFF through libtiff, from memory: one page, turned into RGBA by libtiff's
// own RGBA image reader (every compression, photometric interpretation, bit
// depth, strips and tiles it knows) straight into the picture's buffer, whose
// 0x00BBGGRR layout is libtiff's ABGR with the alpha byte on top.
#include <dlfcn.h>
#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "base/errors.h"
#include "intake/format_readers.h"

namespace quern {

namespace {

// libtiff, and the many libraries it brings, are loaded the first time a
// TIFF is read rather than at every start of the programs: loading them
// costs more than converting a small picture. The functions used, by name.
struct TiffLibrary {
  decltype(&TIFFClientOpenExt) clientOpenExt;
  decltype(&TIFFClose) close;
  decltype(&TIFFGetField) getField;
  decltype(&TIFFGetFieldDefaulted) getFieldDefaulted;
  decltype(&TIFFIsTiled) isTiled;
  decltype(&TIFFNumberOfDirectories) numberOfDirectories;
  decltype(&TIFFOpenOptionsAlloc) optionsAlloc;
  decltype(&TIFFOpenOptionsFree) optionsFree;
  decltype(&TIFFOpenOptionsSetErrorHandlerExtR) setErrorHandler;
  decltype(&TIFFOpenOptionsSetMaxSingleMemAlloc) setMaxSingleMemAlloc;
  decltype(&TIFFOpenOptionsSetWarningHandlerExtR) setWarningHandler;
  decltype(&TIFFRGBAImageOK) rgbaImageOk;
  decltype(&TIFFReadRGBAImageOriented) readRgbaImageOriented;
  decltype(&TIFFReadScanline) readScanline;
  decltype(&TIFFReadTile) readTile;
  decltype(&TIFFScanlineSize) scanlineSize;
  decltype(&TIFFSetDirectory) setDirectory;
  decltype(&TIFFTileSize) tileSize;
};

// Loaded once for the process; a library that cannot be loaded is a failure
// of this picture's load, tried again for the next.
const TiffLibrary& libtiff() {
  static const TiffLibrary library = [] {
    void* handle = ::dlopen(QUERN_TIFF_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
      const char* why = ::dlerror();
      throw FileError(std::string("TIFF pictures cannot be read: ") + (why != nullptr ? why : QUERN_TIFF_LIBRARY));
    }
    TiffLibrary l{};
    bool all = true;
    const auto find = [&](auto& function, const char* name) {
      function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(::dlsym(handle, name));
      all = all && function != nullptr;
    };
    find(l.clientOpenExt, "TIFFClientOpenExt");
    find(l.close, "TIFFClose");
    find(l.getField, "TIFFGetField");
    find(l.getFieldDefaulted, "TIFFGetFieldDefaulted");
    find(l.isTiled, "TIFFIsTiled");
    find(l.numberOfDirectories, "TIFFNumberOfDirectories");
    find(l.optionsAlloc, "TIFFOpenOptionsAlloc");
    find(l.optionsFree, "TIFFOpenOptionsFree");
    find(l.setErrorHandler, "TIFFOpenOptionsSetErrorHandlerExtR");
    find(l.setMaxSingleMemAlloc, "TIFFOpenOptionsSetMaxSingleMemAlloc");
    find(l.setWarningHandler, "TIFFOpenOptionsSetWarningHandlerExtR");
    find(l.rgbaImageOk, "TIFFRGBAImageOK");
    find(l.readRgbaImageOriented, "TIFFReadRGBAImageOriented");
    find(l.readScanline, "TIFFReadScanline");
    find(l.readTile, "TIFFReadTile");
    find(l.scanlineSize, "TIFFScanlineSize");
    find(l.setDirectory, "TIFFSetDirectory");
    find(l.tileSize, "TIFFTileSize");
    if (!all) {
      ::dlclose(handle);
      throw FileError(std::string("TIFF pictures cannot be read: ") + QUERN_TIFF_LIBRARY + " lacks a function");
    }
    return l;
  }();
  return library;
}

struct Source {
  const unsigned char* data;
  std::size_t size;
  std::size_t pos;
  std::string error;  // libtiff's first complaint
};

tmsize_t readFrom(thandle_t handle, void* out, tmsize_t wanted) {
  auto* s = static_cast<Source*>(handle);
  const std::size_t n = std::min(static_cast<std::size_t>(wanted), s->size - std::min(s->pos, s->size));
  std::memcpy(out, s->data + s->pos, n);
  s->pos += n;
  return static_cast<tmsize_t>(n);
}
tmsize_t writeNothing(thandle_t, void*, tmsize_t) {
  return 0;
}
toff_t seekIn(thandle_t handle, toff_t offset, int whence) {
  auto* s = static_cast<Source*>(handle);
  const toff_t base = whence == SEEK_CUR ? s->pos : whence == SEEK_END ? s->size : 0;
  s->pos = static_cast<std::size_t>(base + offset);
  return s->pos;
}
int closeNothing(thandle_t) {
  return 0;
}
toff_t sizeOf(thandle_t handle) {
  return static_cast<Source*>(handle)->size;
}
// The bytes are in memory already: libtiff reads strips in place.
int mapIn(thandle_t handle, void** base, toff_t* size) {
  auto* s = static_cast<Source*>(handle);
  *base = const_cast<unsigned char*>(s->data);
  *size = s->size;
  return 1;
}
void unmapNothing(thandle_t, void*, toff_t) {}

int onError(TIFF*, void* user, const char* module, const char* format, va_list args) {
  auto* s = static_cast<Source*>(user);
  if (s->error.empty()) {
    char text[300];
    std::vsnprintf(text, sizeof text, format, args);
    s->error = std::string(module != nullptr ? module : "libtiff") + ": " + text;
  }
  return 1;
}
// Unknown private tags and the like are common in scanners' files; the
// pixels do not depend on them, and nothing goes to stderr.
int onWarning(TIFF*, void*, const char*, const char*, va_list) {
  return 1;
}

struct OptionsFree {
  void operator()(TIFFOpenOptions* o) const { libtiff().optionsFree(o); }
};
struct TiffClose {
  void operator()(TIFF* t) const { libtiff().close(t); }
};

[[noreturn]] void fail(const Source& s, const char* what) {
  throw FileError(std::string(what) + (s.error.empty() ? "" : ": " + s.error));
}

// libtiff's RGBA reader keeps only the high byte of 16-bit grey; here it is
// rounded as PNG's is, v * 255 / 65535 to the nearest: (v + 128) / 257.
bool isDeepGrey(TIFF* tiff) {
  std::uint16_t bits = 0;
  std::uint16_t samples = 0;
  std::uint16_t photometric = 0;
  libtiff().getFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
  libtiff().getFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
  const bool known = libtiff().getField(tiff, TIFFTAG_PHOTOMETRIC, &photometric) != 0;
  return bits == 16 && samples == 1 && known && photometric <= PHOTOMETRIC_MINISBLACK;
}

// `count` samples from `in` into the picture's pixels at `out`.
void putDeepGrey(const std::uint16_t* in, std::uint32_t count, bool minIsWhite, Colour* out) {
  for (std::uint32_t i = 0; i < count; ++i) {
    const int v = (in[i] + 128) / 257;
    out[i] = minIsWhite ? rgb(255 - v, 255 - v, 255 - v) : rgb(v, v, v);
  }
}

void readDeepGrey(TIFF* tiff, const Source& source, Colour* pixels, std::uint32_t w, std::uint32_t h) {
  std::uint16_t photometric = 0;
  libtiff().getField(tiff, TIFFTAG_PHOTOMETRIC, &photometric);
  const bool minIsWhite = photometric == PHOTOMETRIC_MINISWHITE;
  if (libtiff().isTiled(tiff) == 0) {
    std::vector<std::uint16_t> row(static_cast<std::size_t>(libtiff().scanlineSize(tiff) / 2 + 1));
    for (std::uint32_t y = 0; y < h; ++y) {
      if (libtiff().readScanline(tiff, row.data(), y, 0) < 0) fail(source, "its pixels cannot be read");
      putDeepGrey(row.data(), w, minIsWhite, pixels + static_cast<std::size_t>(y) * w);
    }
    return;
  }
  std::uint32_t tw = 0;
  std::uint32_t th = 0;
  libtiff().getField(tiff, TIFFTAG_TILEWIDTH, &tw);
  libtiff().getField(tiff, TIFFTAG_TILELENGTH, &th);
  std::vector<std::uint16_t> tile(static_cast<std::size_t>(libtiff().tileSize(tiff) / 2 + 1));
  if (tw == 0 || th == 0 || tile.size() <= static_cast<std::size_t>(tw) * th) fail(source, "its tiles are not valid");
  for (std::uint32_t y0 = 0; y0 < h; y0 += th) {
    for (std::uint32_t x0 = 0; x0 < w; x0 += tw) {
      if (libtiff().readTile(tiff, tile.data(), x0, y0, 0, 0) < 0) fail(source, "its pixels cannot be read");
      for (std::uint32_t y = y0; y < std::min(h, y0 + th); ++y) {
        putDeepGrey(tile.data() + static_cast<std::size_t>(y - y0) * tw, std::min(tw, w - x0), minIsWhite,
                    pixels + static_cast<std::size_t>(y) * w + x0);
      }
    }
  }
}

}  // namespace

Picture readTiff(const unsigned char* data, std::size_t size, long long maxPixels, int page) {
  Source source{data, size, 0, {}};
  std::unique_ptr<TIFFOpenOptions, OptionsFree> options(libtiff().optionsAlloc());
  libtiff().setErrorHandler(options.get(), onError, &source);
  libtiff().setWarningHandler(options.get(), onWarning, &source);
  // No single allocation of libtiff's beyond what the largest picture takes.
  libtiff().setMaxSingleMemAlloc(options.get(),
                                 static_cast<tmsize_t>(std::min<long long>(8 * maxPixels + 65536, 1LL << 40)));
  std::unique_ptr<TIFF, TiffClose> tiff(libtiff().clientOpenExt(
      "TIFF", "r", &source, readFrom, writeNothing, seekIn, closeNothing, sizeOf, mapIn, unmapNothing, options.get()));
  if (!tiff) fail(source, "the TIFF decoder could not open it");
  if (page > 1) {
    const tdir_t pages = libtiff().numberOfDirectories(tiff.get());
    if (static_cast<long long>(page) > pages) {
      throw FileError("it has " + std::to_string(pages) + (pages == 1 ? " page" : " pages") + ", not " +
                      std::to_string(page));
    }
    if (libtiff().setDirectory(tiff.get(), static_cast<tdir_t>(page - 1)) == 0) fail(source, "its page cannot be read");
  }
  std::uint32_t w = 0;
  std::uint32_t h = 0;
  libtiff().getField(tiff.get(), TIFFTAG_IMAGEWIDTH, &w);
  libtiff().getField(tiff.get(), TIFFTAG_IMAGELENGTH, &h);
  if (w == 0 || h == 0) throw FileError("it claims no pixels");
  checkPixelLimit(w, h, maxPixels);
  char why[1024] = {};
  if (libtiff().rgbaImageOk(tiff.get(), why) == 0) throw FileError(std::string("its pixels cannot be read: ") + why);

  const long long area = static_cast<long long>(w) * h;
  PixelBuffer pixels = allocatePixels(area, area);
  if (isDeepGrey(tiff.get())) {
    readDeepGrey(tiff.get(), source, pixels.get(), w, h);
    if (!source.error.empty()) fail(source, "its pixels cannot be read");
    return makePicture(static_cast<Int32>(w), static_cast<Int32>(h), std::move(pixels));
  }
  auto* raster = reinterpret_cast<std::uint32_t*>(pixels.get());
  if (libtiff().readRgbaImageOriented(tiff.get(), w, h, raster, ORIENTATION_TOPLEFT, 1) == 0 || !source.error.empty())
    fail(source, "its pixels cannot be read");
  // libtiff gives colour multiplied by alpha already; on white paper the
  // rest of each channel is white.
  for (long long i = 0; i < area; ++i) {
    const std::uint32_t p = raster[i];
    const int a = static_cast<int>(p >> 24);
    if (a == 255) {
      pixels[i] = static_cast<Colour>(p & 0x00FFFFFF);
    } else {
      const int rest = 255 - a;
      pixels[i] =
          rgb(std::min(255, static_cast<int>(p & 0xFF) + rest), std::min(255, static_cast<int>(p >> 8 & 0xFF) + rest),
              std::min(255, static_cast<int>(p >> 16 & 0xFF) + rest));
    }
  }
  return makePicture(static_cast<Int32>(w), static_cast<Int32>(h), std::move(pixels));
}

}  // namespace quern
