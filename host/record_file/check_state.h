// Verifying the state page and the frame of the last overwrite in it.
#pragma once

#include "host/record_file/check_moment.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// What the page of the moment says, and that it says nothing where it should not.
void CheckState(const CheckedMoment& moment, const FindingSink& sink);

// The redo sector, which an overwrite may be changing. Fails only when it cannot be read.
RecordFileResult CheckRedo(const CheckContext& context);

}  // namespace packetdb::host
