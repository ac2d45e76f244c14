#include "host/status/reason_words.h"

namespace packetdb::host {

// Switches without a default: the compiler asks for the word of a reason that is new.
std::string_view Word(SkipReason reason) {
  switch (reason) {
    case SkipReason::kIpv6:
      return "ipv6";
    case SkipReason::kArp:
      return "arp";
    case SkipReason::kNotIp:
      return "not_ip";
    case SkipReason::kTruncatedLink:
      return "truncated_link";
    case SkipReason::kTooManyTags:
      return "too_many_tags";
    case SkipReason::kTruncatedIpv4:
      return "truncated_ipv4";
    case SkipReason::kBadVersion:
      return "bad_version";
    case SkipReason::kBadHeaderLength:
      return "bad_header_length";
    case SkipReason::kBadTotalLength:
      return "bad_total_length";
    case SkipReason::kNflogDamaged:
      return "nflog_damaged";
    case SkipReason::kNflogFamily:
      return "nflog_family";
    case SkipReason::kNflogNoPayload:
      return "nflog_no_payload";
    case SkipReason::kTooLate:
      return "too_late";
  }
  return "unknown";
}

std::string_view Word(Remark remark) {
  switch (remark) {
    case Remark::kPortsNotCaptured:
      return "ports_not_captured";
    case Remark::kMalformedPrefix:
      return "malformed_prefix";
    case Remark::kTimeClamped:
      return "time_clamped";
  }
  return "unknown";
}

}  // namespace packetdb::host
