#include "tests/system/support/eventually.h"

#include <thread>

namespace packetdb::host::test {

bool Eventually(const std::function<bool()>& condition) {
  constexpr std::chrono::milliseconds kPause(2);
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

}  // namespace packetdb::host::test
