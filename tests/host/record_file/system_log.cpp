#include "tests/host/record_file/system_log.h"

#include <mutex>
#include <utility>

#include "platform/log.h"

namespace packetdb::host {
namespace {

// The thread that flushes logs as well.
std::mutex mutex;
std::vector<std::string> lines;

}  // namespace

std::vector<std::string> TakeLogged() {
  const std::lock_guard lock(mutex);
  return std::exchange(lines, {});
}

}  // namespace packetdb::host

int slput(int priority, const char* text) {
  const std::lock_guard lock(packetdb::host::mutex);
  packetdb::host::lines.push_back(std::to_string(priority) + " " + text);
  return 0;
}
