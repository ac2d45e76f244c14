#include "host/journals/error.h"

#include <fmt/format.h>

#include "host/record_file/result.h"

namespace packetdb::host {

void ThrowCannotOpen(const std::string& path, int result) {
  throw JournalError(
      fmt::format("cannot open journal {}: {}", path, DescribeRecordFileResult(result)), result);
}

}  // namespace packetdb::host
