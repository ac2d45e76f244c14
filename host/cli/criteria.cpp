#include "host/cli/criteria.h"

#include <cstring>
#include <fmt/format.h>

#include "host/cli/parse_endpoint.h"
#include "host/cli/parse_number.h"
#include "host/cli/usage_error.h"
#include "host/cli/words.h"
#include "host/times/parse_time.h"
#include "host/times/time_error.h"

namespace packetdb::host {

namespace {

constexpr std::int64_t kLargest32 = 0xFFFFFFFF;

constexpr CriterionOption kOptions[] = {
    {"-S,--since", &Criteria::since, "TIME", "last seen at this time or later"},
    {"-U,--until", &Criteria::until, "TIME", "first seen at this time or earlier"},
    {"-n,--limit", &Criteria::limit, "N", "only the newest N records"},
    {"--src", &Criteria::src, "ADDRESSES", "source address, network or range"},
    {"--dst", &Criteria::dst, "ADDRESSES", "destination address, network or range"},
    {"--src-port", &Criteria::src_port, "PORTS", "source port or range"},
    {"--dst-port", &Criteria::dst_port, "PORTS", "destination port or range"},
    {"--src-node", &Criteria::src_node, "ID", "source network node"},
    {"--dst-node", &Criteria::dst_node, "ID", "destination network node"},
    {"-p,--protocol", &Criteria::protocols, "LIST",
     "protocols by name or number; 'other' is all but icmp, tcp and udp"},
    {"-e,--event", &Criteria::events, "LIST",
     "event codes; a negative number is a group of codes, -1 in front is all"},
    {"--flags,--flag", &Criteria::flags, "LIST", "flags that must all be set, by name or as bits"},
    {"--not-flags,--not-flag", &Criteria::not_flags, "LIST", "flags that must not be set"},
};

std::uint32_t ParseUnsigned(const std::string& text, const char* what) {
  const auto number = ParseNumber(text, 1, kLargest32);
  if (!number) {
    throw UsageError(
        fmt::format("'{}' is not {}: give a number from 1 to {}", text, what, kLargest32));
  }
  return static_cast<std::uint32_t>(*number);
}

std::uint8_t ParseProtocol(const std::string& text) {
  constexpr std::uint8_t kOtherProtocols = 255;
  if (text == "other") {
    return kOtherProtocols;
  }
  if (const auto number = ProtocolNumber(text)) {
    return *number;
  }
  // 0 and 255 mean more than a protocol in a query; nobody meets these protocols on a network.
  const auto number = ParseNumber(text, 1, 254);
  if (!number) {
    throw UsageError(
        fmt::format("'{}' is not a protocol: give {}, other, or a number from 1 to "
                    "254",
                    text, AllProtocolWords()));
  }
  return static_cast<std::uint8_t>(*number);
}

int ParseEvent(const std::string& text) {
  constexpr int kLowestGroup = -15;
  constexpr int kHighestCode = 1999;
  const auto number = ParseNumber(text, kLowestGroup, kHighestCode);
  if (!number || *number == 0) {
    throw UsageError(
        fmt::format("'{}' is not an event: give a code from 1 to {}, or a group from "
                    "-1 to {}",
                    text, kHighestCode, kLowestGroup));
  }
  return static_cast<int>(*number);
}

std::uint32_t ParseFlags(const std::string& text) {
  std::uint32_t flags = 0;
  for (const std::string& part : SplitAtCommas(text)) {
    if (const auto bit = FlagBit(part)) {
      flags |= *bit;
    } else if (const auto bits = ParseNumber(part, 1, kLargest32)) {
      flags |= static_cast<std::uint32_t>(*bits);
    } else {
      throw UsageError(
          fmt::format("'{}' is not a flag: give {}, or bits as 0x10", part, AllFlagWords()));
    }
  }
  return flags;
}

void SetName(const std::string& name, Query& query) {
  if (name.empty() || name.size() >= sizeof query.m_Interface) {
    throw UsageError(fmt::format("'{}' cannot be the name of a journal or interface: 1 to {} bytes",
                                 name, sizeof query.m_Interface - 1));
  }
  std::memcpy(query.m_Interface, name.data(), name.size());
}

std::int64_t ParseTimeOption(const std::string& text, std::int64_t now) {
  try {
    return ParseQueryTime(text, now);
  } catch (const TimeError& error) {
    throw UsageError(error.what());
  }
}

void SetTimes(const Criteria& criteria, std::int64_t now, Query& query) {
  if (!criteria.since.empty()) {
    query.m_TimeStart = ParseTimeOption(criteria.since, now);
  }
  query.m_TimeEnd =
      criteria.until.empty() ? kLatestQueryTime : ParseTimeOption(criteria.until, now);
  if (query.m_TimeStart > query.m_TimeEnd) {
    throw UsageError("the time range is empty: --since is later than --until");
  }
  if (query.m_TimeEnd == 0) {
    throw UsageError("nothing is older than 1970: give a later --until");
  }
}

void SetEndpoints(const Criteria& criteria, Query& query) {
  if (!criteria.src.empty()) {
    const auto range = ParseAddresses(criteria.src);
    query.m_IpSrcFrom = range.from;
    query.m_IpSrcTo = range.to;
  }
  if (!criteria.dst.empty()) {
    const auto range = ParseAddresses(criteria.dst);
    query.m_IpDstFrom = range.from;
    query.m_IpDstTo = range.to;
  }
  if (!criteria.src_port.empty()) {
    const auto range = ParsePorts(criteria.src_port);
    query.m_PortSrcFrom = range.from;
    query.m_PortSrcTo = range.to;
  }
  if (!criteria.dst_port.empty()) {
    const auto range = ParsePorts(criteria.dst_port);
    query.m_PortDstFrom = range.from;
    query.m_PortDstTo = range.to;
  }
}

void SetNodes(const Criteria& criteria, Query& query) {
  if (!criteria.src_node.empty()) {
    query.m_IdSrc = ParseUnsigned(criteria.src_node, "a node");
  }
  if (!criteria.dst_node.empty()) {
    query.m_IdDst = ParseUnsigned(criteria.dst_node, "a node");
  }
}

void SetLists(const Criteria& criteria, Query& query) {
  if (!criteria.protocols.empty()) {
    for (const std::string& part : SplitAtCommas(criteria.protocols)) {
      query.m_Protocols.push_back(ParseProtocol(part));
    }
  }
  if (!criteria.events.empty()) {
    for (const std::string& part : SplitAtCommas(criteria.events)) {
      query.m_Errcodes.push_back(ParseEvent(part));
    }
  }
}

void SetFlags(const Criteria& criteria, Query& query) {
  if (!criteria.flags.empty()) {
    query.m_FlagsWanted = ParseFlags(criteria.flags);
  }
  if (!criteria.not_flags.empty()) {
    query.m_FlagsNotWanted = ParseFlags(criteria.not_flags);
  }
  if ((query.m_FlagsWanted & query.m_FlagsNotWanted) != 0) {
    throw UsageError("--flags and --not-flags name the same flag: nothing could match");
  }
}

}  // namespace

std::span<const CriterionOption> CriterionOptions() { return kOptions; }

Query MakeQuery(const Criteria& criteria, std::int64_t now) {
  Query query;
  SetName(criteria.name, query);
  SetTimes(criteria, now, query);
  SetEndpoints(criteria, query);
  SetNodes(criteria, query);
  SetLists(criteria, query);
  SetFlags(criteria, query);
  if (!criteria.limit.empty()) {
    query.m_RecCount = ParseUnsigned(criteria.limit, "a number of records");
  }
  query.m_Direction = criteria.both_directions ? 1 : 0;
  return query;
}

}  // namespace packetdb::host
