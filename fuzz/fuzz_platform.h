#pragma once

#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>

#include "app/form1.h"
#include "app/platform.h"

namespace quern::fuzz {

// The dialogs answer with a fixed picture name and a drawing that is a link
// to /dev/null: the export runs to its last byte without a disk in the way.
class FuzzPlatform : public Platform {
 public:
  Picture picture;

  std::optional<std::string> ShowOpenDialog() override { return "fuzz.bmp"; }
  std::optional<std::string> ShowSaveDialog() override { return drawingPath(); }
  void MsgBox(const std::string&) override {}
  void DoEvents() override {}
  Picture LoadPicture(const std::string&) override { return picture; }

 private:
  static std::string drawingPath() {
    static const std::string path = [] {
      const std::filesystem::path link =
          std::filesystem::temp_directory_path() / ("quern-fuzz-" + std::to_string(::getpid()) + ".dxf");
      std::error_code ignored;
      std::filesystem::remove(link, ignored);
      std::filesystem::create_symlink("/dev/null", link);
      return link.string();
    }();
    return path;
  }
};

// One form for the whole run, brought back for each input to what a new
// one holds once `picture` is loaded: a fresh session (cheap: its tables
// are untouched zero pages), the controls at their start values, state 1.
// Making the form anew would cost most of an input's time in filling its
// boxes. The stage surfaces keep earlier pictures, as the window's do, but
// in state 1 only stage 1 can start, and each stage rewrites its surface
// before the next reads it.
inline Form1& formWith(const Picture& picture) {
  static FuzzPlatform platform;
  static Form1 form(platform);
  platform.picture = picture;
  form.session = Session{};
  form.Text1.Text = "1";
  form.Text2.Text = "200";
  form.Text3.Text = "1";
  form.Text4.Text = "1";
  form.HScroll1.Value = 100;
  form.HScroll2.Value = 200;
  form.HScroll3.Value = 1;
  form.HScroll6.Value = 1;
  form.Check1.Value = form.Check2.Value = form.Check3.Value = 1;
  form.Form_Load();
  form.menu("loadimage");
  return form;
}

}  // namespace quern::fuzz
