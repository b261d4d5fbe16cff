#include "intake/builtin_pictures.h"

#include <cstddef>

#include "intake/picture_loader.h"

namespace quern {

namespace assets {
extern const unsigned char builtinPng[];
extern const std::size_t builtinPngSize;
extern const unsigned char splashJpg[];
extern const std::size_t splashJpgSize;
}  // namespace assets

// Decoded once: the picture never changes, and every new form starts with it.
Picture builtinPicture() {
  static const Picture decoded = decodePicture(assets::builtinPng, assets::builtinPngSize, "the built-in picture");
  return decoded;
}

Picture splashPicture() {
  return decodePicture(assets::splashJpg, assets::splashJpgSize, "the splash picture");
}

}  // namespace quern
