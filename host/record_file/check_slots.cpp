#include "host/record_file/check_slots.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "host/record_file/check_zeros.h"
#include "host/record_file/layout.h"
#include "host/record_file/ring.h"
#include "host/record_file/snapshot_read.h"

namespace packetdb::host {
namespace {

RecordFileResult CheckZeros(const Descriptor& file, const ByteRange& range, Severity severity,
                            const std::string& otherwise, const FindingSink& sink) {
  Runs runs(kPaddingGap, [&](const ByteRange& run) {
    sink({run.begin, severity, kFindPadding, otherwise + " " + LengthText(run)});
  });
  Pieces pieces(file, range);
  while (pieces.Next()) pieces.AddWrongBytesOf(range, &runs);
  runs.End();
  return pieces.result();
}

// The slots of the `count` records from `sequence` on: up to the last slot, and from the first on.
std::array<ByteRange, 2> SlotsOf(const Geometry& geometry, std::uint64_t sequence,
                                 std::uint64_t count) {
  const std::uint64_t begin = Ring(nullptr, geometry, 0).SlotOffset(sequence);
  const std::uint64_t end =
      std::min(begin + count * geometry.slot_size, FileLength(geometry, geometry.slot_count));
  const std::uint64_t rest = count - (end - begin) / geometry.slot_size;
  return {{{begin, end}, {geometry.slots_offset, FileLength(geometry, rest)}}};
}

// Slots of records that are neighbours, none of which has been written.
class UnusedSlots {
 public:
  UnusedSlots(const Descriptor& file, const Geometry& geometry, const FindingSink& sink)
      : file_(file), geometry_(geometry), sink_(sink) {}

  // `slots` begins with that of the record `sequence`.
  RecordFileResult Check(std::uint64_t sequence, const ByteRange& slots) {
    Runs runs(geometry_.slot_size, [&](const ByteRange& run) { Tell(sequence, slots.begin, run); });
    Pieces pieces(file_, slots);
    while (pieces.Next()) {
      if (pieces.IsAllZeros()) continue;
      std::uint64_t reached = 0;
      const RecordFileResult result = FindReached(sequence, &reached);
      if (result < 0) return result;
      pieces.AddWrongBytesOf({slots.begin + reached * geometry_.slot_size, slots.end}, &runs);
    }
    runs.End();
    return pieces.result();
  }

 private:
  // How many of the slots, from that of `sequence` on, a writer may have come to by now.
  RecordFileResult FindReached(std::uint64_t sequence, std::uint64_t* reached) const {
    StateWords state = {};
    const RecordFileResult result = ReadState(file_, &state);
    if (result < 0) return result;
    const std::uint64_t next = std::min(state.next, kMaxSequence);
    *reached = next < sequence ? 0 : std::min(next + 1 - sequence, geometry_.slot_count);
    return result;
  }

  void Tell(std::uint64_t sequence, std::uint64_t begin, const ByteRange& run) const {
    const std::uint64_t first = sequence + (run.begin - begin) / geometry_.slot_size;
    const std::uint64_t last = sequence + (run.end - 1 - begin) / geometry_.slot_size;
    const std::string which =
        first == last ? "the slot of record " + std::to_string(first) + ", which was never used, is"
                      : "the slots of records " + std::to_string(first) + " to " +
                            std::to_string(last) + ", which were never used, are";
    sink_({run.begin, Severity::kDamage, kFindUnusedSlot,
           which + " not all zeros " + LengthText(run)});
  }

  const Descriptor& file_;
  const Geometry& geometry_;
  const FindingSink& sink_;
};

// The slot of `next` itself may hold an append that was never finished.
RecordFileResult CheckUnusedSlots(const Descriptor& file, const Geometry& geometry,
                                  std::uint64_t next, const FindingSink& sink) {
  UnusedSlots unused(file, geometry, sink);
  const std::uint64_t first = next + 1;
  if (geometry.capacity == 0) {
    // What is behind the last whole slot belongs to the next one.
    std::uint64_t length = 0;
    const RecordFileResult result = ReadLength(file, &length);
    const std::uint64_t begin = Ring(nullptr, geometry, 0).SlotOffset(first);
    return result < 0 ? result : unused.Check(first, {begin, length});
  }
  const std::uint64_t end = geometry.first_sequence + geometry.slot_count;
  if (first >= end) return kRecordFileOk;
  const auto slots = SlotsOf(geometry, first, end - first);
  const RecordFileResult result = unused.Check(first, slots[0]);
  if (result < 0) return result;
  const std::uint64_t before = (slots[0].end - slots[0].begin) / geometry.slot_size;
  return unused.Check(first + before, slots[1]);
}

RecordFileResult CheckPaddingOf(const Descriptor& file, const Geometry& geometry,
                                const ByteRange& slots, const FindingSink& sink) {
  Runs runs(geometry.slot_size, [&sink](const ByteRange& run) {
    sink({run.begin, Severity::kWarning, kFindPadding,
          "the bytes between records are not all zeros " + LengthText(run)});
  });
  Pieces pieces(file, slots);
  while (pieces.Next()) {
    const std::uint64_t into_slot = (pieces.piece().begin - slots.begin) % geometry.slot_size;
    std::uint64_t slot = pieces.piece().begin - into_slot;
    for (; slot < pieces.piece().end; slot += geometry.slot_size) {
      pieces.AddWrongBytesOf({slot + geometry.record_size, slot + geometry.slot_size}, &runs);
    }
  }
  runs.End();
  return pieces.result();
}

// The bytes between a record and the next slot, in the slots that have been used.
RecordFileResult CheckSlotPadding(const Descriptor& file, const Geometry& geometry,
                                  std::uint64_t next, const FindingSink& sink) {
  if (geometry.slot_size == geometry.record_size) return kRecordFileOk;
  const std::uint64_t used = std::min(next - geometry.first_sequence + 1, geometry.slot_count);
  for (const ByteRange& slots : SlotsOf(geometry, geometry.first_sequence, used)) {
    const RecordFileResult result = CheckPaddingOf(file, geometry, slots, sink);
    if (result < 0) return result;
  }
  return kRecordFileOk;
}

}  // namespace

RecordFileResult CheckStatePadding(const Descriptor& file, const Geometry& geometry,
                                   const FindingSink& sink) {
  constexpr std::uint64_t kPadding = kStateOffset + offsetof(StateWords, padding);
  constexpr std::uint64_t kRedo = kStateOffset + offsetof(StateWords, redo);
  constexpr std::uint64_t kRedoPadding = kStateOffset + offsetof(StateWords, redo_padding);
  constexpr const char* kNotZero = "the padding of the state is not all zeros";
  RecordFileResult result = CheckZeros(file, {kPadding, kRedo}, Severity::kDamage, kNotZero, sink);
  if (result < 0) return result;
  result = CheckZeros(file, {kRedoPadding, kRedoRecordOffset}, Severity::kDamage, kNotZero, sink);
  if (result < 0) return result;
  return CheckZeros(file, {kRedoRecordOffset + geometry.record_size, geometry.slots_offset},
                    Severity::kWarning, "the bytes behind the redo record are not all zeros", sink);
}

RecordFileResult CheckSlots(const Descriptor& file, const Geometry& geometry, std::uint64_t next,
                            const FindingSink& sink) {
  const RecordFileResult result = CheckSlotPadding(file, geometry, next, sink);
  return result < 0 ? result : CheckUnusedSlots(file, geometry, next, sink);
}

}  // namespace packetdb::host
