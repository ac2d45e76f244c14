#include "host/record_file/open_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <syslog.h>
#include <utility>

#include "host/record_file/create.h"
#include "host/record_file/layout.h"
#include "platform/log.h"

namespace packetdb::host {
namespace {

// How often we follow a name that other processes keep giving to new files.
constexpr int kAttempts = 16;

RecordFileResult Create(const OpenRequest& request, Predecessor predecessor, Descriptor* file) {
  if (request.asks_for_none) return kBadCapacity;
  return CreateRecordFile(request.path, request.format, predecessor, file);
}

// The lock on a file that is to be replaced is held until the new one is in its place.
RecordFileResult OpenOrCreateOnce(const OpenRequest& request, Descriptor* file) {
  Descriptor existing;
  const RecordFileResult result = OpenLocked(request.path, request.access, &existing);
  if (result == kMissing && (request.create_anew || request.create_missing)) {
    return Create(request, Predecessor::kNone, file);
  }
  if (result < 0) return result;
  if (request.create_anew) return Create(request, Predecessor::kLocked, file);
  *file = std::move(existing);
  return kRecordFileOk;
}

RecordFileResult OpenOrCreate(const OpenRequest& request, Descriptor* file) {
  RecordFileResult result = kUnsettled;
  for (int i = 0; i < kAttempts && result == kUnsettled; ++i) {
    result = OpenOrCreateOnce(request, file);
  }
  return result;
}

RecordFileResult Compare(const FileFacts& facts, const OpenRequest& request) {
  if (facts.format.magic != request.format.magic) return kOtherFormat;
  if (facts.format.record_size != request.format.record_size) return kOtherFormat;
  if (request.access == Access::kRead) return kRecordFileOk;
  const bool same = facts.format.capacity == request.format.capacity && !request.asks_for_none;
  return same ? kRecordFileOk : kOtherCapacity;
}

// Without a caller to tell: closing has no result.
void FlushOrReport(const Descriptor& file, const std::string& path) {
  if (fdatasync(file.get()) == 0) return;
  const std::string text =
      path + ": the last records may not be on the disk: " + std::strerror(errno);
  slput(LOG_ERR, text.c_str());
}

}  // namespace

OpenFile::~OpenFile() {
  if (!file_.IsOpen()) return;
  if (access_ == Access::kWrite) FlushOrReport(file_, path_);
  Unlock(file_);
}

RecordFileResult OpenFile::Open(const OpenRequest& request) {
  Descriptor file;
  const RecordFileResult result = OpenOrCreate(request, &file);
  return result < 0 ? result : Attach(std::move(file), request);
}

RecordFileResult OpenFile::Attach(Descriptor file, const OpenRequest& request) {
  FileFacts facts;
  RecordFileResult result = Inspect(file, &facts);
  if (result < 0) return result;
  if (!IsPlausibleRedo(facts.geometry, facts.next, facts.redo)) return kDamagedState;
  result = Compare(facts, request);
  if (result < 0) return result;
  result = mapping_.Map(file, facts.length, request.access);
  if (result < 0) return result;
  ring_ = Ring(mapping_.data(), facts.geometry, facts.next);
  access_ = request.access;
  result = Recover(facts);
  if (result < 0) return result;
  path_ = request.path;
  file_ = std::move(file);
  return kRecordFileOk;
}

RecordFileResult OpenFile::Recover(const FileFacts& facts) {
  if (facts.redo == kNoRedo) return kRecordFileOk;
  if (access_ == Access::kWrite) {
    ring_.CopyRedoToSlot(facts.redo);
    ring_.Disarm();
    return kRecordFileOk;
  }
  const std::uint64_t offset = ring_.SlotOffset(facts.redo - 1);
  const RecordFileResult result = mapping_.AllowPrivateChanges(offset, facts.geometry.record_size);
  if (result == kRecordFileOk) ring_.CopyRedoToSlot(facts.redo);
  return result;
}

int OpenFile::Append(const void* record) {
  if (access_ != Access::kWrite) return kReadOnlyFile;
  if (!ring_.HasRoom()) {
    if (const RecordFileResult result = MakeRoom(); result < 0) return result;
  }
  return ring_.Append(record);
}

int OpenFile::Overwrite(int ticket, const void* record) {
  if (access_ != Access::kWrite) return kReadOnlyFile;
  return ring_.Overwrite(ticket, record);
}

RecordFileResult OpenFile::MakeRoom() {
  const Geometry& geometry = ring_.geometry();
  if (geometry.slot_count >= kMaxRecords) return kTooManyRecords;
  const std::uint64_t slots =
      std::min(geometry.slot_count + GrowthSlots(geometry.slot_size), kMaxRecords);
  const std::uint64_t now = FileLength(geometry, geometry.slot_count);
  const std::uint64_t length = FileLength(geometry, slots);
  RecordFileResult result = AllocateSpace(file_, now, length - now);
  if (result < 0) return result;
  result = mapping_.Grow(length);
  if (result == kRecordFileOk) ring_.Rebase(mapping_.data(), slots);
  return result;
}

}  // namespace packetdb::host
