// Waiting for what other processes do.
#pragma once

#include <chrono>
#include <functional>

namespace packetdb::host::test {

// Far longer than anything takes on a busy machine: only a test that fails waits as long.
inline constexpr std::chrono::seconds kPatience(60);

// Asks again and again until the answer is yes; false when it still is no after kPatience.
bool Eventually(const std::function<bool()>& condition);

}  // namespace packetdb::host::test
