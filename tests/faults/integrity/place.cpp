#include "tests/faults/integrity/place.h"

#include <stdexcept>

#include "host/record_file/inspect.h"
#include "host/record_file/open.h"

namespace packetdb::faults {
namespace {

std::optional<std::uint64_t> LiveIn(const host::Geometry& geometry, const host::Window& live,
                                    std::uint64_t slot) {
  if (live.size() == 0) return std::nullopt;
  const std::uint64_t first = host::SlotOf(geometry, live.begin);
  const std::uint64_t ahead = slot >= first ? slot - first : slot + geometry.slot_count - first;
  if (ahead >= live.size()) return std::nullopt;
  return live.begin + ahead;
}

}  // namespace

Place PlaceOf(const host::Geometry& geometry, const host::Window& live, std::uint64_t offset) {
  if (offset < host::kStateOffset) return {Part::kSuperblocks, std::nullopt};
  if (offset < host::kCellsOffset) return {Part::kState, std::nullopt};
  const std::uint64_t cell = (offset - host::kCellsOffset) / host::kCellSize;
  const std::uint64_t within = offset % host::kCellSize;
  const std::uint64_t frame = within / geometry.frame_size;
  const std::uint64_t byte = within % geometry.frame_size;
  const bool is_between =
      byte >= geometry.record_size && byte < geometry.frame_size - host::kFrameTailSize;
  if (frame >= geometry.frames_per_cell || is_between) return {Part::kPadding, std::nullopt};
  return {Part::kFrame, LiveIn(geometry, live, cell * geometry.frames_per_cell + frame)};
}

host::Geometry GeometryOf(const std::string& path) {
  host::Descriptor file;
  host::FileFacts facts;
  host::RecordFileResult result = host::OpenUnlocked(path, host::Access::kRead, &file);
  if (result == host::kRecordFileOk) result = host::Inspect(file, &facts);
  if (result < 0) throw std::runtime_error(path + ": result " + std::to_string(result));
  return facts.geometry;
}

}  // namespace packetdb::faults
