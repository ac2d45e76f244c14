// The whole daemon: the packet filter logs, intake journals, queries are answered.
#include <csignal>
#include <gmock/gmock.h>

#include "tests/system/support/daemon.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/exit_codes.h"
#include "tests/system/support/live_daemon.h"
#include "tests/system/support/process_facts.h"
#include "tests/system/support/raw_client.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;

class LiveTest : public testing::Test {
 protected:
  LiveTest() { network_.LogUdp(kLogGroup, kLoggedPort, "pdb:input:flood:drop"); }
  void Start(const LiveDaemonOptions& options = {}) {
    daemon_ = std::make_unique<LiveDaemon>(network_, place_, options);
  }

  LiveNetwork network_;
  DaemonPlace place_;
  std::unique_ptr<LiveDaemon> daemon_;
};

TEST_F(LiveTest, WhatThePacketFilterCountsIsInTheJournal) {
  Start();
  network_.Send(kLoggedPort, 1234);
  EXPECT_TRUE(EverythingIsJournaled(network_, place_)) << daemon_->Log();
  EXPECT_EQ(Journaled(place_).packets, 1234u);
}

TEST_F(LiveTest, SourcesAreToldOfBeforeTheirFirstPacket) {
  place_.Configure(
      "[[log_group]]\ngroup = 5\n[[log_group]]\ngroup = 6\n[[capture]]\ninterface = \"lo\"\n");
  Start();
  const Outcome told = RunCommand({"status", "--socket", place_.socket()});
  EXPECT_THAT(told.out, testing::ContainsRegex("nflog:5 +0 .*iB"));
  EXPECT_THAT(told.out, testing::ContainsRegex("nflog:6 +0 .*iB"));
  EXPECT_THAT(told.out, testing::ContainsRegex("capture:lo +0 .*iB"));
}

TEST_F(LiveTest, WhatWaitsInTheKernelIsJournaledBeforeTheEnd) {
  Start();
  network_.Send(kLoggedPort, 100);
  ASSERT_TRUE(EverythingIsJournaled(network_, place_));
  daemon_->SignalIntake(SIGSTOP);
  network_.Send(kLoggedPort, 500);
  daemon_->program().Signal(SIGTERM);
  daemon_->SignalIntake(SIGCONT);
  EXPECT_EQ(daemon_->program().Wait().status, 0);
  const Daemon serving(place_.journals());
  EXPECT_EQ(SumsOf(AskByCommand(serving.socket(), {"all"})), network_.Counted());
}

TEST_F(LiveTest, QueryProcessThatDiesIsStartedAgainAndIntakeNoticesNothing) {
  Start();
  const pid_t intake = daemon_->Intake();
  daemon_->SignalQueries(SIGKILL);
  EXPECT_TRUE(
      daemon_->LogSays("the query process was killed by signal 9 (Killed) and is started "
                       "again in 0 s"));
  ASSERT_TRUE(daemon_->LogSays("the query process was started again"));
  network_.Send(kLoggedPort, 100);
  EXPECT_TRUE(EverythingIsJournaled(network_, place_));
  EXPECT_EQ(daemon_->Intake(), intake);
  daemon_->SignalQueries(SIGKILL);
  EXPECT_TRUE(daemon_->LogSays("is started again in 1 s"));
}

TEST_F(LiveTest, DeathOfIntakeEndsTheDaemonWithAStatusOfItsOwn) {
  Start();
  daemon_->SignalIntake(SIGKILL);
  const Outcome outcome = daemon_->program().Wait();
  EXPECT_EQ(outcome.status, kExitIntakeDied);
  EXPECT_THAT(outcome.err, HasSubstr("the intake process was killed by signal 9 (Killed): events "
                                     "are journaled no longer, stopping"));
  EXPECT_EQ(daemon_->Queries(), 0);
}

TEST_F(LiveTest, AllProcessesEndWithASupervisorThatIsKilled) {
  Start();
  const pid_t intake = daemon_->Intake();
  const pid_t queries = daemon_->Queries();
  daemon_->program().Signal(SIGKILL);
  daemon_->program().Wait();
  EXPECT_TRUE(Eventually([&] { return kill(intake, 0) != 0 && kill(queries, 0) != 0; }));
}

TEST_F(LiveTest, GroupThatSomebodyHoldsEndsTheStart) {
  Start();
  DaemonPlace other;
  Program second(network_.Inside(DaemonCommand({"--config", other.config()})));
  const Outcome outcome = second.Wait();
  EXPECT_EQ(outcome.status, kExitFailed);
  EXPECT_THAT(outcome.err, testing::ContainsRegex("packetdbd: .*log group 5.*packetdb"));
}

// Capabilities that open log groups and captures.
constexpr std::uint64_t kNetworkCapabilities = (1U << 12U) | (1U << 13U);

TEST_F(LiveTest, NoProcessHasRightsThatItDoesNotNeed) {
  Start();
  const pid_t supervisor = daemon_->program().pid();
  for (const pid_t process : {daemon_->Intake(), daemon_->Queries()}) {
    EXPECT_EQ(Told(process, "status", "CapPrm:"), "0000000000000000");
    EXPECT_EQ(Told(process, "status", "Seccomp:"), "2");
  }
  EXPECT_EQ(Told(supervisor, "status", "CapEff:"), "0000000000000000");
  EXPECT_EQ(std::stoull(Told(supervisor, "status", "CapPrm:"), nullptr, 16) & ~kNetworkCapabilities,
            0u);
  EXPECT_EQ(Told(supervisor, "status", "CapBnd:"), "0000000000000000");
  for (const pid_t process : {supervisor, daemon_->Intake(), daemon_->Queries()}) {
    EXPECT_EQ(Told(process, "status", "NoNewPrivs:"), "1");
    EXPECT_EQ(Told(process, "limits", "Max core file size"), "0");
  }
}

TEST_F(LiveTest, MetricsAreServedOnTheirSocketAndOnAPortOfThisMachine) {
  place_.Configure("loopback_port = 9469\n");
  Start();
  network_.Send(kLoggedPort, 10);
  ASSERT_TRUE(EverythingIsJournaled(network_, place_));
  const RawClient client(place_.metrics());
  client.Send("GET /metrics HTTP/1.1\r\nHost: here\r\n\r\n");
  EXPECT_THAT(client.Receive(1 << 20), HasSubstr("packetdb_events_received_total"));
  const std::string fetch =
      "exec 3<>/dev/tcp/127.0.0.1/9469; printf 'GET /metrics HTTP/1.1\r\nHost: here\r\n\r\n' >&3; "
      "cat <&3";
  EXPECT_THAT(network_.Run({"/bin/bash", "-c", fetch}),
              HasSubstr("packetdb_events_received_total"));
}

TEST_F(LiveTest, LogLevelReachesAllProcesses) {
  Start();
  daemon_->program().Signal(SIGUSR1);
  EXPECT_TRUE(daemon_->LogSays("log level 3"));
  EXPECT_EQ(daemon_->Stop().status, 0);
  EXPECT_EQ(daemon_->CountInLog("intake: done"), 1u) << "a line of level 3";
}

}  // namespace
}  // namespace packetdb::host::test
