#include "host/record_file/recovery.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "host/record_file/frame_reader.h"
#include "host/record_file/full_pass.h"
#include "host/record_file/inode_mark.h"
#include "host/record_file/state.h"

namespace packetdb::host {
namespace {

// How many of the newest records are looked at when only a process died. All are there then; but a
// file system that was shut down and mounted again within one boot looks the same, and lost what
// was not flushed.
constexpr std::uint64_t kTail = 4096;

// How many of the newest records of a closed file may be damaged before its state page is doubted.
constexpr std::uint64_t kWitnesses = 64;

class Recovery {
 public:
  Recovery(const Medium& medium, const Geometry& geometry, const StatePage& state)
      : medium_(medium), geometry_(geometry), state_(state), reader_(medium, geometry) {}

  // Whether the records are those that a page speaks of which says that the file was closed: its
  // checksum does not tell an earlier page, or that of another file. A writer that has come since
  // has marked the file before it changed anything else.
  bool AgreesWithRecords() const {
    return (!HasRecordBehind() && HasNewRecords()) || !StillSaysClosed();
  }

  // The state page is right.
  RecordFileResult Believe(Look look, Recovered* out) {
    out->next = state_.next;
    out->is_as_stated = true;
    if (look == Look::kQuick && state_.known_holes == 0) return kRecordFileOk;
    const Window live = LiveWindow(geometry_, state_.next);
    const RecordFileResult result = FindHoles(medium_, geometry_, live, &out->holes);
    if (result < 0) return result;
    out->is_as_stated = out->holes.size() == state_.known_holes;
    CountLosses(out);
    return NoteRedo(live, out);
  }

  // Nothing but the process is gone: every store that it made is there. At most one append has a
  // frame and was not committed, and at most one overwrite is half done. False when the file does
  // not look like that.
  bool TryAfterProcessDeath(Recovered* out) {
    if (!IsPlausibleNext(geometry_, state_.next)) return false;
    out->next = EndOfFrames();
    out->is_in_memory = true;
    const Window live = LiveWindow(geometry_, out->next);
    return HasAll(Unflushed(live)) && NoteRedo(live, out) == kRecordFileOk && !medium_.IsLost();
  }

  RecordFileResult Search(Recovered* out) {
    PassResult pass;
    const RecordFileResult result = SearchFrom(&pass);
    if (result < 0) return result;
    out->searched = true;
    out->next = pass.found_any ? pass.newest + 1 : geometry_.first_sequence;
    out->holes = std::move(pass.holes);
    CountLosses(out);
    return NoteRedo(LiveWindow(geometry_, out->next), out);
  }

 private:
  static std::uint64_t Least(std::uint64_t count, const Window& window) {
    return std::min(count, window.size());
  }

  // Behind the frames that follow the commit word without a gap.
  std::uint64_t EndOfFrames() const {
    std::uint64_t next = state_.next;
    while (HasRoomFor(next) && reader_.SlotHas(next)) ++next;
    return next;
  }

  // Those of the newest live records that had not been flushed, and the last one in any case.
  Window Unflushed(const Window& live) const {
    const std::uint64_t unflushed = std::clamp(state_.synced, live.begin, live.end);
    const std::uint64_t begin = std::max(unflushed, live.end - Least(kTail, live));
    return {std::min(begin, live.end - Least(1, live)), live.end};
  }

  bool HasAll(const Window& window) const {
    for (std::uint64_t sequence = window.begin; sequence < window.end; ++sequence) {
      if (!reader_.SlotHas(sequence) && !reader_.RedoHas(sequence)) return false;
    }
    return true;
  }

  bool HasRecordBehind() const { return HasRoomFor(state_.next) && reader_.SlotHas(state_.next); }

  // Some of the newest ones are there, if any have to be.
  bool HasNewRecords() const {
    const Window live = LiveWindow(geometry_, state_.next);
    const std::uint64_t begin = live.end - Least(kWitnesses, live);
    for (std::uint64_t sequence = live.end; sequence > begin; --sequence) {
      if (reader_.SlotHas(sequence - 1)) return true;
    }
    return live.size() == 0;
  }

  bool StillSaysClosed() const {
    constexpr std::uint64_t kOffset = kStateOffset + offsetof(StatePage, state);
    Medium::Fence();
    return static_cast<std::uint32_t>(medium_.LoadWord(kOffset)) == kClosed;
  }

