// Reading the rows of a range of time, however many there are, through answers that are not too
// large.
//
// A source builds a whole answer at once, and a daemon bounds rows, memory and time of one. So the
// range is cut into windows of time, which are asked for one after the other. A query selects the
// rows that were seen between its times, however short: a row that was seen in several windows
// belongs to the one in which it was first seen, and to the oldest when that was before the range.
// So each is given once, and none is missing. How wide a window is follows from how many rows came
// in the one before, and from what is refused.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "host/reading/row_source.h"

namespace packetdb::host {

enum class ReadOrder { kNewestFirst, kOldestFirst };

// Whether a row is wanted; one that is empty wants every row.
using RowTest = std::function<bool(const Row&)>;

class WindowReader {
 public:
  // Rows that an answer is to have, at least and by default.
  static constexpr std::uint32_t kLeastAim = 16;
  static constexpr std::uint32_t kAim = 100'000;

  // All is over as soon as `cancelled` is true, when the answer that is awaited has come.
  WindowReader(RowSource& source, const std::atomic<bool>& cancelled, std::uint32_t aim = kAim);

  // Gives the newest `most` of the rows that `criteria` select and that are wanted, newest first.
  // The limit of the criteria does not count.
  ReadResult ReadNewest(std::size_t most, const Query& criteria, const RowTest& wanted,
                        const RowSink& sink);

  // Gives all of them. No more rows than those of one window are in memory at a time.
  //
  // Both give kDone, kNothing when no row was given, kStopped when the sink had enough or reading
  // was cancelled, or why it cannot go on; what was given until then is right and without gaps.
  ReadResult ReadAll(ReadOrder order, const Query& criteria, const RowTest& wanted,
                     const RowSink& sink);

  // What the source said of its journal when the last reading began.
  const SourceFacts& facts() const { return facts_; }

 private:
  RowSource& source_;
  const std::atomic<bool>& cancelled_;
  std::uint32_t aim_;
  SourceFacts facts_;
};

}  // namespace packetdb::host
