#include "app/form1.h"

#include <array>

#include "dxf/export.h"

namespace quern {

std::optional<std::string> pictureExtension(const std::string& path) {
  if (path.size() < 3) return std::nullopt;
  return path.substr(path.size() - 3);
}

bool isPictureExtension(const std::string& extension) {
  static constexpr std::array<std::string_view, 6> kAccepted = {"jpg", "JPG", "BMP", "bmp", "gif", "GIF"};
  for (std::string_view e : kAccepted) {
    if (extension == e) return true;
  }
  return false;
}

void Form1::Command3_Click() {
  try {
    const std::optional<std::string> chosen = platform_.ShowOpenDialog();
    if (chosen) {
      session.PicturePath = *chosen;
      session.PictureName = FileName(session.PicturePath);
      const std::optional<std::string> extension = pictureExtension(session.PicturePath);
      if (extension && !isPictureExtension(*extension)) {
        MsgBox("Not a valid File___" + *extension);
        return;
      }
      if (extension) {
        IPCH.setPicture(platform_.LoadPicture(session.PicturePath));
        Text5.Text = session.PicturePath;
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
  fitPreview(6000.0F, 6000.0F);
  Picture1.setScaleWidth(static_cast<float>(IPCH.picwidth()));
  Picture1.setScaleHeight(static_cast<float>(IPCH.picheight()));
  Picture1.PaintPicture(IPCH.picture(), 0.0F, 0.0F, IPCH.Picture1.ScaleWidth(), IPCH.Picture1.ScaleHeight());
  SetStage(1);
}

void Form1::Command4_Click() {
  // Before any file is chosen there is nothing to go back to: the built-in
  // picture stays.
  if (session.PicturePath.empty()) return;
  IPCH.setPicture(platform_.LoadPicture(session.PicturePath));
}

void Form1::Restormenu_Click() { Command4_Click(); }

void Form1::exportimage_Click() { ::quern::exportimage_Click(session, platform_); }

}  // namespace quern
