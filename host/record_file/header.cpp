#include "host/record_file/header.h"

#include <algorithm>
#include <boost/crc.hpp>
#include <chrono>

namespace packetdb::host {
namespace {

using Crc32c = boost::crc_optimal<32, 0x1EDC6F41, 0xFFFFFFFF, 0xFFFFFFFF, true, true>;

// A few system calls per megabyte of records.
constexpr std::uint64_t kGrowthBytes = 1U << 20U;

std::uint64_t UnixNanoseconds() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

// Signature, checksum, version: is this a page that we may interpret?
RecordFileResult VerifyPage(const HeaderPage& header, std::uint64_t got) {
  if (got == 0) return kEmptyFile;
  if (got < kSignature.size() || header.signature != kSignature) return kNotARecordFile;
  if (got < kPageSize) return kTruncatedFile;
  if (header.byte_order_mark == kSwappedByteOrderMark) return kOtherByteOrder;
  if (header.checksum != HeaderChecksum(header)) return kDamagedHeader;
  if (header.layout_version != kLayoutVersion || header.flags != 0) return kUnsupportedLayout;
  return kRecordFileOk;
}

bool IsPaddedWithNuls(const std::array<char, kMagicSize>& magic) {
  const auto* const end = std::find(magic.begin(), magic.end(), '\0');
  return end != magic.end() && std::all_of(end, magic.end(), [](char c) { return c == '\0'; });
}

bool HasSaneNumbers(const HeaderPage& header) {
  const std::uint64_t slots = header.capacity == 0 ? 0 : header.capacity + kSpareSlots;
  return header.byte_order_mark == kByteOrderMark && header.header_length == kPageSize &&
         header.record_size >= 1 && header.record_size <= kMaxRecordSize &&
         header.slot_size == SlotSize(header.record_size) && header.capacity <= kMaxRecords &&
         header.slot_count == slots && header.slots_offset == SlotsOffset(header.slot_size) &&
         header.first_sequence < kMaxSequence && IsPaddedWithNuls(header.magic);
}

Geometry GeometryOf(const HeaderPage& header) {
  return {.record_size = header.record_size,
          .slot_size = header.slot_size,
          .capacity = header.capacity,
          .slot_count = header.slot_count,
          .slots_offset = header.slots_offset,
          .first_sequence = header.first_sequence};
}

// An unbounded file has the slots that fit into it: a kill while it grows leaves any length.
RecordFileResult FitToLength(std::uint64_t file_length, Geometry* geometry) {
  if (file_length < geometry->slots_offset) return kTruncatedFile;
  if (geometry->capacity == 0) {
    const std::uint64_t fitting = (file_length - geometry->slots_offset) / geometry->slot_size;
    geometry->slot_count = std::min(fitting, kMaxRecords);
    return kRecordFileOk;
  }
  const std::uint64_t wanted = FileLength(*geometry, geometry->slot_count);
  if (file_length < wanted) return kTruncatedFile;
  return file_length > wanted ? kOverlongFile : kRecordFileOk;
}

}  // namespace

HeaderPage MakeHeader(const RecordFormat& format) {
  HeaderPage header = {};
  header.signature = kSignature;
  header.layout_version = kLayoutVersion;
  header.byte_order_mark = kByteOrderMark;
  header.header_length = kPageSize;
  header.record_size = static_cast<std::uint32_t>(format.record_size);
  header.slot_size = static_cast<std::uint32_t>(SlotSize(format.record_size));
  header.capacity = format.capacity;
  header.slot_count = format.capacity == 0 ? 0 : format.capacity + kSpareSlots;
  header.slots_offset = SlotsOffset(header.slot_size);
  header.created_ns = UnixNanoseconds();
  std::copy_n(format.magic.begin(), std::min(format.magic.size(), kMagicSize - 1),
              header.magic.begin());
  header.checksum = HeaderChecksum(header);
  return header;
}

std::uint32_t HeaderChecksum(const HeaderPage& header) {
  Crc32c crc;
  crc.process_bytes(&header, kChecksumOffset);
  return crc.checksum();
}

std::string_view MagicOf(const HeaderPage& header) {
  const auto* const end = std::find(header.magic.begin(), header.magic.end(), '\0');
  return {header.magic.data(), static_cast<std::size_t>(end - header.magic.begin())};
}

std::uint64_t FileLength(const Geometry& geometry, std::uint64_t slots) {
  return geometry.slots_offset + slots * geometry.slot_size;
}

std::uint64_t GrowthSlots(std::uint64_t slot_size) {
  return std::max<std::uint64_t>(1, kGrowthBytes / slot_size);
}

RecordFileResult VerifyHeader(const HeaderPage& header, std::uint64_t got,
                              std::uint64_t file_length, Geometry* geometry) {
  if (const RecordFileResult result = VerifyPage(header, got); result < 0) return result;
  if (!HasSaneNumbers(header)) return kAbsurdHeader;
  Geometry fitted = GeometryOf(header);
  const RecordFileResult result = FitToLength(file_length, &fitted);
  if (result == kRecordFileOk) *geometry = fitted;
  return result;
}

std::uint64_t LiveRecords(const Geometry& geometry, std::uint64_t next) {
  const std::uint64_t appended = next - geometry.first_sequence;
  return geometry.capacity == 0 ? appended : std::min(appended, geometry.capacity);
}

bool IsPlausibleNext(const Geometry& geometry, std::uint64_t next) {
  if (next < geometry.first_sequence || next >= kMaxSequence) return false;
  return geometry.capacity != 0 || next - geometry.first_sequence <= geometry.slot_count;
}

bool IsPlausibleRedo(const Geometry& geometry, std::uint64_t next, std::uint64_t redo) {
  if (redo == kNoRedo) return true;
  const std::uint64_t sequence = redo - 1;
  return sequence < next && next - sequence <= LiveRecords(geometry, next);
}

}  // namespace packetdb::host
