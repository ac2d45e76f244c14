// Several datagrams as one input: of each a length, 16 bits in the order of this machine, and its
// bytes. Any bytes are datagrams: a length that reaches beyond the end stands for what is there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace packetdb::fuzz {

using Bytes = std::vector<std::uint8_t>;

std::vector<Bytes> SplitDatagrams(std::span<const std::uint8_t> input);
Bytes JoinDatagrams(const std::vector<Bytes>& datagrams);

}  // namespace packetdb::fuzz
