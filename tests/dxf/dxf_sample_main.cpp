// Writes a drawing for the read-back checks: argv[1] gets the DXF file,
// argv[2] the table's records 1..count as "x1 y1 x2 y2" lines. Options:
// --polyline, --unit mm|in|px with --dpi D and --rescale R, --svg FILE.
#include <fstream>
#include <iostream>
#include <string>

#include "base/drawing_units.h"
#include "dxf/dxf_drawing.h"
#include "sample_options.h"
#include "svg/svg_writer.h"
#include "vector/chains.h"
#include "vector/normalize.h"
#include "vector/session.h"

int main(int argc, char** argv) {
  if (argc < 3) {
    std::cerr << "usage: dxf_sample <drawing.dxf> <records.txt> [--polyline] [--unit U --dpi D --rescale R] "
                 "[--svg FILE]\n";
    return 2;
  }
  const quern::testing::SampleOptions sample = quern::testing::sampleOptions(argc, argv, 3);
  const quern::DrawingOptions& options = sample.drawing;
  const std::string& svg = sample.svg;

  quern::Session s;
  quern::FractionProgress progress;
  // A few strokes, a ring and a pixel on row 0 (y = 0 gives -0 in the file).
  quern::Int32 n = 0;
  for (int x = 1; x < 120; ++x) {
    for (int y = 0; y < 80; ++y) {
      const bool stroke = y == 40 || x == 60 || x == y + 10 || (x - 30) * (x - 30) + (y - 30) * (y - 30) == 200;
      if (stroke && n < 5000) {
        ++n;
        s.LineTable[n].x1 = static_cast<float>(x);
        s.LineTable[n].y1 = static_cast<float>(y);
      }
    }
  }
  s.LineTable.count() = n;
  quern::BuildChains(s, progress);
  s.GeneralizeTolerance = 1;
  quern::NormalizePass(s, 15);
  // Chains never close on themselves, so a square is added by hand to have a
  // loop, closed by its separator; the record past it stays as it was.
  quern::RecordTable& t = s.ChainTable;
  quern::Int32& count = t.count();
  const float square[5][2] = {{130, 10}, {150, 10}, {150, 30}, {130, 30}, {130, 10}};
  const quern::LineRecord past = t[count];
  for (int k = 0; k < 4; ++k) t[count++] = {square[k][0], square[k][1], square[k + 1][0], square[k + 1][1], 0};
  t[count++] = {-1, -1, -1, -1, 0};
  t[count] = past;

  quern::writeDxfDrawing(argv[1], t, options);
  if (!svg.empty()) quern::writeSvgFile(svg, t, options);
  std::ofstream out(argv[2]);
  for (quern::Int32 i = 1; i <= t.count(); ++i) {
    const quern::LineRecord& r = t[i];
    out << r.x1 << ' ' << r.y1 << ' ' << r.x2 << ' ' << r.y2 << '\n';
  }
  return out ? 0 : 1;
}
