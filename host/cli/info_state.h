// What `packetdb info` tells of flushes and losses, from the state page of a journal file.
#pragma once

#include <cstdint>
#include <string>

#include "host/record_file/layout.h"

namespace packetdb::host {

// Which of the records up to `end` are on the disk for sure.
std::string FlushedText(const StatePage& state, std::uint64_t end);

// What was lost so far, and how often all had to be looked through; empty when it was never.
std::string LossesText(const StatePage& state);

}  // namespace packetdb::host
