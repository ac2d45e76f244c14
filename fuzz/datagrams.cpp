#include "fuzz/datagrams.h"

#include <algorithm>
#include <cstring>

namespace packetdb::fuzz {
namespace {

using Length = std::uint16_t;

}  // namespace

std::vector<Bytes> SplitDatagrams(std::span<const std::uint8_t> input) {
  std::vector<Bytes> datagrams;
  while (input.size() >= sizeof(Length)) {
    Length length = 0;
    std::memcpy(&length, input.data(), sizeof length);
    input = input.subspan(sizeof length);
    const auto bytes = input.first(std::min<std::size_t>(length, input.size()));
    datagrams.emplace_back(bytes.begin(), bytes.end());
    input = input.subspan(bytes.size());
  }
  return datagrams;
}

Bytes JoinDatagrams(const std::vector<Bytes>& datagrams) {
  Bytes joined;
  for (const Bytes& datagram : datagrams) {
    const auto length = static_cast<Length>(std::min<std::size_t>(datagram.size(), 0xFFFF));
    const auto* const raw = reinterpret_cast<const std::uint8_t*>(&length);
    joined.insert(joined.end(), raw, raw + sizeof length);
    joined.insert(joined.end(), datagram.begin(), datagram.begin() + length);
  }
  return joined;
}

}  // namespace packetdb::fuzz
