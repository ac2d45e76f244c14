#include "tests/faults/power/flush_hook.h"

#include <unistd.h>
#include <utility>

namespace packetdb::faults {
namespace {

FlushHook& Hook() {
  static FlushHook hook;
  return hook;
}

int CallHook(int file) {
  if (Hook()) Hook()(file);
  return 0;
}

}  // namespace

FlushHook ExchangeFlushHook(FlushHook hook) { return std::exchange(Hook(), std::move(hook)); }

}  // namespace packetdb::faults

extern "C" {

int fsync(int file) { return packetdb::faults::CallHook(file); }

int fdatasync(int file) { return packetdb::faults::CallHook(file); }
}
