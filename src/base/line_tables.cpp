#include "base/line_tables.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "base/zeroed_memory.h"

namespace quern {

namespace {

RecordTable::Records zeroedRecords(Int32 lastRecord, bool mapLarge) {
  if (lastRecord < 0) throw IndexError("a line table needs at least its head record");
  const std::size_t bytes = (static_cast<std::size_t>(lastRecord) + 1) * sizeof(LineRecord);
  std::size_t mapped = 0;
  void* p = allocateZeroed(bytes, mapped, mapLarge);
  if (p == nullptr) throw std::bad_alloc();
  return RecordTable::Records(static_cast<LineRecord*>(p), RecordTable::FreeRecords{mapped, bytes, bytes});
}

}  // namespace

void RecordTable::FreeRecords::operator()(LineRecord* p) const noexcept {
  if (mapped == 0) {
    recycleZeroed(p, bytes, dirty);
  } else {
    freeZeroed(p, mapped);
  }
}

RecordTable::~RecordTable() {
  if (records_) records_.get_deleter().dirty = (static_cast<std::size_t>(touched_) + 1) * sizeof(LineRecord);
}

RecordTable::RecordTable(std::string name, Int32 lastRecord, bool mapLarge)
    : name_(std::move(name)),
      lastRecord_(lastRecord),
      mapLarge_(mapLarge),
      records_(zeroedRecords(lastRecord, mapLarge)) {}

RecordTable::RecordTable(const RecordTable& other)
    : name_(other.name_),
      lastRecord_(other.lastRecord_),
      growable_(other.growable_),
      mapLarge_(other.mapLarge_),
      touched_(other.lastRecord_),
      records_(zeroedRecords(other.lastRecord_, other.mapLarge_)) {
  std::memcpy(records_.get(), other.records_.get(), (static_cast<std::size_t>(lastRecord_) + 1) * sizeof(LineRecord));
}

RecordTable& RecordTable::operator=(const RecordTable& other) {
  if (this != &other) *this = RecordTable(other);
  return *this;
}

RecordTable::RecordTable(RecordTable&& other) noexcept
    : name_(std::move(other.name_)),
      lastRecord_(std::exchange(other.lastRecord_, -1)),
      growable_(other.growable_),
      mapLarge_(other.mapLarge_),
      touched_(std::exchange(other.touched_, 0)),
      records_(std::move(other.records_)) {}

RecordTable& RecordTable::operator=(RecordTable&& other) noexcept {
  name_ = std::move(other.name_);
  lastRecord_ = std::exchange(other.lastRecord_, -1);
  growable_ = other.growable_;
  mapLarge_ = other.mapLarge_;
  if (records_) records_.get_deleter().dirty = (static_cast<std::size_t>(touched_) + 1) * sizeof(LineRecord);
  touched_ = std::exchange(other.touched_, 0);
  records_ = std::move(other.records_);
  return *this;
}

bool RecordTable::reserve(Int32 lastRecord) {
  if (lastRecord <= lastRecord_) return true;
  if (!growable_ || lastRecord > mostRecords_) return false;
  Records more = zeroedRecords(lastRecord, mapLarge_);
  std::memcpy(more.get(), records_.get(), (static_cast<std::size_t>(lastRecord_) + 1) * sizeof(LineRecord));
  records_.get_deleter().dirty = (static_cast<std::size_t>(touched_) + 1) * sizeof(LineRecord);
  touched_ = std::max(touched_, lastRecord_);
  records_ = std::move(more);
  lastRecord_ = lastRecord;
  return true;
}

void RecordTable::throwOutOfRange(Int32 i) const {
  throw IndexError("Subscript out of range: record " + std::to_string(i) + " of " + name_ + " (records run from 0 to " +
                   std::to_string(lastRecord_) + ")");
}

void PolyList::throwOutOfRange(Int32 i) const {
  throw IndexError("Subscript out of range: point " + std::to_string(i) + " of a list ending at " +
                   std::to_string(highest()));
}

}  // namespace quern
