#include "host/config/flag_names.h"

#include "host/config/configuration.h"
#include "host/sources/event.h"

namespace packetdb::host {

const NameTable& HostFlagNames() {
  static const NameTable names = {
      {"in", kFlagIn},
      {"out", kFlagOut},
      {"accepted", kFlagAccepted},
      {"dropped", kFlagDropped},
      {"rejected", kFlagRejected},
      {"later-fragment", kFlagLaterFragment},
  };
  return names;
}

std::string TakenBy(std::int64_t bit) {
  constexpr std::int64_t kFirstRuleBit = 9;
  constexpr std::int64_t kFirstTwinBit = 23;
  if (bit >= kFirstUserFlag && bit <= kLastUserFlag) return "";
  if (bit >= kFirstTwinBit) return "a query for bit 23 or 24 finds either";
  if (bit >= kFirstRuleBit) return "bits 9 to 22 hold the number of the rule";
  return "bits 0 to 8 are the daemon's own";
}

std::vector<std::string> NamesOfFlags(std::uint32_t flags, const NameTable& names) {
  std::vector<std::string> found;
  for (int bit = 0; bit < 32; ++bit) {
    const std::uint32_t mask = 1U << static_cast<unsigned int>(bit);
    for (const auto& [name, value] : names) {
      if (value == mask && (flags & mask) != 0) found.push_back(name);
    }
  }
  return found;
}

}  // namespace packetdb::host
