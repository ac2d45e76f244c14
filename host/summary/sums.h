// What is added up over the rows of a group.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "packetdb/storage.h"

namespace packetdb::host {

enum class SumKind { kCount, kBytes, kEvents };

// Takes "count", "bytes" or "events". Throws PrintError for another word.
SumKind ParseSumKind(std::string_view word);

// Journals count in 32 bits and wrap; these sums do not.
struct Sums {
  std::uint64_t count = 0;   // packets
  std::uint64_t bytes = 0;   // of them
  std::uint64_t events = 0;  // records
  std::uint32_t first = 0;   // seconds since 1980, earliest of all; none without events
  std::uint32_t last = 0;
  std::uint32_t dst = 0;  // a destination, host byte order
  bool has_more_destinations = false;

  void Add(const Sums& other) {
    first = events == 0 ? other.first : std::min(first, other.first);
    last = std::max(last, other.last);
    has_more_destinations =
        has_more_destinations || other.has_more_destinations || (events != 0 && dst != other.dst);
    dst = other.dst;
    count += other.count;
    bytes += other.bytes;
    events += other.events;
  }

  std::uint64_t Of(SumKind kind) const {
    if (kind == SumKind::kCount) return count;
    return kind == SumKind::kBytes ? bytes : events;
  }
};
// They go to a file and back as they are.
static_assert(std::is_trivially_copyable_v<Sums> && sizeof(Sums) == 40);

inline Sums SumsOf(const CDrvErrorItemV4& event) {
  return {event.m_Count,    event.m_PacketSize, 1,    event.m_FirstTime,
          event.m_LastTime, event.m_DstIp,      false};
}

// How much `part` is of `whole`, in ten thousandths, rounded; 0 of nothing.
std::uint64_t ShareOf(std::uint64_t part, std::uint64_t whole);

}  // namespace packetdb::host