  bool HasRoomFor(std::uint64_t next) const {
    return next < kMaxSequence - 1 && IsPlausibleNext(geometry_, next + 1);
  }

  // Frames hold half of their numbers, and any word that could tell the other half may be damaged.
  // What a frame itself says is right, but takes longer to find.
  RecordFileResult SearchFrom(PassResult* pass) {
    std::uint64_t hint = state_.next;
    RecordFileResult result = PassOver(medium_, geometry_, hint, pass);
    if (result == kRecordFileOk && !pass->found_any &&
        GuessSequence(medium_, geometry_, &hint) == kRecordFileOk) {
      result = PassOver(medium_, geometry_, hint, pass);
    }
    // From far away the newest may be out of sight.
    constexpr std::uint64_t kNear = std::uint64_t{1} << 30U;
    if (result == kRecordFileOk && pass->found_any && pass->newest - hint + kNear > 2 * kNear) {
      result = PassOver(medium_, geometry_, pass->newest, pass);
    }
    return result;
  }

  // Numbers that had holes before are counted again only when nobody knew of them.
  void CountLosses(Recovered* out) const {
    const auto flushed = static_cast<std::uint64_t>(
        std::lower_bound(out->holes.begin(), out->holes.end(), state_.synced) - out->holes.begin());
    out->damaged = flushed - std::min(flushed, state_.known_holes);
    out->lost_unsynced = out->holes.size() - flushed;
    // What is gone from the end leaves no hole. No more can be gone than the file had room for; a
    // word that says so is damaged itself.
    const std::uint64_t room = geometry_.capacity == 0 ? kMaxRecords : geometry_.slot_count;
    if (state_.next <= out->next || state_.next - out->next > room) return;
    const std::uint64_t was_flushed = std::clamp(state_.synced, out->next, state_.next);
    out->damaged += was_flushed - out->next;
    out->lost_unsynced += state_.next - was_flushed;
  }

  // Not to be passed over when it cannot be read: the next overwrite replaces what is there.
  RecordFileResult NoteRedo(const Window& live, Recovered* out) const {
    FrameBuffer frame;
    const RecordFileResult result = medium_.Read(kRedoOffset, frame.data(), geometry_.frame_size);
    if (result < 0) return result;
    const std::uint64_t sequence =
        NearestSequence(live.end, LowSequenceOf(geometry_, frame.data()));
    if (!IsFrameOf(geometry_, sequence, frame.data())) {
      out->is_redo_torn = !IsNeverWritten(geometry_, frame.data());
      return result;
    }
    out->redo_sequence = sequence;
    out->has_redo = live.Contains(sequence) && !reader_.SlotHas(sequence);
    return result;
  }

  const Medium& medium_;
  const Geometry& geometry_;
  const StatePage& state_;
  FrameReader reader_;
};

}  // namespace

RecordFileResult Recover(const Medium& medium, const Geometry& geometry, const StatePage& state,
                         OtherWriter writer, Look look, Recovered* out) {
  Recovery recovery(medium, geometry, state);
  Recovered recovered;
  RecordFileResult result = kRecordFileOk;
  const bool is_plausible = IsPlausibleNext(geometry, state.next);
  // A writer that is still finding out what the machine lost has not said so yet.
  const bool is_being_written = writer == OtherWriter::kAtWork && IsOfThisBoot(state);
  const bool is_believed =
      is_plausible &&
      (is_being_written || (IsSoundlyClosed(state) && recovery.AgreesWithRecords()));
  if (is_believed) {
    result = recovery.Believe(look, &recovered);
  } else {
    // A file system that was shut down and mounted again within one boot lost what was not flushed.
    const bool is_in_memory = IsOfThisBoot(state) && MarkOf(medium.file()) != InodeMark::kNone;
    const bool can_be_quick = is_in_memory && state.state == kOpen && state.known_holes == 0;
    if (!can_be_quick || !recovery.TryAfterProcessDeath(&recovered)) {
      recovered = {};
      result = recovery.Search(&recovered);
    }
  }
  if (medium.IsLost()) return kFileLost;
  if (result == kRecordFileOk) *out = std::move(recovered);
  return result;
}

}  // namespace packetdb::host
