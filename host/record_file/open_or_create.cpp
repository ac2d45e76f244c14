#include "host/record_file/open_or_create.h"

#include <utility>

#include "host/record_file/adopt.h"
#include "host/record_file/create.h"
#include "host/record_file/open.h"

namespace packetdb::host {
namespace {

// How often we follow a name that other processes keep giving to new files.
constexpr int kAttempts = 16;

RecordFileResult Create(const OpenRequest& request, Predecessor predecessor, Descriptor* file) {
  if (request.asks_for_none) return kBadCapacity;
  return CreateRecordFile(request.path, request.format, predecessor, file);
}

RecordFileResult AdoptOrCreate(const OpenRequest& request, Descriptor* file) {
  if (!request.create_anew) {
    const RecordFileResult result = AdoptConverted(request, file);
    if (result != kMissing) return result;
  }
  return Create(request, Predecessor::kNone, file);
}

// The lock on a file that is to be replaced is held until the new one is in its place.
RecordFileResult Once(const OpenRequest& request, Descriptor* file) {
  Descriptor existing;
  const RecordFileResult result = OpenLocked(request.path, request.access, &existing);
  if (result == kMissing && (request.create_anew || request.create_missing)) {
    return AdoptOrCreate(request, file);
  }
  if (result < 0) return result;
  if (request.create_anew) return Create(request, Predecessor::kLocked, file);
  if (request.access == Access::kWrite) RemoveLeftover(request.path);
  *file = std::move(existing);
  return kRecordFileOk;
}

}  // namespace

RecordFileResult OpenOrCreate(const OpenRequest& request, Descriptor* file) {
  RecordFileResult result = kUnsettled;
  for (int i = 0; i < kAttempts && result == kUnsettled; ++i) result = Once(request, file);
  return result;
}

}  // namespace packetdb::host
