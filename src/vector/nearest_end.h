#pragma once

#include <vector>

#include "base/line_tables.h"
#include "base/numbers.h"

namespace quern {

// A record found by the reorder search, entered at its start or at its end.
struct EndPick {
  Int32 record = 0;  // 0: none
  bool reversed = false;
};

// The search of the reorder pass, record by record: the nearest end by 32-bit
// float distance, lowest record first, start before end, and an exact hit
// ends the search at once. Records whose x1 is the taken mark take no part.
EndPick scanNearestEnd(const RecordTable& table, Int32 count, float ex, float ey);

// The same picks from a 2-d tree over the ends of records 1..count that are
// not marked at construction. It takes whole-number coordinates within
// +-2^24 only (their squared distances are exact in 64 bits); canIndex says
// whether a table qualifies.
class NearestEnd {
 public:
  static bool canIndex(const RecordTable& table, Int32 count);

  NearestEnd(const RecordTable& table, Int32 count);
  EndPick find(float ex, float ey) const;
  // Takes both ends of a record out of the search.
  void remove(Int32 record);

 private:
  struct End {
    Int32 x;
    Int32 y;
    Int32 record;
    bool isEnd;
  };
  struct Node {
    Int32 minX, maxX, minY, maxY;
    Int32 alive;  // live ends in this subtree
    bool splitOnX;
  };
  struct Best;

  void build(Int32 lo, Int32 hi);
  void search(Int32 lo, Int32 hi, double qx, double qy, Best& best) const;
  void removeAt(Int32 position);

  std::vector<End> ends_;
  std::vector<Node> nodes_;        // one per position, describing the subtree centred there
  std::vector<bool> live_;         // per position
  std::vector<Int32> positionOf_;  // 2 * record + (isEnd ? 1 : 0)
};

}  // namespace quern
