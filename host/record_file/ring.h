// The writer's side of the slots: where the next record goes, and in which order bytes change.
//
// A kill stops the process between two machine instructions, and everything stored until then is in
// the file. So the order of the stores is all that recovery can rely on, and the ring keeps two
// promises by it. A record that was not committed is not there: its slot is outside the live
// records until the commit word moves. A record that is being overwritten has a complete new copy
// in the redo sector for as long as its slot may be torn.
#pragma once

#include <cstdint>
#include <optional>

#include "host/record_file/geometry.h"
#include "host/record_file/medium.h"
#include "host/record_file/result.h"

namespace packetdb::host {

class Ring {
 public:
  // `medium` is open for writing over the whole file, and outlives the ring; so does `geometry`.
  // `next` is plausible for it.
  Ring(Medium& medium, const Geometry& geometry, std::uint64_t next, std::uint64_t merges)
      : medium_(medium), geometry_(geometry), next_(next), merges_(merges) {}

  std::uint64_t next() const { return next_; }
  std::uint64_t merges() const { return merges_; }

  // False when a file without a bound must grow before the next append, and when there are no more
  // numbers.
  bool HasRoom() const {
    const bool has_slot =
        geometry_.capacity != 0 || next_ - geometry_.first_sequence < geometry_.slot_count;
    return has_slot && HasNumbers();
  }
  // No writer uses them up, but a file can be made whose numbers begin near their end.
  bool HasNumbers() const { return next_ < kMaxSequence - 1; }

  // Only with room. Returns the ticket, or a failure of the medium with nothing appended; Finish
  // sees to it that nobody finds it there.
  int Append(const void* record);

  // The sequence number that a ticket names: kBadTicket or kDeadTicket for one that names none.
  RecordFileResult Find(int ticket, std::uint64_t* sequence) const;

  // Replaces the record `sequence`, which is live.
  RecordFileResult Overwrite(std::uint64_t sequence, const void* record);

  // Puts right what failed in the middle: completes an overwrite, and takes an append back.
  RecordFileResult Finish();

  // Completes the overwrite whose frame the redo sector holds: that of `sequence`. Harmless when
  // repeated.
  RecordFileResult CompleteRedo(std::uint64_t sequence);

  // Stores the commit word again, for a file whose own is behind or ahead.
  RecordFileResult StoreNext() { return medium_.StoreWord(kNextOffset, next_); }

 private:
  RecordFileResult TakeBackAppend();
  RecordFileResult CompleteOverwrite();

  Medium& medium_;
  const Geometry& geometry_;
  std::uint64_t next_;
  std::uint64_t merges_;
  std::optional<std::uint64_t> refused_;  // the number that the last failed append would have got
  std::optional<std::uint64_t> unfinished_;  // the record whose overwrite failed within its slot
};

}  // namespace packetdb::host
