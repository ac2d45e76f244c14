#include "host/record_file/probe.h"

#include "host/record_file/open_file.h"
#include "host/record_file/result.h"

namespace packetdb::host {

int ProbeRecordFile(const std::string& path, RecordFileInfo* out) {
  OpenRequest request;
  request.path = path;
  request.any_format = true;
  OpenFile file;
  const RecordFileResult result = file.Open(request);
  if (result < 0) return result;
  const auto records = static_cast<std::uint64_t>(file.Count());
  *out = {.layout_version = file.facts().layout_version,
          .record_size = file.facts().format.record_size,
          .capacity = file.facts().format.capacity,
          .next = file.next(),
          .records = records,
          .magic = file.facts().format.magic};
  return kRecordFileOk;
}

}  // namespace packetdb::host
