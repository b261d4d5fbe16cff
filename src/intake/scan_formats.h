#pragma once

#include "intake/byte_reader.h"
#include "intake/picture_format.h"

namespace quern {

// What a walk found: the kind, the size claimed, and the problem if any.
inline PictureShape shape(PictureKind kind, std::int64_t w, std::int64_t h, std::string problem = {}) {
  PictureShape s;
  s.kind = kind;
  s.width = w;
  s.height = h;
  s.problem = std::move(problem);
  return s;
}

// The structure walks of the two formats that scanners write, beside those of
// JPEG, BMP and GIF in picture_format.cpp. Both are called once the first
// bytes have said which format it is.
PictureShape inspectPng(const Bytes& b);
PictureShape inspectTiff(const Bytes& b);

}  // namespace quern
