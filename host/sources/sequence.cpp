#include "host/sources/sequence.h"

namespace packetdb::host {

std::uint32_t SequenceTracker::Follow(std::uint32_t number) {
  constexpr std::uint32_t kStepBack = 1U << 31;
  const bool is_known = next_ != 0;
  const std::uint32_t missing = number - static_cast<std::uint32_t>(next_);
  next_ = std::uint64_t{number} + 1;
  const bool is_new_numbering = number == 0 || missing >= kStepBack;
  return is_known && !is_new_numbering ? missing : 0;
}

}  // namespace packetdb::host
