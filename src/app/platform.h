#pragma once

#include <optional>
#include <string>

#include "base/host.h"
#include "intake/picture_loader.h"
#include "surface/picture.h"

namespace quern {

// What the form needs of the world around it: the file dialogs, a message
// box, a chance for the interface to run, the picture loader and the screen.
// The window fills it in with Qt, the tests with scripts.
class Platform {
 public:
  virtual ~Platform() = default;
  // The save dialog: the chosen file name, or nothing when it was cancelled.
  virtual std::optional<std::string> ShowSaveDialog() = 0;
  // A message box with one OK button.
  virtual void MsgBox(const std::string& text) = 0;
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
