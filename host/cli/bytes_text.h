// Sizes in bytes, for people.
#pragma once

#include <cstdint>
#include <string>

namespace packetdb::host {

// "90681344 (86.5 MiB)"; the number alone where no unit makes it shorter.
std::string BytesText(std::uint64_t bytes);

}  // namespace packetdb::host
