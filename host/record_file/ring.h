// The records of a mapped file: where each one is, and in which order bytes change.
//
// A kill stops the process between two machine instructions, and everything stored until then is in
// the file. So the order of the stores is all that recovery can rely on, and the ring keeps two
// promises by it. A record that was not committed is not there: its slot is outside the live
// records until the commit word moves. A record that is being overwritten has a complete new copy
// beside it, in the redo record, for as long as its slot may be torn.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/record_file/header.h"
#include "host/record_file/result.h"

namespace packetdb::host {

class Ring {
 public:
  Ring() = default;

  // `base` is the start of the mapped file; `next` is plausible for the geometry. All addresses
  // come from these numbers, never from memory that somebody else could change.
  Ring(std::byte* base, const Geometry& geometry, std::uint64_t next);

  // The file has moved in memory and has `slot_count` slots now.
  void Rebase(std::byte* base, std::uint64_t slot_count);

  // False when an unbounded file must grow before the next append.
  bool HasRoom() const;
  const Geometry& geometry() const { return geometry_; }
  int Count() const;

  // Writers only, and with room. Returns the ticket.
  int Append(const void* record);

  // Writers only. kBadTicket or kDeadTicket change nothing.
  RecordFileResult Overwrite(int ticket, const void* record);

  RecordFileResult Read(int position, void* record) const;

  // Returns how many records were read: fewer than asked only at the newest.
  int ReadMany(int position, void* records, int count) const;

  // Completes the overwrite that the redo word `redo` (plausible, not kNoRedo) tells of. Needs
  // write access to the slot. Harmless when repeated.
  void CopyRedoToSlot(std::uint64_t redo);
  // Ends the overwrite; for a writer, after CopyRedoToSlot.
  void Disarm();

  std::uint64_t SlotOffset(std::uint64_t sequence) const;

 private:
  std::uint64_t Live() const { return LiveRecords(geometry_, next_); }
  std::byte* Slot(std::uint64_t sequence) const { return base_ + SlotOffset(sequence); }
  void Arm(std::uint64_t sequence, const void* record);

  std::byte* base_ = nullptr;
  Geometry geometry_;
  std::uint64_t next_ = 0;
};

}  // namespace packetdb::host
