#include "host/record_file/clear_torn.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "host/record_file/frame.h"
#include "host/record_file/slot_content.h"

namespace packetdb::host {
namespace {

RecordFileResult ClearWhenTorn(Medium& medium, const Geometry& geometry, std::uint64_t sequence) {
  const std::uint64_t offset = OffsetOf(geometry, sequence);
  FrameBuffer frame;
  const RecordFileResult result = medium.Read(offset, frame.data(), geometry.frame_size);
  if (result < 0) return result;
  const SlotContent content = ContentOf(geometry, sequence, frame.data());
  if (content == SlotContent::kNothing || content == SlotContent::kOlder) return result;
  constexpr std::array<std::byte, kCellSize> kZeros = {};
  return medium.Write(offset, kZeros.data(), geometry.frame_size);
}

// Behind the number whose append would have been the next. After the death of a process nothing
// else can be torn; after that of the machine, whatever was not flushed.
std::uint64_t EndOfTorn(const Geometry& geometry, const Recovered& recovered) {
  const std::uint64_t end = geometry.capacity == 0
                                ? geometry.first_sequence + geometry.slot_count
                                : LiveWindow(geometry, recovered.next).begin + geometry.slot_count;
  return recovered.searched ? end : std::min(end, recovered.next + 1);
}

}  // namespace

RecordFileResult ClearTornSlots(Medium& medium, const Geometry& geometry,
                                const Recovered& recovered, std::uint64_t synced) {
  const std::uint64_t end = EndOfTorn(geometry, recovered);
  for (std::uint64_t sequence = recovered.next; sequence < end; ++sequence) {
    const RecordFileResult result = ClearWhenTorn(medium, geometry, sequence);
    if (result < 0) return result;
  }
  for (const std::uint64_t hole : recovered.holes) {
    if (hole < synced) continue;
    const RecordFileResult result = ClearWhenTorn(medium, geometry, hole);
    if (result < 0) return result;
  }
  return kRecordFileOk;
}

}  // namespace packetdb::host
