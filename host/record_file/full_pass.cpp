#include "host/record_file/full_pass.h"

#include <algorithm>
#include <cstddef>

#include "host/record_file/frame.h"
#include "host/record_file/frame_reader.h"
#include "host/record_file/layout.h"

namespace packetdb::host {
namespace {

// The frames of a file, cell by cell. A file that is not mapped is read in larger pieces.
class Cells {
 public:
  Cells(const Medium& medium, const Geometry& geometry) : medium_(medium), geometry_(geometry) {}

  // The frame of a slot, or null when it cannot be read. Good until the next call, which is for a
  // later slot.
  const std::byte* Frame(std::uint64_t slot) {
    const std::uint64_t offset = OffsetOfSlot(geometry_, slot);
    if (medium_.mapped() != nullptr) return medium_.mapped() + offset;
    if (offset + geometry_.frame_size > begin_ + piece_.size()) Load(offset);
    return result_ < 0 ? nullptr : piece_.data() + (offset - begin_);
  }

  RecordFileResult result() const { return medium_.IsLost() ? kFileLost : result_; }

 private:
  void Load(std::uint64_t offset) {
    constexpr std::uint64_t kPieceBytes = 1U << 20U;
    begin_ = offset / kCellSize * kCellSize;
    piece_.resize(std::min(kPieceBytes, FileLength(geometry_) - begin_));
    result_ = medium_.Read(begin_, piece_.data(), piece_.size());
  }

  const Medium& medium_;
  const Geometry& geometry_;
  std::vector<std::byte> piece_;
  std::uint64_t begin_ = 0;
  RecordFileResult result_ = kRecordFileOk;
};

// Which slots hold a valid frame, and of which lap of the ring. A byte for the lap is enough: the
// frames of a file are of this lap and the one before it, or of one long past that failed to be
// replaced.
class Laps {
 public:
  explicit Laps(const Geometry& geometry) : geometry_(geometry), laps_(geometry.slot_count) {}

  void Note(std::uint64_t slot, std::uint64_t sequence) { laps_[slot] = LapOf(sequence); }
  bool Has(std::uint64_t sequence) const {
    return laps_[SlotOf(geometry_, sequence)] == LapOf(sequence);
  }

 private:
  static constexpr std::uint64_t kLaps = 255;

  std::uint8_t LapOf(std::uint64_t sequence) const {
    const std::uint64_t lap = geometry_.capacity == 0 ? 0 : sequence / geometry_.slot_count;
    return static_cast<std::uint8_t>(lap % kLaps + 1);
  }

  const Geometry& geometry_;
  std::vector<std::uint8_t> laps_;
};

class Pass {
 public:
  Pass(const Medium& medium, const Geometry& geometry, std::uint64_t hint)
      : medium_(medium), geometry_(geometry), hint_(hint), laps_(geometry) {}

  RecordFileResult Run(PassResult* out) {
    Cells cells(medium_, geometry_);
    for (std::uint64_t slot = 0; slot < geometry_.slot_count; ++slot) {
      const std::byte* const frame = cells.Frame(slot);
      if (frame == nullptr) return cells.result();
      Look(slot, frame);
    }
    if (cells.result() < 0) return cells.result();
    const RecordFileResult result = LookAtRedo();
    if (result == kRecordFileOk && found_.found_any) FindHoles();
    *out = std::move(found_);
    return result;
  }

 private:
  void Look(std::uint64_t slot, const std::byte* frame) {
    const std::uint64_t sequence = NearestSequence(hint_, LowSequenceOf(geometry_, frame));
    if (!IsPossible(sequence) || !IsFrameOf(geometry_, sequence, frame)) return;
    if (SlotOf(geometry_, sequence) != slot) return;
    laps_.Note(slot, sequence);
    if (!found_.found_any || sequence > found_.newest) found_.newest = sequence;
    found_.found_any = true;
  }

