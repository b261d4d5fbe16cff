#pragma once

#include <optional>
#include <string>

#include "app/picture_loader.h"
#include "base/host.h"
#include "dxf/export.h"
#include "surface/picture.h"

namespace quern {

// What the form needs of the world around it: the file dialogs, a message
// box, a chance for the interface to run, the picture loader and the screen.
// The window fills it in with Qt, the batch driver with its arguments and
// stderr, the tests with scripts.
class Platform : public ExportPlatform {
 public:
  // The open dialog: the chosen path, or nothing when it was dismissed.
  virtual std::optional<std::string> ShowOpenDialog() = 0;
  // Handles pending events and returns.
  virtual void DoEvents() = 0;
  // Decodes a picture file; throws FileError when it cannot.
  virtual Picture LoadPicture(const std::string& path) { return loadPictureFile(path); }
  virtual Int32 TwipsPerPixelX() const { return kDefaultTwipsPerPixel; }
  virtual Int32 TwipsPerPixelY() const { return kDefaultTwipsPerPixel; }
};

}  // namespace quern
