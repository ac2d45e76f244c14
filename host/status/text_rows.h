// Rows of text as the table of an answer, for commands that tell more than fits into numbers.
#pragma once

#include <string>
#include <vector>

#include "platform/bus.h"

namespace packetdb::host {

// Answers with code 0 and a table of one column of bytes, kColumnText, as wide as the longest row;
// shorter rows end with NULs. Rows hold none themselves, and at most kMaxColumnSize bytes (both
// host/bus/columns.h and host/bus/commands.h). Returns what a command handler returns: 0, or -1
// when the answer could not be sent to its end.
int SendTextRows(CAbstractPacketOptions& message, const std::vector<std::string>& rows);

}  // namespace packetdb::host
