#include "fuzz/journal_surgery.h"

#include <algorithm>

#include "host/record_file/frame.h"
#include "host/record_file/state.h"
#include "host/record_file/superblock.h"

namespace packetdb::fuzz {
namespace {

void SealFrame(const host::Geometry& geometry, std::uint64_t next, std::byte* frame) {
  if (host::IsNeverWritten(geometry, frame)) return;
  const std::uint64_t sequence = host::NearestSequence(next, host::LowSequenceOf(geometry, frame));
  host::FrameBuffer record = {};
  std::copy_n(frame, geometry.record_size, record.data());
  host::SealFrame(geometry, record.data(), sequence, frame);
}

}  // namespace

bool FindGeometry(const Bytes& file, host::Geometry* geometry) {
  for (const std::uint64_t offset : {host::kSuperblockAOffset, host::kSuperblockBOffset}) {
    const auto block = Get<host::Superblock>(file, offset);
    if (host::VerifySuperblock(block, host::kPageSize) != host::kRecordFileOk) continue;
    if (host::FitToLength(block, file.size(), geometry) == host::kRecordFileOk) return true;
  }
  return false;
}

void SetFormat(std::uint32_t record_size, std::uint64_t capacity, host::Superblock* block,
               Bytes* file) {
  block->signature = host::kSignature;
  block->layout_version = host::kLayoutVersion;
  block->byte_order_mark = host::kByteOrderMark;
  block->header_length = host::kCellsOffset;
  block->cell_size = host::kCellSize;
  block->record_size = record_size;
  block->frame_size = static_cast<std::uint32_t>(host::FrameSize(record_size));
  block->frames_per_cell = static_cast<std::uint32_t>(host::FramesPerCell(block->frame_size));
  block->flags = 0;
  block->capacity = capacity;
  block->slot_count = capacity == 0 ? 0 : host::SlotCount(capacity, block->frames_per_cell);
  block->file_length =
      capacity == 0 ? 0 : host::FileLength(block->slot_count, block->frames_per_cell);
  if (capacity != 0 && block->file_length <= kMaxFileLength) file->resize(block->file_length);
  if (file->size() < host::kCellsOffset) file->resize(host::kCellsOffset);
}

void SealFront(Bytes* file) {
  for (const std::uint64_t offset : {host::kSuperblockAOffset, host::kSuperblockBOffset}) {
    auto block = Get<host::Superblock>(*file, offset);
    block.checksum = host::ChecksumOf(block);
    Put(block, offset, file);
  }
  auto state = Get<host::StatePage>(*file, host::kStateOffset);
  state.checksum = host::ChecksumOf(state);
  Put(state, host::kStateOffset, file);
}

void SealFrames(const host::Geometry& geometry, Bytes* file) {
  const auto state = Get<host::StatePage>(*file, host::kStateOffset);
  auto* const bytes = reinterpret_cast<std::byte*>(file->data());
  for (std::uint64_t slot = 0; slot < geometry.slot_count; ++slot) {
    SealFrame(geometry, state.next, bytes + host::OffsetOfSlot(geometry, slot));
  }
  SealFrame(geometry, state.next, bytes + host::kRedoOffset);
}

}  // namespace packetdb::fuzz
