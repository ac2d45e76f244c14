// Journals of made-up events.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "packetdb/storage.h"

namespace packetdb::host::test {

// 2020-09-13 12:26:40 UTC: long ago, so that no repeat is fresh and every event is a record of its
// own, whatever it is.
inline constexpr std::int64_t kEpoch = 1600000000;

// How long a record of a group with the default merge window can stretch at most.
inline constexpr std::uint32_t kLongestRecord = 59;

struct SeenEvent {
  CDrvErrorItemV4 event{};
  std::string interface;
};

// An event at `seconds` after kEpoch on "eth0", everything else 0.
SeenEvent EventAt(std::uint32_t seconds);

// `count` events in order of time, their fields drawn from pools so small that every criterion has
// something to select and something to leave out.
std::vector<SeenEvent> VariedEvents(std::size_t count, std::mt19937& random);

// Journals the events in `group`, in order.
void Journal(const std::string& directory, const std::string& group,
             const std::vector<SeenEvent>& events);

// The fields of an event that an answer carries, as text.
std::string Served(const CDrvErrorItemV4& event);

}  // namespace packetdb::host::test
