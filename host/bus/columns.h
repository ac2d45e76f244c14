// The columns of a table and where each lies in a record.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "host/bus/error.h"
#include "host/bus/frame.h"

namespace packetdb::host {

inline constexpr unsigned int kIntegerBit = 0x80000000U;  // in a declared identifier

// A set of columns that got a value is kept in the bits of one 64-bit number.
inline constexpr std::size_t kMaxColumns = 64;
inline constexpr unsigned int kMaxColumnSize = 64 * 1024;
inline constexpr std::size_t kMaxRowSize = kMaxPayload;  // a record is one frame

struct Column {
  unsigned int id;      // without bit 31
  unsigned int size;    // bytes
  unsigned int offset;  // in a record
  bool integer;         // declared with bit 31

  unsigned int DeclaredId() const { return integer ? id | kIntegerBit : id; }
};

class Columns {
 public:
  // Appends a column as it was declared, with or without bit 31. Anything but kNone leaves the
  // columns as they were.
  BusError Add(unsigned int declared_id, unsigned int size);

  // The column of an identifier without bit 31; null when there is none. Valid until Add.
  const Column* Find(unsigned int id) const;

  std::span<const Column> All() const { return columns_; }
  std::size_t IndexOf(const Column* column) const {
    return static_cast<std::size_t>(column - columns_.data());
  }
  std::size_t RowSize() const { return row_size_; }

 private:
  BusError Check(unsigned int id, unsigned int size, bool integer) const;

  std::vector<Column> columns_;
  std::size_t row_size_ = 0;
  // Records are written and read in the order of the columns: the next lookup tries here first.
  mutable std::size_t next_ = 0;
};

}  // namespace packetdb::host
