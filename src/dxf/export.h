#pragma once

#include <optional>
#include <string>

namespace quern {

struct Session;

// What the export needs of the window: a save dialog and a message box.
class ExportPlatform {
 public:
  virtual ~ExportPlatform() = default;
  // The chosen file name, or nothing when the user cancelled.
  virtual std::optional<std::string> ShowSaveDialog() = 0;
  virtual void MsgBox(const std::string& text) = 0;
};

// The name written: kept when it ends in ".dxf" or ".DXF", else ".dxf" appended.
std::string withDxfExtension(const std::string& name);

// Asks for a file name and writes ChainTable there as a drawing, then says
// "done". A cancelled dialog writes nothing and says nothing; a file that
// cannot be written gets a message naming it and the reason instead, and an
// existing file of that name stays as it was. PictureName takes the bare
// name chosen (before any extension is added) once the file is written.
void exportimage_Click(Session& session, ExportPlatform& platform);

}  // namespace quern
