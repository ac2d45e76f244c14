// What a conversion would do, for people who want to know first.
#pragma once

#include <cstdint>
#include <string>

#include "host/journals/conversion_obstacles.h"
#include "host/journals/journal_format.h"

namespace packetdb::host {

// What a conversion would find and take.
struct ConversionPlan {
  JournalFormat format = JournalFormat::kOther;  // of the records that a conversion starts from
  std::uint64_t records = 0;
  std::uint64_t bytes_needed = 0;  // on the disk, beside the old file; 0 when it is converted
  bool interrupted = false;        // an earlier conversion did not come to an end
};

// Looks without changing anything. Throws JournalError for what stands in the way of a conversion,
// and when there is no journal.
ConversionPlan PlanConversion(const std::string& path, const ConversionWishes& wishes);

}  // namespace packetdb::host
