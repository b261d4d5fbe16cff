#pragma once

// The chain assembly and the reorder pass exactly as they are defined:
// quadratic, and the reference that the indexed versions must match record
// for record. The tests compare against them, the benchmarks time them.

#include <cmath>

#include "base/line_tables.h"
#include "vector/chains.h"

namespace quern::testing {

// The procedure as written: every link rescans the listing from record 1.
inline void literalBuildChains(RecordTable& lt, RecordTable& ct) {
  const Int32 n = lt.count();
  ct.count() = 1;
  ct[1].x1 = lt[1].x1;
  ct[1].y1 = lt[1].y1;
  lt[1].x1 = 0;
  lt[1].y1 = 0;
  for (;;) {
    Int32 found = 0;
    for (Int32 i = 1; i <= n && found == 0; ++i) {
      if (IsNeighbour(ct[ct.count()].x1, ct[ct.count()].y1, lt[i].x1, lt[i].y1)) found = i;
    }
    if (found != 0) {
      ct[ct.count()].x2 = lt[found].x1;
      ct[ct.count()].y2 = lt[found].y1;
      ct.count() += 1;
      ct[ct.count()].x1 = lt[found].x1;
      ct[ct.count()].y1 = lt[found].y1;
      lt[found].x1 = 0;
      lt[found].y1 = 0;
      continue;
    }
    if (n < ct.count()) break;
    if (ct[ct.count() - 1].x1 != -1 && ct[ct.count() - 1].y1 != -1) {
      ct[ct.count()].x1 = ct[ct.count()].y1 = ct[ct.count()].x2 = ct[ct.count()].y2 = -1;
      ct.count() += 1;
    }
    Int32 start = 0;
    for (Int32 i = 1; i <= n && start == 0; ++i) {
      if (lt[i].x1 != 0 && lt[i].y1 != 0) start = i;
    }
    if (start == 0) break;
    ct[ct.count()].x1 = lt[start].x1;
    ct[ct.count()].y1 = lt[start].y1;
    lt[start].x1 = 0;
    lt[start].y1 = 0;
  }
  for (Int32 i = 1; i <= ct.count(); ++i) lt[i] = ct[i];
  lt.count() = ct.count();
}

// The pass as written: every append searches all records again. It ends
// where nothing can be picked, as the shipped pass does; as written it would
// search forever.
inline void literalReorder(RecordTable& ct, RecordTable& ot) {
  const Int32 n = ct.count();
  for (Int32 i = 1; i <= n; ++i) {
    ot[i] = ct[i];
    const LineRecord& r = ot[i];
    if ((r.x1 == 0 && r.y1 == 0 && r.x2 == 0 && r.y2 == 0) || (r.x1 == -1 && r.y1 == -1 && r.x2 == -1 && r.y2 == -1)) {
      ot[i].x1 = ot[i].y1 = ot[i].x2 = ot[i].y2 = 1000000.0F;
    }
  }
  ot.count() = n;
  ct.count() = 1;
  Int32 taken = 0;
  for (Int32 i = 1; i <= n; ++i) taken += ot[i].x1 == 1000000.0F ? 1 : 0;
  for (;;) {
    float best = 10000000.0F;
    Int32 pick = 0;
    bool reversed = false;
    const double ex = ct[ct.count()].x2;
    const double ey = ct[ct.count()].y2;
    for (Int32 i = 1; i <= n; ++i) {
      if (ot[i].x1 == 1000000.0F) continue;
      const double ds = std::sqrt((ot[i].x1 - ex) * (ot[i].x1 - ex) + (ot[i].y1 - ey) * (ot[i].y1 - ey));
      const double de = std::sqrt((ot[i].x2 - ex) * (ot[i].x2 - ex) + (ot[i].y2 - ey) * (ot[i].y2 - ey));
      if (static_cast<float>(ds) < best) {
        best = static_cast<float>(ds);
        pick = i;
        reversed = false;
      }
      if (static_cast<float>(de) < best) {
        best = static_cast<float>(de);
        pick = i;
        reversed = true;
      }
      if (ds == 0 || de == 0) {  // an exact hit ends the search, the start first
        pick = i;
        reversed = ds != 0;
        break;
      }
    }
    if (pick == 0) return;
    if (ct.count() + taken >= n) return;
    ct.count() += 1;
    LineRecord& r = ot[pick];
    LineRecord& t = ct[ct.count()];
    t = reversed ? LineRecord{r.x2, r.y2, r.x1, r.y1, t.count} : r;
    r.x1 = r.y1 = r.x2 = r.y2 = 1000000.0F;
  }
}

}  // namespace quern::testing
