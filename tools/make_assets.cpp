// Writes the built-in pictures, or a line drawing of any size:
//   make_assets ASSETS_DIR              builtin.png (700 x 557) and splash.jpg (250 x 152)
//   make_assets --drawing W H FILE      a line drawing of W x H pixels
#include <QImageWriter>
#include <cstdlib>
#include <iostream>
#include <string>

#include "drawings.h"

namespace {

bool save(const QImage& img, const QString& path, int quality = -1) {
  QImageWriter w(path);
  if (quality >= 0) w.setQuality(quality);
  if (!w.write(img)) {
    std::cerr << "make_assets: cannot write " << path.toStdString() << ": " << w.errorString().toStdString() << "\n";
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  using quern::tools::lineDrawing;
  using quern::tools::splashPicture;
  if (argc == 5 && std::string(argv[1]) == "--drawing") {
    const int w = std::atoi(argv[2]);
    const int h = std::atoi(argv[3]);
    if (w < 16 || h < 16) {
      std::cerr << "make_assets: a drawing needs at least 16 x 16 pixels\n";
      return 2;
    }
    return save(lineDrawing(w, h), QString::fromLocal8Bit(argv[4])) ? 0 : 1;
  }
  if (argc != 2) {
    std::cerr << "usage: make_assets ASSETS_DIR | make_assets --drawing W H FILE\n";
    return 2;
  }
  const QString dir = QString::fromLocal8Bit(argv[1]);
  const bool ok = save(lineDrawing(700, 557), dir + "/builtin.png") && save(splashPicture(250, 152), dir + "/splash.jpg", 90);
  return ok ? 0 : 1;
}
