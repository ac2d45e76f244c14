// Rows as they come: the newest of a journal, then what is new and what repeats were added to.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/reading/windows.h"

namespace packetdb::host {

// Takes a row that was not given before, or one that was and has changed since; false: enough.
using FollowSink = std::function<bool(const Row& row, bool is_update)>;

// Asks again and again for what was seen since, and knows by their contents which rows it has given
// already: so it may ask anybody, another connection or the daemon after a restart, and gives each
// row once as a new one, whatever comes in between. Rows come oldest first.
//
// What it has to remember are the rows to which repeats may still be added, those of a merge
// window; what is older is forgotten.
class Follower {
 public:
  static constexpr std::size_t kEverything = std::numeric_limits<std::size_t>::max();
  static constexpr std::chrono::milliseconds kInterval{250};

  // Times and limit of the criteria: rows seen before m_TimeStart are left out, a limit does not
  // count, and behind m_TimeEnd nothing comes. All four outlive the follower.
  Follower(RowSource& source, const Query& criteria, const RowTest& wanted,
           const std::atomic<bool>& cancelled, std::uint32_t aim = WindowReader::kAim);

  // Gives the newest so many rows, or every one. Once, before Poll.
  ReadResult Begin(std::size_t newest, const FollowSink& sink);

  // One look at what has come since. After any outcome, the next look goes on without a gap.
  ReadResult Poll(const FollowSink& sink);

  // Begins and looks at every interval, until the sink has enough or it is cancelled: kStopped. A
  // source that was there and cannot be reached is waited for; any other failure is the end.
  ReadResult Run(std::size_t newest, std::chrono::milliseconds interval, const FollowSink& sink);

  // Different rows that it has in memory.
  std::size_t remembered() const { return known_.size(); }

 private:
  struct Known {
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::uint32_t count = 0;
    std::uint32_t bytes = 0;
    bool is_given = false;
    std::uint64_t met = 0;  // the look at which it was met last
  };
  enum class News { kNone, kNew, kUpdate };

  ReadResult ReadRecent(std::int64_t from, std::size_t most, std::vector<Row>* recent);
  ReadResult GiveOlder(std::int64_t from, std::size_t most, const FollowSink& sink);
  ReadResult Look(const FollowSink& sink);
  News Meet(const Row& row, Known** known);
  bool IsWanted(const Row& row) const { return !wanted_ || wanted_(row); }
  void Advance();
  void Forget();
  bool Sleep(std::chrono::milliseconds interval) const;

  RowSource& source_;
  const Query& criteria_;
  const RowTest& wanted_;
  const std::atomic<bool>& cancelled_;
  WindowReader reader_;
  // By what rows keep. Rows that have all of that in common are in the order of the journal; only
  // the last of them can change.
  std::unordered_map<std::string, std::vector<Known>> known_;
  std::int64_t cursor_ = 0;        // nothing that was last seen before it changes or comes any more
  std::int64_t newest_first_ = 0;  // first-seen time of the newest row that was met
  std::uint64_t looks_ = 0;
  std::optional<std::uint64_t> changes_;  // that the journal had seen before the last look
};

}  // namespace packetdb::host
