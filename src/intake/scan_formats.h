#pragma once

#include "intake/byte_reader.h"
#include "intake/picture_format.h"

namespace quern {

// The structure walks of the two formats that scanners write, beside those of
// JPEG, BMP and GIF in picture_format.cpp. Both are called once the first
// bytes have said which format it is.
PictureShape inspectPng(const Bytes& b);
PictureShape inspectTiff(const Bytes& b);

}  // namespace quern
