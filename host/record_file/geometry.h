// Where everything is in one record file, and which records of it count.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "host/record_file/layout.h"

namespace packetdb::host {

// What a caller asks for and what a file is: its magic, record size and number of records kept.
struct RecordFormat {
  std::string magic;
  std::uint64_t record_size = 0;
  std::uint64_t capacity = 0;  // 0: no bound
};

// Numbers that have been checked against each other and against the length of the file.
struct Geometry {
  std::uint32_t record_size = 0;
  std::uint32_t frame_size = 0;
  std::uint32_t frames_per_cell = 1;
  std::uint32_t seed = 0;      // what every frame's checksum starts from
  std::uint64_t capacity = 0;  // 0: no bound
  std::uint64_t slot_count = 0;
  std::uint64_t first_sequence = 0;
};

// Sequence numbers of the oldest record that counts and of the one behind the newest.
struct Window {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;

  std::uint64_t size() const { return end - begin; }
  bool Contains(std::uint64_t sequence) const { return sequence >= begin && sequence < end; }
};

// The records that count when the next append gets the number `next`, which is plausible.
inline Window LiveWindow(const Geometry& geometry, std::uint64_t next) {
  const std::uint64_t appended = next - geometry.first_sequence;
  const std::uint64_t live =
      geometry.capacity == 0 ? appended : std::min(appended, geometry.capacity);
  return {next - live, next};
}

// A commit word that a writer can have left in this file.
inline bool IsPlausibleNext(const Geometry& geometry, std::uint64_t next) {
  if (next < geometry.first_sequence || next >= kMaxSequence) return false;
  return geometry.capacity != 0 || next - geometry.first_sequence <= geometry.slot_count;
}

inline std::uint64_t SlotOf(const Geometry& geometry, std::uint64_t sequence) {
  // Without a bound slots are never used twice, but the first sequence number need not be 0.
  if (geometry.capacity == 0) return sequence - geometry.first_sequence;
  if (geometry.slot_count == 0) __builtin_unreachable();  // a file with a bound has slots
  return sequence % geometry.slot_count;
}

// Offset of a slot's frame in the file. Slot numbers fit 32 bits, whose division is the fast one.
inline std::uint64_t OffsetOfSlot(const Geometry& geometry, std::uint64_t slot) {
  const auto narrow = static_cast<std::uint32_t>(slot);
  const std::uint64_t cell = narrow / geometry.frames_per_cell;
  const std::uint64_t frame = narrow % geometry.frames_per_cell;
  return kCellsOffset + cell * kCellSize + frame * geometry.frame_size;
}

inline std::uint64_t OffsetOf(const Geometry& geometry, std::uint64_t sequence) {
  return OffsetOfSlot(geometry, SlotOf(geometry, sequence));
}

inline std::uint64_t FileLength(const Geometry& geometry) {
  return FileLength(geometry.slot_count, geometry.frames_per_cell);
}

// Slots by which a file without a bound grows: whole pages, about a megabyte of them.
inline std::uint64_t GrowthSlots(std::uint64_t frames_per_cell) {
  constexpr std::uint64_t kGrowthBytes = 1U << 20U;
  return kGrowthBytes / kCellSize * frames_per_cell;
}

}  // namespace packetdb::host
