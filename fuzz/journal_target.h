// What is done with a file that a fuzzer made, and what must hold whatever it is.
#pragma once

#include <cstddef>
#include <cstdint>

namespace packetdb::fuzz {

// Opens the described file in every way, reads it, checks it, writes to it and converts it. Aborts
// with a line on stderr when a promise is broken.
void TryJournal(const std::uint8_t* data, std::size_t size);

}  // namespace packetdb::fuzz
