#pragma once

#include <limits>
#include <memory>

#include "base/line_tables.h"
#include "base/numbers.h"
#include "vector/generalize.h"

namespace quern {

// What the vectorisation stages share from one run to the next: the line
// tables, the point lists on their way through simplification and the
// simplifier with its tolerance. A chain of stages owns one and hands it down
// by reference; a test makes a fresh one in one line.
struct Session {
  // `mapLargeBlocks`: how the tables take their records from the system.
  explicit Session(bool mapLargeBlocks = true)
      : LineTable("LineTable", RecordTable::kLastRecord, mapLargeBlocks),
        ChainTable("ChainTable", RecordTable::kLastRecord, mapLargeBlocks),
        OrderTable("OrderTable", RecordTable::kLastRecord, mapLargeBlocks) {}

  RecordTable LineTable, ChainTable, OrderTable;
  PolyBuffer polyBuffer;
  // Made at the first simplification when nobody made it before.
  std::unique_ptr<clsGeneralize> GeneralizeObject;
  Int32 GeneralizeTolerance = 0;  // twips; divided by the screen's twips per pixel
  bool GeneralizeBusy = false;
  bool GeneralizeIn3D = false;
  Int32 LastPolyBound = 0;

  // Lets the three tables grow past their 100000 records when a picture's
  // lines need more, up to `lastRecord` each.
  void allowGrowth(Int32 lastRecord = std::numeric_limits<Int32>::max() - 1) {
    for (RecordTable* t : {&LineTable, &ChainTable, &OrderTable}) t->setGrowable(true, lastRecord);
  }
};

}  // namespace quern
