#include "vector/normalize.h"

#include <algorithm>

#include "vector/generalize.h"
#include "vector/session.h"

namespace quern {

namespace {

void setStart(LineRecord& r, const PolyPoint& p) {
  r.x1 = toFloat32(p.x);
  r.y1 = toFloat32(p.y);
}

void setEnd(LineRecord& r, const PolyPoint& p) {
  r.x2 = toFloat32(p.x);
  r.y2 = toFloat32(p.y);
}

Int32 lastReadable(const RecordTable& table) {
  return std::min(table.count(), table.lastRecord());
}

}  // namespace

void appendPolylinePoint(Session& session, const LineRecord& record) {
  PolyList& raw = session.polyBuffer[0];
  const Int32 next = add32(raw.highest(), 1);
  raw.redimPreserve(next);
  raw[next] = {roundToInt32(record.x1), roundToInt32(record.y1)};
}

void finishPolyline(Session& session, Int32 twipsPerPixelX) {
  simplifyPolyBuffer(session, twipsPerPixelX);
  const PolyList& kept = session.polyBuffer[1];
  session.LastPolyBound = kept.highest();
  RecordTable& chains = session.ChainTable;
  Int32& count = chains.count();
  if (session.LastPolyBound >= 1) setStart(chains[count], kept[1]);
  for (Int32 j = 2; j <= session.LastPolyBound; ++j) {
    setEnd(chains[count], kept[j]);
    count = add32(count, 1);
    setStart(chains[count], kept[j]);
  }
  // The separator takes the place of the last start point written above.
  LineRecord& closing = chains[count];
  closing.x1 = closing.y1 = closing.x2 = closing.y2 = kSeparator;
  count = add32(count, 1);
  session.polyBuffer[0].clear();
  session.polyBuffer[1].clear();
  session.LastPolyBound = 0;
}

void NormalizePass(Session& session, Int32 twipsPerPixelX) {
  // A polyline writes no more records than it read.
  session.ChainTable.reserve(session.LineTable.lastRecord());
  session.ChainTable.count() = 1;
  session.polyBuffer[0].clear();
  session.polyBuffer[1].clear();
  const Int32 last = lastReadable(session.LineTable);
  for (Int32 i = 1; i <= last; ++i) {
    const LineRecord& r = session.LineTable[i];
    if (r.x1 != kSeparator) {
      appendPolylinePoint(session, r);
    } else {
      finishPolyline(session, twipsPerPixelX);
    }
  }
}

void normalizeAsOnePolyline(Session& session, Int32 twipsPerPixelX) {
  const Int32 last = lastReadable(session.LineTable);
  for (Int32 i = 1; i <= last; ++i) {
    const LineRecord& r = session.LineTable[i];
    if (r.x1 != 0.0F && r.x1 != kSeparator) appendPolylinePoint(session, r);
  }
  finishPolyline(session, twipsPerPixelX);
}

bool fanFromGeneralized(Session& session) {
  const PolyList& kept = session.polyBuffer[1];
  if (kept.highest() < 1) return false;
  RecordTable& chains = session.ChainTable;
  Int32& count = chains.count();
  count = 1;
  setStart(chains[1], kept[1]);
  for (Int32 j = 2; j <= kept.highest(); ++j) {
    setEnd(chains[count], kept[j]);
    count = add32(count, 1);
    setStart(chains[count], kept[1]);
  }
  return true;
}

}  // namespace quern
