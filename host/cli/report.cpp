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

std::string Shortened(std::string_view text) {
  constexpr std::size_t kLongest = 4096;
  constexpr std::size_t kEnd = 200;
  static_assert(kLongest < kLongestLogText);
  if (text.size() <= kLongest) {
    return std::string(text);
  }
  return fmt::format("{} (cut: {} bytes more) {}", text.substr(0, kEnd), text.size() - 2 * kEnd,
                     text.substr(text.size() - kEnd));
}

bool FlushOutput() {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
    return true;
  }
  Complain(fmt::format("cannot write the output: {}", std::strerror(errno)));
  return false;
}

}  // namespace packetdb::host
