// Verifying the frames of all slots, and what is between and behind them.
#pragma once

#include "host/record_file/check_moment.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Checks the slots that the file has, which are not all of them when it is too short. Fails when
// the file cannot be read.
RecordFileResult CheckCells(const CheckContext& context);

}  // namespace packetdb::host
