// What becomes of an old file and of what stands in its place.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/journals/conversion_files.h"
#include "host/journals/held_file.h"

namespace packetdb::host {

// A conversion that is complete.
struct Conversion {
  JournalFormat from = JournalFormat::kOther;  // k4: an earlier one, completed by a last renaming
  std::uint64_t records = 0;
  std::string kept;  // where the old file is kept; empty when it is not
};

enum class Settled {
  kUntouched,  // the journal still is the old file, and the second name is there
  kPutBack,    // the journal is the old file again, and the second name is gone
  kConverted,  // the converted file is the journal, and the second name is gone
};

// What Settle will come to. Changes nothing; throws as Settle does.
Settled Judge(const ConversionFiles& files, const HeldFile& old);

// Decides by what is on the disk, whoever left it there: this process a moment ago, or another one
// that was killed. `old` is the old file, held, with its second name. Throws JournalError with
// nothing changed when the held file is no journal of an earlier format, and when the journal is
// something that no conversion leaves there or cannot be read now: the second name then keeps the
// old file for the next time.
Settled Settle(const ConversionFiles& files, const HeldFile& old, bool keep_old,
               std::optional<Conversion>* conversion);

// Undoes the beginning of a conversion: the old file, which is the journal, loses the names that it
// was given for it, and the temporary file goes. With `was_kept` its name to be kept by is older.
void Abandon(const ConversionFiles& files, const HeldFile& old, bool was_kept);

// Gives the held file, which is at `from`, the name files.kept as well, on disk with the next sync
// of the directory. Throws JournalError when something else has that name.
void KeepOld(const ConversionFiles& files, const HeldFile& old, const std::string& from);

enum class Temporary { kNone, kUnsettled, kReady };

// Whether the temporary file may become the journal, which is missing: kReady with what it is,
// kUnsettled when something else is going on and it is worth another look. Changes nothing. Throws
// JournalError when there is one that may not.
Temporary JudgeTemporary(const ConversionFiles& files, RecordFileInfo* info);

// Where the journal is missing and nothing but a temporary file is there, moves that into its
// place. False when there was nothing to do, true when it is worth another look. Throws
// JournalError when the temporary file is none that may become the journal.
bool AdoptTemporary(const ConversionFiles& files, std::optional<Conversion>* conversion);

}  // namespace packetdb::host
