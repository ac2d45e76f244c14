#include "host/journals/last_seen.h"

#include <fmt/format.h>

#include "host/journals/converted.h"
#include "host/journals/error.h"
#include "host/record_file/result.h"
#include "packetdb/storage.h"
#include "platform/record_file.h"

namespace packetdb::host {

namespace {

constexpr int kWrite = 1;

void Require(int status, const std::string& path) {
  if (status < 0) {
    throw JournalError(fmt::format("cannot complete the converted journal {}: {}", path,
                                   DescribeRecordFileResult(status)),
                       status);
  }
}

}  // namespace

void FillLastSeen(const std::string& path) {
  RecordFileInfo info;
  Require(ProbeRecordFile(path, &info), path);
  CDbFile file;
  Require(file.Init(path, info.magic.c_str(), info.record_size,
                    static_cast<unsigned long>(CapacityArgument(info)), kWrite),
          path);
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