  // It never holds the newest record of all unless its slot once did: an overwrite follows its
  // append. But that slot may be torn, or never have reached the disk.
  RecordFileResult LookAtRedo() {
    FrameBuffer frame;
    const RecordFileResult result = medium_.Read(kRedoOffset, frame.data(), geometry_.frame_size);
    if (result < 0) return result;
    const std::uint64_t sequence = NearestSequence(hint_, LowSequenceOf(geometry_, frame.data()));
    if (!IsPossible(sequence)) return result;
    const std::uint64_t slot = SlotOf(geometry_, sequence);
    if (slot >= geometry_.slot_count || IsOlderThanItsSlot(sequence)) return result;
    Look(slot, frame.data());
    return result;
  }

  // An overwrite long ago, whose slot a later record has.
  bool IsOlderThanItsSlot(std::uint64_t sequence) const {
    return found_.found_any && found_.newest >= sequence &&
           found_.newest - sequence >= LiveWindow(geometry_, found_.newest + 1).size();
  }

  bool IsPossible(std::uint64_t sequence) const {
    return sequence >= geometry_.first_sequence && sequence < kMaxSequence - 1;
  }

  void FindHoles() {
    const Window live = LiveWindow(geometry_, found_.newest + 1);
    for (std::uint64_t sequence = live.begin; sequence < live.end; ++sequence) {
      if (!laps_.Has(sequence)) found_.holes.push_back(sequence);
    }
  }

  const Medium& medium_;
  const Geometry& geometry_;
  std::uint64_t hint_;
  Laps laps_;
  PassResult found_;
};

// The high half of a number is tried out: up to 2^48 records, which are more than any writer makes.
bool TryHighHalves(const Geometry& geometry, std::uint64_t slot, const std::byte* frame,
                   std::uint64_t* sequence) {
  constexpr std::uint64_t kHighHalves = 1U << 16U;
  const std::uint64_t low = LowSequenceOf(geometry, frame);
  const std::uint64_t first = geometry.first_sequence >> 32U;
  for (std::uint64_t high = first; high < first + kHighHalves; ++high) {
    const std::uint64_t candidate = high << 32U | low;
    if (candidate < geometry.first_sequence || candidate >= kMaxSequence) continue;
    if (SlotOf(geometry, candidate) != slot || !IsFrameOf(geometry, candidate, frame)) continue;
    *sequence = candidate;
    return true;
  }
  return false;
}

}  // namespace

RecordFileResult PassOver(const Medium& medium, const Geometry& geometry, std::uint64_t hint,
                          PassResult* out) {
  return Pass(medium, geometry, hint).Run(out);
}

RecordFileResult GuessSequence(const Medium& medium, const Geometry& geometry,
                               std::uint64_t* sequence) {
  constexpr int kMostFrames = 64;  // damaged ones, each of which takes about a millisecond
  Cells cells(medium, geometry);
  int tried = 0;
  for (std::uint64_t slot = 0; slot < geometry.slot_count && tried < kMostFrames; ++slot) {
    const std::byte* const frame = cells.Frame(slot);
    if (frame == nullptr) return cells.result();
    if (IsNeverWritten(geometry, frame)) continue;
    ++tried;
    if (TryHighHalves(geometry, slot, frame, sequence)) return kRecordFileOk;
  }
  return kDamagedRecord;
}

RecordFileResult FindHoles(const Medium& medium, const Geometry& geometry, const Window& window,
                           std::vector<std::uint64_t>* holes) {
  const FrameReader reader(medium, geometry);
  FrameBuffer frame;
  for (std::uint64_t sequence = window.begin; sequence < window.end; ++sequence) {
    const RecordFileResult result = reader.Read(sequence, &frame);
    if (result == kDamagedRecord) {
      holes->push_back(sequence);
    } else if (result < 0 && result != kRecordGone) {
      return result;
    }
  }
  return kRecordFileOk;
}

}  // namespace packetdb::host
