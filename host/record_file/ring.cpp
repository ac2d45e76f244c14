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
  if (result < 0) return result;
  result = medium_.StoreWord(kNextOffset, next_ + 1);
  if (result < 0) return result;
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
  if (const RecordFileResult finished = Finish(); finished < 0) return finished;
  FrameBuffer frame;
  SealFrame(geometry_, record, sequence, frame.data());
  RecordFileResult result = medium_.Write(kRedoOffset, frame.data(), geometry_.frame_size);
  if (result < 0) return result;
  Medium::Fence();
  result = medium_.Write(OffsetOf(geometry_, sequence), frame.data(), geometry_.frame_size);
  // The slot may hold half of it: the redo sector is not given to another record before it is done.
  is_unfinished_ = result < 0;
  unfinished_ = sequence;
  return result < 0 ? result : medium_.StoreWord(kMergesOffset, ++merges_);
}

RecordFileResult Ring::Finish() {
  const RecordFileResult result = is_unfinished_ ? CompleteRedo(unfinished_) : kRecordFileOk;
  is_unfinished_ = result < 0;
  return result;
}

RecordFileResult Ring::CompleteRedo(std::uint64_t sequence) {
  FrameBuffer frame;
  const RecordFileResult result = medium_.Read(kRedoOffset, frame.data(), geometry_.frame_size);
  if (result < 0) return result;
  return medium_.Write(OffsetOf(geometry_, sequence), frame.data(), geometry_.frame_size);
}

}  // namespace packetdb::host
