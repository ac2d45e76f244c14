// Comparing a converted journal with the old file it was made from.
#pragma once

#include <string>

#include "host/record_file/probe.h"

class CDbFile;

namespace packetdb::host {

enum class Copied {
  kAll,    // every record of the old file, in order, from the oldest on; perhaps more behind them
  kSome,   // only the first so many, and nothing else: a conversion that ended early
  kOther,  // something else: no conversion of that file
};

// How the journal of format 4 at `path` stands to the old file at `old_path`. Throws JournalError
// when either cannot be read, also because it is in use.
Copied CompareConverted(const std::string& old_path, const std::string& path);

// Opens the record file at `path` as what `info` says it is, with these bits of the mode: CDbFile's
// result.
int OpenAs(CDbFile& file, const std::string& path, const RecordFileInfo& info, int bits);

// Opens the record file at `path` as what `info` says it is and closes it again, to see whether
// that works: 0, or a code of host/record_file/result.h. With `write` it must be writable, used by
// nobody, and what a killed writer left undone in it is completed.
int TryToOpen(const std::string& path, const RecordFileInfo& info, bool write);

// The capacity as CDbFile::Init and IJournalStorage::Init want it.
int CapacityArgument(const RecordFileInfo& info);

}  // namespace packetdb::host
