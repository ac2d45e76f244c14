#include "host/record_file/request.h"

#include <cstring>

#include "host/record_file/modes.h"

namespace packetdb::host {
namespace {

constexpr int kWriting = mode::kWrite | mode::kCreateAnew | mode::kCreateMissing;
constexpr int kContradiction = mode::kCreateAnew | mode::kNeverAnew;

bool IsMode(int mode) {
  return (mode & ~(kWriting | mode::kNeverAnew)) == 0 && (mode & kContradiction) != kContradiction;
}

}  // namespace

RecordFileResult MakeRequest(const std::string& path, const char* magic, unsigned long record_size,
                             unsigned long max_records, int mode, OpenRequest* request) {
  if (path.empty() || path.find('\0') != std::string::npos) return kBadPath;
  if (magic == nullptr || strnlen(magic, kMagicSize) == kMagicSize) return kBadMagic;
  if (record_size == 0 || record_size > kMaxRecordSize) return kBadRecordSize;
  if (!IsMode(mode)) return kBadMode;
  *request = {.path = path,
              .format = {.magic = magic,
                         .record_size = record_size,
                         .capacity = max_records > kMaxRecords ? 0 : max_records},
              // Creating is writing, whether or not bit 1 says so as well.
              .access = (mode & kWriting) != 0 ? Access::kWrite : Access::kRead,
              .create_anew = (mode & mode::kCreateAnew) != 0,
              .create_missing = (mode & mode::kCreateMissing) != 0,
              .asks_for_none = max_records == 0};
  return kRecordFileOk;
}

}  // namespace packetdb::host
