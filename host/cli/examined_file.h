// A journal file that is only looked at: no lock is taken and nothing is changed, whoever else has
// it open.
#pragma once

#include <string>
#include <string_view>

#include "host/cli/exit_code.h"
#include "host/journals/journal_format.h"
#include "host/record_file/descriptor.h"
#include "host/record_file/snapshot.h"

namespace packetdb::host {

// Opens the regular file at `path`. Anything but kExitOk comes with a complaint that names path and
// reason.
ExitCode OpenToExamine(const std::string& path, Descriptor* file);

// Whether anything is there whose name is that of the file with `suffix` behind.
bool IsBeside(const std::string& path, std::string_view suffix);

// Begins a snapshot of the file that was opened at `path`, which must be a journal of a format that
// some release wrote. Anything but kExitOk comes with a complaint.
ExitCode BeginToExamine(const std::string& path, Snapshot& snapshot, JournalFormat* format);

// Complains that the record file at `path` is no journal of ours, and returns the status that says
// so.
ExitCode NoJournal(const std::string& path, const FileFacts& facts);

// Complains of a failure of the record file at `path`, and returns the status that says so.
ExitCode CannotExamine(const std::string& path, RecordFileResult result);

}  // namespace packetdb::host
