#include <QApplication>
#include <QFileInfo>
#include <QTimer>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <optional>
#include <string_view>

#include "app/qt/main_window.h"
#include "app/qt/splash.h"

namespace {

// Qt aborts when its platform cannot open a display, with a core dump and a
// line about plugins; a user without a display deserves a plain sentence.
// A platform given by name (offscreen, vnc, ...) or on the command line is
// Qt's to judge.
bool displayReachable(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::string_view(argv[i]) == "-platform") return true;
  }
  const char* platform = std::getenv("QT_QPA_PLATFORM");
  const std::string_view name = platform ? platform : "";
  if (!name.empty() && !name.starts_with("xcb") && !name.starts_with("wayland")) return true;
  const auto set = [](const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
  };
  return set("DISPLAY") || set("WAYLAND_DISPLAY");
}

}  // namespace

int main(int argc, char** argv) {
  // Answered before QApplication exists: neither needs a display.
  if (argc == 2 && std::string_view(argv[1]) == "--version") {
    std::cout << "quernline " QUERNLINE_VERSION "\n";
    return 0;
  }
  if (argc == 2 && (std::string_view(argv[1]) == "--help" || std::string_view(argv[1]) == "-h")) {
    std::cout << "usage: quernline [PICTURE]\n"
                 "       quernline --version\n"
                 "  PICTURE    a .jpg, .JPG, .bmp, .BMP, .gif or .GIF file, loaded as \"Load image\" would\n"
                 "  --version  print the version and exit\n";
    return 0;
  }
  if (!displayReachable(argc, argv)) {
    std::cerr << "quernline: no display to open the window on (neither DISPLAY nor WAYLAND_DISPLAY is set).\n"
                 "Run it on a desktop, or without one under xvfb-run -a quernline; quernline-batch converts\n"
                 "pictures without a window.\n";
    return 1;
  }
  QApplication app(argc, argv);  // takes Qt's own options out of argv
  QApplication::setApplicationName("Quernline");
  QApplication::setApplicationVersion(QUERNLINE_VERSION);
  std::optional<std::string> picture;
  if (argc > 1) picture = QFileInfo(QString::fromLocal8Bit(argv[1])).absoluteFilePath().toStdString();

  std::unique_ptr<quern::MainWindow> window;
  quern::SplashWindow* splash = nullptr;
  splash = new quern::SplashWindow([&] {
    window = std::make_unique<quern::MainWindow>();
    window->form().SplashTicks = splash->SplashTicks();
    window->show();
    // Once the splash has gone, as the user would pick it from "Load image".
    if (picture) QTimer::singleShot(0, window.get(), [&] { window->openPicture(*picture); });
  });
  splash->setAttribute(Qt::WA_DeleteOnClose);
  splash->show();
  return QApplication::exec();
}
