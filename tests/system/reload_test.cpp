// A configuration that takes the place of another while packets come.
#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <unistd.h>

#include "tests/system/support/ask.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/live_daemon.h"

namespace packetdb::host::test {
namespace {

class ReloadTest : public testing::Test {
 protected:
  ReloadTest() : network_(), place_(), daemon_() {
    network_.LogUdp(kLogGroup, kLoggedPort, "pdb:input:flood:drop");
    daemon_ = std::make_unique<LiveDaemon>(network_, place_);
  }
  // Asks for it and waits for the line that tells how it went.
  void Reload(const std::string& line) {
    const std::size_t before = daemon_->CountInLog(line);
    daemon_->program().Signal(SIGHUP);
    EXPECT_TRUE(Eventually([&] { return daemon_->CountInLog(line) == before + 1; }))
        << daemon_->Log();
  }

  LiveNetwork network_;
  DaemonPlace place_;
  std::unique_ptr<LiveDaemon> daemon_;
};

constexpr char kDone[] = "configuration read again";
constexpr char kFailed[] = "reload failed, everything stays as it was";

TEST_F(ReloadTest, NothingIsLostWhilePacketsCome) {
  const auto sending = network_.StartSending(kLoggedPort, 20000, 5000);
  for (int i = 0; i < 5; ++i) {
    Reload(kDone);
  }
  EXPECT_EQ(sending->Wait().status, 0);
  EXPECT_TRUE(EverythingIsJournaled(network_, place_)) << daemon_->Log();
  EXPECT_EQ(Journaled(place_).packets, 20000u);
}

TEST_F(ReloadTest, AnotherIntakeAndAnotherQueryProcessTakeOver) {
  const pid_t intake = daemon_->Intake();
  const pid_t queries = daemon_->Queries();
  Reload(kDone);
  EXPECT_NE(daemon_->Intake(), intake);
  EXPECT_TRUE(Eventually([&] { return kill(queries, 0) != 0; })) << "it has nothing to do any more";
  network_.Send(kLoggedPort, 10);
  EXPECT_TRUE(EverythingIsJournaled(network_, place_));
}

TEST_F(ReloadTest, FileThatIsNotRightChangesNothing) {
  const pid_t intake = daemon_->Intake();
  const pid_t queries = daemon_->Queries();
  place_.Configure("colour = 'blue'\n");
  Reload(kFailed);
  EXPECT_TRUE(daemon_->LogSays("colour"));
  EXPECT_EQ(daemon_->Intake(), intake);
  EXPECT_EQ(daemon_->Queries(), queries);
  network_.Send(kLoggedPort, 10);
  EXPECT_TRUE(EverythingIsJournaled(network_, place_));
}

TEST_F(ReloadTest, SourceThatCannotBeOpenedChangesNothing) {
  const pid_t intake = daemon_->Intake();
  place_.Configure("[[log_group]]\ngroup = 5\n[[capture]]\ninterface = 'none0'\n");
  Reload(kFailed);
  EXPECT_TRUE(daemon_->LogSays("none0"));
  EXPECT_EQ(daemon_->Intake(), intake);
}

// The journal is somebody else's: intake cannot start, and the one before is started again.
TEST_F(ReloadTest, IntakeThatCannotStartBringsTheOneBeforeBack) {
  network_.Send(kLoggedPort, 10);
  ASSERT_TRUE(EverythingIsJournaled(network_, place_));
  place_.Configure("[[journal]]\nname = 'edge'\n");
  TemporaryDirectory elsewhere;
  std::string blocked = place_.journals() + "/edge.journal";
  elsewhere.File("file", "no journal");
  ASSERT_EQ(symlink(elsewhere.Path("file").c_str(), blocked.c_str()), 0);
  Reload(kFailed);
  EXPECT_NE(daemon_->Intake(), 0);
  network_.Send(kLoggedPort, 10);
  EXPECT_TRUE(EverythingIsJournaled(network_, place_)) << daemon_->Log();
}

TEST_F(ReloadTest, GroupsComeAndGo) {
  network_.LogUdp(7, 7777, "pdb:input:seven:drop");
  place_.Configure("[[log_group]]\ngroup = 5\n[[log_group]]\ngroup = 7\n");
  Reload(kDone);
  network_.Send(kLoggedPort, 10);
  network_.Send(7777, 20);
  EXPECT_TRUE(EverythingIsJournaled(network_, place_)) << daemon_->Log();
  place_.Configure("[[log_group]]\ngroup = 7\n");
  Reload(kDone);
  network_.Send(kLoggedPort, 10);
  network_.Send(7777, 20);
  EXPECT_TRUE(Eventually([&] { return Journaled(place_).packets == 50; })) << daemon_->Log();
}

TEST_F(ReloadTest, GroupThatIsReadNoLongerCanBeReadAgain) {
  network_.LogUdp(7, 7777, "pdb:input:seven:drop");
  const std::string both = "[[log_group]]\ngroup = 5\n[[log_group]]\ngroup = 7\n";
  for (const std::string& groups : {both, std::string("[[log_group]]\ngroup = 5\n"), both}) {
    place_.Configure(groups);
    Reload(kDone);
  }
  network_.Send(7777, 20);
  EXPECT_TRUE(EverythingIsJournaled(network_, place_)) << daemon_->Log();
}

TEST_F(ReloadTest, GroupOfAReloadThatFailedIsFree) {
  const std::string both = "[[log_group]]\ngroup = 5\n[[log_group]]\ngroup = 7\n";
  const std::string windows = "[[journal]]\nname = 'all'\nwindow = '";
  place_.Configure(both + windows + "7s'\n");
  Reload(kFailed);
  ASSERT_TRUE(daemon_->LogSays("window")) << daemon_->Log();
  place_.Configure(both);
  Reload(kDone);
}

TEST_F(ReloadTest, QueryThatRunsIsAnsweredToItsEnd) {
  network_.Send(kLoggedPort, 10);
  ASSERT_TRUE(EverythingIsJournaled(network_, place_));
  const auto connection = Connect(place_.socket());
  ASSERT_EQ(Ask(*connection, QueryOf("all")).status, 0);
  Reload(kDone);
  EXPECT_EQ(Ask(*connection, QueryOf("all")).status, 0) << "by the process that was left";
}

TEST_F(ReloadTest, WhatOnlyARestartChangesIsSaidAndStaysAsItWas) {
  std::string text = ReadFile(place_.config());
  text.replace(text.find(place_.socket()), place_.socket().size(), "/nonexistent/socket");
  std::ofstream(place_.config()) << text;
  Reload(kDone);
  EXPECT_TRUE(daemon_->LogSays("needs a restart: ")) << daemon_->Log();
  EXPECT_EQ(Ask(place_.socket(), QueryOf("none")).status, -3);
}

}  // namespace
}  // namespace packetdb::host::test
