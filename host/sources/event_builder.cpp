#include "host/sources/event_builder.h"

#include <algorithm>

#include "host/sources/ipv4.h"

namespace packetdb::host {
namespace {

packetdb::CDrvErrorItemV4 ItemOf(const LinkPacket& link, const Ipv4Packet& ip) {
  packetdb::CDrvErrorItemV4 item{};
  item.m_SrcIp = ip.source;
  item.m_DstIp = ip.destination;
  item.m_Word10 = ip.icmp;
  item.m_Protocol = ip.protocol;
  item.m_SrcPort = ip.source_port;
  item.m_DstPort = ip.destination_port;
  item.m_Count = 1;
  item.m_PacketSize = ip.total_length;
  item.m_Flags = link.direction | (ip.later_fragment ? kFlagLaterFragment : 0U);
  return item;
}

}  // namespace

std::uint32_t JournalTime(std::int64_t unix_seconds, CaptureCounters& counters) {
  constexpr std::int64_t kFirst = packetdb::TIME_1980_OFFSET;
  const std::int64_t fitted = std::max(unix_seconds, kFirst);
  if (fitted != unix_seconds) counters.Note(Remark::kTimeClamped);
  return static_cast<std::uint32_t>(fitted - kFirst);
}

bool FillEvent(const LinkPacket& packet, const PacketTime& time, CaptureCounters& counters,
               Event& event) {
  const std::optional<Ipv4Packet> ip = ParseIpv4(packet.network, counters);
  if (!ip) return false;
  if (time.seconds > kLatestTime) {
    counters.Skip(SkipReason::kTooLate);
    return false;
  }
  event.item = ItemOf(packet, *ip);
  event.item.m_FirstTime = event.item.m_LastTime = JournalTime(time.seconds, counters);
  event.time = time.seconds;
  event.nanoseconds = time.nanoseconds;
  counters.CountEvent();
  return true;
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
  Event event;
  if (!FillEvent(packet, time, counters, event)) return std::nullopt;
  const RuleOutcome outcome = Classify(packet.prefix, options.rules, counters);
  event.item.m_Flags |= VerdictFlag(outcome.verdict);
  event.item.m_ErrorCode = outcome.code;
  event.interface = options.interfaces.Name(packet.interface_index);
  return event;
}

}  // namespace packetdb::host
