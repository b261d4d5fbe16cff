// Writes a test sheet as scanned, and optionally its truth as text:
//   make_sheet [--small] [--shadow] [--seed N] PICTURE [TRUTH.txt]
// PICTURE takes any format Qt writes (.png keeps the scan as it is).
#include <QGuiApplication>
#include <QString>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "test_sheet.h"

namespace {

int usage() {
  std::fputs("usage: make_sheet [--small] [--shadow] [--seed N] PICTURE [TRUTH.txt]\n", stderr);
  return 2;
}

void writeTruth(const quern::tools::SheetTruth& truth, const std::string& path) {
  std::ofstream out(path);
  for (const auto& s : truth.segments)
    out << "segment " << s.from.x << ' ' << s.from.y << ' ' << s.to.x << ' ' << s.to.y << '\n';
  for (const auto& a : truth.arcs) {
    out << "arc " << a.centre.x << ' ' << a.centre.y << ' ' << a.radius << ' ' << a.startDegrees << ' '
        << a.sweepDegrees << '\n';
  }
  for (const auto& c : truth.curves) {
    out << "curve " << c.size();
    for (const auto& p : c) out << ' ' << p.x << ' ' << p.y;
    out << '\n';
  }
  for (const auto& b : truth.textBoxes)
    out << "text " << b.left << ' ' << b.top << ' ' << b.right << ' ' << b.bottom << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  auto size = quern::tools::SheetSize::a4;
  auto lighting = quern::tools::Lighting::even;
  std::uint32_t seed = 1;
  std::string picture;
  std::string truth;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--small") {
      size = quern::tools::SheetSize::small;
    } else if (arg == "--shadow") {
      lighting = quern::tools::Lighting::shadow;
    } else if (arg == "--seed" && i + 1 < argc) {
      seed = static_cast<std::uint32_t>(std::strtoul(argv[++i], nullptr, 10));
    } else if (picture.empty()) {
      picture = arg;
    } else if (truth.empty()) {
      truth = arg;
    } else {
      return usage();
    }
  }
  if (picture.empty()) return usage();
  const quern::tools::Sheet sheet = quern::tools::scanSheet(size, lighting, seed);
  if (!quern::tools::imageFromPicture(sheet.picture).save(QString::fromStdString(picture))) {
    std::fprintf(stderr, "make_sheet: cannot write %s\n", picture.c_str());
    return 1;
  }
  if (!truth.empty()) writeTruth(sheet.truth, truth);
  return 0;
}
