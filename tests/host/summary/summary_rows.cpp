#include "tests/host/summary/summary_rows.h"

#include <random>

#include "host/sources/event.h"

namespace packetdb::host::test {

Row RowFrom(std::uint32_t host, std::uint16_t port, std::uint32_t packets, std::uint32_t seconds) {
  Row row = DroppedRow();
  row.event.m_SrcIp = 0x0A000000U + host;
  row.event.m_DstPort = port;
  row.event.m_Count = packets;
  row.event.m_PacketSize = 60 * packets;
  row.event.m_FirstTime = row.event.m_LastTime = seconds;
  return row;
}

std::vector<Row> RandomRows(std::size_t count, unsigned seed) {
  constexpr std::string_view kInterfaces[] = {"wan", "lan", "", "eth0"};
  std::mt19937 random(seed);
  const auto below = [&](std::uint32_t limit) {
    return static_cast<std::uint32_t>(random() % limit);
  };
  std::vector<Row> rows;
  while (rows.size() < count) {
    Row row;
    row.event.m_SrcIp = below(30) * 0x01010101U;
    row.event.m_DstIp = below(3);
    row.event.m_DstPort = static_cast<std::uint16_t>(below(5) * 13000);
    row.event.m_Protocol = below(2) == 0 ? 6 : 17;
    row.event.m_Flags = below(2) == 0 ? kFlagDropped : 3U << kRuleShift;
    row.event.m_Count = below(UINT32_MAX);
    row.event.m_PacketSize = below(UINT32_MAX);
    row.event.m_FirstTime = below(1'000'000);
    row.event.m_LastTime = row.event.m_FirstTime + below(60);
    row.interface = kInterfaces[below(4)];
    rows.push_back(row);
  }
  return rows;
}

}  // namespace packetdb::host::test
