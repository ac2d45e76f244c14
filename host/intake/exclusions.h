// Events that are kept out of the journals.
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/config/configuration.h"
#include "packetdb/storage.h"

namespace packetdb::host {

class Exclusions {
 public:
  // At most kMostExclusions.
  explicit Exclusions(const std::vector<ExclusionSettings>& exclusions);

  // Exclusions by their place in the configuration, a bit each.
  using Set = std::uint64_t;
  static_assert(kMostExclusions <= 64);
  static constexpr int kNone = -1;

  // Those whose prefix fits. Takes time with each exclusion: callers keep the answer.
  Set WithPrefix(std::string_view prefix) const;

  // The first of `candidates` that the event fits, or kNone. Its conditions hold each for itself:
  // the end that has the address need not be the one that has the port.
  int Find(Set candidates, const CDrvErrorItemV4& event) const {
    return candidates == 0 ? kNone : FindAmong(candidates, event);
  }

 private:
  struct Conditions {
    std::string prefix;
    std::vector<ExclusionSettings::Addresses> addresses;
    std::vector<ExclusionSettings::Ports> ports;
    std::bitset<256> protocols;  // all, where none is named
  };

  static bool Fits(const Conditions& conditions, const CDrvErrorItemV4& event);
  int FindAmong(Set candidates, const CDrvErrorItemV4& event) const;

  std::vector<Conditions> conditions_;
};

}  // namespace packetdb::host
