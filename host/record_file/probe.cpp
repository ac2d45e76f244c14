#include "host/record_file/probe.h"

#include "host/record_file/inspect.h"
#include "host/record_file/open.h"

namespace packetdb::host {

int ProbeRecordFile(const std::string& path, RecordFileInfo* out) {
  Descriptor file;
  RecordFileResult result = OpenUnlocked(path, Access::kRead, &file);
  if (result < 0) return result;
  FileFacts facts;
  result = Inspect(file, &facts);
  if (result < 0) return result;
  *out = {.layout_version = facts.layout_version,
          .record_size = facts.format.record_size,
          .capacity = facts.format.capacity,
          .next = facts.next,
          .records = LiveRecords(facts.geometry, facts.next),
          .magic = facts.format.magic};
  return kRecordFileOk;
}

}  // namespace packetdb::host
