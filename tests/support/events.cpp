#include "tests/support/events.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace packetdb::test {

namespace {

// Beyond every record time, and far from the ends of its type.
constexpr std::int64_t kForever = std::int64_t{1} << 40;

std::string Side(std::uint32_t ip, std::uint16_t port, std::uint32_t id) {
  return std::to_string(ip) + ":" + std::to_string(port) + "/" + std::to_string(id);
}

}  // namespace

Event EventAt(std::uint32_t second) { return Event().First(second).Last(second).Count(1); }

Event DistinctEvent() {
  Event event;
  event.Src(0x01020304, 0x0506, 0x0708090a).Dst(0x11121314, 0x1516, 0x1718191a);
  event.Flags(0x21222324).Code(0x31323334).Protocol(0x41);
  event.m_Word10 = 0x5152;
  event.m_Dword1F = 0x61626364;
  event.m_Dword23 = 0x71727374;
  event.Count(0x81828384).Size(0x91929394).First(0xa1a2a3a4).Last(0xb1b2b3b4);
  event.m_Byte2B = 0xc1;
  event.m_CountCopy = 0xd1d2d3d4;
  event.m_Dword38 = 0xe1e2e3e4;
  event.m_Size = 0xf1f2f3f4;
  return event;
}

PacketDbItem Record(const CDrvErrorItemV4& event, std::uint64_t adapter_name_hash) {
  return {&event, adapter_name_hash};
}

std::string Text(const CDrvErrorItemV4& event) {
  std::ostringstream text;
  text << "src=" << Side(event.m_SrcIp, event.m_SrcPort, event.m_SrcId)
       << " dst=" << Side(event.m_DstIp, event.m_DstPort, event.m_DstId)
       << " flags=" << event.m_Flags << " code=" << event.m_ErrorCode
       << " protocol=" << +event.m_Protocol << " word10=" << event.m_Word10
       << " dword1f=" << event.m_Dword1F << " dword23=" << event.m_Dword23
       << " count=" << event.m_Count << " byte2b=" << +event.m_Byte2B
       << " countcopy=" << event.m_CountCopy << " first=" << event.m_FirstTime
       << " last=" << event.m_LastTime << " dword38=" << event.m_Dword38 << " size=" << event.m_Size
       << " bytes=" << event.m_PacketSize;
  return text.str();
}

std::string Text(const PacketDbItem& item) {
  return "hash=" + std::to_string(item.m_AdapterNameHash) + " " + Text(item.m_Item);
}

std::string Times(const CDrvErrorItemV4& event) {
  std::ostringstream text;
  text << event.m_FirstTime << "-" << event.m_LastTime << " x" << event.m_Count;
  if (event.m_PacketSize != 0) text << " " << event.m_PacketSize << "B";
  return text.str();
}

void SetInterface(Query& query, const std::string& interface) {
  std::memset(query.m_Interface, 0, sizeof query.m_Interface);
  std::copy_n(interface.begin(), std::min(interface.size(), sizeof query.m_Interface),
              query.m_Interface);
}

Query QueryFor(const std::string& interface) {
  Query query;
  SetInterface(query, interface);
  query.m_TimeEnd = kForever;
  return query;
}

Query QueryBetween(std::int64_t start, std::int64_t end, const std::string& interface) {
  Query query = QueryFor(interface);
  query.m_TimeStart = start + TIME_1980_OFFSET;
  query.m_TimeEnd = end + TIME_1980_OFFSET;
  return query;
}

}  // namespace packetdb::test
