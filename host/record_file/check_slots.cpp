#include "host/record_file/check_slots.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "host/record_file/layout.h"
#include "host/record_file/ring.h"
#include "host/record_file/snapshot_read.h"

namespace packetdb::host {
namespace {

constexpr std::uint64_t kChunkBytes = 256U << 10U;

// Reads a range of the file piece by piece.
class Pieces {
 public:
  Pieces(const Descriptor& file, std::uint64_t begin, std::uint64_t end)
      : file_(file), begin_(begin), end_(std::max(begin, end)) {}

  // The next piece; none at the end of the range or of the file, or after a failure.
  bool Next() {
    begin_ += got_;
    bytes_.resize(std::min(kChunkBytes, end_ - begin_));
    result_ = ReadUpTo(file_, begin_, bytes_.data(), bytes_.size(), &got_);
    return result_ == kRecordFileOk && got_ != 0;
  }
  RecordFileResult result() const { return result_; }
  std::uint64_t begin() const { return begin_; }
  std::uint64_t size() const { return got_; }
  // Where in the file the first byte from `position` on is that is not 0; the piece's end when all
  // are.
  std::uint64_t FirstStray(std::uint64_t position, std::uint64_t end) const {
    const auto at = [this](std::uint64_t byte) {
      return bytes_.begin() + static_cast<std::ptrdiff_t>(byte - begin_);
    };
    const auto found = std::find_if(at(position), at(end), [](char byte) { return byte != '\0'; });
    return begin_ + static_cast<std::uint64_t>(found - bytes_.begin());
  }

 private:
  const Descriptor& file_;
  std::uint64_t begin_;
  std::uint64_t end_;
  std::uint64_t got_ = 0;
  std::vector<char> bytes_;
  RecordFileResult result_ = kRecordFileOk;
};

struct Range {
  std::uint64_t begin;  // bytes in the file
  std::uint64_t end;
};

RecordFileResult CheckZeros(const Descriptor& file, const Range& range, Severity severity,
                            const char* otherwise, const FindingSink& sink) {
  Pieces pieces(file, range.begin, range.end);
  while (pieces.Next()) {
    const std::uint64_t end = pieces.begin() + pieces.size();
    const std::uint64_t stray = pieces.FirstStray(pieces.begin(), end);
    if (stray == end) continue;
    sink({stray, severity, kFindPadding, otherwise});
    break;  // one finding tells that the range is not as it was left
  }
  return pieces.result();
}

RecordFileResult CheckState(const Descriptor& file, const Geometry& geometry,
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

// Slots of a range that begins with a slot, one after the other.
class UnusedSlots {
 public:
  UnusedSlots(const Descriptor& file, const Geometry& geometry, const FindingSink& sink)
      : file_(file), geometry_(geometry), sink_(sink) {}

  // The slots from that of the record `sequence` to the byte `end`, which no record has reached.
  RecordFileResult Check(std::uint64_t sequence, std::uint64_t end) {
    const std::uint64_t begin = Ring(nullptr, geometry_, 0).SlotOffset(sequence);
    Pieces pieces(file_, begin, end);
    std::uint64_t position = begin;  // everything before it is done
    while (pieces.Next()) {
      const std::uint64_t piece_end = pieces.begin() + pieces.size();
      position = std::max(position, pieces.begin());
      while (position < piece_end) {
        position = pieces.FirstStray(position, piece_end);
        if (position == piece_end) break;
        const std::uint64_t slot = (position - begin) / geometry_.slot_size;
        if (const RecordFileResult result = Judge(position, sequence + slot); result < 0) {
          return result;
        }
        position = std::min(piece_end, begin + (slot + 1) * geometry_.slot_size);
      }
    }
    return pieces.result();
  }

 private:
  // By now a writer may have come as far as this slot.
  RecordFileResult Judge(std::uint64_t position, std::uint64_t sequence) {
    StateWords state = {};
    const RecordFileResult result = ReadState(file_, &state);
    if (result == kRecordFileOk && sequence > state.next) {
      sink_({position, Severity::kDamage, kFindUnusedSlot,
             "the slot of record " + std::to_string(sequence) +
                 ", which was never used, is not all zeros"});
    }
    return result;
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
    std::uint64_t length = 0;
    const RecordFileResult result = ReadLength(file, &length);
    return result < 0 ? result : unused.Check(first, length);
  }
  const std::uint64_t end = geometry.first_sequence + geometry.slot_count;
  if (first >= end) return kRecordFileOk;
  const std::uint64_t file_end = FileLength(geometry, geometry.slot_count);
  const Ring ring(nullptr, geometry, 0);
  const std::uint64_t last = end - 1;
  if (ring.SlotOffset(first) <= ring.SlotOffset(last)) {
    return unused.Check(first, ring.SlotOffset(last) + geometry.slot_size);
  }
  // The numbering begins in the middle of the file and these slots lie on both sides of its end.
  const RecordFileResult result = unused.Check(first, file_end);
  if (result < 0) return result;
  const std::uint64_t at_start = RoundUp(first, geometry.slot_count);
  return unused.Check(at_start, ring.SlotOffset(last) + geometry.slot_size);
}

// The bytes between a record and the next slot, in the slots that have been used.
RecordFileResult CheckSlotPadding(const Descriptor& file, const Geometry& geometry,
                                  std::uint64_t next, const FindingSink& sink) {
  if (geometry.slot_size == geometry.record_size) return kRecordFileOk;
  const std::uint64_t used = std::min(next - geometry.first_sequence + 1, geometry.slot_count);
  const Ring ring(nullptr, geometry, 0);
  for (std::uint64_t i = 0; i < used; ++i) {
    const std::uint64_t slot = ring.SlotOffset(geometry.first_sequence + i);
    const RecordFileResult result =
        CheckZeros(file, {slot + geometry.record_size, slot + geometry.slot_size},
                   Severity::kWarning, "the bytes behind a record are not all zeros", sink);
    if (result < 0) return result;
  }
  return kRecordFileOk;
}

}  // namespace

RecordFileResult CheckUnusedBytes(const Descriptor& file, const Geometry& geometry,
                                  std::uint64_t next, const FindingSink& sink) {
  RecordFileResult result = CheckState(file, geometry, sink);
  if (result == kRecordFileOk) result = CheckSlotPadding(file, geometry, next, sink);
  if (result == kRecordFileOk) result = CheckUnusedSlots(file, geometry, next, sink);
  return result;
}

}  // namespace packetdb::host
