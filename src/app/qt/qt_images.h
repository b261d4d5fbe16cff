#pragma once

#include <QImage>

#include "surface/picture.h"

namespace quern {

// A copy of a picture's pixels as a Qt image.
QImage toQImage(const Picture& picture);

}  // namespace quern
