#include "host/record_file/record_view.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>

#include "host/record_file/full_pass.h"

namespace packetdb::host {
namespace {

// How far back a stand-in for a damaged record is looked for: beyond, so much is damaged that no
// search makes sense.
constexpr std::uint64_t kLookBack = 4096;

std::atomic<std::uint64_t> failed_reads{0};

}  // namespace

std::uint64_t FailedReads() { return failed_reads.load(std::memory_order_relaxed); }

RecordFileResult RecordView::Read(int position, void* record) {
  if (!IsPosition(position)) return kBadPosition;
  const std::uint64_t sequence =
      numbering_.SequenceAt(window_, static_cast<std::uint64_t>(position));
  const RecordFileResult result = ReadSequence(sequence, SlotOf(geometry_, sequence), record);
  if (result == kDamagedRecord) FillIn(sequence, record);
  return result;
}

int RecordView::ReadMany(int position, void* records, int count) {
  if (!IsPosition(position)) return kBadPosition;
  if (count <= 0) return kBadCount;
  const int reading = std::min(count, Count() - position);
  auto* out = static_cast<std::byte*>(records);
  std::uint64_t sequence = numbering_.SequenceAt(window_, static_cast<std::uint64_t>(position));
  std::uint64_t slot = SlotOf(geometry_, sequence);
  for (int done = 0; done < reading; ++sequence) {
    if (!numbering_.IsHole(sequence)) {
      const RecordFileResult result = ReadSequence(sequence, slot, out);
      if (result < 0) return done == 0 ? result : done;
      out += geometry_.record_size;
      ++done;
    }
    if (++slot == geometry_.slot_count) slot = 0;
  }
  return reading;
}

RecordFileResult RecordView::ReadSequence(std::uint64_t sequence, std::uint64_t slot,
                                          void* record) {
  FrameBuffer frame;
  const RecordFileResult result = reader_.ReadAt(sequence, slot, &frame);
  if (result == kRecordFileOk) {
    std::memcpy(record, frame.data(), geometry_.record_size);
    return result;
  }
  failed_reads.fetch_add(1, std::memory_order_relaxed);
  has_met_damage_ = has_met_damage_ || result == kDamagedRecord;
  std::memset(record, 0, geometry_.record_size);
  return result;
}

void RecordView::FillIn(std::uint64_t sequence, void* record) const {
  const std::uint64_t last = sequence - std::min(sequence - window_.begin, kLookBack);
  FrameBuffer frame;
  while (sequence > last) {
    --sequence;
    if (reader_.Read(sequence, &frame) != kRecordFileOk) continue;
    std::memcpy(record, frame.data(), geometry_.record_size);
    return;
  }
}

std::vector<std::uint64_t> RecordView::SkipDamage() {
  std::vector<std::uint64_t> damaged;
  if (!has_met_damage_) return damaged;
  has_met_damage_ = false;
  // What cannot be read now is met again.
  static_cast<void>(FindHoles(medium_, geometry_, window_, &damaged));
  damaged.erase(
      std::remove_if(damaged.begin(), damaged.end(),
                     [this](std::uint64_t sequence) { return numbering_.IsHole(sequence); }),
      damaged.end());
  for (const std::uint64_t sequence : damaged) numbering_.AddHole(sequence);
  return damaged;
}

}  // namespace packetdb::host
