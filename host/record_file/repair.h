// The steps by which a writer repairs what its predecessor left, beside the ring's own.
//
// Each is harmless when repeated: a writer that dies in the middle leaves them to the next one.
#pragma once

#include "host/record_file/geometry.h"
#include "host/record_file/layout.h"
#include "host/record_file/medium.h"
#include "host/record_file/recovery.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// Makes both superblocks `intact`, which is one of them.
RecordFileResult RestoreSuperblocks(const Superblock& intact, Medium& medium);

// Fills with zeros what has no use in the state page, here and in the file: so that a later look
// can tell damage from it. So it does with a redo sector that was torn.
RecordFileResult ClearUnused(const Geometry& geometry, const Recovered& recovered, StatePage* state,
                             Medium& medium);

// Stores all cells again as they are. After a failed flush the kernel takes pages for clean that
// never reached the disk; stored again, they are written again.
RecordFileResult RewriteCells(const Geometry& geometry, Medium& medium);

}  // namespace packetdb::host
