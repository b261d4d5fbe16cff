#pragma once

#include "surface/picture.h"

namespace quern {

// The pictures that are part of the program: the start picture of the
// original (700 by 557, a black line drawing on white) and the splash
// picture (250 by 152). The start picture is decoded once and shared, so
// making a form costs no decoding.
Picture builtinPicture();
Picture splashPicture();

}  // namespace quern
