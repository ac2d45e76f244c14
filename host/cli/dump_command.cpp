#include "host/cli/dump_command.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <limits>

#include "host/cli/examined_file.h"
#include "host/cli/output_format.h"
#include "host/cli/parse_number.h"
#include "host/cli/record_printer.h"
#include "host/cli/report.h"
#include "host/cli/usage_error.h"
#include "host/record_file/layout.h"

namespace packetdb::host {

namespace {

// Sequence numbers from `begin` to before `end`.
struct RecordRange {
  std::uint64_t begin = 0;
  std::uint64_t end = kMaxSequence;
};

std::uint64_t ParseRecordNumber(const std::string& text) {
  // Of those that are ever given out; there are more, but not in the time that anybody has.
  constexpr std::int64_t kHighest = std::numeric_limits<std::int64_t>::max();
  const auto number = ParseNumber(text, 0, kHighest);
  if (!number) {
    throw UsageError(
        fmt::format("'{}' is not the number of a record: give 0 to {}", text, kHighest));
  }
  return static_cast<std::uint64_t>(*number);
}

RecordRange ParseRange(const DumpOptions& options) {
  RecordRange range;
  if (!options.from.empty()) {
    range.begin = ParseRecordNumber(options.from);
  }
  if (!options.to.empty()) {
    range.end = ParseRecordNumber(options.to) + 1;
  }
  if (range.begin >= range.end) {
    throw UsageError("the range of records is empty: --from is beyond --to");
  }
  return range;
}

class Dumper {
 public:
  Dumper(Snapshot& snapshot, const RecordStyle& style) : snapshot_(snapshot), style_(style) {}

  RecordFileResult Dump(const RecordRange& range) {
    RecordFileResult result = kRecordFileOk;
    for (std::uint64_t sequence = range.begin; sequence < range.end; ++sequence) {
      SnapshotRecord record;
      result = snapshot_.Read(sequence, &record);
      if (result < 0 || std::ferror(stdout) != 0) {
        break;
      }
      Print(record);
    }
    EndRun();
    return result;
  }
  std::uint64_t damaged() const { return damaged_; }

 private:
  // Records that could not be read are told as runs: a fast writer overwrites thousands of them.
  void Print(const SnapshotRecord& record) {
    if (run_length_ != 0 && record.fate != run_fate_) {
      EndRun();
    }
    if (record.fate == RecordFate::kWhole) {
      PrintRecord(record, style_, stdout);
      return;
    }
    if (run_length_++ == 0) {
      run_begin_ = record.sequence;
    }
    run_fate_ = record.fate;
    damaged_ += record.fate == RecordFate::kDamaged ? 1 : 0;
  }

  void EndRun() {
    if (run_length_ != 0) {
      PrintUnread(run_fate_, run_begin_, run_begin_ + run_length_ - 1, style_.output, stdout);
    }
    run_length_ = 0;
  }

  Snapshot& snapshot_;
  const RecordStyle style_;
  std::uint64_t damaged_ = 0;
  std::uint64_t run_begin_ = 0;
  std::uint64_t run_length_ = 0;
  RecordFate run_fate_ = RecordFate::kGone;
};

// The part of a range that a snapshot has.
RecordRange Within(const RecordRange& range, const Snapshot& snapshot) {
  return {std::max(range.begin, snapshot.oldest()), std::min(range.end, snapshot.end())};
}

void NoteThatNothingIsThere(const std::string& path, const Snapshot& snapshot) {
  if (snapshot.oldest() == snapshot.end()) {
    Complain(fmt::format("{}: it holds no records", path));
  } else {
    Complain(fmt::format("{}: it holds none of these records, only {} to {}", path,
                         snapshot.oldest(), snapshot.end() - 1));
  }
}

ExitCode Dump(const std::string& path, Snapshot& snapshot, const RecordStyle& style,
              const RecordRange& range) {
  Dumper dumper(snapshot, style);
  const RecordFileResult result = dumper.Dump(range);
  if (!FlushOutput()) {
    return kExitFailed;
  }
  if (result < 0) {
    return CannotExamine(path, result);
  }
  if (dumper.damaged() != 0) {
    Complain(fmt::format(
        "{}: {} damaged; packetdb check tells more", path,
        dumper.damaged() == 1 ? "a record is" : fmt::format("{} records are", dumper.damaged())));
    return kExitDamaged;
  }
  return kExitOk;
}

}  // namespace

ExitCode RunDump(const DumpOptions& options) {
  RecordStyle style;
  style.output = ParseOutputFormat(options.output);
  style.hex = options.hex;
  const RecordRange asked = ParseRange(options);
  Descriptor file;
  ExitCode status = OpenToExamine(options.path, &file);
  if (status != kExitOk) {
    return status;
  }
  Snapshot snapshot(file);
  status = BeginToExamine(options.path, snapshot, &style.format);
  if (status != kExitOk) {
    return status;
  }
  style.record_size = snapshot.facts().format.record_size;
  const RecordRange range = Within(asked, snapshot);
  if (range.begin >= range.end) {
    NoteThatNothingIsThere(options.path, snapshot);
    return kExitOk;
  }
  return Dump(options.path, snapshot, style, range);
}

}  // namespace packetdb::host
