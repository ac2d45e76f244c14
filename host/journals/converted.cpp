#include "host/journals/converted.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <vector>

#include "host/journals/error.h"
#include "host/journals/journal_format.h"
#include "host/record_file/descriptor.h"
#include "host/record_file/inspect.h"
#include "host/record_file/modes.h"
#include "host/record_file/open.h"
#include "host/record_file/result.h"
#include "packetdb/journal_format.h"
#include "platform/record_file.h"

namespace packetdb::host {

namespace {

constexpr int kNoBound = -1;

[[noreturn]] void FailToRead(const std::string& path, int status) {
  throw JournalError(
      fmt::format("cannot read journal {}: {}", path, DescribeRecordFileResult(status)), status);
}

// A record file that is read from the oldest record to the newest.
class Reader {
 public:
  explicit Reader(const std::string& path) : path_(path) {
    int status = ProbeRecordFile(path, &info_);
    status = status < 0 ? status : OpenAs(file_, path, info_, mode::kRead);
    if (status < 0) {
      FailToRead(path, status);
    }
    record_.resize(info_.record_size);
  }

  int count() const { return file_.RecordCount(); }
  JournalFormat format() const { return FormatOf(info_); }

  // The bytes of the record at a position.
  const char* Record(int position) {
    if (const int status = file_.ReadRecord(position, record_.data()); status < 0) {
      FailToRead(path_, status);
    }
    return record_.data();
  }

 private:
  std::string path_;
  RecordFileInfo info_;
  CDbFile file_;
  std::vector<char> record_;
};

// What an old record has is found in the new one as it was; format 4.1 had no interface in front.
bool IsCopy(Reader& old_file, Reader& file, int position) {
  const bool has_interface = old_file.format() == JournalFormat::k3;
  const std::size_t offset = has_interface ? 0 : kJournalRecordSize - kFormat41RecordSize;
  const std::size_t size = has_interface ? kFormat3RecordSize : kFormat41RecordSize;
  const char* const copy = file.Record(position) + offset;
  return std::memcmp(old_file.Record(position), copy, size) == 0;
}

// A reader gets in beside a writer; whoever converts would not.
int LookForWriter(const std::string& path) {
  Descriptor file;
  RecordFileResult result = OpenUnlocked(path, Access::kRead, &file);
  bool is_there = false;
  if (result == kRecordFileOk) result = FindWriter(file, &is_there);
  return is_there ? kInUse : result;
}

}  // namespace

Copied CompareConverted(const std::string& old_path, const std::string& path) {
  Reader old_file(old_path);
  Reader file(path);
  const int common = std::min(old_file.count(), file.count());
  for (int position = 0; position < common; ++position) {
    if (!IsCopy(old_file, file, position)) {
      return Copied::kOther;
    }
  }
  return file.count() >= old_file.count() ? Copied::kAll : Copied::kSome;
}

int TryToOpen(const std::string& path, const RecordFileInfo& info, bool write) {
  CDbFile file;
  const int status = std::min(0, OpenAs(file, path, info, write ? mode::kWrite : mode::kRead));
  return status < 0 || write ? status : LookForWriter(path);
}

int OpenAs(CDbFile& file, const std::string& path, const RecordFileInfo& info, int bits) {
  return file.Init(path, info.magic.c_str(), info.record_size,
                   static_cast<unsigned long>(CapacityArgument(info)), bits | mode::kNeverAnew);
}

int CapacityArgument(const RecordFileInfo& info) {
  return info.capacity == 0 ? kNoBound : static_cast<int>(info.capacity);
}

}  // namespace packetdb::host
