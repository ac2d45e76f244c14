// What a program does with one input of its fuzzer: each has one of its own.
#pragma once

#include <cstddef>
#include <cstdint>

namespace packetdb::fuzz {

// Uses the input in every way there is. Aborts with a line on stderr when a promise is broken.
void TryInput(const std::uint8_t* data, std::size_t size);

}  // namespace packetdb::fuzz
