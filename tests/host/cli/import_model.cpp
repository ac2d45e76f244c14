#include "tests/host/cli/import_model.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>

#include "packetdb/query.h"
#include "tests/host/sources/capture_writer.h"

namespace packetdb::host::test {
namespace {

constexpr std::uint32_t kIpAndUdpHeader = 28;

Bytes IpPacket(const Packet& packet) {
  const auto udp_length = static_cast<std::uint16_t>(8 + packet.data);
  const Bytes header = Big(packet.port) + Big(std::uint16_t{53}) + Big(udp_length) + Zeros(2);
  return Ipv4{.protocol = kUdp, .payload = header + Zeros(packet.data)}.Build();
}

PacketDbItemPacked RecordOf(const Packet& packet) {
  PacketDbItemPacked record{};
  record.m_AdapterNameHash =
      adapter_name_hash(packet.interface == 2 ? "wan0" : "if" + std::to_string(packet.interface));
  record.m_SrcIp = 0x0A000001;
  record.m_DstIp = 0x0A000002;
  record.m_Flags = packet.dropped ? 0x21 : 0x11;
  record.m_ErrorCode = packet.dropped ? 1 : 40;
  record.m_Protocol = 17;
  record.m_SrcPort = packet.port;
  record.m_DstPort = 53;
  record.m_FirstTime = packet.second;
  return record;
}

bool IsOlder(const Packet& a, const Packet& b) {
  return std::tie(a.second, a.microsecond) < std::tie(b.second, b.microsecond);
}

}  // namespace

Bytes CaptureOf(const Packets& packets) {
  PcapFile file(kLinkNflog);
  for (const Packet& packet : packets) {
    const char* prefix = packet.dropped ? "pdb:in:rule:drop" : "pdb:in:rule:accept";
    file.Packet(packet.second + TIME_1980_OFFSET, packet.microsecond,
                FullNflog(kInput, packet.interface, 0, prefix, IpPacket(packet)));
  }
  return file.bytes();
}

Packets InOrderOfTime(std::vector<Packets> captures) {
  Packets ordered;
  while (true) {
    Packets* oldest = nullptr;
    for (Packets& capture : captures) {
      if (capture.empty()) continue;
      if (oldest == nullptr || IsOlder(capture.front(), oldest->front())) {
        oldest = &capture;
      }
    }
    if (oldest == nullptr) return ordered;
    ordered.push_back(oldest->front());
    oldest->erase(oldest->begin());
  }
}

void ModelJournal::Import(const Packets& packets) {
  last_.clear();
  moved_ = 0;
  newest_ = appended_.empty() ? 0 : appended_.back().m_FirstTime;
  for (Packet packet : packets) {
    moved_ += packet.second < newest_ ? 1 : 0;
    newest_ = packet.second = std::max(packet.second, newest_);
    Journal(packet);
  }
}

void ModelJournal::Journal(const Packet& packet) {
  const Identity identity{packet.port, packet.interface, packet.dropped};
  const auto before = last_.find(identity);
  const bool repeats = before != last_.end() &&
                       packet.second - appended_[before->second].m_FirstTime < window_ &&
                       appended_.size() - before->second <= capacity_;
  if (!repeats) {
    last_[identity] = appended_.size();
    appended_.push_back(RecordOf(packet));
  }
  PacketDbItemPacked& record = appended_[last_[identity]];
  record.m_LastTime = packet.second;
  record.m_PacketSize += kIpAndUdpHeader + packet.data;
  record.m_CountCopy = ++record.m_Count;
}

std::vector<PacketDbItemPacked> ModelJournal::Records() const {
  const std::size_t kept = std::min(appended_.size(), capacity_);
  return {appended_.end() - static_cast<std::ptrdiff_t>(kept), appended_.end()};
}

void ExpectSameRecords(const std::vector<PacketDbItemPacked>& actual,
                       const std::vector<PacketDbItemPacked>& expected) {
  ASSERT_EQ(actual.size(), expected.size());
  for (std::size_t i = 0; i < actual.size(); ++i) {
    Bytes a(sizeof actual[i]);
    Bytes b(sizeof expected[i]);
    std::memcpy(a.data(), &actual[i], a.size());
    std::memcpy(b.data(), &expected[i], b.size());
    EXPECT_EQ(a, b) << "record " << i;
  }
}

}  // namespace packetdb::host::test
