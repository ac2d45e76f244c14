// One window of a range: the rows that were first seen in it.
#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <vector>

#include "host/reading/row_source.h"
#include "host/reading/windows.h"

namespace packetdb::host {

// What is read, for whom.
struct WindowRequest {
  RowSource& source;
  const Query& criteria;
  const RowTest& wanted;
  const std::atomic<bool>& cancelled;
};

// Unix seconds, both included.
struct WindowRange {
  static constexpr std::int64_t kOpen = std::numeric_limits<std::int64_t>::min();

  std::int64_t from = 0;
  std::int64_t until = 0;
  // The oldest window has what began before it as well.
  bool is_oldest = false;

  std::int64_t own_from() const { return is_oldest ? kOpen : from; }
};

class RowWindow {
 public:
  explicit RowWindow(const WindowRequest& request) : request_(request) {}

  // Asks for the newest `limit` rows that were seen in the range. Where the limit cut rows of the
  // window off, cut_at of the result says so; otherwise it is empty.
  ReadResult Fill(const WindowRange& range, std::uint32_t limit);

  // The rows that are wanted and known to be complete, newest first.
  const std::vector<Row>& rows() const { return rows_; }
  // Rows that the answer had.
  std::uint64_t came() const { return came_; }
  // When the newest of these was first seen; 0 when none came.
  std::int64_t newest() const { return newest_; }

 private:
  bool Take(const Row& row, const WindowRange& range);

  const WindowRequest& request_;
  std::vector<Row> rows_;
  std::uint64_t came_ = 0;
  std::int64_t newest_ = 0;
};

// The times of the criteria, as far as a query can carry them.
WindowRange WholeRange(const Query& criteria);

// How many rows may be asked for at once: as few as are wanted, more when a second has more, fewer
// when the source refuses.
class RowLimit {
 public:
  RowLimit(std::uint32_t first, std::uint32_t usual) : usual_(usual), limit_(first) {}

  std::uint32_t Get() const { return limit_; }
  // There was progress; with more rows to come, larger answers save questions.
  void Grow();
  // An answer of so many rows is refused. False when none is small enough.
  bool Refused();
  // An answer of so many rows came and was not enough. False when no larger one can be had.
  bool TooFew();
  // The most rows that are known not to be enough; 0 when there is no such thing.
  std::uint32_t granted() const { return granted_; }
  // So many can be had, they are not enough, and no more can be had.
  bool IsExhausted() const { return granted_ != 0 && refused_ - granted_ <= 1; }

 private:
  static constexpr std::uint32_t kMost = 1U << 30U;
  static constexpr std::uint32_t kGrowth = 4;

  std::uint32_t usual_;
  std::uint32_t limit_;
  std::uint32_t granted_ = 0;
  std::uint32_t refused_ = kMost;  // the fewest that were refused
};

}  // namespace packetdb::host
