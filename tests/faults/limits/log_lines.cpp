#include "tests/faults/limits/log_lines.h"

#include <fmt/format.h>
#include <mutex>

#include "platform/log.h"

namespace {

std::mutex lines_mutex;
std::vector<packetdb::faults::LogLine> lines;

}  // namespace

int slput(int priority, const char* text) {
  const std::lock_guard lock(lines_mutex);
  lines.push_back({priority, text});
  return 0;
}

namespace packetdb::faults {

std::vector<LogLine> LogLines() {
  const std::lock_guard lock(lines_mutex);
  return lines;
}

void ForgetLogLines() {
  const std::lock_guard lock(lines_mutex);
  lines.clear();
}

std::string Describe(const std::vector<LogLine>& lines) {
  std::string all;
  for (const LogLine& line : lines) all += fmt::format("{} {}; ", line.priority, line.text);
  return all;
}

}  // namespace packetdb::faults
