// Changes to datagrams of a log group that know messages and attributes: what is changed blindly
// seldom gets behind the first length.
#pragma once

#include <cstdint>
#include <random>
#include <span>

#include "fuzz/datagrams.h"

namespace packetdb::fuzz {

class LogMessageMutator {
 public:
  explicit LogMessageMutator(std::uint32_t seed) : random_(seed) {}

  // Whether the bytes are to be changed by somebody else instead.
  bool WantsRawBytes() { return Below(4) == 0; }

  // The input with a few changes; half of the time all its lengths are right afterwards.
  Bytes Mutate(std::span<const std::uint8_t> input);

 private:
  std::uint32_t Below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }

  std::mt19937_64 random_;
};

}  // namespace packetdb::fuzz
