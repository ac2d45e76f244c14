// An import that is killed leaves the journal of the packets that it got to.
//
// Each event is one append or one overwrite, and each of those happens or does not. So whenever the
// process ends, the journal is exactly that of the first k packets, for some k, and as every packet
// counts 1, k is the sum of the records' counts.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <gmock/gmock.h>
#include <map>
#include <random>
#include <thread>
#include <tuple>

#include "host/record_file/probe.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/capture.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

constexpr std::size_t kPackets = 50000;
constexpr std::uint32_t kPerSecond = 100;
constexpr char kCapacity[] = "60000";
constexpr std::uint32_t kWindow = 60;  // the default
constexpr int kKills = 15;             // of each kind

// The journal of the first `count` packets, oldest first: a packet joins the record of the same
// packet that began less than a window before it.
std::vector<CDrvErrorItemV4> ModelJournal(const std::vector<UdpPacket>& packets,
                                          std::size_t count) {
  constexpr std::uint32_t kCaptured = 60;
  std::vector<CDrvErrorItemV4> journal;
  std::map<std::tuple<std::uint32_t, std::uint16_t>, std::size_t> newest;
  for (std::size_t i = 0; i < count; ++i) {
    const UdpPacket& packet = packets[i];
    const std::uint32_t now = packet.seconds - TIME_1980_OFFSET;
    const auto identity = std::make_tuple(packet.source, packet.source_port);
    const auto found = newest.find(identity);
    if (found == newest.end() || journal[found->second].m_FirstTime + kWindow <= now) {
      CDrvErrorItemV4 record{};
      record.m_SrcIp = packet.source;
      record.m_DstIp = packet.destination;
      record.m_SrcPort = packet.source_port;
      record.m_DstPort = packet.destination_port;
      record.m_Protocol = 17;
      record.m_ErrorCode = kCaptured;
      record.m_FirstTime = now;
      newest[identity] = journal.size();
      journal.push_back(record);
    }
    CDrvErrorItemV4& record = journal[newest[identity]];
    record.m_Count += 1;
    record.m_PacketSize += kUdpPacketSize;
    record.m_LastTime = now;
  }
  return journal;
}

class ImportKillTest : public testing::Test {
 protected:
  ImportKillTest() : random_(std::random_device{}()), packets_(MakePackets()) {
    capture_ = place_.File("capture.pcap", Capture(packets_));
  }
  std::vector<UdpPacket> MakePackets() { return RepeatingPackets(kPackets, kPerSecond, random_); }

  Program::Arguments Import(const std::string& directory, const std::string& capture) const {
    return Command({"import", capture, "-d", directory, "--capacity", kCapacity});
  }
  // Only for choosing moments within one.
  std::chrono::nanoseconds TimeOfACompleteImport() const {
    const TemporaryDirectory journals;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Program(Import(journals.path(), capture_)).Wait().status, 0);
    return std::chrono::steady_clock::now() - start;
  }
  // What the daemon serves, against the model of as many packets as there seem to be; that number.
  std::size_t CheckServed(const std::string& directory) {
    const Daemon daemon(directory);
    EXPECT_EQ(daemon.CountInLog("cannot open"), 0u) << daemon.Log();
    Answer answer = Ask(daemon.socket(), QueryOf("all"));
    std::reverse(answer.rows.begin(), answer.rows.end());
    std::vector<std::string> rows;
    std::size_t packets = 0;
    for (const PacketDbClientItem& row : answer.rows) {
      rows.push_back(Served(row.m_Item));
      packets += row.m_Item.m_Count;
    }
    std::vector<std::string> expected;
    for (const CDrvErrorItemV4& record : ModelJournal(packets_, packets)) {
      expected.push_back(Served(record));
    }
    EXPECT_TRUE(rows == expected) << packets << " packets in " << rows.size() << " records, not "
                                  << expected.size() << ", or they differ";
    return packets;
  }
  // The journal that a killed import left takes up an import as if nothing had been.
  void CheckUsable(const std::string& directory, std::size_t packets) {
    UdpPacket later = packets_.back();
    later.seconds += 1000;
    packets_.resize(packets);
    packets_.push_back(later);
    const std::string capture = place_.File("later.pcap", Capture({later}));
    const Outcome outcome = Program(Import(directory, capture)).Wait();
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(CheckServed(directory), packets + 1);
  }

  TemporaryDirectory place_;
  std::mt19937 random_;
  std::vector<UdpPacket> packets_;
  std::string capture_;
};

// How many records the journal at `path` has taken so far.
std::uint64_t RecordsAppended(const std::string& path) {
  RecordFileInfo info;
  return ProbeRecordFile(path, &info) == 0 ? info.next : 0;
}

TEST_F(ImportKillTest, CompleteImportIsTheModelsJournal) {
  const TemporaryDirectory journals;
  const Outcome outcome = Program(Import(journals.path(), capture_)).Wait();
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(CheckServed(journals.path()), kPackets);
}

TEST_F(ImportKillTest, KilledWhileJournalingLeavesAPrefix) {
  const std::vector<UdpPacket> all = packets_;
  const std::size_t records = ModelJournal(all, kPackets).size();
  int interrupted = 0;
  for (int i = 0; i < kKills; ++i) {
    const TemporaryDirectory journals;
    packets_ = all;
    const std::size_t target = 1 + random_() % records;
    Program import(Import(journals.path(), capture_));
    while (RecordsAppended(journals.Path("all.journal")) < target && !import.HasEnded()) {
    }
    kill(import.pid(), SIGKILL);
    import.Wait();
    const std::size_t packets = CheckServed(journals.path());
    interrupted += packets < kPackets ? 1 : 0;
    CheckUsable(journals.path(), packets);
  }
  RecordProperty("interrupted", interrupted);
  EXPECT_GT(interrupted, 0) << "no kill came in time";
}

// The start and the end too: while directory, catalogue and journal are being made or closed.
TEST_F(ImportKillTest, KilledAtAnyMomentLeavesAPrefix) {
  const std::vector<UdpPacket> all = packets_;
  const std::chrono::nanoseconds whole = TimeOfACompleteImport();
  for (int i = 0; i < kKills; ++i) {
    const TemporaryDirectory journals;
    packets_ = all;
    Program import(Import(journals.path(), capture_));
    std::this_thread::sleep_for(whole * (random_() % 1000) / 1000);
    kill(import.pid(), SIGKILL);
    import.Wait();
    CheckUsable(journals.path(), CheckServed(journals.path()));
  }
}

}  // namespace
}  // namespace packetdb::host::test
