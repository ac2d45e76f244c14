#include "host/record_file/ring.h"

#include "host/record_file/frame.h"
#include "host/record_file/layout.h"

namespace packetdb::host {
namespace {

constexpr std::uint64_t kTicketMask = 0x7FFFFFFF;

}  // namespace

int Ring::Append(const void* record) {
  FrameBuffer frame;
  SealFrame(geometry_, record, next_, frame.data());
  RecordFileResult result =
      medium_.Write(OffsetOf(geometry_, next_), frame.data(), geometry_.frame_size);
  if (result == kRecordFileOk) result = medium_.StoreWord(kNextOffset, next_ + 1);
  if (result < 0) {
    refused_ = next_;
    return result;
  }
  return static_cast<int>(next_++ & kTicketMask);
}

RecordFileResult Ring::Find(int ticket, std::uint64_t* sequence) const {
  if (ticket < 0) return kBadTicket;
  // How many appends ago it was, exactly as long as the record lives: never more than 2^31 - 1.
  const std::uint64_t age = (next_ - static_cast<std::uint64_t>(ticket)) & kTicketMask;
  if (age == 0 || age > LiveWindow(geometry_, next_).size()) return kDeadTicket;
  *sequence = next_ - age;
  return kRecordFileOk;
}

RecordFileResult Ring::Overwrite(std::uint64_t sequence, const void* record) {
  if (const RecordFileResult completed = CompleteOverwrite(); completed < 0) return completed;
  FrameBuffer frame;
  SealFrame(geometry_, record, sequence, frame.data());
  RecordFileResult result = medium_.Write(kRedoOffset, frame.data(), geometry_.frame_size);
  if (result < 0) return result;
  Medium::Fence();
  result = medium_.Write(OffsetOf(geometry_, sequence), frame.data(), geometry_.frame_size);
  if (result < 0) {
    // The slot may hold half of it: the redo sector is not given to another record before it is
    // done.
    unfinished_ = sequence;
    return result;
  }
  return medium_.StoreWord(kMergesOffset, ++merges_);
}

RecordFileResult Ring::Finish() {
  const RecordFileResult result = TakeBackAppend();
  return result < 0 ? result : CompleteOverwrite();
}

// Whoever comes next would take a frame in the slot of the next append for a record.
RecordFileResult Ring::TakeBackAppend() {
  if (refused_ != next_) return kRecordFileOk;  // another has been appended there
  const FrameBuffer zeros = {};
  const RecordFileResult result =
      medium_.Write(OffsetOf(geometry_, next_), zeros.data(), geometry_.frame_size);
  return result < 0 ? result : StoreNext();
}

RecordFileResult Ring::CompleteOverwrite() {
  if (!unfinished_) return kRecordFileOk;
  // By the append that would lie over it, a newer record has the slot.
  const bool is_reused = geometry_.capacity != 0 && next_ - *unfinished_ > geometry_.slot_count;
  const RecordFileResult result = is_reused ? kRecordFileOk : CompleteRedo(*unfinished_);
  if (result == kRecordFileOk) unfinished_.reset();
  return result;
}

RecordFileResult Ring::CompleteRedo(std::uint64_t sequence) {
  FrameBuffer frame;
  const RecordFileResult result = medium_.Read(kRedoOffset, frame.data(), geometry_.frame_size);
  if (result < 0) return result;
  return medium_.Write(OffsetOf(geometry_, sequence), frame.data(), geometry_.frame_size);
}

}  // namespace packetdb::host
