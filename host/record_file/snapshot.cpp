#include "host/record_file/snapshot.h"

#include <algorithm>

#include "host/record_file/recovery.h"
#include "host/record_file/settings.h"
#include "host/record_file/slot_content.h"

namespace packetdb::host {

RecordFileResult Snapshot::Begin() {
  const RecordFileResult result = Inspect(file_, &facts_);
  if (result < 0) return result;
  return Attach(GetRecordFileSettings().by_calls ? Way::kByCalls : BestWay(file_));
}

RecordFileResult Snapshot::Attach(Way way) {
  bool is_written = false;
  RecordFileResult result = FindWriter(file_, &is_written);
  if (result == kRecordFileOk) {
    result = medium_.Open(file_, 0, FileLength(facts_.geometry), Access::kRead, way);
  }
  Recovered recovered;
  if (result == kRecordFileOk) {
    result =
        Recover(medium_, facts_.geometry, facts_.state,
                is_written ? OtherWriter::kAtWork : OtherWriter::kNone, Look::kQuick, &recovered);
  }
  if (result < 0) return result;
  reader_.emplace(medium_, facts_.geometry);
  window_ = LiveWindow(facts_.geometry, recovered.next);
  return kRecordFileOk;
}

RecordFileResult Snapshot::BeginDespiteDamage() {
  const RecordFileResult result = Begin();
  const bool is_length_wrong = result == kTruncatedFile || result == kOverlongFile;
  return is_length_wrong ? BeginDamaged() : result;
}

// By its superblock alone; what is missing is found missing record by record.
RecordFileResult Snapshot::BeginDamaged() {
  is_length_wrong_ = true;
  RecordFileResult result = InspectDespiteLength(file_, &facts_);
  if (result < 0) return result;
  if (!IsPlausibleNext(facts_.geometry, facts_.state.next)) return kTruncatedFile;
  result = medium_.Open(file_, 0, FileLength(facts_.geometry), Access::kRead, Way::kByCalls);
  if (result < 0) return result;
  reader_.emplace(medium_, facts_.geometry);
  window_ = LiveWindow(facts_.geometry, facts_.state.next);
  return result;
}

RecordFate Snapshot::FateWithoutRecord(std::uint64_t sequence, std::uint64_t offset) {
  const Geometry& geometry = facts_.geometry;
  const bool is_read = medium_.Read(offset, frame_.data(), geometry.frame_size) == kRecordFileOk;
  const SlotContent content =
      is_read ? ContentOf(geometry, sequence, frame_.data()) : SlotContent::kTorn;
  const bool was_never_there = content == SlotContent::kNothing || content == SlotContent::kOlder;
  return was_never_there ? RecordFate::kLost : RecordFate::kDamaged;
}

// The slots behind one that is beyond the end of the file are so, too.
std::uint64_t Snapshot::EndOfMissing(std::uint64_t sequence) const {
  const std::uint64_t behind = facts_.geometry.slot_count - SlotOf(facts_.geometry, sequence);
  return std::min(sequence + behind, window_.end);
}

RecordFileResult Snapshot::Read(std::uint64_t sequence, SnapshotRecord* record) {
  const RecordFileResult result = reader_->Read(sequence, &frame_);
  const std::uint64_t offset = OffsetOf(facts_.geometry, sequence);
  if (result == kRecordFileOk) {
    *record = {sequence, RecordFate::kWhole, frame_.data(), offset};
  } else if (result == kRecordGone) {
    *record = {sequence, RecordFate::kGone, nullptr, offset};
  } else if (result == kDamagedRecord) {
    *record = {sequence, FateWithoutRecord(sequence, offset), nullptr, offset};
  } else if (result == kTruncatedFile && is_length_wrong_) {
    *record = {sequence, RecordFate::kMissing, nullptr, offset};
  } else {
    return result;
  }
  return kRecordFileOk;
}

}  // namespace packetdb::host
