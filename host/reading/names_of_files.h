// What the numbers in records are called, by the files that a daemon would read.
#pragma once

#include <string>
#include <vector>

#include "host/names/names.h"

namespace packetdb::host {

// Rules from the dictionary beside the journal; events, flags and nodes from `configuration`, or
// what holds where nobody gives other names when that is empty. Without a dictionary there are no
// rules; what is wrong with it is added to `problems`, a line each. Throws ConfigurationError for a
// configuration that is not right or not there.
Names NamesOfFiles(const std::string& journal, const std::string& configuration,
                   std::vector<std::string>* problems);

}  // namespace packetdb::host
