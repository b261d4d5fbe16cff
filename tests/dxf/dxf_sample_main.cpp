// Writes a drawing for the read-back check: argv[1] gets the DXF file,
// argv[2] the table's records 1..count as "x1 y1 x2 y2" lines.
#include <fstream>
#include <iostream>

#include "dxf/dxf_writer.h"
#include "vector/chains.h"
#include "vector/normalize.h"
#include "vector/session.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: dxf_sample <drawing.dxf> <records.txt>\n";
    return 2;
  }
  quern::Session s;
  quern::QuietHost host;
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
  quern::BuildChains(s, host);
  s.GeneralizeTolerance = 1;
  quern::NormalizePass(s, 15);
  quern::WriteDxfFile(argv[1], s.ChainTable);
  std::ofstream out(argv[2]);
  for (quern::Int32 i = 1; i <= s.ChainTable.count(); ++i) {
    const quern::LineRecord& r = s.ChainTable[i];
    out << r.x1 << ' ' << r.y1 << ' ' << r.x2 << ' ' << r.y2 << '\n';
  }
  return out ? 0 : 1;
}
