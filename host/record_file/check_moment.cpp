#include "host/record_file/check_moment.h"

#include <algorithm>
#include <cstring>
#include <thread>

#include "host/record_file/recovery.h"
#include "host/record_file/state.h"

namespace packetdb::host {
namespace {

bool IsEqual(const StatePage& a, const StatePage& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

bool IsLengthRight(const FileFacts& facts) {
  const std::uint64_t stated = facts.superblock.file_length;
  return stated == 0 ? facts.length >= kCellsOffset : facts.length == stated;
}

// A page that says closed was read in the middle of being written when its checksum is wrong.
bool IsReadWhole(const FileFacts& facts, const FileFacts& again, bool is_written) {
  if (!is_written) return IsEqual(facts.state, again.state) && facts.length == again.length;
  return facts.state.state != kClosed || IsSoundlyClosed(facts.state);
}

Life LifeOf(const StatePage& state, bool is_written) {
  if (is_written) return Life::kWritten;
  return state.state == kOpen || state.state == kFailed ? Life::kAbandoned : Life::kClosed;
}

// Records that the page counts and that are nowhere.
void NoteLostEnd(CheckedMoment* moment) {
  const StatePage& state = moment->state();
  const std::uint64_t next = moment->window.end;
  const bool is_behind = moment->life == Life::kAbandoned && state.next > next &&
                         IsPlausibleNext(moment->geometry(), state.next);
  if (!is_behind) return;
  moment->lost_at_end = state.next - next;
  moment->flushed_lost = std::clamp(state.synced, next, state.next) - next;
}

}  // namespace

bool Patience::Wait() {
  constexpr std::chrono::milliseconds kMoment{1};
  if (left_ < kMoment) return false;
  left_ -= kMoment;
  std::this_thread::sleep_for(kMoment);
  return true;
}

RecordFileResult FixMoment(const Descriptor& file, Patience* patience, CheckedMoment* moment) {
  for (;;) {
    FileFacts again;
    bool is_written = false;
    RecordFileResult result = InspectDespiteLength(file, &moment->facts);
    if (result == kRecordFileOk) result = InspectDespiteLength(file, &again);
    if (result == kRecordFileOk) result = FindWriter(file, &is_written);
    if (result < 0) return result;
    if (IsReadWhole(moment->facts, again, is_written) || !patience->Wait()) {
      moment->is_length_right = IsLengthRight(moment->facts);
      moment->life = LifeOf(moment->state(), is_written);
      return result;
    }
  }
}

RecordFileResult FindWindow(const Medium& medium, CheckedMoment* moment) {
  const Geometry& geometry = moment->geometry();
  if (!moment->is_length_right) {
    const std::uint64_t stated = moment->state().next;
    moment->window =
        LiveWindow(geometry, IsPlausibleNext(geometry, stated) ? stated : geometry.first_sequence);
    return kRecordFileOk;
  }
  const OtherWriter other =
      moment->life == Life::kWritten ? OtherWriter::kAtWork : OtherWriter::kNone;
  Recovered recovered;
  const RecordFileResult result =
      Recover(medium, geometry, moment->state(), other, Look::kQuick, &recovered);
  if (result < 0) return result;
  moment->window = LiveWindow(geometry, recovered.next);
  moment->was_searched = recovered.searched;
  NoteLostEnd(moment);
  return result;
}

bool Stillness::IsUntouched() const {
  bool is_written = false;
  StatePage now = {};
  return moment_.life != Life::kWritten && FindWriter(file_, &is_written) == kRecordFileOk &&
         !is_written && medium_.Read(kStateOffset, &now, sizeof now) == kRecordFileOk &&
         IsEqual(now, moment_.state());
}

// A file without a bound may have grown since: its slots of then do not limit it.
std::uint64_t Stillness::Next() const {
  const std::uint64_t stated = medium_.LoadWord(kNextOffset);
  const bool is_new =
      stated != moment_.state().next && stated > moment_.window.end && stated < kMaxSequence;
  return is_new ? stated : moment_.window.end;
}

}  // namespace packetdb::host
