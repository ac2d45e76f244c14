// The fields of a row by which rows can be grouped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "packetdb/storage.h"

namespace packetdb::host {

struct KeyField {
  const char* name;  // also that of the field with which it is printed
  std::size_t size;  // bytes that hold every value
  // Null of the interface, which is no number of an event.
  std::uint64_t (*get)(const CDrvErrorItemV4& event);
  void (*put)(std::uint64_t value, CDrvErrorItemV4* event);
};

using KeyFields = std::vector<const KeyField*>;

// "src,dport" as fields. Throws PrintError for a name that is no such field, for one that is there
// twice, and for none.
KeyFields ParseKeyFields(std::string_view list);

// The names, in the order of a row's fields, for help.
std::vector<std::string> KeyFieldNames();

}  // namespace packetdb::host
