// Commands that our daemon serves besides those of the library, whose numbers stay below 200.
#pragma once

namespace packetdb::host {

// Why the last journal query on this connection failed. Answered -3 when it did not: then it merely
// selected nothing. Otherwise 0 and a table of one row, whose column holds the reason as text.
inline constexpr int kCommandExplain = 200;
inline constexpr unsigned int kColumnReason = 1;

// How the daemon is doing, and which names a query may carry. Answered 0 and a table of one column
// whose rows are objects of JSON in UTF-8, shorter ones with NULs behind.
inline constexpr int kCommandStatus = 201;
inline constexpr int kCommandJournals = 202;
inline constexpr unsigned int kColumnText = 1;

}  // namespace packetdb::host
