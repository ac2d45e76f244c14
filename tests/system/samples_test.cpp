// Real captures, all the way from file to answer.
#include <algorithm>
#include <gmock/gmock.h>
#include <map>

#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"

namespace packetdb::host::test {
namespace {

using Rows = std::vector<nlohmann::json>;

constexpr std::size_t kCaptureHeader = 24;
constexpr std::size_t kPacketHeader = 16;

class SampleTest : public testing::Test {
 protected:
  void Import(const Program::Arguments& arguments) {
    Program::Arguments all = {"import", "--directory", journals_.path()};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const Outcome outcome = RunCommand(all);
    ASSERT_EQ(outcome.status, 0) << outcome.err;
  }
  void ServeFirewall() {
    Import({Sample("firewall.pcap"), "--interface-name", "102=wan", "--interface-name", "103=lan"});
    daemon_.emplace(journals_.path());
  }
  Rows Ask(const Program::Arguments& arguments) {
    return AskByCommand(daemon_->socket(), arguments);
  }

  TemporaryDirectory journals_;
  std::optional<Daemon> daemon_;
};

// What the kernel counted under the rules of a verdict; it counted IPv6, which is not journaled, by
// rules of its own.
Sums KernelCounted(const std::string& verdict) {
  Sums sums;
  const auto counters = nlohmann::json::parse(ReadFile(Sample("counters.json")));
  for (const auto& [prefix, counter] : counters.items()) {
    if (prefix.ends_with(":" + verdict) && prefix.find(":ipv6:") == std::string::npos) {
      sums.packets += counter.at("packets").get<std::uint64_t>();
      sums.bytes += counter.at("bytes").get<std::uint64_t>();
    }
  }
  return sums;
}

bool IsLanAddress(const std::string& address) { return address.starts_with("10.0.0."); }

// The log names the interface that a packet came in by, and for what the firewall sends itself the
// one that it left by.
bool SeenOnLan(const nlohmann::json& row) {
  const auto& flags = row.at("flags");
  const bool came_in = std::find(flags.begin(), flags.end(), "in") != flags.end();
  return IsLanAddress(row.at(came_in ? "src" : "dst"));
}

std::uint32_t Own32(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  bytes.copy(reinterpret_cast<char*>(&value), sizeof value, at);
  return value;
}

// Of an Ethernet capture in this machine's byte order.
std::uint64_t CountIpv4Frames(const std::string& capture) {
  constexpr std::size_t kEtherType = 12;
  std::uint64_t count = 0;
  for (std::size_t at = kCaptureHeader; at < capture.size();) {
    const std::size_t frame = at + kPacketHeader;
    count += capture.compare(frame + kEtherType, 2, std::string("\x08\0", 2)) == 0 ? 1 : 0;
    at = frame + Own32(capture, at + 8);
  }
  return count;
}

TEST_F(SampleTest, DroppedPacketsAndBytesAreTheKernelsOwn) {
  ServeFirewall();
  EXPECT_EQ(SumsOf(Ask({"all", "--flags", "dropped"})), KernelCounted("drop"));
}

TEST_F(SampleTest, AcceptedPacketsAndBytesAreTheKernelsOwn) {
  ServeFirewall();
  EXPECT_EQ(SumsOf(Ask({"all", "--flags", "accepted"})), KernelCounted("accept"));
}

TEST_F(SampleTest, RejectedPacketsAndBytesAreTheKernelsOwn) {
  ServeFirewall();
  EXPECT_EQ(SumsOf(Ask({"all", "--flags", "rejected"})), KernelCounted("reject"));
}

TEST_F(SampleTest, EveryPacketHasOneVerdict) {
  ServeFirewall();
  const Sums all = SumsOf(Ask({"all"}));
  const Sums drop = KernelCounted("drop");
  const Sums accept = KernelCounted("accept");
  const Sums reject = KernelCounted("reject");
  EXPECT_EQ(all.packets, drop.packets + accept.packets + reject.packets);
  EXPECT_EQ(all.bytes, drop.bytes + accept.bytes + reject.bytes);
}

// The flood lasts less than the merge window, and a window may end in it.
TEST_F(SampleTest, FloodIsMergedIntoAtMostTwoRecords) {
  ServeFirewall();
  const Rows flood = Ask({"all", "--src", "203.0.113.99", "-p", "udp", "--dst-port", "5060"});
  EXPECT_LE(flood.size(), 2u);
  EXPECT_EQ(SumsOf(flood).packets, 900u);
}

TEST_F(SampleTest, ScanIsARecordPerPort) {
  ServeFirewall();
  const Rows scan = Ask({"all", "--src", "203.0.113.66", "-p", "tcp", "--dst-port", "1-200"});
  EXPECT_EQ(scan.size(), 200u);
}

TEST_F(SampleTest, InterfaceAnswersWithItsOwnRecordsOnly) {
  ServeFirewall();
  const Rows lan = Ask({"lan"});
  const Rows wan = Ask({"wan"});
  ASSERT_FALSE(lan.empty());
  ASSERT_FALSE(wan.empty());
  EXPECT_TRUE(std::all_of(lan.begin(), lan.end(), SeenOnLan));
  EXPECT_TRUE(std::none_of(wan.begin(), wan.end(), SeenOnLan));
}

TEST_F(SampleTest, GroupAnswersWithTheRecordsOfAllItsInterfaces) {
  ServeFirewall();
  Rows both = Ask({"lan"});
  const Rows wan = Ask({"wan"});
  both.insert(both.end(), wan.begin(), wan.end());
  EXPECT_THAT(Ask({"all"}), testing::UnorderedElementsAreArray(both));
}

TEST_F(SampleTest, OrdinaryCaptureIsJournaledUnderTheNameGiven) {
  Import({Sample("lan.pcap"), "--interface", "lan", "--group", "sniffed"});
  daemon_.emplace(journals_.path());
  const Rows lan = Ask({"lan"});
  EXPECT_EQ(SumsOf(lan).packets, CountIpv4Frames(ReadFile(Sample("lan.pcap"))));
  EXPECT_THAT(Ask({"sniffed"}), testing::ElementsAreArray(lan));
}

TEST_F(SampleTest, CapturesTogetherGiveTheEventsOfEach) {
  Import({Sample("firewall.pcap"), Sample("lan.pcap"), "--interface", "tap", "--interface-name",
          "102=wan", "--interface-name", "103=lan"});
  daemon_.emplace(journals_.path());
  EXPECT_EQ(SumsOf(Ask({"all", "--flags", "dropped"})), KernelCounted("drop"));
  EXPECT_EQ(SumsOf(Ask({"tap"})).packets, CountIpv4Frames(ReadFile(Sample("lan.pcap"))));
}

}  // namespace
}  // namespace packetdb::host::test
