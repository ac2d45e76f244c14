// What expressions and filters of tcpdump have in common, they mean alike: of a capture, tcpdump
// counts as many packets as there are matching rows.
//
// tcpdump is asked about IPv4 only, because rows are of nothing else. Both take later fragments for
// packets without ports. A packet whose ports the capture cut off satisfies no filter of tcpdump
// that asks for them, not even in a negation, while our row has port 0; no packet here is cut so.
#include <array>
#include <cstdio>
#include <gmock/gmock.h>
#include <memory>

#include "host/expression/predicate.h"
#include "host/sources/capture_reader.h"
#include "tests/host/expression/support.h"
#include "tests/host/sources/capture_writer.h"
#include "tests/host/sources/packets.h"
#include "tests/host/sources/temp_dir.h"

namespace packetdb::host::expression::test {
namespace {

const std::string kCapture = PACKETDB_SOURCE_DIR "/samples/lan.pcap";

std::vector<Row> RowsOf(const std::string& path) {
  CaptureReader reader(path, {});
  std::vector<Row> rows;
  while (const auto event = reader.Next()) rows.push_back({event->item, ""});
  EXPECT_FALSE(reader.failure());
  EXPECT_EQ(reader.counters().noted(Remark::kPortsNotCaptured), 0u);
  return rows;
}

// What a command writes to both of its outputs.
std::string OutputOf(const std::string& command) {
  struct Closer {
    void operator()(std::FILE* stream) const { pclose(stream); }
  };
  const std::unique_ptr<std::FILE, Closer> pipe(popen(command.c_str(), "re"));
  std::string output;
  std::array<char, 4096> part{};
  while (pipe && std::fgets(part.data(), part.size(), pipe.get()) != nullptr) output += part.data();
  return output;
}

std::string InShellQuotes(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

long TcpdumpCounts(const std::string& path, const std::string& filter) {
  // By way of its input, because as root it gives its rights up before it opens a file.
  const std::string output =
      OutputOf("tcpdump --count -r - " + InShellQuotes("(" + filter + ") and ip") + " 2>&1 <" +
               InShellQuotes(path));
  // "384 packets", or "1 packet".
  const std::size_t end = output.rfind(" packet");
  if (end == std::string::npos) {
    ADD_FAILURE() << output;
    return -1;
  }
  const std::size_t begin = output.find_last_of("\n", end);
  return std::stol(output.substr(begin == std::string::npos ? 0 : begin + 1));
}

std::uint64_t RowsCount(const std::vector<Row>& rows, const std::string& expression) {
  const Predicate predicate(Parse(expression, TestNames()));
  std::uint64_t count = 0;
  for (const Row& row : rows) count += predicate.Matches(row) ? row.event.m_Count : 0;
  return count;
}

class Tcpdump : public testing::Test {
 protected:
  void SetUp() override {
    if (OutputOf("tcpdump --version 2>&1").find("libpcap") == std::string::npos) {
      GTEST_SKIP() << "there is no tcpdump";
    }
  }
};

// Of both languages, and without a difference in precedence.
const std::vector<std::string> kExpressions = {
    "host 10.0.0.10",
    "src host 10.0.0.10",
    "dst host 10.0.0.10",
    "src 10.0.0.10",
    "ip host 10.0.0.11",
    "ip src 10.0.0.11",
    "src or dst host 10.0.0.12",
    "src and dst host 10.0.0.12",
    "dst or src host 198.51.100.80",
    "host 10.0.0.10 or 10.0.0.11",
    "host 10.0.0.10 and 198.51.100.80",
    "not host 10.0.0.10 and 10.0.0.11",
    "src host 10.0.0.10 or 10.0.0.11 or 10.0.0.12",
    "src host (10.0.0.10 or 10.0.0.12)",
    "src 10.0.0.10 and dst 10.0.0.1",
    "net 10.0.0.0/24",
    "net 10.0.0",
    "net 10",
    "src net 198.51.100.0/24",
    "src net 198.51.100.0 mask 255.255.255.0",
    "dst net 198.51.100.64/26",
    "src and dst net 10.0.0.0/24",
    "src net 10.0.0 or 198.51.100",
    "not net 10.0.0.0/24",
    "net 203.0.113.0/24",
    "net 0.0.0.0/0",
    "port 53",
    "src port 53",
    "dst port 53",
    "not port 53",
    "port 80",
    "port 80 or 53",
    "port 22 or port 25",
    "port (22 or 25)",
    "src or dst port 80",
    "src and dst port 80",
    "portrange 20-100",
    "src portrange 50-60",
    "dst portrange 30000-65535",
    "port 0",
    "not port 0",
    "tcp",
    "udp",
    "icmp",
    "sctp",
    "igmp",
    "ip",
    "not tcp",
    "tcp or udp",
    "tcp port 80",
    "tcp dst port 80",
    "tcp src port 80",
    "udp port 53",
    "udp src portrange 1-1023",
    "tcp port 80 or 22",
    "tcp portrange 1-79",
    "proto 6",
    "proto \\udp",
    "ip proto 1",
    "ip proto \\tcp",
    "not proto 17",
    "icmp or tcp port 22",
    "tcp and port 22",
    "tcp && port 80 && host 10.0.0.11",
    "udp || icmp",
    "! tcp",
    "not (tcp or udp)",
    "not (host 10.0.0.10 and port 53)",
    "host 10.0.0.10 and not port 53",
    "(host 10.0.0.10 and port 53) or (host 10.0.0.11 and port 80)",
    "host 10.0.0.10 and (port 53 or icmp)",
    "not not udp",
    "udp and not port 53",
    "dst host 203.0.113.7 and udp",
    "icmp and src host 10.0.0.10",
};

TEST_F(Tcpdump, CountsWhatMatchesInTheSample) {
  const std::vector<Row> rows = RowsOf(kCapture);
  ASSERT_GT(rows.size(), 300u);
  ASSERT_GE(kExpressions.size(), 60u);
  int telling = 0;
  for (const std::string& expression : kExpressions) {
    const std::uint64_t count = RowsCount(rows, expression);
    EXPECT_EQ(TcpdumpCounts(kCapture, expression), static_cast<long>(count)) << expression;
    telling += count != 0 && count != rows.size() ? 1 : 0;
  }
  EXPECT_GT(telling, 50) << "else the capture is too plain";
}

TEST_F(Tcpdump, CountsAlikeWhereTheWordsDiffer) {
  const std::vector<Row> rows = RowsOf(kCapture);
  const std::vector<std::pair<std::string, std::string>> pairs = {
      {"icmptype 8", "icmp[icmptype] == icmp-echo"},
      {"icmptype 0", "icmp[icmptype] == 0"},
      {"icmptype > 0", "icmp[icmptype] > 0"},
      {"icmptype != 8", "not icmp[icmptype] == 8"},
      {"icmpcode 3", "icmp[icmpcode] == 3"},
      {"not icmptype 8", "not icmp[0] == 8"},
      {"port > 1023", "portrange 1024-65535"},
      {"src port < 54", "src portrange 0-53"},
      {"port != 53", "not port 53"},
      {"port in [22 53 80]", "port 22 or port 53 or port 80"},
      {"host in [10.0.0.10 198.51.100.0/25]", "host 10.0.0.10 or net 198.51.100.0/25"},
      {"host 10.0.0.10-10.0.0.11", "host 10.0.0.10 or host 10.0.0.11"},
      {"proto [tcp icmp]", "tcp or icmp"},
      {"proto > 6", "ip[9] > 6"},
      {"flag later-fragment", "ip[6:2] & 0x1fff != 0"},
      {"tcp and port 80 or udp", "(tcp and port 80) or udp"},
      {"udp or tcp and port 80", "udp or (tcp and port 80)"},
  };
  for (const auto& [ours, theirs] : pairs) {
    EXPECT_EQ(TcpdumpCounts(kCapture, theirs), static_cast<long>(RowsCount(rows, ours))) << ours;
  }
}

// Of each protocol that has ports, whole and as a later fragment, and of one that has none.
std::string OddCapture(const host::test::TempDir& folder) {
  using host::test::Ethernet;
  using host::test::Ipv4;
  constexpr std::uint16_t kLater = 100;
  host::test::PcapFile file(host::test::kLinkEthernet);
  for (const int protocol : {1, 6, 17, 33, 47, 132, 136}) {
    for (const std::uint16_t fragment : {std::uint16_t{0}, kLater}) {
      const Ipv4 packet{
          static_cast<std::uint8_t>(protocol), host::test::UdpPayload(), {}, {}, {}, fragment};
      file.Packet(1763646544, 0, Ethernet(0x0800, packet.Build()));
    }
  }
  return folder.File("odd.pcap", file.bytes());
}

TEST_F(Tcpdump, CountsAlikeFragmentsAndWhateverHasPorts) {
  const host::test::TempDir folder;
  const std::string capture = OddCapture(folder);
  const std::vector<Row> rows = RowsOf(capture);
  ASSERT_EQ(rows.size(), 14u);
  for (const std::string expression :
       {"port 53", "src port 1000", "dst port 53", "not port 53", "port 0", "portrange 1-65535",
        "udp port 53", "udp", "tcp port 53", "sctp port 53", "sctp", "proto 33", "proto 136",
        "icmp", "not icmp", "src and dst port 53", "udp and not port 53", "not not port 53"}) {
    EXPECT_EQ(TcpdumpCounts(capture, expression), static_cast<long>(RowsCount(rows, expression)))
        << expression;
  }
  EXPECT_EQ(TcpdumpCounts(capture, "icmp[icmptype] == 3"),
            static_cast<long>(RowsCount(rows, "icmptype 3")));
}

}  // namespace
}  // namespace packetdb::host::expression::test
