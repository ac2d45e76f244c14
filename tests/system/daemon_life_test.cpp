// From the start of the daemon to its end.
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <ostream>
#include <sys/stat.h>

#include "host/bus/client.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/exit_codes.h"
#include "tests/system/support/raw_client.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::StartsWith;

// A start that is expected to fail.
Outcome RunDaemon(const Program::Arguments& arguments) {
  return Program(DaemonCommand(arguments)).Wait();
}

class StopTest : public testing::TestWithParam<int> {};

TEST_P(StopTest, EndsWellAndRemovesTheSocket) {
  const TemporaryDirectory journals;
  Daemon daemon(journals.path());
  ASSERT_TRUE(std::filesystem::exists(daemon.socket()));
  const Outcome outcome = daemon.Stop(GetParam());
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr("stopping on "));
  EXPECT_FALSE(std::filesystem::exists(daemon.socket()));
}

INSTANTIATE_TEST_SUITE_P(Signals, StopTest, testing::Values(SIGTERM, SIGINT),
                         [](const auto& row) { return std::string(sigabbrev_np(row.param)); });

TEST(DaemonLifeTest, SignalsToTheWholeTerminalOrServiceLeaveConnectionsAlone) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  const Daemon daemon(journals.path());
  const auto connection = Connect(daemon.socket());
  ASSERT_THAT(Ask(*connection, QueryOf("edge")).rows, SizeIs(1));
  for (const pid_t child : daemon.Children()) {
    for (const int signal : {SIGINT, SIGHUP, SIGUSR1, SIGUSR2}) {
      kill(child, signal);
    }
  }
  EXPECT_THAT(Ask(*connection, QueryOf("edge")).rows, SizeIs(1));
}

TEST(DaemonLifeTest, ConnectionsEndWithADaemonThatIsKilled) {
  const TemporaryDirectory journals;
  Daemon daemon(journals.path());
  const RawClient client(daemon.socket());
  ASSERT_TRUE(Eventually([&] { return daemon.Children().size() == 1; }));
  daemon.program().Signal(SIGKILL);
  client.AwaitClose();
}

TEST(DaemonLifeTest, ReaderOfTheLogThatIsGoneDoesNotEndTheDaemon) {
  const TemporaryDirectory place;
  Journal(place.path(), "edge", {EventAt(0)});
  const std::string socket = place.Path("bus");
  Program::Arguments shell = {"/bin/sh", "-c", "\"$0\" \"$@\" 2>&1 | true"};
  for (const std::string& part : DaemonCommand(ServingArguments(place.path(), socket))) {
    shell.push_back(part);
  }
  const Program daemon(shell);
  // The socket is there a moment before anybody listens on it.
  const auto listens = [&] {
    BusFailure ignored;
    return ConnectTo(socket, {}, &ignored) != nullptr;
  };
  ASSERT_TRUE(Eventually(listens));
  for (int query = 0; query < 3; ++query) {
    EXPECT_THAT(Ask(socket, QueryOf("edge")).rows, SizeIs(1));
  }
}

TEST(DaemonLifeTest, MissingDirectoryEndsTheStartAndRemovesTheSocket) {
  const TemporaryDirectory place;
  const std::string socket = place.Path("bus");
  const Outcome outcome = RunDaemon(ServingArguments(place.Path("missing"), socket));
  EXPECT_EQ(outcome.status, kExitFailed);
  EXPECT_THAT(outcome.err, MatchesRegex("packetdbd: cannot read directory [^\n]*missing[^\n]*\n"));
  EXPECT_FALSE(std::filesystem::exists(socket));
}

TEST(DaemonLifeTest, SecondDaemonOnTheSocketIsRefused) {
  const TemporaryDirectory journals;
  Journal(journals.path(), "edge", {EventAt(0)});
  const Daemon daemon(journals.path());
  Program::Arguments arguments = ServingArguments(journals.path(), daemon.socket());
  arguments.insert(arguments.end(), {"--log-level", "0"});
  const Outcome second = RunDaemon(arguments);
  EXPECT_EQ(second.status, kExitFailed);
  EXPECT_EQ(second.err, "packetdbd: cannot listen at " + daemon.socket() +
                            ": another process serves the socket: " + daemon.socket() + "\n");
  EXPECT_THAT(Ask(daemon.socket(), QueryOf("edge")).rows, SizeIs(1)) << "the first goes on";
}

