// Events as text: every field of the record shows, either always or when it is not what it is in
// all events of our sources.
#pragma once

#include <string>

#include "host/sources/counters.h"
#include "host/sources/event.h"

namespace packetdb::host::test {

// "eth0 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x1 code 60 size 32 at 5"
std::string Show(const Event& event);

// "IPv6 x2, ARP x1": what was skipped, and what was remarked in brackets.
std::string Show(const CaptureCounters& counters);

}  // namespace packetdb::host::test
