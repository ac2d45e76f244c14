#include "host/record_file/frame_reader.h"

#include <sched.h>

#include "host/record_file/layout.h"

namespace packetdb::host {
namespace {

// An attempt fails for nothing only when an overwrite ends within it; the writer needs the
// processor for that, which on a busy machine it has to be left.
constexpr int kAttempts = 100'000;
constexpr int kAttemptsBeforeYielding = 1'000;

}  // namespace

RecordFileResult FrameReader::ReadAt(std::uint64_t sequence, std::uint64_t slot,
                                     FrameBuffer* frame) const {
  const std::uint64_t offset = OffsetOfSlot(geometry_, slot);
  const RecordFileResult result = Try(sequence, offset, frame);
  if (medium_.IsLost()) return kFileLost;
  return result == kDamagedRecord ? Search(sequence, offset, frame) : result;
}

RecordFileResult FrameReader::Try(std::uint64_t sequence, std::uint64_t offset,
                                  FrameBuffer* frame) const {
  const RecordFileResult result = medium_.Read(offset, frame->data(), geometry_.frame_size);
  if (result < 0) return result;
  return IsFrameOf(geometry_, sequence, frame->data()) ? kRecordFileOk : kDamagedRecord;
}

// While the count of complete overwrites stands still, at most one overwrite is under way, and its
// frame was in the redo sector before it touched the slot: a slot that is torn then has its frame
// there. A slot that has no frame there either is damaged, or belongs to a newer record by now.
RecordFileResult FrameReader::Search(std::uint64_t sequence, std::uint64_t offset,
                                     FrameBuffer* frame) const {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const std::uint64_t merges = medium_.LoadWord(kMergesOffset);
    RecordFileResult result = Try(sequence, offset, frame);
    if (result != kDamagedRecord) return result;
    Medium::Fence();
    result = Try(sequence, kRedoOffset, frame);
    if (result != kDamagedRecord) return result;
    const bool stood_still = medium_.LoadWord(kMergesOffset) == merges;
    if (medium_.IsLost()) return kFileLost;
    if (IsOverwritten(sequence)) return kRecordGone;
    if (stood_still) return kDamagedRecord;
    if (attempt >= kAttemptsBeforeYielding) sched_yield();
  }
  return kDamagedRecord;
}

// From when the append into its slot may have begun.
bool FrameReader::IsOverwritten(std::uint64_t sequence) const {
  if (geometry_.capacity == 0) return false;
  const std::uint64_t next = medium_.LoadWord(kNextOffset);
  return next > sequence && next < kMaxSequence && next - sequence >= geometry_.slot_count;
}

bool FrameReader::SlotHas(std::uint64_t sequence) const {
  FrameBuffer frame;
  return Try(sequence, OffsetOf(geometry_, sequence), &frame) == kRecordFileOk;
}

bool FrameReader::RedoHas(std::uint64_t sequence) const {
  FrameBuffer frame;
  return Try(sequence, kRedoOffset, &frame) == kRecordFileOk;
}

}  // namespace packetdb::host
