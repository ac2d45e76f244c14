// The records of a file as an onlooker sees them: without a lock and without changing anything,
// while a writer may be at work.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "host/record_file/descriptor.h"
#include "host/record_file/frame.h"
#include "host/record_file/frame_reader.h"
#include "host/record_file/inspect.h"
#include "host/record_file/medium.h"
#include "host/record_file/result.h"

namespace packetdb::host {

enum class RecordFate {
  kWhole,    // read, and proved by its checksum
  kGone,     // overwritten by a newer record since the snapshot began; no damage
  kDamaged,  // it should be there, and its checksum does not say so
  kLost,     // never flushed, and gone when the machine stopped: its slot has nothing newer
  kMissing,  // the file ends before the end of its slot; only after BeginDespiteDamage
};

struct SnapshotRecord {
  std::uint64_t sequence = 0;
  RecordFate fate = RecordFate::kDamaged;
  const std::byte* bytes = nullptr;  // kWhole only: record_size bytes, until the next call of Read
  std::uint64_t offset = 0;          // of its slot in the file
};

class Snapshot {
 public:
  // `file` is open for reading and outlives the snapshot.
  explicit Snapshot(const Descriptor& file) : file_(file) {}
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  // Fixes which records are to be seen: those that are live now. What a dead writer left is
  // recovered in memory. Called once, before anything else; on failure nothing may be read.
  RecordFileResult Begin();

  // The same, and takes a file of the wrong length as well.
  RecordFileResult BeginDespiteDamage();

  const FileFacts& facts() const { return facts_; }
  // Sequence numbers of the oldest record of the snapshot and of the one behind its newest.
  std::uint64_t oldest() const { return window_.begin; }
  std::uint64_t end() const { return window_.end; }
  const Window& window() const { return window_; }

  // Reads the record `sequence`, oldest() <= sequence < end(). Fails when the file cannot be read,
  // or has been cut since Begin; `record` is untouched then.
  RecordFileResult Read(std::uint64_t sequence, SnapshotRecord* record);

  // Behind the numbers from `sequence` on, whose record is kMissing, whose records are missing as
  // well: a superblock can speak of more of them than anybody could read one by one.
  std::uint64_t EndOfMissing(std::uint64_t sequence) const;

 private:
  RecordFileResult Attach(Way way);
  RecordFileResult BeginDamaged();
  RecordFate FateWithoutRecord(std::uint64_t sequence, std::uint64_t offset);

  const Descriptor& file_;
  FileFacts facts_;
  Medium medium_;
  std::optional<FrameReader> reader_;
  Window window_;
  bool is_length_wrong_ = false;
  FrameBuffer frame_;
};

}  // namespace packetdb::host
