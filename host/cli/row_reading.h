// The rows that a command's question selects, from its source to whoever takes them.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "host/cli/exit_code.h"
#include "host/cli/question.h"
#include "host/cli/row_origin.h"
#include "host/expression/predicate.h"
#include "host/reading/follow.h"
#include "host/reading/windows.h"

namespace packetdb::host {

class RowReading {
 public:
  // `tells_interface`: rows have to know theirs, for which the daemon is asked about each
  // interface. `origin` and `plan` must outlive it. Throws JournalError.
  RowReading(const Origin& origin, const Plan& plan, bool tells_interface);
  RowReading(const RowReading&) = delete;
  RowReading& operator=(const RowReading&) = delete;

  // As those of WindowReader and Follower. A sink that returns false ends the reading.
  ReadResult ReadAll(ReadOrder order, const RowSink& sink);
  ReadResult ReadNewest(std::size_t most, const RowSink& sink);
  // Until Ctrl-C, or the sink has enough.
  ReadResult Follow(std::size_t newest, const FollowSink& sink);

  // Complains of what went wrong, and gives the status that says so. Rows were given or not;
  // `exit_status`: that none were is to be told by the status.
  ExitCode Verdict(const ReadResult& result, bool exit_status) const;

  std::uint64_t given() const { return given_; }

 private:
  RowSink Counting(const RowSink& sink);
  ExitCode Failed(const ReadResult& result) const;
  ExitCode NothingGiven(bool exit_status) const;

  const Plan& plan_;
  expression::Predicate rest_;
  RowTest wanted_;
  std::unique_ptr<RowSource> source_;
  std::uint64_t given_ = 0;
};

}  // namespace packetdb::host
