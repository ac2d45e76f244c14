#include "host/reading/journal_view.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>

#include "host/journals/conversion_files.h"
#include "host/journals/error.h"
#include "host/journals/journal_record.h"
#include "host/record_file/open.h"

namespace packetdb::host {

namespace {

constexpr std::uint64_t kMostLooks = 1024;

Descriptor OpenJournal(const std::string& path) {
  Descriptor file;
  const bool is_path = !path.empty() && path.find('\0') == std::string::npos;
  const RecordFileResult result =
      is_path ? OpenUnlocked(path, Access::kRead, &file) : RecordFileResult::kBadPath;
  if (result == kMissing && IsThere(ConversionFiles(path).old)) {
    throw JournalError(fmt::format("journal {0} is not there, as its conversion was interrupted: "
                                   "complete it with packetdb convert {0}",
                                   path),
                       result);
  }
  if (result < 0) {
    ThrowCannotOpen(path, result);
  }
  return file;
}

}  // namespace

JournalView::JournalView(const std::string& path)
    : path_(path), file_(OpenJournal(path)), snapshot_(file_) {
  if (const RecordFileResult result = snapshot_.Begin(); result < 0) {
    Throw(result);
  }
  format_ = FormatOf(snapshot_.facts());
  if (format_ == JournalFormat::kOther) {
    throw JournalError(fmt::format("{} is a record file, but no journal", path), kOtherFormat);
  }
}

void JournalView::Throw(RecordFileResult result) const {
  std::string reason(DescribeRecordFileResult(result));
  if (result == kSystemError) {
    reason += fmt::format(": {}", std::strerror(errno));
  }
  throw JournalError(fmt::format("cannot read journal {}: {}", path_, reason), result);
}

bool JournalView::IsCurrent() const {
  FileFacts now;
  bool is_written = true;
  return IsFileAt(path_, file_) && FindWriter(file_, &is_written) == kRecordFileOk && !is_written &&
         Inspect(file_, &now) == kRecordFileOk &&
         std::memcmp(&now.state, &snapshot_.facts().state, sizeof now.state) == 0;
}

std::optional<PacketDbItemPacked> JournalView::Read(std::uint64_t sequence) {
  SnapshotRecord stored;
  if (const RecordFileResult result = snapshot_.Read(sequence, &stored); result < 0) {
    Throw(result);
  }
  if (stored.fate != RecordFate::kWhole) {
    damaged_ += stored.fate == RecordFate::kDamaged ? 1 : 0;
    return std::nullopt;
  }
  PacketDbItemPacked record = DecodeRecord(format_, stored.bytes);
  record.m_LastTime = LastSeen(record);
  return record;
}

// Of the first record that can be read.
std::optional<std::uint32_t> JournalView::TimeFrom(std::uint64_t sequence, std::uint64_t end) {
  for (; sequence < end; ++sequence) {
    if (const auto record = Read(sequence); record) {
      return record->m_FirstTime;
    }
  }
  return std::nullopt;
}

// A record that cannot be read is taken for the next one that can.
std::uint64_t JournalView::FirstAfter(std::uint32_t time) {
  std::uint64_t before = oldest();
  std::uint64_t after = end();
  while (before < after) {
    const std::uint64_t middle = before + (after - before) / 2;
    const auto found = TimeFrom(middle, after);
    if (!found || *found > time) {
      after = middle;
    } else {
      before = middle + 1;
    }
  }
  return after;
}

std::optional<PacketDbItemPacked> JournalView::Oldest() {
  const std::uint64_t last = std::min(end(), oldest() + kMostLooks);
  for (std::uint64_t sequence = oldest(); sequence < last; ++sequence) {
    if (auto record = Read(sequence); record) {
      return record;
    }
  }
  return std::nullopt;
}

std::optional<PacketDbItemPacked> JournalView::Newest() {
  const std::uint64_t looks = std::min(kMostLooks, end() - oldest());
  for (std::uint64_t i = 1; i <= looks; ++i) {
    if (auto record = Read(end() - i); record) {
      return record;
    }
  }
  return std::nullopt;
}

}  // namespace packetdb::host
