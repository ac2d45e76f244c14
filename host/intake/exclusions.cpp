#include "host/intake/exclusions.h"

#include <algorithm>
#include <bit>
#include <stdexcept>

#include "host/intake/glob.h"

namespace packetdb::host {

namespace {

template <class Range, class Number>
bool HasEither(const std::vector<Range>& ranges, Number one, Number other) {
  return ranges.empty() || std::any_of(ranges.begin(), ranges.end(), [&](const Range& range) {
           return (range.first <= one && one <= range.last) ||
                  (range.first <= other && other <= range.last);
         });
}

std::bitset<256> ProtocolsOf(const ExclusionSettings& exclusion) {
  std::bitset<256> protocols;
  for (const std::uint8_t protocol : exclusion.protocols) {
    protocols.set(protocol);
  }
  return exclusion.protocols.empty() ? protocols.set() : protocols;
}

}  // namespace

Exclusions::Exclusions(const std::vector<ExclusionSettings>& exclusions) {
  if (exclusions.size() > kMostExclusions) {
    throw std::invalid_argument("more exclusions than a configuration may have");
  }
  for (const ExclusionSettings& exclusion : exclusions) {
    conditions_.push_back(
        {exclusion.prefix, exclusion.addresses, exclusion.ports, ProtocolsOf(exclusion)});
  }
}

Exclusions::Set Exclusions::WithPrefix(std::string_view prefix) const {
  Set set = 0;
  for (std::size_t i = 0; i < conditions_.size(); ++i) {
    const std::string& pattern = conditions_[i].prefix;
    if (pattern.empty() || GlobMatches(pattern, prefix)) {
      set |= Set{1} << i;
    }
  }
  return set;
}

bool Exclusions::Fits(const Conditions& conditions, const CDrvErrorItemV4& event) {
  return conditions.protocols[event.m_Protocol] &&
         HasEither<ExclusionSettings::Ports, std::uint16_t>(conditions.ports, event.m_SrcPort,
                                                            event.m_DstPort) &&
         HasEither<ExclusionSettings::Addresses, std::uint32_t>(conditions.addresses, event.m_SrcIp,
                                                                event.m_DstIp);
}

int Exclusions::FindAmong(Set candidates, const CDrvErrorItemV4& event) const {
  for (Set rest = candidates; rest != 0; rest &= rest - 1) {
    const int place = std::countr_zero(rest);
    if (Fits(conditions_[static_cast<std::size_t>(place)], event)) {
      return place;
    }
  }
  return kNone;
}

}  // namespace packetdb::host
