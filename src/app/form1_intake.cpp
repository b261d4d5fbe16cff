#include <filesystem>

#include "app/form1.h"
#include "base/errors.h"
#include "dxf/dxf_writer.h"
#include "pipeline/preview.h"

namespace quern {

void Form1::Command3_Click() {
  try {
    const std::optional<std::string> chosen = platform_.ShowOpenDialog();
    if (chosen) {
      PicturePath = *chosen;
      PictureName = FileName(PicturePath);
      const std::optional<std::string> extension = pictureExtension(PicturePath);
      if (extension && !isPictureExtension(*extension)) {
        MsgBox("Not a valid File___" + *extension);
        return;
      }
      if (extension) {
        IPCH.setPicture(platform_.LoadPicture(PicturePath));
        Text5.Text = PicturePath;
        const auto w = static_cast<float>(IPCH.picwidth());
        const auto h = static_cast<float>(IPCH.picheight());
        Picture2.setScaleWidth(w);
        Picture2.setScaleHeight(h);
        Picture2.PaintPicture(IPCH.picture(), 0.0F, 0.0F, w, h);
      }
    }
  } catch (const std::exception&) {
    // A dismissed dialog or a file that cannot be read keeps the old picture;
    // the statistics below show what is now chosen.
  }
  ChangeStats();
}

void Form1::loadimage_Click() {
  Command3_Click();
  fitPreview(kPreviewSide, kPreviewSide);
  Picture1.setScaleWidth(static_cast<float>(IPCH.picwidth()));
  Picture1.setScaleHeight(static_cast<float>(IPCH.picheight()));
  Picture1.PaintPicture(IPCH.picture(), 0.0F, 0.0F, IPCH.Picture1.ScaleWidth(), IPCH.Picture1.ScaleHeight());
  SetStage(1);
}

void Form1::Command4_Click() {
  // Before any file is chosen there is nothing to go back to: the built-in
  // picture stays.
  if (PicturePath.empty()) return;
  IPCH.setPicture(platform_.LoadPicture(PicturePath));
}

void Form1::Restormenu_Click() {
  Command4_Click();
}

std::string FileName(const std::string& WithPath) {
  const char separator = static_cast<char>(std::filesystem::path::preferred_separator);
  const auto last = WithPath.rfind(separator);
  return last == std::string::npos ? WithPath : WithPath.substr(last + 1);
}

// A cancelled or empty dialog writes nothing and says nothing. A file that
// cannot be written gets a message naming it and the reason instead of
// "done", and an existing file of that name stays as it was. PictureName
// takes the bare name chosen, before any extension is added, once written.
void Form1::exportimage_Click() {
  const std::optional<std::string> chosen = platform_.ShowSaveDialog();
  if (!chosen || chosen->empty()) return;
  const std::string name = withDxfExtension(*chosen);
  try {
    WriteDxfFile(name, session.ChainTable);
  } catch (const FileError& e) {
    MsgBox(e.what());
    return;
  } catch (const QuernError& e) {
    MsgBox("Cannot write the file \"" + name + "\": " + e.what());
    return;
  }
  PictureName = FileName(*chosen);
  MsgBox("done");
}

}  // namespace quern
