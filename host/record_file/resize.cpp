#include "host/record_file/resize.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "host/record_file/create.h"
#include "host/record_file/frame.h"
#include "host/record_file/medium.h"
#include "host/record_file/state.h"
#include "host/record_file/superblock.h"

namespace packetdb::host {
namespace {

// Whole cells are written, many at a time: the new file is not in use yet, and is flushed at the
// end.
class CellWriter {
 public:
  CellWriter(Medium& medium, const Geometry& geometry)
      : medium_(medium), geometry_(geometry), piece_(kPieceBytes) {}

  RecordFileResult Add(std::uint64_t sequence, const void* record) {
    const std::uint64_t offset = OffsetOf(geometry_, sequence);
    if (offset < begin_ || offset + geometry_.frame_size > begin_ + piece_.size()) {
      if (const RecordFileResult result = Flush(); result < 0) return result;
      begin_ = offset / kCellSize * kCellSize;
    }
    SealFrame(geometry_, record, sequence, piece_.data() + (offset - begin_));
    used_ = std::max(used_, offset - begin_ + geometry_.frame_size);
    return kRecordFileOk;
  }

  // Between its frames, a piece is zeros, as the new file is.
  RecordFileResult Flush() {
    const RecordFileResult result = medium_.Write(begin_, piece_.data(), used_);
    std::fill_n(piece_.begin(), used_, std::byte{0});
    used_ = 0;
    return result;
  }

 private:
  static constexpr std::uint64_t kPieceBytes = 1U << 18U;

  Medium& medium_;
  const Geometry& geometry_;
  std::vector<std::byte> piece_;
  std::uint64_t begin_ = kCellsOffset;
  std::uint64_t used_ = 0;
};

RecordFileResult CopyRecords(const Inheritance& from, const Geometry& geometry, Medium& medium) {
  CellWriter writer(medium, geometry);
  FrameBuffer record;
  for (std::uint64_t i = 0; i < from.count; ++i) {
    RecordFileResult result = from.read(i, record.data());
    if (result == kRecordFileOk) result = writer.Add(geometry.first_sequence + i, record.data());
    if (result < 0) return result;
  }
  return writer.Flush();
}

StatePage InheritedState(const Inheritance& from) {
  StatePage state = MakeState(from.next, from.state.overwritten_before);
  state.generation = from.state.generation;
  state.damaged = from.state.damaged;
  state.lost_unsynced = from.state.lost_unsynced;
  // The file is flushed whole before it gets its name.
  state.merges = from.state.merges;
  state.merges_synced = from.state.merges;
  state.checksum = ChecksumOf(state);
  return state;
}

// Who could read and write the old file can read and write the new one, or it is not made.
RecordFileResult TakeOverAccess(const Descriptor& old_file, const Descriptor& file) {
  struct stat old_status = {};
  struct stat status = {};
  if (fstat(old_file.get(), &old_status) != 0 || fstat(file.get(), &status) != 0) {
    return ResultFromErrno(errno);
  }
  const bool is_same = status.st_uid == old_status.st_uid && status.st_gid == old_status.st_gid;
  if (!is_same && fchown(file.get(), old_status.st_uid, old_status.st_gid) != 0) {
    return ResultFromErrno(errno);
  }
  constexpr mode_t kPermissions = 07777;
  return fchmod(file.get(), old_status.st_mode & kPermissions) == 0 ? kRecordFileOk
                                                                    : ResultFromErrno(errno);
}

RecordFileResult Fill(const Inheritance& from, const Creation& creation) {
  Geometry geometry;
  // Made with this length a moment ago.
  static_cast<void>(
      FitToLength(creation.superblock(), InitialLength(creation.superblock()), &geometry));
  Medium medium = Medium::ByCalls(creation.file());
  const RecordFileResult result = CopyRecords(from, geometry, medium);
  const StatePage state = InheritedState(from);
  return result < 0 ? result : medium.Write(kStateOffset, &state, sizeof state);
}

}  // namespace

RecordFileResult BuildResized(const std::string& path, const RecordFormat& format,
                              const Inheritance& from, Descriptor* file) {
  Creation creation(path);
  RecordFileResult result = creation.Begin(format, from.next - from.count);
  if (result < 0) return result;
  result = Fill(from, creation);
  if (result == kRecordFileOk) result = TakeOverAccess(*from.file, creation.file());
  return result < 0 ? result : creation.Publish(Predecessor::kLocked, file);
}

}  // namespace packetdb::host
