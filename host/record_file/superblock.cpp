#include "host/record_file/superblock.h"

#include <algorithm>
#include <cstring>
#include <random>

#include "host/record_file/crc32c.h"
#include "host/record_file/unix_time.h"

namespace packetdb::host {
namespace {

std::array<std::uint8_t, kFileIdSize> DrawFileId() {
  std::random_device device;
  std::array<std::uint8_t, kFileIdSize> id = {};
  for (std::uint8_t& byte : id) byte = static_cast<std::uint8_t>(device());
  return id;
}

std::uint64_t SlotsFor(const RecordFormat& format, std::uint64_t frames_per_cell) {
  return format.capacity == 0 ? 0 : SlotCount(format.capacity, frames_per_cell);
}

bool IsPaddedWithNuls(const std::array<char, kMagicSize>& magic) {
  const auto* const end = std::find(magic.begin(), magic.end(), '\0');
  return end != magic.end() && std::all_of(end, magic.end(), [](char c) { return c == '\0'; });
}

// Sizes come first: everything else is computed from them.
bool HasSaneSizes(const Superblock& block) {
  return block.byte_order_mark == kByteOrderMark && block.header_length == kCellsOffset &&
         block.cell_size == kCellSize && block.record_size >= 1 &&
         block.record_size <= kMaxRecordSize && block.frame_size == FrameSize(block.record_size) &&
         block.frames_per_cell == FramesPerCell(block.frame_size);
}

bool HasSaneNumbers(const Superblock& block) {
  if (!HasSaneSizes(block) || block.capacity > kMaxRecords) return false;
  const std::uint64_t slots =
      SlotsFor({.magic = {}, .record_size = 0, .capacity = block.capacity}, block.frames_per_cell);
  const std::uint64_t length = slots == 0 ? 0 : FileLength(slots, block.frames_per_cell);
  return block.slot_count == slots && block.file_length == length &&
         block.first_sequence < kMaxSequence && IsPaddedWithNuls(block.magic);
}

}  // namespace

Superblock MakeSuperblock(const RecordFormat& format, std::uint64_t first_sequence) {
  Superblock block = {};
  block.signature = kSignature;
  block.layout_version = kLayoutVersion;
  block.byte_order_mark = kByteOrderMark;
  block.header_length = kCellsOffset;
  block.cell_size = kCellSize;
  block.record_size = static_cast<std::uint32_t>(format.record_size);
  block.frame_size = static_cast<std::uint32_t>(FrameSize(format.record_size));
  block.frames_per_cell = static_cast<std::uint32_t>(FramesPerCell(block.frame_size));
  block.capacity = format.capacity;
  block.slot_count = SlotsFor(format, block.frames_per_cell);
  block.file_length =
      block.slot_count == 0 ? 0 : FileLength(block.slot_count, block.frames_per_cell);
  block.file_id = DrawFileId();
  block.created_ns = UnixNanoseconds();
  block.first_sequence = first_sequence;
  std::copy_n(format.magic.begin(), std::min<std::size_t>(format.magic.size(), kMagicSize - 1),
              block.magic.begin());
  block.checksum = ChecksumOf(block);
  return block;
}

std::uint32_t ChecksumOf(const Superblock& block) { return Crc32c(&block, kChecksumOffset); }

std::string_view MagicOf(const Superblock& block) {
  const auto* const end = std::find(block.magic.begin(), block.magic.end(), '\0');
  return {block.magic.data(), static_cast<std::size_t>(end - block.magic.begin())};
}

RecordFormat FormatOf(const Superblock& block) {
  return {.magic = std::string(MagicOf(block)),
          .record_size = block.record_size,
          .capacity = block.capacity};
}

std::uint64_t InitialLength(const Superblock& block) {
  return block.file_length != 0
             ? block.file_length
             : FileLength(GrowthSlots(block.frames_per_cell), block.frames_per_cell);
}

RecordFileResult VerifySuperblock(const Superblock& block, std::uint64_t got) {
  if (got == 0) return kEmptyFile;
  if (got < kSignature.size() || block.signature != kSignature) return kNotARecordFile;
  if (got < kPageSize) return kTruncatedFile;
  if (block.byte_order_mark == kSwappedByteOrderMark) return kOtherByteOrder;
  if (block.checksum != ChecksumOf(block)) return kDamagedHeader;
  if (block.layout_version != kLayoutVersion || block.flags != 0) return kUnsupportedLayout;
  return HasSaneNumbers(block) ? kRecordFileOk : kAbsurdHeader;
}

// A file without a bound has the slots that fit into it: a kill while it grows leaves any length.
RecordFileResult FitToLength(const Superblock& block, std::uint64_t file_length,
                             Geometry* geometry) {
  if (file_length < std::max<std::uint64_t>(block.file_length, kCellsOffset)) return kTruncatedFile;
  if (block.file_length != 0 && file_length > block.file_length) return kOverlongFile;
  const std::uint64_t fitting = (file_length - kCellsOffset) / kCellSize * block.frames_per_cell;
  std::uint32_t seed = 0;
  std::memcpy(&seed, block.file_id.data(), sizeof seed);
  *geometry = {
      .record_size = block.record_size,
      .frame_size = block.frame_size,
      .frames_per_cell = block.frames_per_cell,
      .seed = seed,
      .capacity = block.capacity,
      .slot_count = block.capacity == 0 ? std::min(fitting, kMaxRecords) : block.slot_count,
      .first_sequence = block.first_sequence};
  return kRecordFileOk;
}

}  // namespace packetdb::host
