// The records of a journal file at one moment, by the time when they were first seen. No lock is
// taken and nothing is changed, whoever else has the file open.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/journals/journal_format.h"
#include "host/record_file/descriptor.h"
#include "host/record_file/snapshot.h"
#include "packetdb/storage.h"

namespace packetdb::host {

class JournalView {
 public:
  // Of the file at `path` as it is now. Throws JournalError, with path and reason, when it cannot
  // be read or is no journal.
  explicit JournalView(const std::string& path);

  // Whether a new view would see nothing else: the file is still the one at the path, nobody writes
  // it, and nobody has since.
  bool IsCurrent() const;

  // Sequence numbers of the oldest record and of the one behind the newest.
  std::uint64_t oldest() const { return snapshot_.oldest(); }
  std::uint64_t end() const { return snapshot_.end(); }
  // Records that were ever appended, and repeats that were added, up to when the view began.
  std::uint64_t changes() const { return snapshot_.end() + snapshot_.facts().state.merges; }

  // The record, where it is there and whole. What is damaged is counted, and passed over; what is
  // gone, because newer records have replaced it since, is passed over. Throws JournalError.
  std::optional<PacketDbItemPacked> Read(std::uint64_t sequence);

  // The number of the first record that was first seen after `time`, in seconds since 1980; end()
  // when none was. Throws JournalError.
  std::uint64_t FirstAfter(std::uint32_t time);

  // The oldest and the newest record that are whole; none when there is none among those that are
  // looked at, a thousand or so from either end. Throw JournalError.
  std::optional<PacketDbItemPacked> Oldest();
  std::optional<PacketDbItemPacked> Newest();

  std::uint64_t damaged() const { return damaged_; }  // records met

 private:
  std::optional<std::uint32_t> TimeFrom(std::uint64_t sequence, std::uint64_t end);
  [[noreturn]] void Throw(RecordFileResult result) const;

  std::string path_;
  Descriptor file_;
  Snapshot snapshot_;
  JournalFormat format_ = JournalFormat::kOther;
  std::uint64_t damaged_ = 0;
};

}  // namespace packetdb::host
