// A point of the time of day, as packets carry it.
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>

#include "host/sources/event.h"

namespace packetdb::host {

struct Moment {
  std::int64_t seconds = 0;  // Unix time
  std::uint32_t nanoseconds = 0;

  // NOLINTNEXTLINE(modernize-use-nullptr): of the comparison that the compiler writes
  auto operator<=>(const Moment&) const = default;
};

Moment Now();
Moment operator+(const Moment& moment, std::chrono::milliseconds later);
inline Moment MomentOf(const Event& event) { return {event.time, event.nanoseconds}; }

}  // namespace packetdb::host
