#include "host/record_file/ring.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "host/record_file/layout.h"

namespace packetdb::host {
namespace {

constexpr std::uint64_t kTicketMask = 0x7FFFFFFF;

StateWords* StateAt(std::byte* base) { return reinterpret_cast<StateWords*>(base + kStateOffset); }

// Stores a word of the state after everything stored before it and before everything stored after
// it. The release keeps earlier stores from sinking below it; the fence keeps the compiler from
// lifting later ones above it, which a release alone allows. The processor needs no more than that:
// a kill finds all stores of the instructions that have completed.
void StoreInOrder(std::uint64_t* word, std::uint64_t value) {
  std::atomic_ref<std::uint64_t>(*word).store(value, std::memory_order_release);
  std::atomic_signal_fence(std::memory_order_seq_cst);
}

}  // namespace

Ring::Ring(std::byte* base, const Geometry& geometry, std::uint64_t next)
    : base_(base), geometry_(geometry), next_(next) {}

void Ring::Rebase(std::byte* base, std::uint64_t slot_count) {
  base_ = base;
  geometry_.slot_count = slot_count;
}

bool Ring::HasRoom() const {
  return geometry_.capacity != 0 || next_ - geometry_.first_sequence < geometry_.slot_count;
}

int Ring::Count() const { return static_cast<int>(Live()); }

int Ring::Append(const void* record) {
  std::memcpy(Slot(next_), record, geometry_.record_size);
  StoreInOrder(&StateAt(base_)->next, next_ + 1);
  return static_cast<int>(next_++ & kTicketMask);
}

RecordFileResult Ring::Overwrite(int ticket, const void* record) {
  if (ticket < 0) return kBadTicket;
  // How many appends ago it was, exactly as long as the record lives: never more than 2^31 - 1.
  const std::uint64_t age = (next_ - static_cast<std::uint64_t>(ticket)) & kTicketMask;
  if (age == 0 || age > Live()) return kDeadTicket;
  const std::uint64_t sequence = next_ - age;
  Arm(sequence, record);
  std::memcpy(Slot(sequence), record, geometry_.record_size);
  Disarm();
  return kRecordFileOk;
}

RecordFileResult Ring::Read(int position, void* record) const {
  if (position < 0 || position >= Count()) return kBadPosition;
  const std::uint64_t sequence = next_ - Live() + static_cast<std::uint64_t>(position);
  std::memcpy(record, Slot(sequence), geometry_.record_size);
  return kRecordFileOk;
}

int Ring::ReadMany(int position, void* records, int count) const {
  if (position < 0 || position >= Count()) return kBadPosition;
  if (count <= 0) return kBadCount;
  const int reading = std::min(count, Count() - position);
  auto* out = static_cast<std::byte*>(records);
  for (int i = 0; i < reading; ++i, out += geometry_.record_size) Read(position + i, out);
  return reading;
}

void Ring::CopyRedoToSlot(std::uint64_t redo) {
  std::memcpy(Slot(redo - 1), base_ + kRedoRecordOffset, geometry_.record_size);
}

void Ring::Disarm() { StoreInOrder(&StateAt(base_)->redo, kNoRedo); }

std::uint64_t Ring::SlotOffset(std::uint64_t sequence) const {
  // Without a bound slots are never used twice, but the first sequence number need not be 0.
  const std::uint64_t slot = geometry_.capacity == 0 ? sequence - geometry_.first_sequence
                                                     : sequence % geometry_.slot_count;
  return geometry_.slots_offset + slot * geometry_.slot_size;
}

void Ring::Arm(std::uint64_t sequence, const void* record) {
  std::memcpy(base_ + kRedoRecordOffset, record, geometry_.record_size);
  StoreInOrder(&StateAt(base_)->redo, sequence + 1);
}

}  // namespace packetdb::host
