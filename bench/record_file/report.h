// What a run is told as: text for people, JSON for programs.
#pragma once

#include <string>
#include <vector>

#include "bench/record_file/machine.h"
#include "bench/record_file/results.h"

namespace packetdb::bench {

// A table for each operation.
std::string TextReport(const Facts& facts, const std::vector<Result>& results);

// One object: `machine`, and `rows` with times in nanoseconds per record.
std::string JsonReport(const Facts& facts, const std::vector<Result>& results);

}  // namespace packetdb::bench
