// One record of a journal on its way to people.
#pragma once

#include <string_view>

#include "packetdb/storage.h"

namespace packetdb::host {

struct Row {
  CDrvErrorItemV4 event{};     // as the journal has it: host byte order, seconds since 1980
  std::string_view interface;  // empty when nobody knows; lives as long as the source of the row
};

}  // namespace packetdb::host
