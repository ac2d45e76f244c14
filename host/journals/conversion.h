// Bringing a journal of an earlier format to today's, safely.
//
// The library converts when it opens an old journal, and it does so by removing the old file and
// then renaming the new one into its place, however much of it could be copied. Around that, the
// old file is given a second name, journal + ".~old", until the converted one has been read and
// compared with it: at every moment one complete journal is on disk, and whoever opens the journal
// for writing next finishes or takes back what a crash left.
//
// A process holds a flock(2) lock on the old file for as long as it works on it, so of several
// processes one converts, and the others are told that the journal is in use.
#pragma once

#include <optional>
#include <string>

#include "host/journals/conversion_obstacles.h"
#include "host/journals/conversion_settle.h"

namespace packetdb::host {

// Sees to it that what is at `path` is a journal of today's format, or nothing: what every writer
// does first. Returns the conversion that was made or completed, if any.
//
// Throws JournalError when there is a file that is no journal, or that cannot be converted. An old
// journal is then at `path` as before, or waits under its second name for the next time.
std::optional<Conversion> ConvertIfOld(const std::string& path, const ConversionWishes& wishes);

// "journal X was of format 3: 101 records converted to format 4", and where the old file is.
std::string Describe(const Conversion& conversion, const std::string& path);

}  // namespace packetdb::host
