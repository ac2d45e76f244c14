// Writes what fuzzing of the sources begins with, into a folder for each target: records, packets
// and capture files of every kind, as they should be.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/datagrams.h"
#include "tests/host/sources/capture_writer.h"
#include "tests/host/sources/log_messages.h"

namespace packetdb::fuzz {
namespace {

using namespace host::test;  // the words that seeds are made of

constexpr std::uint32_t kSecond = 1'000'000'000;

class Folder {
 public:
  explicit Folder(std::string path) : path_(std::move(path)) {
    std::filesystem::create_directories(path_);
  }
  void Add(const std::string& name, const Bytes& bytes) const {
    std::ofstream file(path_ + "/" + name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }

 private:
  std::string path_;
};

Bytes Tcp() { return Ipv4{.protocol = kTcp}.Build(); }
Bytes Icmp() { return Ipv4{.protocol = kIcmp, .payload = {8, 0, 1, 2, 3, 4}}.Build(); }
Bytes Fragment() { return Ipv4{.fragment = 0x2001}.Build(); }
Bytes WithOptions() { return Ipv4{.options = Zeros(8)}.Build(); }

Bytes Record(std::uint8_t hook, std::uint32_t number, const Bytes& payload) {
  const Bytes stamp = Zeros(4) + Big(kSecond) + Zeros(4) + Big(999'999U);
  return LogMessage(5, Attribute(kTypePacketHeader, PacketHeader(hook)) +
                           Attribute(kTypePrefix, host::test::Text("pdb:in:1:drop") + Zeros(1)) +
                           Attribute(kTypeIndexIn, Big(1U)) + Attribute(kTypeIndexOut, Big(2U)) +
                           Attribute(kTypeMark, Big(7U)) + Attribute(kTypeTimestamp, stamp) +
                           Attribute(kTypeUid, Big(1000U)) + Attribute(kTypeSequence, Big(number)) +
                           Attribute(kTypePayload, payload));
}

void AddRecords(const Folder& folder) {
  const Bytes done = Message(kMessageDone, Zeros(4));
  folder.Add("one", JoinDatagrams({Record(kInput, 0, Udp())}));
  folder.Add("many", JoinDatagrams({Record(kForward, 1, Udp()) + Record(kOutput, 2, Tcp()) + done,
                                    Record(kPostrouting, 9, Icmp())}));
  folder.Add("device",
             JoinDatagrams({LogMessage(
                 5, Attribute(kTypePacketHeader, PacketHeader(0)) + Attribute(kTypePayload, Udp()),
                 kFamilyNetdev)}));
  folder.Add("answers",
             JoinDatagrams({Message(kMessageError, Refusal(0)),
                            Message(kMessageNoop, {}) + Message(kMessageError, Refusal(1))}));
}

void AddPackets(const Folder& folder) {
  folder.Add("udp", Zeros(2) + Udp());
  folder.Add("tcp", Zeros(2) + Tcp());
  folder.Add("icmp", Zeros(2) + Icmp());
  folder.Add("fragment", Zeros(2) + Fragment());
  folder.Add("options", Zeros(2) + WithOptions());
  folder.Add("cut", Bytes{0, 12} + FirstOf(Udp(), 20));
}

void AddPcap(const Folder& folder, const std::string& name, std::uint32_t link_type,
             const Bytes& packet) {
  PcapFile file(link_type);
  file.Packet(kSecond, 1, packet).Packet(kSecond - 1, 2, packet, 1500);
  folder.Add(name, file.bytes());
}

void AddPcapng(const Folder& folder) {
  PcapngFile file(kLinkEthernet);
  file.Packet(kSecond * std::uint64_t{1'000'000}, Ethernet(0x0800, Udp()));
  folder.Add("pcapng", file.bytes());
  PcapngFile swapped(kLinkRaw, Order::kSwapped, 9);
  swapped.Packet(kSecond * std::uint64_t{1'000'000'000}, Tcp());
  folder.Add("pcapng_swapped", swapped.bytes());
}

void AddCaptures(const Folder& folder) {
  AddPcap(folder, "ethernet", kLinkEthernet, Ethernet(0x0800, Udp()));
  AddPcap(folder, "tagged", kLinkEthernet, Ethernet(0x8100, Tag(7, 0x0800, Tcp())));
  AddPcap(folder, "cooked", kLinkCooked, Cooked(4, 0x0800, Udp()));
  AddPcap(folder, "cooked2", kLinkCooked2, Cooked2(0, 1, 0x0800, Udp()));
  AddPcap(folder, "raw", kLinkRaw, Icmp());
  AddPcap(folder, "raw_ipv4", kLinkIpv4, Fragment());
  AddPcap(folder, "null", kLinkNull, Bytes{2, 0, 0, 0} + Udp());
  AddPcap(folder, "loop", kLinkLoop, Bytes{0, 0, 0, 2} + Udp());
  AddPcap(folder, "nflog", kLinkNflog, FullNflog(kInput, 1, 2, "pdb:in:1:reject:7"));
  AddPcap(folder, "unsupported", kLinkPrism, Udp());
  PcapFile swapped(kLinkRaw, Order::kSwapped, true);
  swapped.Packet(kSecond, 999'999'999, WithOptions());
  folder.Add("swapped_nano", swapped.bytes());
  AddPcapng(folder);
}

}  // namespace
}  // namespace packetdb::fuzz

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  const std::string folder = argv[1];
  packetdb::fuzz::AddRecords(packetdb::fuzz::Folder(folder + "/log_records"));
  packetdb::fuzz::AddPackets(packetdb::fuzz::Folder(folder + "/ipv4"));
  packetdb::fuzz::AddCaptures(packetdb::fuzz::Folder(folder + "/capture"));
  return 0;
}
