// What an import tells at its end.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include "host/sources/counters.h"

namespace packetdb::host {

struct ImportSummary {
  std::string group;
  std::size_t captures = 0;
  CaptureCounters counters;
  std::uint64_t records_added = 0;
  int records_kept = 0;
  long window_seconds = 0;
  std::uint64_t times_adjusted = 0;
};

// Every packet is accounted for: as a record of its own, as merged, or by the reason why not.
void PrintSummary(const ImportSummary& summary, std::FILE* out);

}  // namespace packetdb::host
