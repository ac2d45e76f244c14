#include "packetdb/query.h"
#include "src/log.h"

namespace packetdb {

namespace {

constexpr char kLogSource[] = "src/query";

// Either of these two flag bits stands for both.
constexpr std::uint32_t kTwinFlags = 0x00800000 | 0x01000000;

// Whether the record's time meets the query's range. Record times wrap at 32 bits, and the bounds
// are compared unsigned, so that a negative one acts as a huge one.
bool MatchTime(const Query& query, const CDrvErrorItemV4& event) {
  const std::uint32_t first = event.m_FirstTime + TIME_1980_OFFSET;
  const std::uint32_t last = event.m_LastTime + TIME_1980_OFFSET;
  if (first <= static_cast<std::uint64_t>(query.m_TimeEnd) &&
      last >= static_cast<std::uint64_t>(query.m_TimeStart)) {
    return true;
  }
  PACKETDB_LOG(log::kTrace) << "time drop: remote = " << query.m_TimeStart << " " << query.m_TimeEnd
                            << ", local = " << first << " " << last;
  return false;
}

bool MatchInterface(const Query& query, const PacketDbItem& item) {
  if (query.m_AdapterNameHash == 0 || query.m_AdapterNameHash == item.m_AdapterNameHash) {
    return true;
  }
  PACKETDB_LOG(log::kTrace) << "adapter name hash drop query: " << query.m_AdapterNameHash
                            << ", item:" << item.m_AdapterNameHash;
  return false;
}

bool MatchAddresses(const Query& query, const CDrvErrHash& event) {
  const endpoint source{query.m_IdSrc, query.m_IpSrcFrom, query.m_IpSrcTo, query.m_PortSrcFrom,
                        query.m_PortSrcTo};
  const endpoint destination{query.m_IdDst, query.m_IpDstFrom, query.m_IpDstTo, query.m_PortDstFrom,
                             query.m_PortDstTo};
  if (query.m_Direction == 1) {
    if ((source.match_src(event) && destination.match_dst(event)) ||
        (source.match_dst(event) && destination.match_src(event))) {
      return true;
    }
    PACKETDB_LOG(log::kTrace) << "IP/ID/port mismatched(dir=1)";
    return false;
  }
  if (source.match_src(event) && destination.match_dst(event)) {
    return true;
  }
  PACKETDB_LOG(log::kTrace) << "IP/ID/port mismatched(dir=0)";
  return false;
}

bool MatchFlags(const Query& query, std::uint32_t packet) {
  const std::uint32_t flags = (packet & kTwinFlags) != 0 ? packet | kTwinFlags : packet;
  if ((flags & query.m_FlagsWanted) != query.m_FlagsWanted) {
    PACKETDB_LOG(log::kTrace) << "Wanted flags not found: Packet: " << log::Hex(packet)
                              << " Wanted " << log::Hex(query.m_FlagsWanted);
    return false;
  }
  if ((flags & query.m_FlagsNotWanted) != 0) {
    PACKETDB_LOG(log::kTrace) << "Unwanted flags found: Packet: " << log::Hex(packet)
                              << " NotWanted " << log::Hex(query.m_FlagsNotWanted);
    return false;
  }
  PACKETDB_LOG(log::kTrace) << "Flags pass: flags: " << log::Hex(flags)
                            << " Packet: " << log::Hex(packet) << " Wanted "
                            << log::Hex(query.m_FlagsWanted) << " NotWanted "
                            << log::Hex(query.m_FlagsNotWanted);
  return true;
}

bool MatchProtocol(const Query& query, std::uint8_t protocol) {
  if (query.m_Protocols.match(protocol)) {
    return true;
  }
  PACKETDB_LOG(log::kTrace) << "Protocol mismatch " << protocol;
  return false;
}

bool MatchErrorCode(const Query& query, std::uint32_t code) {
  if (query.m_Errcodes.match(code)) {
    PACKETDB_LOG(log::kTrace) << "final pass";
    return true;
  }
  PACKETDB_LOG(log::kTrace) << "packet error code " << code << " doesn't match";
  return false;
}

}  // namespace

bool Query::match(const PacketDbItem& item) const {
  const CDrvErrorItemV4& event = item.m_Item;
  return MatchTime(*this, event) && MatchInterface(*this, item) && MatchAddresses(*this, event) &&
         MatchFlags(*this, event.m_Flags) && MatchProtocol(*this, event.m_Protocol) &&
         MatchErrorCode(*this, event.m_ErrorCode);
}

}  // namespace packetdb
