// Changes to what a client sends that know requests and columns: what is changed blindly seldom
// gets behind the header of a request, whose columns have to fit its record.
#pragma once

#include <cstdint>
#include <random>
#include <span>

#include "fuzz/client_bytes.h"

namespace packetdb::fuzz {

class RequestMutator {
 public:
  explicit RequestMutator(std::uint32_t seed) : random_(seed) {}

  // Whether the bytes are to be changed by somebody else instead.
  bool WantsRawBytes() { return Below(4) == 0; }

  // The input with a few changes; most of the time every column is declared as long as its value is
  // afterwards.
  Bytes Mutate(std::span<const std::uint8_t> input);

 private:
  std::uint32_t Below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }

  std::mt19937_64 random_;
};

}  // namespace packetdb::fuzz
