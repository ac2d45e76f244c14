#include "host/config/event_names.h"

#include <set>

#include "host/sources/event.h"

namespace packetdb::host {
namespace {

constexpr EventName kNames[] = {
    // What a rule stopped, or logged without saying: group -3.
    {"dropped", kCodeDropped},
    {"rejected", kCodeRejected},
    {"logged", kCodeLogged},
    {"invalid", 4},
    {"spoofed", 5},
    {"blocklisted", 7},
    {"rate-limited", 8},
    {"bogon", 9},
    {"closed-port", 10},
    {"default-policy", 13},
    {"bad-fragment", 14},
    {"quarantined", 26},
    // What looks like an attack: group -4.
    {"port-scan", 20},
    {"host-sweep", 21},
    {"syn-flood", 22},
    {"udp-flood", 23},
    {"icmp-flood", 24},
    {"bad-flags", 30},
    {"source-route", 31},
    {"brute-force", 37},
    {"amplification", 38},
    // What a rule let through: group -6.
    {"accepted", kCodeAccepted},
    {"forwarded", 41},
    {"established", 44},
    {"related", 45},
    // What was only seen: group -7.
    {"captured", kCodeCaptured},
    {"mirrored", 61},
    {"sampled", 62},
    // What a service is not to be used for: group -8.
    {"dns-blocked", 80},
    {"mail-blocked", 81},
    {"web-blocked", 82},
    {"remote-access-blocked", 83},
    {"file-sharing-blocked", 84},
    {"outbound-blocked", 85},
    // Translated addresses: group -14.
    {"translated", 42},
    {"source-nat", 46},
    {"destination-nat", 47},
    {"masqueraded", 48},
    {"redirected", 49},
    {"port-forwarded", 110},
    // What every network is full of: group -15, which a query for everything leaves out.
    {"broadcast", 114},
    {"multicast", 115},
    {"address-assignment", 116},
    {"name-announcement", 117},
    {"monitoring", 119},
};

}  // namespace

std::span<const EventName> DefaultEventNames() { return kNames; }

NameTable EventNamesWith(const NameTable& given) {
  std::set<std::uint32_t> named;
  for (const auto& [name, code] : given) named.insert(code);
  NameTable names = given;
  for (const EventName& each : kNames) {
    if (!named.contains(each.code)) names.try_emplace(std::string(each.name), each.code);
  }
  return names;
}

}  // namespace packetdb::host
