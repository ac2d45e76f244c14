// An event on its way into a journal, and the values that our host gives the fields whose meaning
// the library leaves to its host. docs/event_mapping.md is the same list for people.
#pragma once

#include <cstdint>
#include <string>

#include "packetdb/storage.h"

namespace packetdb::host {

// Bits of m_Flags. Bits 0x00800000 and 0x01000000 stay unused: a query for either matches both.
enum EventFlag : std::uint32_t {
  kFlagIn = 0x1,  // in and out together: forwarded
  kFlagOut = 0x2,
  kFlagAccepted = 0x10,
  kFlagDropped = 0x20,
  kFlagRejected = 0x40,
  kFlagLaterFragment = 0x100,  // a fragment that does not start its packet: it carries no ports
};

// Bits 9 to 22 of m_Flags hold the number of the rule that logged the event, 1 to kHighestRule, so
// that events of two rules never share a record; 0: no rule, or one without a number.
inline constexpr std::uint32_t kRuleShift = 9;
inline constexpr std::uint32_t kHighestRule = 16383;
inline constexpr std::uint32_t kRuleMask = kHighestRule << kRuleShift;
static_assert(kRuleMask == 0x7FFE00);

// Values of m_ErrorCode that our host gives where the rule names none.
enum EventCode : std::uint32_t {
  kCodeDropped = 1,
  kCodeRejected = 2,
  kCodeLogged = 3,  // a rule's prefix that says neither verdict nor code
  kCodeAccepted = 40,
  kCodeCaptured = 60,  // no rule was involved
};

// When a packet was seen.
struct PacketTime {
  std::int64_t seconds = 0;       // Unix time, any value
  std::uint32_t nanoseconds = 0;  // below 1000000000
};

struct Event {
  packetdb::CDrvErrorItemV4 item{};
  std::string interface;          // at most 31 bytes, never empty unless the options say so
  std::int64_t time = 0;          // Unix seconds, before they were fitted into the journal's range
  std::uint32_t nanoseconds = 0;  // for ordering only: journals keep whole seconds
};

}  // namespace packetdb::host
