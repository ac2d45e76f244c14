#include "host/record_file/check_slots.h"

#include <algorithm>
#include <string>

#include "host/record_file/slot_content.h"

namespace packetdb::host {
namespace {

std::string Number(std::uint64_t sequence) { return std::to_string(sequence); }

std::string Records(std::uint64_t count) {
  return std::to_string(count) + (count == 1 ? " record" : " records");
}

std::string FromOn(std::uint64_t count, std::uint64_t first) {
  return count == 1 ? "record " + Number(first) + " is missing"
                    : Records(count) + " from number " + Number(first) + " on are missing";
}

}  // namespace

// The first number at or behind the end of the window whose record has this slot. Without a bound,
// the only one at all.
std::uint64_t SlotJudge::NextOwner(std::uint64_t slot) const {
  if (geometry_.capacity == 0) return geometry_.first_sequence + slot;
  const std::uint64_t end = moment_.window.end;
  const std::uint64_t end_slot = end % geometry_.slot_count;
  return end - end_slot + slot + (slot < end_slot ? geometry_.slot_count : 0);
}

RecordFileResult SlotJudge::Judge(std::uint64_t slot, const std::byte* frame, std::uint64_t next) {
  const std::uint64_t owner = NextOwner(slot);
  // Below 0 is beyond every window.
  const std::uint64_t holds = geometry_.capacity == 0 ? owner : owner - geometry_.slot_count;
  if (moment_.window.Contains(holds)) return JudgeLive(holds, frame);
  JudgeUnused(slot, owner, frame, next);
  return kRecordFileOk;
}

RecordFileResult SlotJudge::JudgeLive(std::uint64_t sequence, const std::byte* frame) {
  if (IsFrameOf(geometry_, sequence, frame)) return kRecordFileOk;
  const RecordFileResult result = ReadPatiently(sequence);
  if (result == kRecordFileOk) {
    JudgeHalfDone(sequence);
  } else if (result == kDamagedRecord) {
    JudgeWithoutRecord(sequence, frame);
  } else if (result != kRecordGone) {
    return result;
  }
  return kRecordFileOk;
}

RecordFileResult SlotJudge::ReadPatiently(std::uint64_t sequence) const {
  FrameBuffer frame;
  RecordFileResult result = reader_.Read(sequence, &frame);
  while (result == kDamagedRecord && moment_.life == Life::kWritten && context_.patience.Wait()) {
    result = reader_.Read(sequence, &frame);
  }
  return result;
}

// The record is there, but not in its slot, unless a writer was in the middle of it.
void SlotJudge::JudgeHalfDone(std::uint64_t sequence) {
  if (!context_.stillness.IsUntouched()) return;
  const std::uint64_t offset = OffsetOf(geometry_, sequence);
  if (moment_.life == Life::kAbandoned) {
    Find(offset, Severity::kNote, kFindRedoPending,
         "record " + Number(sequence) +
             ": an overwrite was interrupted; the next writer completes it");
  } else {
    Find(offset, Severity::kDamage, kFindFrame,
         "record " + Number(sequence) +
             " is damaged; a whole copy of it is where the last overwrite wrote it first");
  }
}

void SlotJudge::JudgeWithoutRecord(std::uint64_t sequence, const std::byte* frame) {
  const SlotContent content = ContentOf(geometry_, sequence, frame);
  const bool is_missing = content == SlotContent::kNothing || content == SlotContent::kOlder;
  const bool was_flushed = sequence < moment_.state().synced;
  // What a machine was writing when it lost power can be anything.
  const bool can_be_lost = moment_.IsUnrecovered() ? !was_flushed : is_missing;
  if (can_be_lost) {
    first_missing_ = missing_ == 0 ? sequence : std::min(first_missing_, sequence);
    ++missing_;
    return;
  }
  Find(OffsetOf(geometry_, sequence), Severity::kDamage, kFindFrame,
       "record " + Number(sequence) +
           (is_missing ? " is missing, which had been flushed to the disk"
                       : " is damaged: its checksum does not go with it"));
}

void SlotJudge::JudgeUnused(std::uint64_t slot, std::uint64_t later, const std::byte* frame,
                            std::uint64_t next) {
  const SlotContent content = ContentOf(geometry_, later, frame);
  if (content == SlotContent::kNothing || content == SlotContent::kOlder) return;
  // Appended to since, or in the middle of that.
  if (later < next || (later == next && !context_.stillness.IsUntouched())) return;
  const bool can_be_pending = later == next || moment_.was_searched;
  if (moment_.IsUnrecovered() && can_be_pending) {
    if (pending_++ == 0) first_pending_ = slot;
  } else {
    AddWrongSlot(slot);
  }
}

void SlotJudge::AddWrongSlot(std::uint64_t slot) {
  if (slot != wrong_end_) {
    EndWrongSlots();
    wrong_begin_ = slot;
  }
  wrong_end_ = slot + 1;
}

void SlotJudge::EndWrongSlots() {
  const std::uint64_t count = wrong_end_ - wrong_begin_;
  if (count == 0) return;
  Find(OffsetOfSlot(geometry_, wrong_begin_), Severity::kDamage, kFindUnusedSlot,
       count == 1 ? "a slot that has no record to hold now is damaged"
                  : std::to_string(count) + " slots that have no record to hold now are damaged");
  wrong_begin_ = wrong_end_;
}

void SlotJudge::Finish() {
  EndWrongSlots();
  if (pending_ != 0) {
    Find(OffsetOfSlot(geometry_, first_pending_), Severity::kNote, kFindAppendPending,
         Records(pending_) + (pending_ == 1 ? " was" : " were") +
             " being written when the writer died, and had not been appended yet");
  }
  TellOfMissing();
}

void SlotJudge::TellOfMissing() {
  const std::uint64_t end = moment_.window.end;
  if (moment_.flushed_lost != 0) {
    Find(OffsetOf(geometry_, end), Severity::kDamage, kFindFrame,
         FromOn(moment_.flushed_lost, end) + ", which had been flushed to the disk");
  }
  const std::uint64_t lost_at_end = moment_.lost_at_end - moment_.flushed_lost;
  if (missing_ == 0) first_missing_ = end + moment_.flushed_lost;
  missing_ += lost_at_end;
  if (missing_ == 0) return;
  const std::uint64_t position = OffsetOf(geometry_, first_missing_);
  if (moment_.life == Life::kClosed && missing_ > moment_.state().known_holes) {
    Find(position, Severity::kDamage, kFindFrame,
         FromOn(missing_, first_missing_) + "; the state page knows of " +
             std::to_string(moment_.state().known_holes));
  } else {
    Find(position, Severity::kWarning, kFindLost,
         FromOn(missing_, first_missing_) + ": not flushed to the disk before the machine stopped");
  }
}

}  // namespace packetdb::host
