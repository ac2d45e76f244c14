// Every packet cut at every length: one outcome each, and never a field that was not there.
#include <gmock/gmock.h>
#include <pcap/dlt.h>
#include <string>
#include <vector>

#include "host/sources/link_layer.h"
#include "tests/host/sources/capture_writer.h"
#include "tests/host/sources/decode.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::test {
namespace {

struct LinkCase {
  const char* name;
  int dlt;
  std::uint32_t link_type;  // in a file
  Bytes packet;
};

std::vector<LinkCase> LinkCases() {
  const Bytes ip = Ipv4{.protocol = kTcp, .payload = Bytes(20, 0x55), .options = Zeros(8)}.Build();
  return {
      {"Ethernet", DLT_EN10MB, kLinkEthernet, Ethernet(0x88a8, Tag(1, 0x8100, Tag(2, 0x0800, ip)))},
      {"Cooked", DLT_LINUX_SLL, kLinkCooked, Cooked(4, 0x0800, ip)},
      {"Cooked2", DLT_LINUX_SLL2, kLinkCooked2, Cooked2(4, 9, 0x0800, ip)},
      {"Raw", DLT_RAW, kLinkRaw, ip},
      {"Ipv4", DLT_IPV4, kLinkIpv4, ip},
      {"Null", DLT_NULL, kLinkNull, Ordered(Order::kNative, 2U) + ip},
      {"Loop", DLT_LOOP, kLinkLoop, Big(2U) + ip},
      {"Nflog", DLT_NFLOG, kLinkNflog, FullNflog(kForward, 2, 3, "pdb:fwd:1:drop", ip)},
  };
}

class TruncatedPacket : public testing::TestWithParam<LinkCase> {
 protected:
  // Ports are right or, with a remark, absent; everything else is right.
  void ExpectTrue(const Decoded& decoded) {
    const packetdb::CDrvErrorItemV4& item = decoded.event->item;
    EXPECT_EQ(+item.m_SrcIp, 0x0a000001U);
    EXPECT_EQ(+item.m_DstIp, 0x0a000002U);
    EXPECT_EQ(+item.m_PacketSize, 48U);
    const bool without_ports = decoded.counters.noted(Remark::kPortsNotCaptured) != 0;
    EXPECT_EQ(+item.m_DstPort, without_ports ? 0 : 0x5555);
  }
};

TEST_P(TruncatedPacket, GivesOneOutcomeAtEveryLength) {
  const Bytes& packet = GetParam().packet;
  const LinkParser parser = FindLinkParser(GetParam().dlt);
  for (std::size_t length = 0; length <= packet.size(); ++length) {
    const Decoded cut = DecodeFrame(parser, FirstOf(packet, length), {}, packet.size());
    if (cut.event) ExpectTrue(cut);
    const Decoded lying = DecodeFrame(parser, FirstOf(packet, length));
    if (lying.event) ExpectTrue(lying);
  }
  EXPECT_TRUE(DecodeFrame(parser, packet).event);
}

TEST_P(TruncatedPacket, AllLengthsInOneFileAreAccountedFor) {
  const Bytes& packet = GetParam().packet;
  PcapFile file(GetParam().link_type);
  for (std::size_t length = 0; length <= packet.size(); ++length) {
    file.Packet(315532805, 0, FirstOf(packet, length), static_cast<std::uint32_t>(packet.size()));
  }
  const TempDir dir;
  const ReadResult result = ReadCapture(dir.File("cut.pcap", file.bytes()));
  EXPECT_EQ(result.failure, "");
  EXPECT_EQ(result.counters.packets(), packet.size() + 1);
  EXPECT_EQ(result.counters.events(), 48U - 20U + 1U);  // from the fixed header on
}

INSTANTIATE_TEST_SUITE_P(EveryLinkType, TruncatedPacket, testing::ValuesIn(LinkCases()),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
}  // namespace packetdb::host::test
