#include "host/cli/output_format.h"

#include <fmt/format.h>

#include "host/cli/usage_error.h"

namespace packetdb::host {

OutputFormat ParseOutputFormat(const std::string& word) {
  if (word == "text") {
    return OutputFormat::kText;
  }
  if (word == "json") {
    return OutputFormat::kJson;
  }
  throw UsageError(fmt::format("'{}' is not an output format: give text or json", word));
}

}  // namespace packetdb::host
