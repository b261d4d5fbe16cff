// The lean batch driver's stand-ins for everything that needs the general
// picture reader: each hands the run over to the full driver.
#include "intake/builtin_pictures.h"
#include "intake/picture_file.h"
#include "intake/picture_loader.h"

namespace quern {

Picture decodeWithReader(const unsigned char*, std::size_t, const std::string&, PictureKind, long long) {
  throw NeedsGeneralReader();
}

Picture builtinPicture() {
  throw NeedsGeneralReader();
}

void saveBitmapPng(const PictureBox&, const std::string&) {
  throw NeedsGeneralReader();
}

}  // namespace quern
