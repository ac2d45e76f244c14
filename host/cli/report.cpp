#include "host/cli/report.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>

#include "host/log/escape.h"

namespace packetdb::host {

void Complain(std::string_view text) {
  const std::string line = fmt::format("packetdb: {}\n", EscapeForLog(text));
  std::fputs(line.c_str(), stderr);
}

bool FlushOutput() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
    return true;
  }
  Complain(fmt::format("cannot write the output: {}", std::strerror(errno)));
  return false;
}

}  // namespace packetdb::host
