#include "host/journals/last_seen.h"

#include <chrono>
#include <fmt/format.h>
#include <thread>

#include "host/journals/converted.h"
#include "host/journals/error.h"
#include "host/record_file/modes.h"
#include "host/record_file/result.h"
#include "packetdb/storage.h"
#include "platform/record_file.h"

namespace packetdb::host {

namespace {

// A reader that looks whether there is something to serve is gone after a moment.
constexpr int kAttempts = 200;
constexpr std::chrono::milliseconds kPause{10};

void Require(int status, const std::string& path) {
  if (status < 0) {
    throw JournalError(fmt::format("cannot complete the converted journal {}: {}", path,
                                   DescribeRecordFileResult(status)),
                       status);
  }
}

int OpenForWriting(CDbFile& file, const std::string& path, const RecordFileInfo& info) {
  int status = OpenAs(file, path, info, mode::kWrite);
  for (int i = 1; i < kAttempts && status == kInUse; ++i) {
    std::this_thread::sleep_for(kPause);
    status = OpenAs(file, path, info, mode::kWrite);
  }
  return status;
}

}  // namespace

void FillLastSeen(const std::string& path) {
  RecordFileInfo info;
  Require(ProbeRecordFile(path, &info), path);
  CDbFile file;
  Require(OpenForWriting(file, path, info), path);
  PacketDbItemPacked record;
  // A fresh file has overwritten nothing yet: positions are tickets.
  for (int position = 0; position < file.RecordCount(); ++position) {
    Require(file.ReadRecord(position, &record), path);
    if (record.m_LastTime == 0) {
      record.m_LastTime = record.m_FirstTime;
      Require(file.WriteRecord(position, &record), path);
    }
  }
}

}  // namespace packetdb::host
