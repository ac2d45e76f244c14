// What the command's exit status, standard output and standard error say.
#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <ostream>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/system/support/ask.h"
#include "tests/system/support/capture.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/exit_codes.h"
#include "tests/system/support/records.h"
#include "tests/system/support/sanitizer.h"

namespace packetdb::host::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;

void ExpectOneLine(const Outcome& outcome, int status, const std::string& complaint) {
  EXPECT_EQ(outcome.status, status);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, AllOf(HasSubstr(complaint), MatchesRegex("packetdb: [^\n]*\n")));
}

TEST(ExitCodeTest, RowsAreSuccess) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  const Daemon daemon(journals.path());
  const Outcome outcome = RunCommand({"query", "edge", "-s", daemon.socket()});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, MatchesRegex("FIRST SEEN [^\n]*\n[^\n]*\n"));
  EXPECT_EQ(outcome.err, "");
}

TEST(ExitCodeTest, NothingMatchedIsSuccessWithANote) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  const Daemon daemon(journals.path());
  ExpectOneLine(RunCommand({"query", "edge", "-s", daemon.socket(), "--dst-port", "1"}), 0,
                "nothing matched in 'edge'");
}

TEST(ExitCodeTest, NameThatNobodyHasIsAFailureThatSaysSo) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  const Daemon daemon(journals.path());
  ExpectOneLine(RunCommand({"query", "nobody", "-s", daemon.socket()}), kExitFailed,
                "no journal or interface is called 'nobody'");
}

TEST(ExitCodeTest, JournalThatIsDamagedIsAFailureThatSaysSo) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  std::filesystem::resize_file(journals.Path("edge.journal"), 5000);
  const Daemon daemon(journals.path());
  ExpectOneLine(RunCommand({"query", "edge", "-s", daemon.socket()}), kExitFailed,
                "shorter than its header says");
}

#if !PACKETDB_ADDRESS_SANITIZER  // its own maps are far beyond any sensible limit
// Records far beyond what a query may have of memory, seen in so many seconds.
void MakeLargeJournal(const std::string& directory, std::uint32_t seconds) {
  std::vector<SeenEvent> events;
  for (std::uint32_t i = 0; i < 300000; ++i) {
    events.push_back(EventAt(i % seconds));
    events.back().event.m_SrcIp = i;
  }
  std::sort(events.begin(), events.end(), [](const SeenEvent& a, const SeenEvent& b) {
    return a.event.m_FirstTime < b.event.m_FirstTime;
  });
  Journal(directory, "edge", events);
}

