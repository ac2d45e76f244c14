#include "tests/faults/death/reader.h"

#include <algorithm>
#include <fmt/format.h>

#include "host/record_file/modes.h"
#include "host/record_file/result.h"

namespace packetdb::faults {
namespace {

constexpr int kMostAtOnce = 64;

}  // namespace

void Reader::ReadForEver() {
  for (;;) Pass();
}

void Reader::Wrong(const std::string& what) {
  if (traffic_.words->wrong++ < 10) fmt::print(stderr, "violation: a reader finds {}\n", what);
}

// Mostly what has been opened is looked at once more: its count is asked for again.
void Reader::Pass() {
  fresh_ = file_.RecordCount() == 0 || random_.OneIn(3);
  if (fresh_) OpenFresh();
  first_number_.reset();
  const int count = file_.RecordCount();
  if (count == 0 && fresh_) JudgeEmpty();
  ReadAll(count);
  ++traffic_.words->passes;
}

void Reader::OpenFresh() {
  next_before_ = traffic_.words->next;
  versions_before_ = traffic_.versions.Copy();
  shown_ = 0;
  const int result = Open(file_, options_, host::mode::kRead);
  if (result < 0) {
    Wrong(fmt::format("no file: {}, {}", result, host::DescribeRecordFileResult(result)));
  }
}

// Newest last, so that a fast writer overtakes, or newest only.
void Reader::ReadAll(int count) {
  int position = random_.OneIn(2) ? 0 : std::max(0, count - kMostAtOnce);
  while (position < count) {
    const int got = ReadSome(position, count);
    if (got <= 0) JudgeGone(position, count);
    position += std::max(got, 1);
  }
  if (!first_number_) return;
  const std::uint64_t end = *first_number_ + static_cast<std::uint64_t>(count);
  const std::uint64_t least = std::max(shown_, fresh_ ? next_before_ : 0);
  if (end < least)
    Wrong(fmt::format("{} records less, {} opened", least - end, fresh_ ? "newly" : "long"));
  shown_ = end;
}

int Reader::ReadSome(int position, int count) {
  const int asked = random_.OneIn(2) ? 1 : std::min(kMostAtOnce, count - position);
  RecordBytes records(static_cast<std::size_t>(asked) * options_.record_size);
  int got = 0;
  if (asked == 1) {
    got = file_.ReadRecord(position, records.data()) >= 0 ? 1 : -1;
  } else {
    got = file_.ReadRecords(position, records.data(), asked);
  }
  for (int i = 0; i < got; ++i) {
    Judge(&records[static_cast<std::size_t>(i) * options_.record_size], position + i);
  }
  return got;
}

void Reader::Judge(const unsigned char* record, int position) {
  const auto identity = IdentityOf(record, options_.record_size);
  if (!identity) return Wrong(fmt::format("a torn record at {}", position));
  const std::uint64_t first = identity->number - static_cast<std::uint64_t>(position);
  if (!first_number_) first_number_ = first;
  if (first != *first_number_) {
    return Wrong(fmt::format("number {} at {} instead of {}", identity->number, position,
                             *first_number_ + static_cast<std::uint64_t>(position)));
  }
  JudgeVersion(*identity);
}

// A writer is one operation ahead of what it has been told is stored.
void Reader::JudgeVersion(const Identity& identity) {
  const auto least = fresh_ ? Versions::InCopy(versions_before_, identity.number) : std::nullopt;
  const auto most = traffic_.versions.Of(identity.number);
  if (least && identity.version < *least) {
    return Wrong(
        fmt::format("version {} of {}, which had {}", identity.version, identity.number, *least));
  }
  if (most && identity.version > *most + 1) {
    return Wrong(
        fmt::format("version {} of {}, which has {}", identity.version, identity.number, *most));
  }
  ++traffic_.words->verified;
}

// A file that is being made anew is empty at first.
void Reader::JudgeEmpty() {
  if (next_before_ % kNumbersPerFile == 0) return;
  if (traffic_.words->announced > next_before_ / kNumbersPerFile) return;
  Wrong("an empty file");
}

// A reader's window stays where it is while the writer goes on.
void Reader::JudgeGone(int position, int count) {
  ++traffic_.words->overtaken;
  const auto age = static_cast<std::uint64_t>(count - position);
  if (!first_number_) return;
  const std::uint64_t number = *first_number_ + static_cast<std::uint64_t>(position);
  if (age <= kFewestKept && traffic_.words->next <= number + kFewestKept) {
    Wrong(fmt::format("number {} unreadable although it is one of the newest", number));
  }
}

}  // namespace packetdb::faults
