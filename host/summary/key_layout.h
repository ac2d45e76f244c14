// What rows are grouped by, as a few bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/rows/row.h"
#include "host/summary/key_fields.h"

namespace packetdb::host {

using KeyBytes = unsigned char;

// A key is a bin of time, if there is one, and the values of the fields, one behind the other, the
// highest byte first, so that most keys compare as bytes. An interface is a number in it, given as
// they come, and compares by name.
class KeyLayout {
 public:
  explicit KeyLayout(KeyFields fields, bool has_bin = false);

  std::size_t size() const { return size_; }
  const KeyFields& fields() const { return fields_; }

  // Writes size() bytes. `bin` is not before 1970.
  void Pack(const Row& row, std::int64_t bin, KeyBytes* key);
  // Whether a key stands before another: by bin, then by the fields.
  bool IsBefore(const KeyBytes* a, const KeyBytes* b) const;

  static std::int64_t BinOf(const KeyBytes* key);
  // A row that has the key's fields and nothing else; valid as long as this layout.
  Row RowOf(const KeyBytes* key) const;

 private:
  std::uint64_t NumberOf(std::string_view interface);

  KeyFields fields_;
  std::size_t bin_size_;
  std::size_t size_;
  std::size_t interface_at_;  // size_ where there is none
  std::vector<std::string> interfaces_;
  std::unordered_map<std::string, std::uint32_t> numbers_;  // places in interfaces_
};

}  // namespace packetdb::host
