// CRC-32C, the checksum of everything in a record file (polynomial 0x1EDC6F41, reflected, as in
// RFC 3720, appendix B.4).
#pragma once

#include <cstddef>
#include <cstdint>

namespace packetdb::host {

// Continues a checksum whose register holds `state` over `size` bytes and returns the register.
// Callers choose the first state and invert the last.
std::uint32_t ContinueCrc32c(std::uint32_t state, const void* bytes, std::size_t size);

// The checksum as it is commonly defined: started from and finished with all ones.
std::uint32_t Crc32c(const void* bytes, std::size_t size);

// Where the processor has no instruction for it; declared so that both ways can be compared.
std::uint32_t ContinueCrc32cPortably(std::uint32_t state, const void* bytes, std::size_t size);

}  // namespace packetdb::host
