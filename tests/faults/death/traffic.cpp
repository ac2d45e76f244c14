#include "tests/faults/death/traffic.h"

namespace packetdb::faults {

std::optional<std::uint64_t> Versions::Decode(std::uint64_t word, std::uint64_t number) {
  if (word >> kVersionBits != number) return std::nullopt;
  return word & ((std::uint64_t{1} << kVersionBits) - 1);
}

std::optional<std::uint64_t> Versions::Of(std::uint64_t number) const {
  return Decode(words_[At(number)], number);
}

std::vector<std::uint64_t> Versions::Copy() const {
  std::vector<std::uint64_t> copy;
  copy.reserve(kRemembered);
  for (std::size_t i = 0; i < kRemembered; ++i) copy.push_back(words_[i]);
  return copy;
}

std::optional<std::uint64_t> Versions::InCopy(const std::vector<std::uint64_t>& copy,
                                              std::uint64_t number) {
  return Decode(copy[At(number)], number);
}

}  // namespace packetdb::faults
