#include "host/bus/columns.h"

#include <algorithm>

namespace packetdb::host {
namespace {

bool IsIntegerSize(unsigned int size) { return size == 1 || size == 2 || size == 4 || size == 8; }

}  // namespace

BusError Columns::Check(unsigned int id, unsigned int size, bool integer) const {
  if (size == 0 || size > kMaxColumnSize) return BusError::kBadColumnSize;
  if (integer && !IsIntegerSize(size)) return BusError::kBadIntegerSize;
  if (columns_.size() == kMaxColumns) return BusError::kTooManyColumns;
  if (row_size_ + size > kMaxRowSize) return BusError::kRowTooLong;
  if (Find(id) != nullptr) return BusError::kDuplicateColumn;
  return BusError::kNone;
}

BusError Columns::Add(unsigned int declared_id, unsigned int size) {
  const bool integer = (declared_id & kIntegerBit) != 0;
  const unsigned int id = declared_id & ~kIntegerBit;
  const BusError error = Check(id, size, integer);
  if (error != BusError::kNone) return error;
  columns_.push_back(Column{id, size, static_cast<unsigned int>(row_size_), integer});
  row_size_ += size;
  return BusError::kNone;
}

const Column* Columns::Find(unsigned int id) const {
  if (next_ >= columns_.size()) next_ = 0;
  if (!columns_.empty() && columns_[next_].id == id) return &columns_[next_++];
  const auto found = std::find_if(columns_.begin(), columns_.end(),
                                  [id](const Column& column) { return column.id == id; });
  if (found == columns_.end()) return nullptr;
  next_ = static_cast<std::size_t>(found - columns_.begin()) + 1;
  return &*found;
}

}  // namespace packetdb::host
