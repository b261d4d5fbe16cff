#include "vector/reorder.h"

#include <algorithm>
#include <optional>

#include "vector/nearest_end.h"
#include "vector/session.h"

namespace quern {

namespace {

bool allFour(const LineRecord& r, float v) {
  return r.x1 == v && r.y1 == v && r.x2 == v && r.y2 == v;
}

void mark(LineRecord& r) {
  r.x1 = r.y1 = r.x2 = r.y2 = kTaken;
}

void appendReversed(LineRecord& to, const LineRecord& from) {
  to.x1 = from.x2;
  to.y1 = from.y2;
  to.x2 = from.x1;
  to.y2 = from.y1;
}

}  // namespace

void ReorderPass(Session& session) {
  RecordTable& chains = session.ChainTable;
  RecordTable& order = session.OrderTable;
  const Int32 n = std::min(chains.count(), chains.lastRecord());
  order.reserve(n);
  Int32 taken = 0;
  for (Int32 i = 1; i <= n; ++i) {
    LineRecord& r = order[i];
    r = chains[i];
    // Empty records and separators take no part.
    if (allFour(r, 0.0F) || allFour(r, kSeparator)) mark(r);
    if (r.x1 == kTaken) ++taken;
  }
  order.count() = n;
  Int32& count = chains.count();
  count = 1;

  std::optional<NearestEnd> index;
  if (NearestEnd::canIndex(order, n)) index.emplace(order, n);
  for (;;) {
    const LineRecord& tail = chains[count];
    const EndPick pick = index ? index->find(tail.x2, tail.y2) : scanNearestEnd(order, n, tail.x2, tail.y2);
    if (pick.record == 0) return;
    if (count + taken >= n) return;
    count = add32(count, 1);
    LineRecord& picked = order[pick.record];
    if (pick.reversed) {
      appendReversed(chains[count], picked);
    } else {
      chains[count] = picked;
    }
    mark(picked);
    if (index) index->remove(pick.record);
  }
}

}  // namespace quern
