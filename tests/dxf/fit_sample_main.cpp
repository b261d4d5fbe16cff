// Writes a fitted drawing of known geometry for the read-back checks:
// argv[1] gets the DXF file, argv[2] the entities, one a line, in pixels
// with y down ("line x1 y1 x2 y2", "arc cx cy r x1 y1 x2 y2 sweep", "circle
// cx cy r", "chain open|closed" before each chain's entities). Options:
// --polyline, --unit mm|in with --dpi D, --svg FILE.
#include <fstream>
#include <iostream>
#include <numbers>
#include <string>
#include <vector>

#include "base/drawing_entities.h"
#include "base/drawing_units.h"
#include "dxf/dxf_drawing.h"
#include "sample_options.h"
#include "svg/svg_writer.h"

namespace {

using quern::DrawingEntity;
using quern::FittedChain;

constexpr double kQuarter = std::numbers::pi / 2;

DrawingEntity arc(double cx, double cy, double r, double from, double sweep) {
  DrawingEntity e;
  e.kind = DrawingEntity::Kind::Arc;
  e.cx = cx;
  e.cy = cy;
  e.radius = r;
  e.sweep = sweep;
  e.x1 = cx + r * std::cos(from);
  e.y1 = cy + r * std::sin(from);
  e.x2 = cx + r * std::cos(from + sweep);
  e.y2 = cy + r * std::sin(from + sweep);
  return e;
}

std::vector<FittedChain> sample() {
  std::vector<FittedChain> out;
  // A line, a quarter turning towards +y, a line.
  out.push_back(
      {{quern::lineEntity(10, 10, 50, 10), arc(50, 30, 20, -kQuarter, kQuarter), quern::lineEntity(70, 30, 70, 60)},
       false});
  // A half turning the other way, and three quarters (more than half round).
  out.push_back({{arc(120, 50, 15, 0, -2 * kQuarter)}, false});
  out.push_back({{arc(60, 120, 20, 0, -3 * kQuarter)}, false});
  out.push_back({{quern::circleEntity(200.5, 60.25, 25.75)}, true});
  // A rounded square, closed.
  FittedChain square{{}, true};
  square.pieces = {quern::lineEntity(160, 100, 180, 100), arc(180, 110, 10, -kQuarter, kQuarter),
                   quern::lineEntity(190, 110, 190, 130), arc(180, 130, 10, 0, kQuarter),
                   quern::lineEntity(180, 140, 160, 140), arc(160, 130, 10, kQuarter, kQuarter),
                   quern::lineEntity(150, 130, 150, 110), arc(160, 110, 10, 2 * kQuarter, kQuarter)};
  out.push_back(square);
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: fit_sample <drawing.dxf> <entities.txt> [--polyline] [--unit U --dpi D] [--svg FILE]\n";
    return 2;
  }
  quern::testing::SampleOptions sampled = quern::testing::sampleOptions(argc, argv, 3);
  quern::DrawingOptions& options = sampled.drawing;
  options.fit = true;
  const std::string& svg = sampled.svg;
  const std::vector<FittedChain> fitted = sample();
  quern::writeDxfDrawing(argv[1], fitted, options);
  if (!svg.empty()) quern::writeSvgFile(svg, fitted, options);
  std::ofstream out(argv[2]);
  out.precision(17);
  for (const FittedChain& chain : fitted) {
    out << "chain " << (chain.closed ? "closed" : "open") << '\n';
    for (const DrawingEntity& e : chain.pieces) {
      if (e.kind == DrawingEntity::Kind::Line) {
        out << "line " << e.x1 << ' ' << e.y1 << ' ' << e.x2 << ' ' << e.y2 << '\n';
      } else if (e.kind == DrawingEntity::Kind::Arc) {
        out << "arc " << e.cx << ' ' << e.cy << ' ' << e.radius << ' ' << e.x1 << ' ' << e.y1 << ' ' << e.x2 << ' '
            << e.y2 << ' ' << e.sweep << '\n';
      } else {
        out << "circle " << e.cx << ' ' << e.cy << ' ' << e.radius << '\n';
      }
    }
  }
  return out ? 0 : 1;
}
