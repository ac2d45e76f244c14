#include "host/sources/event_builder.h"

#include <algorithm>

#include "host/sources/ipv4.h"

namespace packetdb::host {
namespace {

std::uint32_t Flags(const LinkPacket& link, const Ipv4Packet& ip, const RuleOutcome& outcome) {
  return link.direction | VerdictFlag(outcome.verdict) |
         (ip.later_fragment ? kFlagLaterFragment : 0U);
}

packetdb::CDrvErrorItemV4 ItemOf(const Ipv4Packet& ip) {
  packetdb::CDrvErrorItemV4 item{};
  item.m_SrcIp = ip.source;
  item.m_DstIp = ip.destination;
  item.m_Word10 = ip.icmp;
  item.m_Protocol = ip.protocol;
  item.m_SrcPort = ip.source_port;
  item.m_DstPort = ip.destination_port;
  item.m_Count = 1;
  item.m_PacketSize = ip.total_length;
  return item;
}

}  // namespace

std::uint32_t JournalTime(std::int64_t unix_seconds, CaptureCounters& counters) {
  constexpr std::int64_t kFirst = packetdb::TIME_1980_OFFSET;
  const std::int64_t fitted = std::max(unix_seconds, kFirst);
  if (fitted != unix_seconds) counters.Note(Remark::kTimeClamped);
  return static_cast<std::uint32_t>(fitted - kFirst);
}

std::optional<Event> BuildEvent(LinkParser parser, const Frame& frame, const PacketTime& time,
                                const CaptureOptions& options, CaptureCounters& counters) {
  counters.CountPacket();
  const std::optional<LinkPacket> packet = parser(frame, counters);
  if (!packet) return std::nullopt;
  return BuildEvent(*packet, time, options, counters);
}

std::optional<Event> BuildEvent(const LinkPacket& packet, const PacketTime& time,
                                const CaptureOptions& options, CaptureCounters& counters) {
  const std::optional<Ipv4Packet> ip = ParseIpv4(packet.network, counters);
  if (!ip) return std::nullopt;
  if (time.seconds > kLatestTime) return counters.Skip(SkipReason::kTooLate);
  const RuleOutcome outcome = Classify(packet.prefix, options.rules, counters);
  Event event{.item = ItemOf(*ip),
              .interface = options.interfaces.Name(packet.interface_index),
              .time = time.seconds,
              .nanoseconds = time.nanoseconds};
  event.item.m_Flags = Flags(packet, *ip, outcome);
  event.item.m_ErrorCode = outcome.code;
  event.item.m_FirstTime = event.item.m_LastTime = JournalTime(time.seconds, counters);
  counters.CountEvent();
  return event;
}

}  // namespace packetdb::host
