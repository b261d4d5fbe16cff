// Saves what the display shows, for looking at the window under a virtual X server:
//   grab_screen FILE.png [DELAY_MS]
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <QThread>
#include <cstdlib>
#include <iostream>

int main(int argc, char** argv) {
  QGuiApplication app(argc, argv);
  if (argc < 2 || argc > 3) {
    std::cerr << "usage: grab_screen FILE.png [DELAY_MS]\n";
    return 2;
  }
  if (argc == 3) QThread::msleep(static_cast<unsigned long>(std::atol(argv[2])));
  QScreen* screen = QGuiApplication::primaryScreen();
  if (!screen || !screen->grabWindow(0).save(QString::fromLocal8Bit(argv[1]))) {
    std::cerr << "grab_screen: cannot grab the screen into " << argv[1] << "\n";
    return 1;
  }
  return 0;
}
