// Imports beside other users of the journal.
#include <algorithm>
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <unistd.h>

#include "host/journals/group_writer.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/capture.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/exit_codes.h"
#include "tests/system/support/raw_client.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;

UdpPacket PacketAt(std::uint32_t seconds) {
  UdpPacket packet;
  packet.seconds = static_cast<std::uint32_t>(kEpoch) + seconds;
  packet.source = 0x0A000001;
  packet.destination = 0xC0000201;
  return packet;
}

class ImportTest : public testing::Test {
 protected:
  Outcome Import(const std::string& capture, const Program::Arguments& more = {}) {
    Program::Arguments all = {"import", capture, "-d", journals_.path(), "--capacity", "100"};
    all.insert(all.end(), more.begin(), more.end());
    return RunCommand(all);
  }
  std::string CaptureAt(std::uint32_t seconds) {
    return journals_.File("capture.pcap", Capture({PacketAt(seconds)}));
  }

  TemporaryDirectory journals_;
};

void ExpectInUse(const Outcome& outcome, const TemporaryDirectory& journals) {
  EXPECT_EQ(outcome.status, kExitFailed);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err,
            "packetdb: cannot open journal " + journals.Path("all.journal") +
                ": the record file is in use by another process; try again when that is done\n");
}

TEST_F(ImportTest, IsNotKeptOutByAClientThatIsMerelyConnected) {
  ASSERT_EQ(Import(CaptureAt(0)).status, 0);
  const Daemon daemon(journals_.path());
  const auto connection = Connect(daemon.socket());
  ASSERT_THAT(Ask(*connection, QueryOf("all")).rows, SizeIs(1));
  EXPECT_EQ(Import(CaptureAt(100)).status, 0);
  EXPECT_THAT(Ask(*connection, QueryOf("all")).rows, SizeIs(2));
}

TEST_F(ImportTest, SucceedsWhileAnAnswerIsOnItsWay) {
  constexpr std::uint32_t kMoreThanASocketTakes = 20000;
  std::vector<SeenEvent> events;
  for (std::uint32_t i = 0; i < kMoreThanASocketTakes; ++i) {
    events.push_back(EventAt(i));
  }
  Journal(journals_.path(), "edge", events);
  const Daemon daemon(journals_.path());
  RawClient client(daemon.socket());
  client.Send(RequestOf(QueryOf("edge")));
  ASSERT_EQ(client.Receive(100).size(), 100u);
  const Program::Arguments arguments = {"import",         CaptureAt(0), "-d",
                                        journals_.path(), "-g",         "edge"};
  EXPECT_EQ(RunCommand(arguments).status, 0);
  client.Vanish();
}

TEST_F(ImportTest, JournalThatIsBeingWrittenAnswersWithWhatItHas) {
  const Daemon daemon(journals_.path());
  GroupWriter writer({journals_.path(), "edge", 100, {}});
  const auto connection = Connect(daemon.socket());
  for (std::size_t count = 1; count <= 3; ++count) {
    const SeenEvent event = EventAt(static_cast<std::uint32_t>(count));
    writer.Add(event.event, event.interface);
    EXPECT_THAT(Ask(*connection, QueryOf("edge")).rows, SizeIs(count));
  }
}

TEST_F(ImportTest, OptionsInFrontOfCapturesDoNotSwallowThem) {
  const Outcome outcome = RunCommand({"import", "-d", journals_.path(), "--interface-name",
                                      "102=wan", "--rule", "x=drop", CaptureAt(0), CaptureAt(100)});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("2 captures"));
}

TEST_F(ImportTest, OutputThatCannotBeWrittenIsAFailure) {
  Program::Arguments shell = {"/bin/sh", "-c", "exec \"$0\" \"$@\" >/dev/full"};
  for (const std::string& part : Command({"import", CaptureAt(0), "-d", journals_.path()})) {
    shell.push_back(part);
  }
  const Outcome outcome = Program(shell).Wait();
  EXPECT_EQ(outcome.status, kExitFailed);
  EXPECT_THAT(outcome.err, HasSubstr("cannot write the output"));
}

