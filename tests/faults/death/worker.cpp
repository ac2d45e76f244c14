#include "tests/faults/death/worker.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>

#include "host/record_file/modes.h"
#include "tests/faults/death/reader.h"

namespace packetdb::faults {
namespace {

namespace mode = host::mode;

enum Refused : int { kNone = 0, kOpening = 1, kAppending = 2, kOverwriting = 3, kMissing = 4 };

constexpr std::uint64_t kTicketMask = 0x7FFFFFFF;
constexpr std::uint32_t kRecent = 64;
constexpr std::array<unsigned long, 4> kCapacities = {kFewestKept, 150, 400, 1000};
constexpr std::uint32_t kOperationsOfAnOpening = 30;
// A file without a bound grows a few times until then.
constexpr std::uint64_t kMostUnbounded = 40000;

}  // namespace

int Worker::WorkForEver() {
  int status = Reopen();
  while (status == kNone) {
    status = Operate();
    const bool stays = habit_ == Habit::kStays || !random_.OneIn(kOperationsOfAnOpening);
    if (status == kNone && !stays) status = Reopen();
  }
  return status;
}

int Worker::Work(std::uint64_t operations) {
  int status = Reopen();
  for (std::uint64_t i = 0; i < operations && status == kNone; ++i) status = Operate();
  file_.Done();
  return status;
}

int Worker::Reopen() {
  if (habit_ == Habit::kMakesAnew) {
    ++traffic_.words->announced;
    return OpenIt(mode::kWrite | mode::kCreateAnew);
  }
  if (habit_ == Habit::kResizes) options_.capacity = random_.OneOf(kCapacities);
  return OpenIt(mode::kWrite);
}

int Worker::OpenIt(int mode) {
  const int result = Open(file_, options_, mode);
  if (result < 0) {
    fmt::print(stderr, "a writer cannot open: {}\n", result);
    return kOpening;
  }
  TakeOver();
  if (habit_ != Habit::kMakesAnew && next_ < traffic_.words->next) ++traffic_.words->lost;
  traffic_.words->next = next_;
  return kNone;
}

// Goes on from what is there. An empty file begins a generation.
void Worker::TakeOver() {
  const View view = ViewOf(file_, options_.record_size);
  for (const auto& record : view) {
    if (record) traffic_.versions.Note(*record);
  }
  if (!view.empty() && view.back()) {
    next_ = view.back()->number + 1;
    first_ = next_ - view.size();
  } else {
    next_ = traffic_.words->announced * kNumbersPerFile;
    first_ = next_;
  }
}

int Worker::Operate() {
  ++traffic_.words->written;
  const bool may_append = options_.capacity != kNoBound || next_ - first_ < kMostUnbounded;
  const bool appends = next_ == first_ || (may_append && random_.OneIn(2));
  return appends ? AppendNext() : OverwriteRecent();
}

// Tickets begin at 0 in each file.
int Worker::AppendNext() {
  const Identity identity = {.number = next_, .version = 0};
  if (Append(file_, options_, identity) < 0) return kAppending;
  ++next_;
  traffic_.versions.Note(identity);
  traffic_.words->next = next_;
  return kNone;
}

int Worker::OverwriteRecent() {
  const auto count = static_cast<std::uint32_t>(file_.RecordCount());
  const std::uint64_t number = next_ - 1 - random_.Below(std::min(count, kRecent));
  const auto version = traffic_.versions.Of(number);
  if (!version) return kMissing;
  const Identity identity = {.number = number, .version = *version + 1};
  const auto ticket = static_cast<int>(number % kNumbersPerFile & kTicketMask);
  if (Overwrite(file_, options_, ticket, identity) < 0) return kOverwriting;
  traffic_.versions.Note(identity);
  return kNone;
}

}  // namespace packetdb::faults
