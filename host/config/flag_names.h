// The names of the bits of m_Flags.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/config/event_names.h"

namespace packetdb::host {

// Those that the host gives itself: in, out, accepted and so on. No configuration changes them.
const NameTable& HostFlagNames();

// Who has a bit from 0 to 31 that names of the administrator's own cannot have; empty for one that
// they can.
std::string TakenBy(std::int64_t bit);

// The names of these bits, lowest bit first; what has no name is left out.
std::vector<std::string> NamesOfFlags(std::uint32_t flags, const NameTable& names);

}  // namespace packetdb::host
