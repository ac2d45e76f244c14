#include "host/cli/report.h"

#include <cstdio>
#include <fmt/format.h>

#include "host/log/escape.h"

namespace packetdb::host {

void Complain(std::string_view text) {
  const std::string line = fmt::format("packetdb: {}\n", EscapeForLog(text));
  std::fputs(line.c_str(), stderr);
}

}  // namespace packetdb::host
