#include "host/record_file/snapshot.h"

#include <algorithm>
#include <cstring>

#include "host/record_file/check_header.h"
#include "host/record_file/header.h"
#include "host/record_file/ring.h"
#include "host/record_file/snapshot_read.h"

namespace packetdb::host {
namespace {

constexpr std::uint64_t kChunkBytes = 64U << 10U;
// A look at commit word and redo word is not one moment: an append and an overwrite in between can
// make the two contradict each other, many times in a row never.
constexpr int kLooks = 64;
// An attempt fails only when the writer is in that very record again.
constexpr int kAttempts = 256;

// The ring knows where records are; this one has no memory behind it.
std::uint64_t SlotOffset(const Geometry& geometry, std::uint64_t sequence) {
  return Ring(nullptr, geometry, 0).SlotOffset(sequence);
}

bool EverNames(const StateWords& before, const StateWords& between, const StateWords& after,
               std::uint64_t sequence) {
  const std::uint64_t name = sequence + 1;
  return before.redo == name || between.redo == name || after.redo == name;
}

}  // namespace

RecordFileResult Snapshot::Begin() {
  for (int look = 0; look < kLooks; ++look) {
    FileFacts facts;
    const RecordFileResult result = Inspect(file_, &facts);
    if (result < 0) return result;
    if (IsPlausibleRedo(facts.geometry, facts.next, facts.redo)) {
      facts_ = facts;
      return kRecordFileOk;
    }
  }
  return kDamagedState;
}

RecordFileResult Snapshot::BeginDespiteDamage() {
  const RecordFileResult result = Begin();
  const bool is_damaged =
      result == kTruncatedFile || result == kOverlongFile || result == kDamagedState;
  return is_damaged ? BeginDamaged() : result;
}

RecordFileResult Snapshot::BeginDamaged() {
  HeaderPage header = {};
  std::uint64_t got = 0;
  RecordFileResult result = ReadUpTo(file_, 0, &header, sizeof header, &got);
  if (result < 0) return result;
  StateWords state = {};
  result = ReadState(file_, &state);
  if (result < 0) return result;
  FileFacts facts;
  result = ReadLength(file_, &facts.length);
  if (result < 0) return result;
  result = VerifyHeader(header, got, WantedLength(header, facts.length), &facts.geometry);
  if (result < 0) return result;
  if (!IsPlausibleNext(facts.geometry, state.next)) return kDamagedState;
  facts.format = {std::string(MagicOf(header)), header.record_size, header.capacity};
  facts.layout_version = header.layout_version;
  facts.next = state.next;
  facts_ = facts;
  return kRecordFileOk;
}

std::uint64_t Snapshot::SlotEnd(std::uint64_t sequence) const {
  return SlotOffset(facts_.geometry, sequence) + facts_.geometry.slot_size;
}

RecordFileResult Snapshot::Read(std::uint64_t sequence, SnapshotRecord* record) {
  if (SlotEnd(sequence) > facts_.length) {
    *record = {.sequence = sequence,
               .fate = RecordFate::kMissing,
               .offset = SlotOffset(facts_.geometry, sequence)};
    return kRecordFileOk;
  }
  if (sequence < chunk_begin_ || sequence >= chunk_end_) {
    if (const RecordFileResult result = Load(sequence); result < 0) return result;
  }
  const std::uint64_t index = sequence - chunk_begin_;
  const RecordFate fate = Judge(chunk_, index, sequence);
  if (fate == RecordFate::kUnstable) return Settle(sequence, record);
  *record = fate == RecordFate::kWhole ? Taken(chunk_, index, sequence)
                                       : SnapshotRecord{.sequence = sequence, .fate = fate};
  return kRecordFileOk;
}

// Neighbours in sequence are neighbours in the file, up to the last slot.
RecordFileResult Snapshot::Load(std::uint64_t sequence) {
  const Geometry& geometry = facts_.geometry;
  const std::uint64_t offset = SlotOffset(geometry, sequence);
  const std::uint64_t to_last_slot =
      std::min(FileLength(geometry, geometry.slot_count), facts_.length) - offset;
  const std::uint64_t count =
      std::min({std::max<std::uint64_t>(1, kChunkBytes / geometry.slot_size), end() - sequence,
                to_last_slot / geometry.slot_size});
  chunk_begin_ = chunk_end_ = 0;
  const RecordFileResult result = ReadTwice(offset, count * geometry.slot_size, &chunk_);
  if (result < 0) return result;
  chunk_begin_ = sequence;
  chunk_end_ = sequence + count;
  return kRecordFileOk;
}

// The slot and the redo record take turns, as the redo word says.
RecordFileResult Snapshot::Settle(std::uint64_t sequence, SnapshotRecord* record) {
  const std::uint64_t slot = SlotOffset(facts_.geometry, sequence);
  RecordFate fate = RecordFate::kUnstable;
  std::uint64_t offset = slot;
  for (int attempt = 0; attempt < kAttempts && fate == RecordFate::kUnstable; ++attempt) {
    const RecordFileResult result = ReadTwice(offset, facts_.geometry.record_size, &single_);
    if (result < 0) return result;
    fate = Judge(single_, 0, sequence);
    offset = single_.after.redo == sequence + 1 ? kRedoRecordOffset : slot;
  }
  *record = {.sequence = sequence, .fate = fate, .offset = slot};
  if (fate == RecordFate::kWhole) *record = Taken(single_, 0, sequence);
  return kRecordFileOk;
}

RecordFileResult Snapshot::ReadTwice(std::uint64_t offset, std::uint64_t size,
                                     Reading* reading) const {
  reading->offset = offset;
  reading->first.resize(size);
  reading->second.resize(size);
  RecordFileResult result = ReadState(file_, &reading->before);
  if (result == kRecordFileOk) result = ReadExactly(file_, offset, reading->first.data(), size);
  if (result == kRecordFileOk) result = ReadState(file_, &reading->between);
  if (result == kRecordFileOk) result = ReadExactly(file_, offset, reading->second.data(), size);
  if (result == kRecordFileOk) result = ReadState(file_, &reading->after);
  return result;
}

RecordFate Snapshot::Judge(const Reading& reading, std::uint64_t index,
                           std::uint64_t sequence) const {
  const StateWords& after = reading.after;
  // The commit word only ever grows; anything else is not the work of a writer.
  if (after.next < facts_.next || after.next >= kMaxSequence) return RecordFate::kUnstable;
  const std::uint64_t capacity = facts_.geometry.capacity;
  if (capacity != 0 && after.next - sequence > capacity) return RecordFate::kGone;
  const std::uint64_t name = sequence + 1;
  const bool from_redo = reading.offset == kRedoRecordOffset;
  const bool trusted =
      from_redo ? reading.before.redo == name && reading.between.redo == name && after.redo == name
                : !EverNames(reading.before, reading.between, after, sequence);
  const std::uint64_t at = index * facts_.geometry.slot_size;
  const bool agree = std::memcmp(reading.first.data() + at, reading.second.data() + at,
                                 facts_.geometry.record_size) == 0;
  return trusted && agree ? RecordFate::kWhole : RecordFate::kUnstable;
}

SnapshotRecord Snapshot::Taken(const Reading& reading, std::uint64_t index,
                               std::uint64_t sequence) const {
  const std::uint64_t at = index * facts_.geometry.slot_size;
  return {.sequence = sequence,
          .fate = RecordFate::kWhole,
          .bytes = reading.second.data() + at,
          .offset = reading.offset + at};
}

}  // namespace packetdb::host
