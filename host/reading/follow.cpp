#include "host/reading/follow.h"

#include <algorithm>
#include <deque>
#include <thread>

#include "host/reading/row_key.h"

namespace packetdb::host {

namespace {

bool IsWorthWaiting(ReadOutcome outcome) {
  return outcome == ReadOutcome::kLost || outcome == ReadOutcome::kUnreachable;
}

// The time before which no record of the journal changes, as far as is known.
std::int64_t BeginOfChanges(const SourceFacts& facts) {
  return facts.newest ? *facts.newest - facts.window_seconds - 1 : 0;
}

}  // namespace

Follower::Follower(RowSource& source, const Query& criteria, const RowTest& wanted,
                   const std::atomic<bool>& cancelled, std::uint32_t aim)
    : source_(source),
      criteria_(criteria),
      wanted_(wanted),
      cancelled_(cancelled),
      reader_(source, cancelled, aim) {}

// Rows that may still change are met first, so that what comes in while the older ones are given is
// new at the next look.
ReadResult Follower::Begin(std::size_t newest, const FollowSink& sink) {
  SourceFacts facts;
  if (ReadResult result = source_.Describe(&facts); !result.ok()) {
    return result;
  }
  const std::int64_t from = std::max(criteria_.m_TimeStart, BeginOfChanges(facts));
  std::vector<Row> recent;
  ReadResult result = ReadRecent(from, newest, &recent);
  const std::size_t missing = newest == kEverything ? kEverything : newest - recent.size();
  if (result.ok() && missing != 0 && from > criteria_.m_TimeStart) {
    result = GiveOlder(from, missing, sink);
  }
  if (!result.ok()) {
    return result;
  }
  const auto give = [&sink](const Row& row) { return sink(row, false); };
  return {std::all_of(recent.begin(), recent.end(), give) ? ReadOutcome::kDone
                                                          : ReadOutcome::kStopped};
}

// Those that were first seen at `from` or later; where nothing older is asked for, all.
ReadResult Follower::ReadRecent(std::int64_t from, std::size_t most, std::vector<Row>* recent) {
  ++looks_;
  Query query = criteria_;
  query.m_TimeStart = cursor_ = from;
  const bool has_older = from > criteria_.m_TimeStart;
  std::vector<Row> found;
  const ReadResult result =
      reader_.ReadAll(ReadOrder::kOldestFirst, query, {}, [&](const Row& row) {
        Known* known = nullptr;
        Meet(row, &known);
        if ((!has_older || FirstSeen(row) >= from) && IsWanted(row)) {
          found.push_back(row);
        }
        return true;
      });
  recent->assign(found.end() - static_cast<std::ptrdiff_t>(std::min(most, found.size())),
                 found.end());
  for (const Row& row : *recent) {
    for (Known& known : known_[KeyOf(row)]) {
      known.is_given = true;
    }
  }
  Advance();
  return result;
}

ReadResult Follower::GiveOlder(std::int64_t from, std::size_t most, const FollowSink& sink) {
  Query query = criteria_;
  query.m_TimeEnd = std::min(query.m_TimeEnd, from - 1);
  if (most == kEverything) {
    return reader_.ReadAll(ReadOrder::kOldestFirst, query, wanted_,
                           [&sink](const Row& row) { return sink(row, false); });
  }
  std::deque<Row> rows;
  ReadResult result = reader_.ReadNewest(most, query, wanted_, [&rows](const Row& row) {
    rows.push_front(row);
    return true;
  });
  const auto give = [&sink](const Row& row) { return sink(row, false); };
  if (result.ok() && !std::all_of(rows.begin(), rows.end(), give)) {
    result.outcome = ReadOutcome::kStopped;
  }
  return result;
}

ReadResult Follower::Poll(const FollowSink& sink) {
  SourceFacts facts;
  if (ReadResult result = source_.Describe(&facts); !result.ok()) {
    return result;
  }
  if (facts.changes && facts.changes == changes_) {
    return {ReadOutcome::kNothing};
  }
  return Look(sink);
}

ReadResult Follower::Look(const FollowSink& sink) {
  ++looks_;
  Query query = criteria_;
  query.m_TimeStart = std::max(criteria_.m_TimeStart, cursor_);
  const ReadResult result =
      reader_.ReadAll(ReadOrder::kOldestFirst, query, {}, [&](const Row& row) {
        Known* known = nullptr;
        if (Meet(row, &known) == News::kNone || !IsWanted(row)) {
          return true;
        }
        const bool is_update = known->is_given;
        known->is_given = true;
        return sink(row, is_update);
      });
  if (result.ok()) {
    Advance();
    Forget();
  }
  return result;
}

// Of several rows that have everything in common that stays, those that have not changed are found
// by what they hold. What is left over can be the last one with repeats added, or a further one.
Follower::News Follower::Meet(const Row& row, Known** known) {
  const Known now = {FirstSeen(row),         LastSeen(row), row.event.m_Count,
                     row.event.m_PacketSize, false,         looks_};
  newest_first_ = std::max(newest_first_, now.first);
  std::vector<Known>& alike = known_[KeyOf(row)];
  for (Known& candidate : alike) {
    if (candidate.met != looks_ && candidate.count == now.count && candidate.bytes == now.bytes &&
        candidate.last == now.last) {
      candidate.met = looks_;
      *known = &candidate;
      return News::kNone;
    }
  }
  const bool is_changed =
      !alike.empty() && alike.back().met != looks_ && alike.back().last <= now.last;
  if (!is_changed) {
    alike.push_back(now);
    *known = &alike.back();
    return News::kNew;
  }
  const bool is_given = alike.back().is_given;
  alike.back() = now;
  alike.back().is_given = is_given;
  *known = &alike.back();
  return News::kUpdate;
}

// What comes from now on was seen at the newest time that the journal had when the look began, or
// later: times never go back in a journal, but by less than a merge window where its writer is
// another one.
void Follower::Advance() {
  const SourceFacts& facts = reader_.facts();
  changes_ = facts.changes;
  if (facts.newest) {
    cursor_ = std::max({cursor_, std::min(newest_first_, *facts.newest), BeginOfChanges(facts)});
  }
}

void Follower::Forget() {
  const std::int64_t changing = cursor_ - reader_.facts().window_seconds - 1;
  std::erase_if(known_, [&](const auto& entry) {
    return std::all_of(entry.second.begin(), entry.second.end(), [&](const Known& known) {
      return known.last < cursor_ && known.first < changing;
    });
  });
}

ReadResult Follower::Run(std::size_t newest, std::chrono::milliseconds interval,
                         const FollowSink& sink) {
  ReadResult result = Begin(newest, sink);
  for (bool goes_on = result.ok(); goes_on;
       goes_on = result.ok() || IsWorthWaiting(result.outcome)) {
    if (!Sleep(interval)) {
      return {ReadOutcome::kStopped};
    }
    result = Poll(sink);
  }
  return result;
}

// In slices, so that nobody waits for the end of a long one. False when it was cancelled.
bool Follower::Sleep(std::chrono::milliseconds interval) const {
  constexpr std::chrono::milliseconds kSlice{20};
  for (auto left = interval; left.count() > 0 && !cancelled_; left -= kSlice) {
    std::this_thread::sleep_for(std::min(left, kSlice));
  }
  return !cancelled_;
}

}  // namespace packetdb::host
