// What a rule's log prefix says about the packets that it logs.
//
// A prefix of our own form is  pdb:<chain>:<rule>:<verdict>[:<code>]  with the verdict accept, drop
// or reject and a decimal code from 1 to 1999. Chain and rule are for people: any text without a
// colon, but not none.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "host/sources/counters.h"

namespace packetdb::host {

enum class Verdict { kNone, kAccept, kDrop, kReject };

struct RuleOutcome {
  std::uint32_t code = 0;  // for m_ErrorCode
  Verdict verdict = Verdict::kNone;
};

// Exact prefix to outcome; asked before the prefix is read as our own form.
using RuleTable = std::map<std::string, RuleOutcome, std::less<>>;

inline constexpr std::uint32_t kMaxPrefixCode = 1999;

// The m_Flags bit of a verdict; 0 for none.
std::uint32_t VerdictFlag(Verdict verdict);

// The outcome of a packet that was logged with `prefix`; empty: no rule was involved. A prefix of
// our own form that is malformed counts as any other prefix and is remarked.
RuleOutcome Classify(std::string_view prefix, const RuleTable& rules, CaptureCounters& counters);

}  // namespace packetdb::host