TEST_F(ImportTest, ComplaintsNeverLandInAJournalWhenTheStreamsAreClosed) {
  const std::string cut = CaptureAt(0);
  std::filesystem::resize_file(cut, std::filesystem::file_size(cut) - 1);
  Program::Arguments shell = {"/bin/sh", "-c", "exec \"$0\" \"$@\" <&- >&- 2>&-"};
  for (const std::string& part : Command({"import", cut, "-d", journals_.path()})) {
    shell.push_back(part);
  }
  EXPECT_EQ(Program(shell).Wait().status, kExitFailed);
  EXPECT_EQ(RunCommand({"import", CaptureAt(0), "-d", journals_.path()}).status, 0);
}

TEST_F(ImportTest, PacketOfAFarFutureTakesNoOtherPacketAlong) {
  UdpPacket future = PacketAt(0);
  future.seconds = 0xF0000000;
  const std::string capture = journals_.File("f.pcap", Capture({future, PacketAt(5)}));
  const Outcome outcome = Import(capture);
  EXPECT_THAT(outcome.out, HasSubstr("1  time later than 2038-01-19"));
  const Daemon daemon(journals_.path());
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("all")).rows, SizeIs(1));
}

TEST_F(ImportTest, SecondImportAtTheSameTimeIsRefused) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  SocketDescriptor reading(ends[0]);
  SocketDescriptor writing(ends[1]);
  const std::string bytes = Capture({PacketAt(0)});
  ASSERT_EQ(write(writing.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  ProgramOptions options;
  options.input = reading.get();
  Program first(Command({"import", "-", "-d", journals_.path(), "--capacity", "100"}), options);
  ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(journals_.Path("all.journal")); }));
  ExpectInUse(Import(CaptureAt(0)), journals_);
  writing.Close();
  EXPECT_EQ(first.Wait().status, 0);
  EXPECT_EQ(Import(CaptureAt(1)).status, 0);
}

TEST_F(ImportTest, RepeatsWithinTheWindowAreMergedByTheirOwnTime) {
  const std::vector<UdpPacket> packets = {PacketAt(0), PacketAt(9), PacketAt(10), PacketAt(11)};
  const std::string capture = journals_.File("four.pcap", Capture(packets));
  ASSERT_EQ(Import(capture, {"--merge-window", "10"}).status, 0);
  const Daemon daemon(journals_.path());
  const Answer answer = Ask(daemon.socket(), QueryOf("capture"));
  ASSERT_THAT(answer.rows, SizeIs(2));
  EXPECT_EQ(std::uint32_t{answer.rows[1].m_Item.m_Count}, 2u);
  EXPECT_EQ(std::uint32_t{answer.rows[0].m_Item.m_Count}, 2u);
  EXPECT_EQ(std::uint32_t{answer.rows[0].m_Item.m_PacketSize}, 2 * kUdpPacketSize);
}

TEST_F(ImportTest, PacketsBeforeADamageAreJournaledAndTheDamageReported) {
  const std::string whole = Capture({PacketAt(0), PacketAt(1), PacketAt(100)});
  const std::string capture = journals_.File("cut.pcap", whole.substr(0, whole.size() - 3));
  const Outcome outcome = Import(capture);
  EXPECT_EQ(outcome.status, kExitFailed);
  EXPECT_THAT(outcome.err, AllOf(HasSubstr(capture), MatchesRegex("packetdb: [^\n]*\n")));
  const Daemon daemon(journals_.path());
  const Answer answer = Ask(daemon.socket(), QueryOf("all"));
  ASSERT_THAT(answer.rows, SizeIs(1));
  EXPECT_EQ(std::uint32_t{answer.rows[0].m_Item.m_Count}, 2u);
}

TEST_F(ImportTest, FullJournalKeepsTheNewest) {
  std::vector<UdpPacket> packets;
  for (std::uint32_t i = 0; i < 150; ++i) {
    packets.push_back(PacketAt(i));
    packets.back().destination_port = static_cast<std::uint16_t>(1000 + i);
  }
  ASSERT_EQ(Import(journals_.File("many.pcap", Capture(packets))).status, 0);
  const Daemon daemon(journals_.path());
  const Answer answer = Ask(daemon.socket(), QueryOf("all"));
  ASSERT_THAT(answer.rows, SizeIs(100));
  EXPECT_EQ(std::uint16_t{answer.rows.front().m_Item.m_DstPort}, 1149);
  EXPECT_EQ(std::uint16_t{answer.rows.back().m_Item.m_DstPort}, 1050);
}

}  // namespace
}  // namespace packetdb::host::test
