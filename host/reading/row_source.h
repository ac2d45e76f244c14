// Where the rows of one journal come from: a daemon, or the journal's file.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "host/rows/row.h"
#include "packetdb/query.h"

namespace packetdb::host {

enum class ReadOutcome {
  kDone,
  kNothing,      // nothing matched
  kStopped,      // whoever reads had enough
  kTooManyRows,  // for one answer of this daemon
  kTooMuchWork,  // for the memory of one query; or the journal could not be read
  kLost,         // the connection broke: the query took too long, or the daemon stopped
  kUnreachable,  // there is no connection
  kNoSuchName,   // of a journal or an interface
  kFailed,       // anything else
};

struct ReadResult {
  ReadOutcome outcome = ReadOutcome::kDone;
  std::string reason = {};  // one line for people, with what was behind the outcome
  // The query's own limit was reached: rows that were first seen at this Unix time or before it may
  // be missing, all newer ones are there.
  std::optional<std::int64_t> cut_at = {};

  bool ok() const { return outcome == ReadOutcome::kDone || outcome == ReadOutcome::kNothing; }
};

// What is known of a journal beforehand: good for guesses, as it may change while it is told.
struct SourceFacts {
  std::optional<std::int64_t> oldest;  // Unix time when its oldest record was first seen
  std::optional<std::int64_t> newest;  // and when one of its newest was first or last seen
  std::optional<std::uint64_t> records;
  // Grows with every record and every repeat: while it is the same, nothing has changed.
  std::optional<std::uint64_t> changes;
  long window_seconds = 60;  // of merging: no record lasts longer
};

// Takes a row, which is there until the call returns; false: that was enough.
using RowSink = std::function<bool(const Row&)>;

class RowSource {
 public:
  RowSource() = default;
  RowSource(const RowSource&) = delete;
  RowSource& operator=(const RowSource&) = delete;
  virtual ~RowSource() = default;

  // Looks at the journal as it is now. `facts` is untouched unless the outcome is kDone.
  virtual ReadResult Describe(SourceFacts* facts) = 0;

  // Gives the rows that the query selects, newest first: those that were first seen later come
  // first. The name in the query is not looked at, as the source is for one journal. When the
  // outcome is another than kDone, kNothing or kStopped, rows may have been given already, and
  // which are missing is not known.
  virtual ReadResult Read(const Query& query, const RowSink& sink) = 0;
};

// When an event was first and last seen, in Unix seconds, as queries compare it.
inline std::int64_t FirstSeen(const Row& row) {
  return std::uint32_t{row.event.m_FirstTime + TIME_1980_OFFSET};
}
inline std::int64_t LastSeen(const Row& row) {
  return std::uint32_t{row.event.m_LastTime + TIME_1980_OFFSET};
}

}  // namespace packetdb::host
