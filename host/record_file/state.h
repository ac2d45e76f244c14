// The state page as it is read and written as a whole: at opening and at closing.
#pragma once

#include "host/record_file/layout.h"
#include "host/record_file/medium.h"
#include "host/record_file/result.h"

namespace packetdb::host {

// CRC-32C over the page up to its checksum.
std::uint32_t ChecksumOf(const StatePage& state);

// Closed, with a checksum that goes with it.
bool IsSoundlyClosed(const StatePage& state);

// The state of a file that was just made.
StatePage MakeState(std::uint64_t first_sequence, std::uint64_t overwritten_before);

// Turns the page into that of a file that this process is changing, in `state` (kOpen or kFailed).
void MarkOpened(FileState state, StatePage* page);

// Whether the page was written in this boot of the machine; false also when that cannot be known.
bool IsOfThisBoot(const StatePage& state);

// Asks the kernel which boot this is, once and for all: who changes a file later may not be able to
// open anything by then.
void KnowThisBoot();

// Stores everything of the page that is not of the two words of the commit and of the overwrites,
// nor of the redo sector: what changes when a file is opened, fails or is closed.
RecordFileResult StoreFacts(const StatePage& state, Medium& medium);

// Stores how many numbers have no record, and how many records were found damaged.
RecordFileResult StoreDamage(const StatePage& state, Medium& medium);

}  // namespace packetdb::host
