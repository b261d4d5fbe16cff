#include "dxf/export.h"

#include "base/errors.h"
#include "dxf/dxf_writer.h"
#include "vector/session.h"

namespace quern {

std::string withDxfExtension(const std::string& name) {
  const std::string tail = name.size() >= 4 ? name.substr(name.size() - 4) : std::string();
  return tail == ".dxf" || tail == ".DXF" ? name : name + ".dxf";
}

void exportimage_Click(Session& session, ExportPlatform& platform) {
  const std::optional<std::string> chosen = platform.ShowSaveDialog();
  if (!chosen || chosen->empty()) return;
  const std::string name = withDxfExtension(*chosen);
  try {
    WriteDxfFile(name, session.ChainTable);
  } catch (const FileError& e) {
    platform.MsgBox(e.what());
    return;
  } catch (const QuernError& e) {
    platform.MsgBox("Cannot write the file \"" + name + "\": " + e.what());
    return;
  }
  session.PictureName = FileName(*chosen);
  platform.MsgBox("done");
}

}  // namespace quern
