#include "host/record_file/slot_content.h"

#include "host/record_file/frame.h"

namespace packetdb::host {

SlotContent ContentOf(const Geometry& geometry, std::uint64_t sequence, const std::byte* frame) {
  if (IsFrameOf(geometry, sequence, frame)) return SlotContent::kRecord;
  if (IsNeverWritten(geometry, frame)) return SlotContent::kNothing;
  const std::uint64_t claimed = NearestSequence(sequence, LowSequenceOf(geometry, frame));
  // One that would be below 0 is beyond the highest.
  const bool is_possible = claimed >= geometry.first_sequence && claimed < kMaxSequence &&
                           SlotOf(geometry, claimed) == SlotOf(geometry, sequence);
  if (!is_possible || !IsFrameOf(geometry, claimed, frame)) return SlotContent::kTorn;
  return claimed < sequence ? SlotContent::kOlder : SlotContent::kNewer;
}

}  // namespace packetdb::host
