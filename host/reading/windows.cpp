#include "host/reading/windows.h"

#include <algorithm>
#include <ctime>
#include <fmt/format.h>
#include <utility>

#include "host/reading/window.h"

namespace packetdb::host {

namespace {

constexpr std::int64_t kWidest = std::int64_t{1} << 33U;  // more seconds than a query can span

// How wide windows are, by what comes of them.
class WindowWidth {
 public:
  // The first guess: as wide as records of that number stretch on average.
  WindowWidth(const SourceFacts& facts, std::uint32_t aim) {
    if (facts.oldest && facts.newest && facts.records.value_or(0) != 0) {
      const double seconds =
          static_cast<double>(std::max<std::int64_t>(*facts.newest - *facts.oldest + 1, 1));
      Set(static_cast<std::int64_t>(seconds * aim / static_cast<double>(*facts.records)));
    }
  }

  std::int64_t Get() const { return seconds_; }
  void Set(std::int64_t seconds) { seconds_ = std::clamp<std::int64_t>(seconds, 1, kWidest); }
  // So many rows came where twice `aim` would have been too many.
  void Adapt(std::uint64_t came, std::uint32_t aim) {
    constexpr std::uint64_t kHardlyAny = 8;
    if (came < aim / kHardlyAny) {
      Set(seconds_ * 4);
    } else if (came < aim / 2) {
      Set(seconds_ * 2);
    } else if (came > aim) {
      Set(seconds_ / 2);
    }
  }

 private:
  std::int64_t seconds_ = 1;
};

bool IsTooMuch(ReadOutcome outcome) {
  return outcome == ReadOutcome::kTooMuchWork || outcome == ReadOutcome::kLost;
}

ReadResult TooManyInOneSecond(std::int64_t second, std::uint32_t limit) {
  return {ReadOutcome::kTooManyRows,
          fmt::format("more than {} rows were first seen in the second {} (Unix time), and the "
                      "daemon gives no more in one answer: ask for less, or as root",
                      limit, second)};
}

// Walks a range window by window. The direction is a subclass's.
class WindowWalk {
 public:
  WindowWalk(const WindowRequest& request, const SourceFacts& facts, const RowLimit& limit)
      : request_(request),
        range_(WholeRange(request.criteria)),
        limit_(limit),
        width_(facts, limit.Get() / 2),
        oldest_(facts.oldest.value_or(range_.from)),
        newest_(facts.newest.value_or(std::time(nullptr))),
        window_(request) {}
  WindowWalk(const WindowWalk&) = delete;
  WindowWalk& operator=(const WindowWalk&) = delete;
  virtual ~WindowWalk() = default;

  ReadResult Run(const RowSink& sink) {
    while (!is_complete_) {
      if (request_.cancelled) {
        return {ReadOutcome::kStopped};
      }
      const WindowRange asked = Next();
      const ReadResult result = window_.Fill(asked, limit_.Get());
      const bool goes_on = result.ok() ? Take(asked, result) : TryLess(asked, result);
      if (!goes_on) {
        return limit_.IsExhausted() ? TooManyInOneSecond(full_second_, limit_.granted()) : result;
      }
      if (result.ok() && !Give(sink)) {
        return {ReadOutcome::kStopped};
      }
    }
    return {has_given_ ? ReadOutcome::kDone : ReadOutcome::kNothing};
  }

 protected:
  virtual WindowRange Next() const = 0;
  // Seconds of the window in which there may be records, by what is known of the journal.
  virtual std::int64_t Span(const WindowRange& asked) const = 0;
  // Goes on behind the window, whose rows may be given. False when the window is a single second
  // and no answer can have all of that.
  virtual bool Take(const WindowRange& asked, const ReadResult& result) = 0;
  virtual bool Give(const RowSink& sink) = 0;

  // All rows that came were first seen in that second, and it has more.
  bool AskForMoreOf(std::int64_t second) {
    full_second_ = second;
    return limit_.TooFew();
  }
  bool GiveRow(const Row& row, const RowSink& sink) {
    has_given_ = true;
    return sink(row);
  }
  void Progress(bool is_cut) {
    if (!is_cut) {
      width_.Adapt(window_.came(), limit_.Get() / 2);
    }
    limit_.Grow();
  }

  const WindowRequest& request_;
  WindowRange range_;  // what is left
  RowLimit limit_;
  WindowWidth width_;
  std::int64_t oldest_;  // first-seen times of the journal's records, as far as they are known
  std::int64_t newest_;
  bool is_complete_ = false;
  RowWindow window_;

 private:
  bool TryLess(const WindowRange& asked, const ReadResult& result) {
    if (result.outcome == ReadOutcome::kTooManyRows) {
      return limit_.Refused();
    }
    const std::int64_t span = Span(asked);
    width_.Set(span / 2);
    return IsTooMuch(result.outcome) && span > 1;
  }

