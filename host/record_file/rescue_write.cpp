#include "host/record_file/rescue_write.h"

#include "host/record_file/create.h"
#include "host/record_file/frame.h"
#include "host/record_file/medium.h"
#include "host/record_file/state.h"
#include "host/record_file/superblock.h"

namespace packetdb::host {
namespace {

// A file without a bound begins with room for what it is given.
RecordFileResult MakeRoom(const Creation& creation, std::uint64_t count, Geometry* geometry) {
  const std::uint64_t length = InitialLength(creation.superblock());
  const RecordFileResult result = FitToLength(creation.superblock(), length, geometry);
  if (result < 0 || geometry->slot_count >= count) return result;
  geometry->slot_count = RoundUp(count, geometry->frames_per_cell);
  return AllocateSpace(creation.file(), length, FileLength(*geometry) - length);
}

RecordFileResult CopyRecords(const RescueSource& source, const FrameKey& key,
                             const std::vector<FoundRecord>& records, const Geometry& geometry,
                             Medium& medium, std::uint64_t* written) {
  FrameBuffer frame;
  FrameBuffer sealed;
  for (const FoundRecord& record : records) {
    const bool is_whole = source.Read(record.offset, frame.data(), key.geometry.frame_size) &&
                          IsFrameOf(key.geometry, record.number, frame.data());
    if (!is_whole) continue;
    const std::uint64_t number = geometry.first_sequence + *written;
    SealFrame(geometry, frame.data(), number, sealed.data());
    const RecordFileResult result =
        medium.Write(OffsetOf(geometry, number), sealed.data(), geometry.frame_size);
    if (result < 0) return result;
    ++*written;
  }
  return medium.IsLost() ? kFileLost : kRecordFileOk;
}

}  // namespace

RecordFileResult WriteRescued(const RescueSource& source, const FrameKey& key,
                              const RecordFormat& format, const std::vector<FoundRecord>& records,
                              const std::string& path, std::uint64_t* written) {
  Creation creation(path);
  RecordFileResult result = creation.Begin(format, records.back().number + 1 - records.size());
  Geometry geometry;
  Medium medium;
  *written = 0;
  if (result == kRecordFileOk) result = MakeRoom(creation, records.size(), &geometry);
  if (result == kRecordFileOk) {
    result = medium.Open(creation.file(), 0, FileLength(geometry), Access::kWrite,
                         BestWay(creation.file()));
  }
  if (result == kRecordFileOk) {
    result = CopyRecords(source, key, records, geometry, medium, written);
  }
  const StatePage state = MakeState(geometry.first_sequence + *written, 0);
  if (result == kRecordFileOk) result = medium.Write(kStateOffset, &state, sizeof state);
  if (result < 0 || *written == 0) return result;
  Descriptor published;
  return creation.Publish(Predecessor::kNone, &published);
}

}  // namespace packetdb::host
