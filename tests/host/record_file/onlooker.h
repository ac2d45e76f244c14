// A file that is looked at from outside.
#pragma once

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "host/record_file/open.h"
#include "host/record_file/snapshot.h"
#include "tests/host/record_file/journal.h"

namespace packetdb::host {

class Onlooker {
 public:
  explicit Onlooker(const std::string& path) : opened_(OpenUnlocked(path, Access::kRead, &file_)) {}

  RecordFileResult Begin() { return opened_ < 0 ? opened_ : snapshot_.emplace(file_).Begin(); }
  RecordFileResult BeginDespiteDamage() {
    return opened_ < 0 ? opened_ : snapshot_.emplace(file_).BeginDespiteDamage();
  }
  Snapshot& snapshot() { return *snapshot_; }

  // The value of each record of the snapshot; none for one that is not whole.
  std::vector<std::optional<std::uint64_t>> Values() {
    std::vector<std::optional<std::uint64_t>> values;
    for (std::uint64_t sequence = snapshot_->oldest(); sequence < snapshot_->end(); ++sequence) {
      values.push_back(Value(sequence));
    }
    return values;
  }
  std::optional<std::uint64_t> Value(std::uint64_t sequence) {
    SnapshotRecord record;
    EXPECT_EQ(snapshot_->Read(sequence, &record), kRecordFileOk);
    EXPECT_EQ(record.sequence, sequence);
    if (record.fate != RecordFate::kWhole) return std::nullopt;
    TestRecord content;
    std::memcpy(content.data(), record.bytes, sizeof content);
    return ValueOf(content);
  }

 private:
  Descriptor file_;
  RecordFileResult opened_;
  std::optional<Snapshot> snapshot_;
};

}  // namespace packetdb::host
