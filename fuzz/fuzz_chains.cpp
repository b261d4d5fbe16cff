// Random pixel listings through chain assembly, normalisation, the reorder
// pass and the DXF writer; chain assembly and reorder must match the literal
// procedures record for record.
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/progress.h"
#include "dxf/dxf_writer.h"
#include "literal_passes.h"
#include "vector/chains.h"
#include "vector/normalize.h"
#include "vector/reorder.h"
#include "vector/session.h"

namespace {

using quern::Int32;
using quern::RecordTable;

bool sameRecords(const RecordTable& a, const RecordTable& b) {
  if (a.count() != b.count()) return false;
  for (Int32 i = 1; i <= std::min(a.count(), RecordTable::kLastRecord); ++i) {
    if (!(a[i] == b[i])) return false;
  }
  return true;
}

// A fresh table holding `from`'s records 0..last: copying whole tables would
// touch all their pages on every input.
RecordTable prefixCopy(const RecordTable& from, Int32 last) {
  RecordTable to(from.name());
  for (Int32 i = 0; i <= std::min(last, RecordTable::kLastRecord); ++i) to[i] = from[i];
  return to;
}

std::string drawingPath() {
  static const std::string path = "/dev/shm/quern-fuzz-chains-" + std::to_string(::getpid()) + ".dxf";
  return path;
}

long dxfLines(const RecordTable& table) {
  quern::WriteDxfFile(drawingPath(), table);
  std::ifstream in(drawingPath(), std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  const std::string s = text.str();
  return std::count(s.begin(), s.end(), '\n');
}

}  // namespace

// Input: a flag byte, then pairs of bytes as pixels on a 24 x 24 grid (0
// included, which marks a pixel as used up).
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  static const long frameLines = dxfLines(RecordTable("ChainTable"));
  const unsigned flags = data[0];
  std::vector<std::pair<int, int>> pixels;
  for (std::size_t i = 1; i + 1 < size && pixels.size() < 400; i += 2)
    pixels.emplace_back(data[i] % 24, data[i + 1] % 24);
  if (flags & 1) std::sort(pixels.begin(), pixels.end());  // as thinning lists them
  quern::Session session;
  quern::FractionProgress progress;
  RecordTable& lt = session.LineTable;
  for (std::size_t k = 0; k < pixels.size(); ++k) {
    lt[static_cast<Int32>(k + 1)] = {static_cast<float>(pixels[k].first), static_cast<float>(pixels[k].second), 0, 0,
                                     0};
  }
  lt.count() = static_cast<Int32>(pixels.size());
  // Leftovers of an earlier pass past the listing, which the record past the
  // last separator shows.
  session.ChainTable[lt.count() + 1] = {static_cast<float>(flags >> 4), 3, 5, static_cast<float>(flags & 7), 0};

  RecordTable literalLines = prefixCopy(lt, lt.count() + 2);
  RecordTable literalChains = prefixCopy(session.ChainTable, lt.count() + 2);
  quern::BuildChains(session, progress);
  quern::testing::literalBuildChains(literalLines, literalChains);
  if (!sameRecords(session.LineTable, literalLines) || !sameRecords(session.ChainTable, literalChains)) {
    __builtin_trap();
  }

  quern::NormalizePass(session, quern::kDefaultTwipsPerPixel * (1 + (flags >> 1 & 3)));
  // Generalisation only drops vertices: every segment before the last
  // separator runs between listed pixels.
  const std::set<std::pair<int, int>> listed(pixels.begin(), pixels.end());
  const RecordTable& ct = session.ChainTable;
  for (Int32 i = 1; i < ct.count(); ++i) {
    if (quern::isSeparator(ct[i])) continue;
    if (!listed.contains({static_cast<int>(ct[i].x1), static_cast<int>(ct[i].y1)}) ||
        !listed.contains({static_cast<int>(ct[i].x2), static_cast<int>(ct[i].y2)})) {
      __builtin_trap();
    }
  }

  if (flags & 8) {
    RecordTable literalOrderChains = prefixCopy(session.ChainTable, session.ChainTable.count() + 1);
    RecordTable literalOrder("OrderTable");
    quern::ReorderPass(session);
    quern::testing::literalReorder(literalOrderChains, literalOrder);
    if (!sameRecords(session.ChainTable, literalOrderChains)) __builtin_trap();
  }
  if (dxfLines(session.ChainTable) != frameLines + 16L * session.ChainTable.count()) __builtin_trap();
  return 0;
}
