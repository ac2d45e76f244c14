#include "tests/host/sources/live/receive.h"

#include <poll.h>

namespace packetdb::host::test {

bool ReceiveUntil(LiveSource& source, EventSink& sink, const std::function<bool()>& done) {
  constexpr int kLongMilliseconds = 20000;
  while (!done()) {
    pollfd waits = {source.fd(), POLLIN, 0};
    if (poll(&waits, 1, kLongMilliseconds) <= 0) return false;
    source.Receive(sink);
  }
  return true;
}

std::uint64_t Accounted(const LiveSource& source) {
  return source.packets().packets() + source.counters().lost_overrun;
}

bool ReceiveAll(LiveSource& source, EventSink& sink, std::uint64_t count) {
  return ReceiveUntil(source, sink, [&] { return Accounted(source) >= count; });
}

}  // namespace packetdb::host::test
