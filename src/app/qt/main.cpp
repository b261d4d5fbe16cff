#include <QApplication>
#include <QFileInfo>
#include <QTimer>
#include <iostream>
#include <memory>
#include <optional>
#include <string_view>

#include "app/qt/main_window.h"
#include "app/qt/splash.h"

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
