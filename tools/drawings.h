#pragma once

#include <QImage>

namespace quern::tools {

// A black line drawing on white in 8-bit grey with a 256-entry grey palette:
// strokes of a few pixels with soft edges, so thresholding has work to do.
// The same width and height always give the same picture.
QImage lineDrawing(int width, int height);

// The small colour picture of the splash window.
QImage splashPicture(int width, int height);

}  // namespace quern::tools
