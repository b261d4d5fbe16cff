#pragma once

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "base/errors.h"
#include "base/numbers.h"

namespace quern {

// One record type serves all three tables; what it means changes from step to
// step: a listed pixel (x1, y1), a segment, or a separator (all four -1).
struct LineRecord {
  float x1 = 0.0F;
  float y1 = 0.0F;
  float x2 = 0.0F;
  float y2 = 0.0F;
  Int32 count = 0;  // meaningful in record 0 only, but copied with the record

  friend bool operator==(const LineRecord&, const LineRecord&) = default;
};

// Records live in zeroed memory and are copied as bytes.
static_assert(std::is_trivially_copyable_v<LineRecord> && std::is_trivially_destructible_v<LineRecord>);

inline constexpr float kSeparator = -1.0F;
inline constexpr float kTaken = 1000000.0F;

inline bool isSeparator(const LineRecord& r) {
  return r.x1 == kSeparator && r.y1 == kSeparator && r.x2 == kSeparator && r.y2 == kSeparator;
}

// Records 0 to lastRecord (100000 unless a larger table is asked for); record
// 0 is the head and holds the count. Nothing clears a table as a whole: passes
// reset the count and overwrite from record 1.
//
// The records come zeroed from the system, which hands out pages lazily, so a
// fresh table costs next to nothing until records are written, and a fresh
// record reads as all zeros, which is what an untouched record must hold.
class RecordTable {
 public:
  static constexpr Int32 kLastRecord = 100000;

  // `mapLarge`: how its records are taken from the system (allocateZeroed).
  explicit RecordTable(std::string name, Int32 lastRecord = kLastRecord, bool mapLarge = true);
  RecordTable(const RecordTable& other);
  RecordTable& operator=(const RecordTable& other);
  // A table moved from holds no record: every index is out of its range.
  RecordTable(RecordTable&& other) noexcept;
  RecordTable& operator=(RecordTable&& other) noexcept;
  ~RecordTable();

  LineRecord& operator[](Int32 i) {
    const std::size_t at = checkIndex(i);
    touched_ = std::max(touched_, i);
    return records_[at];
  }
  const LineRecord& operator[](Int32 i) const { return records_[checkIndex(i)]; }

  Int32& count() { return records_[0].count; }
  Int32 count() const { return records_[0].count; }

  const std::string& name() const { return name_; }
  Int32 lastRecord() const { return lastRecord_; }
  bool holds(Int32 i) const { return i >= 0 && i <= lastRecord_; }

  // A table that may grow takes more records when a stage needs them, for
  // pictures whose lines are longer than the default tables hold; the
  // others end at their last record, as the window's tables do.
  bool growable() const { return growable_; }
  // A growing table stops at `lastRecord`, so that a run's tables stay within
  // the memory it was given.
  void setGrowable(bool growable, Int32 lastRecord = std::numeric_limits<Int32>::max() - 1) {
    growable_ = growable;
    mostRecords_ = lastRecord;
  }
  // The last record the table may come to hold.
  Int32 mostRecords() const { return growable_ ? std::max(lastRecord_, mostRecords_) : lastRecord_; }
  // Records up to `lastRecord` are there afterwards, new ones zero. False,
  // and nothing changed, for a table that may not grow that far.
  bool reserve(Int32 lastRecord);

  struct FreeRecords {
    std::size_t mapped;  // as allocateZeroed gave it
    std::size_t bytes;   // the block's size
    std::size_t dirty;   // bytes from the start that may have been written
    void operator()(LineRecord* p) const noexcept;
  };
  using Records = std::unique_ptr<LineRecord[], FreeRecords>;

 private:
  std::size_t checkIndex(Int32 i) const {
    if (!holds(i)) throwOutOfRange(i);
    return static_cast<std::size_t>(i);
  }
  [[noreturn]] void throwOutOfRange(Int32 i) const;

  std::string name_;
  Int32 lastRecord_;
  bool growable_ = false;
  Int32 mostRecords_ = 0;
  bool mapLarge_ = true;
  // The highest record handed out for writing: records past it are still
  // zero, so a block given back need not be cleared past it.
  Int32 touched_ = 0;
  Records records_;
};

struct PolyPoint {
  Int32 x = 0;
  Int32 y = 0;
  friend bool operator==(const PolyPoint&, const PolyPoint&) = default;
};

// A growable list of points with indices 0 to highest; index 0 is never used,
// so a list whose highest index is 0 is empty.
class PolyList {
 public:
  PolyList() : points_(1) {}

  Int32 highest() const { return static_cast<Int32>(points_.size()) - 1; }
  // Gives the list the index range 0 to `highest`, dropping what lies above.
  void redim(Int32 highest) {
    if (highest < 0) throw IndexError("Subscript out of range: a point list cannot end below index 0");
    points_.resize(static_cast<std::size_t>(highest) + 1);
  }
  // Like redim, but keeps the points that stay in range.
  void redimPreserve(Int32 highest) { redim(highest); }
  void clear() { points_.assign(1, PolyPoint{}); }

  PolyPoint& operator[](Int32 i) { return points_[checkIndex(i)]; }
  const PolyPoint& operator[](Int32 i) const { return points_[checkIndex(i)]; }

 private:
  std::size_t checkIndex(Int32 i) const {
    if (i < 0 || i > highest()) throwOutOfRange(i);
    return static_cast<std::size_t>(i);
  }
  [[noreturn]] void throwOutOfRange(Int32 i) const;
  std::vector<PolyPoint> points_;
};

// Slot 0 holds the raw polyline, slot 1 the generalised one.
struct PolyBuffer {
  std::array<PolyList, 2> slot;
  PolyList& operator[](int i) { return slot.at(static_cast<std::size_t>(i)); }
  const PolyList& operator[](int i) const { return slot.at(static_cast<std::size_t>(i)); }
};

// The three tables of a session.
struct LineTables {
  RecordTable LineTable{"LineTable"};
  RecordTable ChainTable{"ChainTable"};
  RecordTable OrderTable{"OrderTable"};
};

}  // namespace quern