TEST(ExitCodeTest, JournalBeyondTheMemoryLimitIsReadInPieces) {
  const TemporaryDirectory journals;
  MakeLargeJournal(journals.path(), 1000);
  const Daemon daemon(journals.path(), {"--max-memory", "16"});
  const Outcome outcome = RunCommand({"query", "edge", "-s", daemon.socket(), "-o", "raw"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 300000);
}

TEST(ExitCodeTest, SecondBeyondTheMemoryLimitIsAFailureThatSaysSo) {
  const TemporaryDirectory journals;
  MakeLargeJournal(journals.path(), 1);
  const Daemon daemon(journals.path(), {"--max-memory", "16"});
  ExpectOneLine(RunCommand({"query", "edge", "-s", daemon.socket()}), kExitFailed,
                "the query failed: ");
  ExpectOneLine(RunCommand({"query", "edge", "-s", daemon.socket(), "--dst-port", "1"}), 0,
                "nothing matched");
}
#endif

struct BadCall {
  const char* name;
  Program::Arguments arguments;
  const char* complaint;
};

void PrintTo(const BadCall& row, std::ostream* out) { *out << row.name; }

class BadCallTest : public testing::TestWithParam<BadCall> {};

TEST(ExitCodeTest, EmptyValueOfACriterionIsAUsageError) {
  ExpectOneLine(RunCommand({"query", "edge", "-s", "/nonexistent/bus", "--src", ""}), kExitUsage,
                "--src was given an empty value");
}

TEST_P(BadCallTest, IsAUsageErrorInOneLine) {
  ExpectOneLine(RunCommand(GetParam().arguments), kExitUsage, GetParam().complaint);
}

Program::Arguments Asking(const Program::Arguments& more) {
  Program::Arguments all = {"query", "edge", "-s", "/nonexistent/bus"};
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

Program::Arguments Importing(const Program::Arguments& more) {
  Program::Arguments all = {"import", Sample("lan.pcap"), "-d", "/nonexistent/journals"};
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, BadCallTest,
    testing::Values(
        BadCall{"Nothing", {}, "import or rules"},
        BadCall{"UnknownCommand", {"remember"}, "remember"},
        BadCall{"JournalsFormat", {"journals", "-s", "/nonexistent/bus", "-o", "xml"}, "'xml'"},
        BadCall{"Format", Asking({"-o", "xml"}), "'xml'"},
        BadCall{"Time", Asking({"--since", "tea time"}), "'tea time'"},
        BadCall{"EmptyTimeRange", Asking({"--since", "@20", "--until", "@10"}), "empty"},
        BadCall{"Address", Asking({"--src", "10.0.0"}), "'10.0.0'"},
        BadCall{"Network", Asking({"--dst", "10.0.0.1/8"}), "'10.0.0.1/8'"},
        BadCall{"Port", Asking({"--dst-port", "65536"}), "'65536'"},
        BadCall{"Protocol", Asking({"--protocol", "tpc"}), "'tpc'"},
        BadCall{"Event", Asking({"--event", "2000"}), "'2000'"},
        BadCall{"Span", Asking({"--last", "tea"}), "'tea'"},
        BadCall{"TwoBeginnings", Asking({"--last", "1h", "--since", "@1"}), "give one of them"},
        BadCall{"Direction", Asking({"--dir", "up"}), "'up'"},
        BadCall{"Field", Asking({"--fields", "src,sizes"}), "'sizes'"},
        BadCall{"Template", Asking({"-o", "template={nothing}"}), "'nothing'"},
        BadCall{"Colour", Asking({"--color", "red"}), "'red'"},
        BadCall{"Contradiction", Asking({"--flags", "in", "--not-flags", "in"}), "same flag"},
        BadCall{"Limit", Asking({"--limit", "0"}), "'0'"},
        BadCall{"LongName", {"query", std::string(32, 'x'), "-s", "/nonexistent/bus"}, "31 bytes"},
        BadCall{"Capacity", Importing({"--capacity", "0"}), "--capacity"},
        BadCall{"Interface", Importing({"--interface", "a b"}), "'a b'"},
        BadCall{"InterfaceName", Importing({"--interface-name", "lan"}), "'lan'"},
        BadCall{"Rule", Importing({"--rule", "x=perhaps"}), "'x=perhaps'"}),
    [](const auto& row) { return row.param.name; });

TEST(ExitCodeTest, NoSocketIsUnreachable) {
  ExpectOneLine(RunCommand(Asking({})), kExitUnreachable, "the path does not exist");
}

TEST(ExitCodeTest, SocketThatNobodyServesIsUnreachable) {
  const TemporaryDirectory journals;
  Daemon daemon(journals.path());
  daemon.Stop(SIGKILL);
  ExpectOneLine(RunCommand({"query", "edge", "-s", daemon.socket()}), kExitUnreachable,
                "nobody listens");
}

TEST(ExitCodeTest, FileThatIsNoSocketIsUnreachable) {
  const TemporaryDirectory place;
  ExpectOneLine(RunCommand({"query", "edge", "-s", place.File("file", "")}), kExitUnreachable,
                "not a stream socket");
}

TEST(ExitCodeTest, SocketOfOthersIsNotPermitted) {
  const TemporaryDirectory journals;
  const Daemon daemon(journals.path(), {"--socket-mode", "0000"});
  ProgramOptions like_others;
  like_others.obeys_modes = true;
  ExpectOneLine(RunCommand({"query", "edge", "-s", daemon.socket()}, like_others),
                kExitNotPermitted, "permission was denied");
}

TEST(ExitCodeTest, DaemonThatDoesNotAnswerIsGivenUp) {
  const TemporaryDirectory journals;
  Daemon daemon(journals.path());
  daemon.program().SignalAll(SIGSTOP);
  ExpectOneLine(RunCommand({"query", "edge", "-s", daemon.socket(), "--timeout", "1"}), kExitFailed,
                "the peer took too long");
}

TEST(ExitCodeTest, CaptureThatIsMissingFails) {
  const TemporaryDirectory journals;
  ExpectOneLine(RunCommand({"import", "/nonexistent/file", "-d", journals.path()}), kExitFailed,
                "/nonexistent/file");
}

TEST(ExitCodeTest, GroupNameThatIsNoneIsAUsageError) {
  const TemporaryDirectory journals;
  ExpectOneLine(RunCommand({"import", Sample("lan.pcap"), "-d", journals.path(), "-g", "../up"}),
                kExitUsage, "'../up'");
}

TEST(ExitCodeTest, OtherCapacityThanTheJournalsSucceedsAndSaysWhatBecameOfIt) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "all", {EventAt(0)});
  const Outcome outcome =
      RunCommand({"import", Sample("lan.pcap"), "-d", journals.path(), "--capacity", "77"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("the journal holds 77 records"));
  EXPECT_THAT(outcome.err,
              HasSubstr(journals.Path("all.journal") + " keeps 77 records from now on"));
}

TEST(ExitCodeTest, FullOutputFails) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  const Daemon daemon(journals.path());
  const SocketDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));
  ProgramOptions options;
  options.output = full.get();
  ExpectOneLine(RunCommand({"query", "edge", "-s", daemon.socket()}, options), kExitFailed,
                "No space left");
}

TEST(ExitCodeTest, ReaderThatGoesAwayEndsItQuietly) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  const Daemon daemon(journals.path());
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  const SocketDescriptor writing(ends[1]);
  close(ends[0]);
  ProgramOptions options;
  options.output = writing.get();
  const Outcome outcome = RunCommand({"query", "edge", "-s", daemon.socket()}, options);
  EXPECT_TRUE(outcome.status == 0 || outcome.signal == SIGPIPE) << outcome.status;
  EXPECT_EQ(outcome.err, "");
}

TEST(ExitCodeTest, VersionAndHelpGoToStandardOutput) {
  for (const char* option : {"--version", "--help"}) {
    const Outcome outcome = RunCommand({option});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.out, "");
    EXPECT_EQ(outcome.err, "");
  }
}

TEST(ExitCodeTest, PathsMayHoldBlanks) {
  const TemporaryDirectory place("a b");
  UdpPacket packet;
  packet.seconds = static_cast<std::uint32_t>(kEpoch);
  const std::string capture = place.File("my capture.pcap", Capture({packet}));
  const std::string directory = place.Path("my journals");
  const Outcome import = RunCommand({"import", capture, "-d", directory, "--capacity", "10"});
  ASSERT_EQ(import.status, 0) << import.err;
  const Daemon daemon(directory);
  EXPECT_THAT(daemon.socket(), HasSubstr(" "));
  EXPECT_THAT(AskByCommand(daemon.socket(), {"capture"}), testing::SizeIs(1));
}

}  // namespace
}  // namespace packetdb::host::test