TEST(DaemonLifeTest, SocketOfADeadDaemonIsReplaced) {
  const TemporaryDirectory place;
  Journal(place.path(), "edge", {EventAt(0)});
  const std::string socket = place.Path("bus");
  for (int life = 0; life < 2; ++life) {
    Program daemon(DaemonCommand(ServingArguments(place.path(), socket)));
    ASSERT_TRUE(Eventually([&] { return daemon.Err().find("listening at") != std::string::npos; }));
    EXPECT_THAT(Ask(socket, QueryOf("edge")).rows, SizeIs(1));
    daemon.Signal(SIGKILL);
    EXPECT_EQ(daemon.Wait().signal, SIGKILL);
    EXPECT_TRUE(std::filesystem::exists(socket));
  }
}

TEST(DaemonLifeTest, FileThatIsNoSocketIsLeftAlone) {
  const TemporaryDirectory place;
  const std::string file = place.File("precious", "text");
  const Outcome outcome = RunDaemon(ServingArguments(place.path(), file));
  EXPECT_EQ(outcome.status, kExitFailed);
  EXPECT_THAT(outcome.err, HasSubstr("not a stream socket"));
  EXPECT_EQ(ReadFile(file), "text");
}

TEST(DaemonLifeTest, SocketHasTheModeGiven) {
  const TemporaryDirectory journals;
  const Daemon daemon(journals.path(), {"--socket-mode", "0606"});
  struct stat status {};
  ASSERT_EQ(stat(daemon.socket().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0606u);
}

struct BadStart {
  const char* name;
  Program::Arguments arguments;
  int status;
  const char* complaint;
};

void PrintTo(const BadStart& row, std::ostream* out) { *out << row.name; }

class BadStartTest : public testing::TestWithParam<BadStart> {};

TEST_P(BadStartTest, SaysWhyInOneLine) {
  const Outcome outcome = RunDaemon(GetParam().arguments);
  EXPECT_EQ(outcome.status, GetParam().status);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, AllOf(StartsWith("packetdbd: "), HasSubstr(GetParam().complaint),
                                 MatchesRegex("[^\n]*\n")));
}

Program::Arguments Nowhere(const Program::Arguments& more) {
  Program::Arguments all = {"-d", "/nonexistent/journals", "-s", "/nonexistent/bus"};
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, BadStartTest,
    testing::Values(
        BadStart{"NoConfiguration", Nowhere({"--config", "/nonexistent/packetdb.toml"}), kExitUsage,
                 "/nonexistent/packetdb.toml"},
        BadStart{"UnknownOption", Nowhere({"--colour"}), kExitUsage, "--colour"},
        BadStart{"SocketMode", Nowhere({"--socket-mode", "0999"}), kExitUsage, "'0999'"},
        BadStart{"LogTarget", Nowhere({"--log-target", "printer"}), kExitUsage, "'printer'"},
        BadStart{"LogLevel", Nowhere({"--log-level", "6"}), kExitUsage, "--log-level"},
        BadStart{"MaxConnections", Nowhere({"--max-connections", "0"}), kExitUsage,
                 "--max-connections"},
        BadStart{"IdleTimeout", Nowhere({"--idle-timeout", "soon"}), kExitUsage, "--idle-timeout"}),
    [](const auto& row) { return row.param.name; });

TEST(DaemonLifeTest, SocketPathThatIsTooLongIsRefused) {
  const TemporaryDirectory journals;
  const Outcome outcome =
      RunDaemon(ServingArguments(journals.path(), journals.Path(std::string(120, 'x'))));
  EXPECT_EQ(outcome.status, kExitFailed);
  EXPECT_THAT(outcome.err, HasSubstr("a socket path is longer than 107 bytes"));
}

TEST(DaemonLifeTest, VersionAndHelpGoToStandardOutput) {
  for (const char* option : {"--version", "--help"}) {
    const Outcome outcome = RunDaemon({option});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, EndsWith("\n"));
    EXPECT_EQ(outcome.err, "");
  }
}

}  // namespace
}  // namespace packetdb::host::test
