// GIF through giflib: the first image only, laid on the logical screen the
// file declares. The screen starts black, or white when the first image has
// a transparent colour, and transparent pixels are white: what the window has
// always shown for GIFs.
#include <gif_lib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "base/errors.h"
#include "intake/format_readers.h"

namespace quern {

namespace {

struct Source {
  const unsigned char* data;
  std::size_t size;
  std::size_t pos;
};

int readFromMemory(GifFileType* gif, GifByteType* out, int wanted) {
  auto* source = static_cast<Source*>(gif->UserData);
  const std::size_t n = std::min<std::size_t>(static_cast<std::size_t>(wanted), source->size - source->pos);
  std::memcpy(out, source->data + source->pos, n);
  source->pos += n;
  return static_cast<int>(n);
}

struct GifCloser {
  void operator()(GifFileType* gif) const {
    int error = 0;
    DGifCloseFile(gif, &error);
  }
};

[[noreturn]] void fail(int code) {
  const char* text = GifErrorString(code);
  throw FileError(std::string("the GIF decoder stopped: ") + (text != nullptr ? text : "unknown error"));
}

// Interlaced images store rows 0, 8, 16 ..., then 4, 12 ..., then 2, 6 ...,
// then the odd rows.
std::vector<int> rowOrder(int height, bool interlaced) {
  std::vector<int> order;
  order.reserve(static_cast<std::size_t>(height));
  if (!interlaced) {
    for (int y = 0; y < height; ++y) order.push_back(y);
    return order;
  }
  constexpr int start[] = {0, 4, 2, 1};
  constexpr int step[] = {8, 8, 4, 2};
  for (int pass = 0; pass < 4; ++pass) {
    for (int y = start[pass]; y < height; y += step[pass]) order.push_back(y);
  }
  return order;
}

}  // namespace

Picture readGif(const unsigned char* data, std::size_t size, long long maxPixels) {
  Source source{data, size, 0};
  int error = 0;
  std::unique_ptr<GifFileType, GifCloser> gif(DGifOpen(&source, readFromMemory, &error));
  if (!gif) fail(error);
  const Int32 w = gif->SWidth;
  const Int32 h = gif->SHeight;
  checkPixelLimit(w, h, maxPixels);
  int transparent = -1;
  for (;;) {
    GifRecordType type = UNDEFINED_RECORD_TYPE;
    if (DGifGetRecordType(gif.get(), &type) == GIF_ERROR) fail(gif->Error);
    if (type == TERMINATE_RECORD_TYPE) throw FileError("it holds no image");
    if (type == EXTENSION_RECORD_TYPE) {
      int code = 0;
      GifByteType* block = nullptr;
      if (DGifGetExtension(gif.get(), &code, &block) == GIF_ERROR) fail(gif->Error);
      if (code == GRAPHICS_EXT_FUNC_CODE && block != nullptr && block[0] >= 4)
        transparent = (block[1] & 1) != 0 ? block[4] : -1;
      while (block != nullptr) {
        if (DGifGetExtensionNext(gif.get(), &block) == GIF_ERROR) fail(gif->Error);
      }
      continue;
    }
    if (type != IMAGE_DESC_RECORD_TYPE) continue;
    if (DGifGetImageDesc(gif.get()) == GIF_ERROR) fail(gif->Error);
    break;
  }

  // Indices past the end of the colour table show as transparent.
  std::array<Colour, 256> palette;
  palette.fill(kWhite);
  const ColorMapObject* map = gif->Image.ColorMap != nullptr ? gif->Image.ColorMap : gif->SColorMap;
  if (map == nullptr) palette.fill(kBlack);
  for (int i = 0; map != nullptr && i < map->ColorCount && i < 256; ++i) {
    const GifColorType& c = map->Colors[i];
    palette[static_cast<std::size_t>(i)] = rgb(c.Red, c.Green, c.Blue);
  }
  if (transparent >= 0) palette[static_cast<std::size_t>(transparent)] = kWhite;
  // Every pixel is a palette colour, white or black: all greys when those are.
  const bool grey = std::all_of(palette.begin(), palette.end(), isGrey);

  const long long area = static_cast<long long>(w) * h;
  PixelBuffer pixels = allocatePixels(area, area);
  std::fill(pixels.get(), pixels.get() + area, transparent >= 0 ? kWhite : kBlack);
  const GifImageDesc& frame = gif->Image;
  std::vector<GifPixelType> row(static_cast<std::size_t>(std::max(frame.Width, 1)));
  // Parts of the image outside the screen are decoded and dropped.
  const int left = std::clamp(frame.Left, 0, w);
  const int right = std::clamp(frame.Left + frame.Width, 0, w);
  for (int y : rowOrder(frame.Height, frame.Interlace)) {
    if (DGifGetLine(gif.get(), row.data(), frame.Width) == GIF_ERROR) fail(gif->Error);
    const int screenY = frame.Top + y;
    if (screenY < 0 || screenY >= h) continue;
    Colour* out = pixels.get() + static_cast<std::size_t>(screenY) * w;
    for (int x = left; x < right; ++x) out[x] = palette[row[static_cast<std::size_t>(x - frame.Left)]];
  }
  return makePicture(w, h, std::move(pixels), grey);
}

}  // namespace quern
