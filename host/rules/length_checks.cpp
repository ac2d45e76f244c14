#include <fmt/format.h>

#include "host/rules/checks.h"

namespace packetdb::host {
namespace {

constexpr std::uint32_t kIpHeader = 20;   // bytes, without options
constexpr std::uint32_t kWithPorts = 24;  // with the ports, or ICMP type and code, behind it
constexpr const char* kAdvice = "write snaplen 128 (for iptables --nflog-size 128)";

}  // namespace

void CheckShortCopies(const std::vector<FoundLog>& logs, Findings& findings) {
  for (const FoundLog& found : logs) {
    const auto length = found.log->snap_length;
    if (!found.log->group || !length || *length >= kWithPorts) continue;
    findings.push_back(
        {"short-snaplen",
         {found.rule->place},
         fmt::format("it copies {} bytes of a packet, {}", *length,
                     *length < kIpHeader ? "less than an IP header: its events are not journaled"
                                         : "too few for ports: they are journaled as 0"),
         kAdvice});
  }
}

void CheckMissingLengths(const std::vector<FoundLog>& logs, Findings& findings) {
  for (const FoundLog& found : logs) {
    if (!found.log->group || found.log->snap_length) continue;
    findings.push_back(
        {"no-snaplen",
         {found.rule->place},
         "it has no snaplen: how much of each packet is copied is left to the group's reader",
         kAdvice});
  }
}

}  // namespace packetdb::host
