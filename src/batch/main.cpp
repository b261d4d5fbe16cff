// quernline-batch: the stage chain of the main window without a window.
#include <QCoreApplication>
#include <iostream>

#include "app/form1.h"
#include "app/picture_loader.h"
#include "batch/batch_args.h"

namespace {

// The dialogs answer with the files of the command line; message boxes go to stderr.
class BatchPlatform : public quern::Platform {
 public:
  explicit BatchPlatform(const quern::BatchArgs& args) : args_(args) {}
  std::optional<std::string> ShowOpenDialog() override { return args_.picture; }
  std::optional<std::string> ShowSaveDialog() override { return args_.drawing; }
  void MsgBox(const std::string& text) override {
    std::cerr << text << "\n";
    lastMessage = text;
  }
  void DoEvents() override {}
  // The form keeps a failed load quiet, as the window does; the reason is kept for stderr.
  quern::Picture LoadPicture(const std::string& path) override {
    try {
      return quern::loadPictureFile(path);
    } catch (const std::exception& e) {
      loadError = e.what();
      throw;
    }
  }

  std::string lastMessage;
  std::string loadError;

 private:
  const quern::BatchArgs& args_;
};

int run(const quern::BatchArgs& args) {
  BatchPlatform platform(args);
  quern::Form1 form(platform);
  form.Form_Load();
  if (args.picture) {
    const quern::Picture before = form.IPCH.picture();
    form.menu("loadimage");
    if (form.IPCH.picture() == before) {
      std::cerr << "quernline-batch: "
                << (platform.loadError.empty() ? "could not load " + *args.picture : platform.loadError) << "\n";
      return 1;
    }
  }
  form.scroll("HScroll3", args.blur);
  form.scroll("HScroll2", args.threshold);
  form.scroll("HScroll6", args.tolerance);
  form.Check1.Value = 1;
  form.Check3.Value = args.reorder ? 0 : 1;
  form.Check2.Value = args.noOriginal ? 0 : 1;
  // Moving the scale bar starts the chain by itself; at its present value a click does.
  if (form.HScroll1.Value != args.scale) {
    form.scroll("HScroll1", args.scale);
  } else {
    form.click("Command8");
  }
  if (!form.lastError().empty() || form.stage() != 11) {
    std::cerr << "quernline-batch: the stages did not run to the end\n";
    return 1;
  }
  // The export says "done" only once the drawing is written.
  platform.lastMessage.clear();
  form.menu("exportimage");
  if (!form.lastError().empty() || platform.lastMessage != "done") return 1;
  if (args.preview) {
    try {
      quern::saveBitmapPng(form.Picture1, *args.preview);
    } catch (const std::exception& e) {
      std::cerr << "quernline-batch: " << e.what() << "\n";
      return 1;
    }
  }
  for (const quern::Label& stat : form.Stat) std::cout << stat.Caption << "\n";
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication app(argc, argv);  // lets the picture readers find their plug-ins
  std::vector<std::string> words(argv + 1, argv + argc);
  const quern::BatchParse parsed = quern::parseBatchArgs(words);
  if (parsed.help) {
    std::cout << quern::kBatchUsage;
    return 0;
  }
  if (!parsed.args) {
    std::cerr << "quernline-batch: " << parsed.error << "\n" << quern::kBatchUsage;
    return 2;
  }
  try {
    return run(*parsed.args);
  } catch (const std::exception& e) {
    std::cerr << "quernline-batch: " << e.what() << "\n";
    return 1;
  }
}
