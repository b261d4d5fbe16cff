#pragma once

#include <QImage>
#include <cstdint>

#include "sheet_geometry.h"
#include "surface/picture.h"

namespace quern::tools {

// A page of known line work: straight lines at many angles, circles and arcs
// of several radii, dashed lines, hatching, a free curve and some text, in
// antialiased strokes 2 to 5 pixels wide.
enum class SheetSize {
  a4,     // 2480 by 3508: A4 at 300 dpi
  small,  // 640 by 905, fewer of each kind: quick enough for a unit test
};

// How the page was scanned. Both have a slight blur, light noise and a JPEG
// round trip at quality 85; the shadow's light falls to half towards the
// right edge, as beside a book's fold.
enum class Lighting { even, shadow };

struct Sheet {
  Picture picture;
  SheetTruth truth;
};

// The page as drawn, black on white, and its truth.
QImage drawSheet(SheetSize size, SheetTruth& truth);

// The page as scanned: the same seed gives the same picture.
Sheet scanSheet(SheetSize size, Lighting lighting, std::uint32_t seed = 1);

// Conversions between Qt's 0xAARRGGBB and the pictures' 0x00BBGGRR.
Picture pictureFromImage(const QImage& image);
QImage imageFromPicture(const Picture& picture);

}  // namespace quern::tools
