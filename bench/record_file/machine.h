// Where and with what a run was made: figures of two machines are not to be compared.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace packetdb::bench {

// Names and values, in the order in which they are shown. `folder` is where the files are.
using Facts = std::vector<std::pair<std::string, std::string>>;
Facts MachineFacts(const std::string& folder);

}  // namespace packetdb::bench
