#include <QApplication>
#include <memory>

#include "app/qt/main_window.h"
#include "app/qt/splash.h"

int main(int argc, char** argv) {
  QApplication app(argc, argv);
  QApplication::setApplicationName("Quernline");
  std::unique_ptr<quern::MainWindow> window;
  quern::SplashWindow* splash = nullptr;
  splash = new quern::SplashWindow([&] {
    window = std::make_unique<quern::MainWindow>();
    window->form().SplashTicks = splash->SplashTicks();
    window->show();
  });
  splash->setAttribute(Qt::WA_DeleteOnClose);
  splash->show();
  return QApplication::exec();
}