  bool has_given_ = false;
  std::int64_t full_second_ = 0;
};

// The newest first. Rows that a limit cut off are those of the next window.
class BackwardWalk final : public WindowWalk {
 public:
  using WindowWalk::WindowWalk;

 private:
  WindowRange Next() const override {
    const std::int64_t from = std::min(range_.until, newest_) - width_.Get() + 1;
    if (from <= std::max(range_.from, oldest_)) {
      return range_;
    }
    return {.from = from, .until = range_.until, .is_oldest = false};
  }

  std::int64_t Span(const WindowRange& asked) const override {
    return std::min(asked.until, newest_) - std::max(asked.from, oldest_) + 1;
  }

  bool Take(const WindowRange& asked, const ReadResult& result) override {
    if (!result.cut_at) {
      is_complete_ = asked.is_oldest;
      range_.until = asked.from - 1;
    } else if (*result.cut_at >= asked.until) {
      width_.Set(1);
      return AskForMoreOf(asked.until);
    } else {
      width_.Set(std::min(newest_, asked.until) - *result.cut_at);
      range_.until = *result.cut_at;
    }
    Progress(result.cut_at.has_value());
    return true;
  }

  bool Give(const RowSink& sink) override {
    const auto& rows = window_.rows();
    return std::all_of(rows.begin(), rows.end(),
                       [&](const Row& row) { return GiveRow(row, sink); });
  }
};

// The oldest first. A window of which a limit cut something off is asked for again, narrower.
class ForwardWalk final : public WindowWalk {
 public:
  using WindowWalk::WindowWalk;

 private:
  // What was seen in the newest second that is known may not be all of it yet: that second and all
  // behind it are one window, so that no record comes in between two.
  WindowRange Next() const override {
    const std::int64_t last = std::max(range_.from, oldest_) + width_.Get() - 1;
    return {.from = range_.from,
            .until = last >= newest_ ? range_.until : std::min(last, range_.until),
            .is_oldest = range_.is_oldest};
  }

  std::int64_t Span(const WindowRange& asked) const override {
    return std::min(asked.until, newest_) - std::max(asked.from, oldest_) + 1;
  }

  bool Take(const WindowRange& asked, const ReadResult& result) override {
    if (result.cut_at) {
      return Narrow(asked, *result.cut_at);
    }
    is_complete_ = asked.until >= range_.until;
    range_.from = asked.until + 1;
    range_.is_oldest = false;
    is_whole_ = true;
    Progress(false);
    return true;
  }

  // What came tells more of the journal than was known.
  bool Narrow(const WindowRange& asked, std::int64_t cut_at) {
    is_whole_ = false;
    newest_ = std::max(newest_, std::min(window_.newest(), range_.until));
    oldest_ = std::min(oldest_, std::max(asked.from, cut_at));
    const std::int64_t span = Span(asked);
    if (span <= 1) {
      return AskForMoreOf(cut_at);
    }
    width_.Set(span / 2);
    return true;
  }

  bool Give(const RowSink& sink) override {
    const auto& rows = window_.rows();
    return !is_whole_ || std::all_of(rows.rbegin(), rows.rend(),
                                     [&](const Row& row) { return GiveRow(row, sink); });
  }

  bool is_whole_ = false;
};

}  // namespace

WindowReader::WindowReader(RowSource& source, const std::atomic<bool>& cancelled, std::uint32_t aim)
    : source_(source), cancelled_(cancelled), aim_(std::max(aim, kLeastAim)) {}

ReadResult WindowReader::ReadNewest(std::size_t most, const Query& criteria, const RowTest& wanted,
                                    const RowSink& sink) {
  constexpr std::size_t kFewest = 256;
  if (most == 0) {
    return {ReadOutcome::kNothing};
  }
  if (ReadResult result = source_.Describe(&facts_); !result.ok()) {
    return result;
  }
  const auto first = static_cast<std::uint32_t>(
      std::min<std::size_t>(std::max(kFewest, 4 * std::min<std::size_t>(most, aim_)), 2 * aim_));
  const WindowRequest request = {source_, criteria, wanted, cancelled_};
  bool is_enough = false;
  ReadResult result =
      BackwardWalk(request, facts_, RowLimit(first, 2 * aim_)).Run([&](const Row& row) {
        is_enough = --most == 0;
        return sink(row) && !is_enough;
      });
  if (is_enough && result.outcome == ReadOutcome::kStopped) {
    result.outcome = ReadOutcome::kDone;
  }
  return result;
}

ReadResult WindowReader::ReadAll(ReadOrder order, const Query& criteria, const RowTest& wanted,
                                 const RowSink& sink) {
  if (ReadResult result = source_.Describe(&facts_); !result.ok()) {
    return result;
  }
  const WindowRequest request = {source_, criteria, wanted, cancelled_};
  const RowLimit limit(2 * aim_, 2 * aim_);
  if (order == ReadOrder::kNewestFirst) {
    return BackwardWalk(request, facts_, limit).Run(sink);
  }
  return ForwardWalk(request, facts_, limit).Run(sink);
}

}  // namespace packetdb::host
