#include "host/record_file/check_state.h"

#include <cstddef>
#include <string>

#include "host/record_file/check_zeros.h"
#include "host/record_file/frame.h"
#include "host/record_file/state.h"

namespace packetdb::host {
namespace {

class PageCheck {
 public:
  PageCheck(const CheckedMoment& moment, const FindingSink& sink)
      : moment_(moment), state_(moment.state()), geometry_(moment.geometry()), sink_(sink) {}

  void Run() {
    CheckWord();
    CheckNumbers();
    CheckPadding();
    TellOfLife();
  }

 private:
  void Damage(std::uint64_t offset, const std::string& text) {
    sink_({kStateOffset + offset, Severity::kDamage, kFindState, text});
  }

  void CheckWord() {
    const bool is_known =
        state_.state == kClosed || state_.state == kOpen || state_.state == kFailed;
    if (!is_known) {
      Damage(offsetof(StatePage, state), "the word that tells whether it is closed is damaged");
    } else if (state_.state == kClosed && !IsSoundlyClosed(state_)) {
      Damage(0, "the state page is damaged: its checksum does not go with it");
    } else if (state_.state == kFailed && WasClosed()) {
      Damage(offsetof(StatePage, state),
             "the word that tells whether it is closed is damaged: the rest says that it is");
    }
  }

  // Whoever opens a file puts other bytes into the page as well, and the checksum stays.
  bool WasClosed() const {
    StatePage closed = state_;
    closed.state = kClosed;
    return IsSoundlyClosed(closed);
  }

  void CheckNumbers() {
    if (!IsPlausibleNext(geometry_, state_.next)) {
      Damage(offsetof(StatePage, next), "the number of the next record is " +
                                            std::to_string(state_.next) +
                                            ", which no writer leaves in this file");
    } else if (IsSoundlyClosed(state_)) {
      CheckOtherNumbers();
    }
  }

  // They move while a writer is at work, and may be of different moments when it has died. Under a
  // wrong checksum they say nothing more.
  void CheckOtherNumbers() {
    if (state_.synced < geometry_.first_sequence || state_.synced > state_.next) {
      Damage(offsetof(StatePage, synced), "more records were flushed than there are");
    }
    if (state_.merges_synced > state_.merges) {
      Damage(offsetof(StatePage, merges_synced), "more overwrites were flushed than there are");
    }
    if (state_.known_holes > LiveWindow(geometry_, state_.next).size()) {
      Damage(offsetof(StatePage, known_holes), "more records are missing than there are");
    }
  }

  void CheckPadding() {
    const auto* const bytes = reinterpret_cast<const std::byte*>(&state_);
    Runs runs(kPaddingGap, [this](const ByteRange& run) {
      sink_({run.begin, Severity::kDamage, kFindPadding,
             "the padding of the state page is not all zeros " + LengthText(run)});
    });
    const ByteRange paddings[] = {
        {offsetof(StatePage, writer_padding), offsetof(StatePage, synced)},
        {offsetof(StatePage, sync_padding), offsetof(StatePage, state)},
        {offsetof(StatePage, reserved_word), offsetof(StatePage, opened_ns)},
        {offsetof(StatePage, reserved_sector), offsetof(StatePage, redo)},
        {offsetof(StatePage, redo) + geometry_.frame_size, kChecksumOffset},
    };
    for (const ByteRange& range : paddings) {
      runs.AddWrongOf(bytes + range.begin, bytes + range.end, kStateOffset + range.begin);
    }
    runs.End();
  }

  void TellOfLife() {
    constexpr std::uint64_t kState = kStateOffset + offsetof(StatePage, state);
    if (state_.state == kFailed && !WasClosed()) {
      sink_({kState, Severity::kWarning, kFindFlushFailed,
             "flushing to the disk failed while it was written: records from number " +
                 std::to_string(state_.synced) +
                 " on may be lost when the machine stops, until the next writer stores all of them "
                 "again"});
    } else if (moment_.life == Life::kAbandoned) {
      sink_({kState, Severity::kNote, kFindNotClosed,
             "its writer died, or the machine stopped, before it was closed; the next writer sees "
             "to that"});
    }
  }

  const CheckedMoment& moment_;
  const StatePage& state_;
  const Geometry& geometry_;
  const FindingSink& sink_;
};

// An overwrite may be so long ago that the high half of its number is another one by now.
bool IsSomeFrame(const Geometry& geometry, std::uint64_t near, const std::byte* frame) {
  constexpr std::uint64_t kHighUnit = std::uint64_t{1} << 32U;
  constexpr int kMostTried = 64;
  std::uint64_t sequence = NearestSequence(near, LowSequenceOf(geometry, frame));
  for (int tried = 0; tried < kMostTried && sequence < kMaxSequence; ++tried) {
    if (IsFrameOf(geometry, sequence, frame)) return true;
    sequence -= kHighUnit;  // beyond the highest number when there is none below
  }
  return false;
}

}  // namespace

void CheckState(const CheckedMoment& moment, const FindingSink& sink) {
  PageCheck(moment, sink).Run();
}

RecordFileResult CheckRedo(const CheckContext& context) {
  const Geometry& geometry = context.moment.geometry();
  for (;;) {
    FrameBuffer frame;
    const RecordFileResult result =
        context.medium.Read(kRedoOffset, frame.data(), geometry.frame_size);
    if (result < 0 || IsNeverWritten(geometry, frame.data()) ||
        IsSomeFrame(geometry, context.stillness.Next(), frame.data())) {
      return result;
    }
    if (context.stillness.IsUntouched()) break;
    if (!context.patience.Wait()) return kRecordFileOk;
  }
  if (context.moment.life == Life::kAbandoned) {
    context.sink({kRedoOffset, Severity::kNote, kFindRedoPending,
                  "an overwrite was interrupted before it changed its record"});
  } else {
    context.sink({kRedoOffset, Severity::kDamage, kFindRedo,
                  "what the last overwrite wrote is damaged; its record is judged for itself"});
  }
  return kRecordFileOk;
}

}  // namespace packetdb::host
