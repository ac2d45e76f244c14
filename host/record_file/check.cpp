#include "host/record_file/check.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <fcntl.h>

#include "host/record_file/check_header.h"
#include "host/record_file/check_slots.h"
#include "host/record_file/layout.h"
#include "host/record_file/snapshot_read.h"

namespace packetdb::host {
namespace {

// A look at the two words is not one moment; see Snapshot.
constexpr int kLooks = 64;

constexpr std::uint64_t kNextPosition = kStateOffset + offsetof(StateWords, next);
constexpr std::uint64_t kRedoPosition = kStateOffset + offsetof(StateWords, redo);

// A file without a bound has the slots that fit into it, by now.
Geometry Fitted(Geometry geometry, std::uint64_t length) {
  if (geometry.capacity == 0 && length >= geometry.slots_offset) {
    geometry.slot_count =
        std::min((length - geometry.slots_offset) / geometry.slot_size, kMaxRecords);
  }
  return geometry;
}

RecordFileResult LookAtState(const Descriptor& file, Geometry* geometry, StateWords* state) {
  for (int look = 0; look < kLooks; ++look) {
    RecordFileResult result = ReadState(file, state);
    if (result < 0) return result;
    std::uint64_t length = 0;
    result = ReadLength(file, &length);  // after the commit word, which a file outgrows first
    if (result < 0) return result;
    *geometry = Fitted(*geometry, length);
    if (IsPlausibleNext(*geometry, state->next) &&
        IsPlausibleRedo(*geometry, state->next, state->redo)) {
      break;
    }
  }
  return kRecordFileOk;
}

RecordFileResult NotePendingRedo(const Descriptor& file, std::uint64_t redo,
                                 const FindingSink& sink) {
  bool writer = false;
  const RecordFileResult result = FindWriter(file, &writer);
  if (result == kRecordFileOk && !writer) {
    sink({kRedoPosition, Severity::kNote, kFindRedoPending,
          "a writer ended while it overwrote record " + std::to_string(redo - 1) +
              "; the next writer completes that, and readers see it complete already"});
  }
  return result;
}

// Everything behind a header whose numbers are sane. The file may end anywhere.
RecordFileResult CheckContents(const Descriptor& file, Geometry geometry, const FindingSink& sink) {
  StateWords state = {};
  RecordFileResult result = LookAtState(file, &geometry, &state);
  if (result == kTruncatedFile) return kRecordFileOk;  // which the header's check has reported
  if (result < 0) return result;
  const bool has_next = IsPlausibleNext(geometry, state.next);
  if (!has_next) {
    sink({kNextPosition, Severity::kDamage, kFindCommitWord,
          "the commit word is " + std::to_string(state.next) + ", which no writer leaves here"});
  }
  result = CheckStatePadding(file, geometry, sink);
  // Which record the redo word may name and which slots are in use, the commit word tells.
  if (result < 0 || !has_next) return result;
  if (!IsPlausibleRedo(geometry, state.next, state.redo)) {
    sink({kRedoPosition, Severity::kDamage, kFindRedoWord,
          "the redo word names record " + std::to_string(state.redo - 1) +
              ", which does not exist"});
  } else if (state.redo != kNoRedo) {
    result = NotePendingRedo(file, state.redo, sink);
    if (result < 0) return result;
  }
  return CheckSlots(file, geometry, state.next, sink);
}

}  // namespace

RecordFileResult CheckRecordFile(const Descriptor& file, const FindingSink& sink) {
  HeaderPage header = {};
  std::uint64_t got = 0;
  RecordFileResult result = ReadUpTo(file, 0, &header, sizeof header, &got);
  if (result < 0) return result;
  result = RecogniseHeader(header, got);
  if (result < 0) return result;
  std::uint64_t length = 0;
  result = ReadLength(file, &length);
  if (result < 0) return result;
  Geometry geometry;
  if (!CheckHeader(header, got, length, sink, &geometry)) return kRecordFileOk;
  return CheckContents(file, geometry, sink);
}

RecordFileResult FindWriter(const Descriptor& file, bool* writer) {
  struct flock wanted = {};
  wanted.l_type = F_RDLCK;  // what a writer's lock excludes and readers' locks do not
  wanted.l_whence = SEEK_SET;
  if (fcntl(file.get(), F_OFD_GETLK, &wanted) != 0) return ResultFromErrno(errno);
  *writer = wanted.l_type != F_UNLCK;
  return kRecordFileOk;
}

}  // namespace packetdb::host
