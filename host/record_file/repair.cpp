#include "host/record_file/repair.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace packetdb::host {
namespace {

// Bytes of the state page.
RecordFileResult Clear(std::uint64_t begin, std::uint64_t end, Medium& medium) {
  constexpr std::array<std::byte, kPageSize> kZeros = {};
  return medium.Write(kStateOffset + begin, kZeros.data(), end - begin);
}

}  // namespace

// The intact one's bytes do not change, so that one of them is whole at any time.
RecordFileResult RestoreSuperblocks(const Superblock& intact, Medium& medium) {
  const RecordFileResult result = medium.Write(kSuperblockBOffset, &intact, sizeof intact);
  Medium::Fence();
  return result < 0 ? result : medium.Write(kSuperblockAOffset, &intact, sizeof intact);
}

RecordFileResult ClearUnused(const Geometry& geometry, const Recovered& recovered, StatePage* state,
                             Medium& medium) {
  state->writer_padding = {};
  state->sync_padding = {};
  state->reserved_word = 0;
  state->reserved_sector = {};
  state->reserved = {};
  RecordFileResult result =
      Clear(offsetof(StatePage, writer_padding), offsetof(StatePage, synced), medium);
  if (result == kRecordFileOk) {
    result = Clear(offsetof(StatePage, sync_padding), offsetof(StatePage, state), medium);
  }
  constexpr std::uint64_t kRedo = offsetof(StatePage, redo);
  if (result == kRecordFileOk) {
    result = Clear(offsetof(StatePage, reserved_sector), kRedo, medium);
  }
  if (result < 0) return result;
  return Clear(recovered.is_redo_torn ? kRedo : kRedo + geometry.frame_size, kChecksumOffset,
               medium);
}

RecordFileResult RewriteCells(const Geometry& geometry, Medium& medium) {
  std::vector<std::byte> piece(std::uint64_t{1} << 20U);
  const std::uint64_t end = FileLength(geometry);
  for (std::uint64_t begin = kCellsOffset; begin < end; begin += piece.size()) {
    const std::uint64_t size = std::min<std::uint64_t>(piece.size(), end - begin);
    RecordFileResult result = medium.Read(begin, piece.data(), size);
    if (result == kRecordFileOk) result = medium.Write(begin, piece.data(), size);
    if (result < 0) return result;
  }
  return kRecordFileOk;
}

}  // namespace packetdb::host
