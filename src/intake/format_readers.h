#pragma once

#include <cstddef>
#include <string>

#include "surface/picture.h"

namespace quern {

// The decoders behind the loader, one per format, each on the format's own
// library and each writing straight into the picture's pixel buffer. They are
// handed files whose structure the loader has walked already; whatever their
// library still finds wrong comes out as a FileError carrying the bare reason
// (the loader adds the file's name). `maxPixels` is checked against the size
// in the header before any pixel memory is taken.
Picture readJpeg(const unsigned char* data, std::size_t size, long long maxPixels);
// The first image of the file on its logical screen; transparent is white.
Picture readGif(const unsigned char* data, std::size_t size, long long maxPixels);
Picture readPng(const unsigned char* data, std::size_t size, long long maxPixels);
// Page `page` of the file, counted from 1.
Picture readTiff(const unsigned char* data, std::size_t size, long long maxPixels, int page);

// Colour channels of a pixel with coverage `alpha` laid on white paper,
// rounded to the nearest whole value (halves up).
constexpr int onWhite(int value, int alpha) {
  return (value * alpha + 255 * (255 - alpha) + 127) / 255;
}

// The pixel limit, checked before the pixels of a w x h picture are taken.
void checkPixelLimit(long long width, long long height, long long maxPixels);

}  // namespace quern
