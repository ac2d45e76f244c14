// The records of a file as an onlooker sees them: without a lock and without changing anything,
// while a writer may be at work.
//
// A slot has no checksum, so nothing in the record itself tells whether the writer was in the
// middle of it. Instead the slot is read twice, with the state words read before, between and
// after. The record is taken when both readings agree, when it was still live after the second (so
// that no append has reached its slot) and when the redo word never named it (so that no overwrite
// was under way at any of the three moments). While the redo word names it, the redo record is its
// content and is read in the same way.
//
// An overwrite can still begin and end between two looks at the state. Then the two readings
// differ, unless a later overwrite puts back bytes that an earlier one had replaced: for records
// whose changes only ever add, as those of journals, a record that is taken is always one that was
// written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/record_file/descriptor.h"
#include "host/record_file/inspect.h"
#include "host/record_file/layout.h"
#include "host/record_file/result.h"

namespace packetdb::host {

enum class RecordFate {
  kWhole,     // read, and not torn
  kGone,      // overwritten by a newer record since the snapshot began; no damage
  kUnstable,  // it changed in every one of many attempts to read it
  kMissing,   // the file ends before the end of its slot; only after BeginDespiteDamage
};

struct SnapshotRecord {
  std::uint64_t sequence = 0;
  RecordFate fate = RecordFate::kUnstable;
  const std::byte* bytes = nullptr;  // kWhole only: record_size bytes, until the next call of Read
  // Where in the file they were, which is the slot or the redo record; the slot of a record that is
  // kUnstable or kMissing, 0 for one that is kGone.
  std::uint64_t offset = 0;
};

class Snapshot {
 public:
  // `file` is open for reading and outlives the snapshot.
  explicit Snapshot(const Descriptor& file) : file_(file) {}
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  // Verifies header and state and fixes which records are to be seen: those that are live now.
  // Called once, before anything else; on failure nothing may be read.
  RecordFileResult Begin();

  // The same, and takes a file as well in which nothing but the length or the redo word is wrong.
  // What such a redo word says is left out of account.
  RecordFileResult BeginDespiteDamage();

  const FileFacts& facts() const { return facts_; }
  // Sequence numbers of the oldest record of the snapshot and of the one behind its newest.
  std::uint64_t oldest() const { return facts_.next - LiveRecords(facts_.geometry, facts_.next); }
  std::uint64_t end() const { return facts_.next; }

  // Reads the record `sequence`, oldest() <= sequence < end(). Neighbours are read along with it
  // and kept, at most 64 KiB of them or one slot: walking from old to new costs few system calls.
  // Fails when the file cannot be read, or has been cut since Begin; `record` is untouched then.
  RecordFileResult Read(std::uint64_t sequence, SnapshotRecord* record);

 private:
  // What lay at one place of the file at two moments, and the state around them.
  struct Reading {
    std::uint64_t offset = 0;
    StateWords before = {};
    StateWords between = {};
    StateWords after = {};
    std::vector<std::byte> first;
    std::vector<std::byte> second;
  };

  RecordFileResult BeginDamaged();
  std::uint64_t SlotEnd(std::uint64_t sequence) const;
  RecordFileResult ReadTwice(std::uint64_t offset, std::uint64_t size, Reading* reading) const;
  RecordFileResult Load(std::uint64_t sequence);
  RecordFileResult Settle(std::uint64_t sequence, SnapshotRecord* record);
  RecordFate Judge(const Reading& reading, std::uint64_t index, std::uint64_t sequence) const;
  SnapshotRecord Taken(const Reading& reading, std::uint64_t index, std::uint64_t sequence) const;

  const Descriptor& file_;
  FileFacts facts_;
  Reading chunk_;                  // the slots of records from chunk_begin_ to before chunk_end_
  std::uint64_t chunk_begin_ = 0;  // sequence numbers
  std::uint64_t chunk_end_ = 0;
  Reading single_;  // of a record that has to be read again
};

}  // namespace packetdb::host
