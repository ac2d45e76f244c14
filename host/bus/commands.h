// Commands that our daemon serves besides those of the library, whose numbers stay below 200.
#pragma once

namespace packetdb::host {

// Why the last journal query on this connection failed. Answered -3 when it did not: then it merely
// selected nothing. Otherwise 0 and a table of one row, whose column holds the reason as text.
inline constexpr int kCommandExplain = 200;
inline constexpr unsigned int kColumnReason = 1;
// Beside the reason, for programs: an integer of 4 bytes, one of QueryRefusal. Daemons before this
// one send none.
inline constexpr unsigned int kColumnRefusal = 2;

enum class QueryRefusal : int {
  kOther = 0,
  kNoSuchName = 1,
  kTooManyRows = 2,  // than this client gets in one answer
  kNoAnswer = 3,     // the journal could not be read, or the answer was too large for the memory
};

// How the daemon is doing, and which names a query may carry. Answered 0 and a table of one column
// whose rows are objects of JSON in UTF-8, shorter ones with NULs behind.
inline constexpr int kCommandStatus = 201;
inline constexpr int kCommandJournals = 202;
inline constexpr unsigned int kColumnText = 1;

// What the numbers in records are called. Answered likewise, but a row holds as many objects as fit
// into it, each ended by a line feed.
inline constexpr int kCommandNames = 203;

}  // namespace packetdb::host
