// Changes to a file that get behind the first checksum: to the numbers of its front, to its frames
// and to its length, with the checksums made right again as often as not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <random>

#include "fuzz/journal_description.h"

namespace packetdb::fuzz {

class JournalMutator {
 public:
  explicit JournalMutator(std::uint32_t seed) : random_(seed) {}

  // Whether the bytes of the description are to be changed by somebody else first.
  bool WantsRawBytes() { return is_raw_ = Below(3) == 0; }

  // The description of a changed file.
  Bytes Mutate(const std::uint8_t* data, std::size_t size);

 private:
  std::uint32_t Below(std::uint32_t bound) { return static_cast<std::uint32_t>(random_() % bound); }

  std::mt19937_64 random_;
  bool is_raw_ = false;
};

}  // namespace packetdb::fuzz
