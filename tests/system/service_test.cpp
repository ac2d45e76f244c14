// The daemon under a service manager, which the test plays.
#include <csignal>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "host/bus/socket_address.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/live_daemon.h"
#include "tests/system/support/service_manager.h"

namespace packetdb::host::test {
namespace {

using testing::Contains;
using testing::Key;
using testing::Not;
using testing::SizeIs;

// What comes in the time of a restart has to fit the socket's buffer, which is small for anybody
// but root.
int BearableRate() { return geteuid() == 0 ? 20000 : 500; }

class ServiceTest : public testing::Test {
 protected:
  ServiceTest() { network_.LogUdp(kLogGroup, kLoggedPort, "pdb:input:flood:drop"); }
  void Start(LiveDaemonOptions options = {}) {
    if (options.variables.empty()) {
      options.variables = {manager_.variable()};
    }
    daemon_.reset();
    daemon_ = std::make_unique<LiveDaemon>(network_, place_, options);
  }

  LiveNetwork network_;
  DaemonPlace place_;
  ServiceManager manager_;
  std::unique_ptr<LiveDaemon> daemon_;
};

TEST_F(ServiceTest, IsToldOfTheStartOfReloadsAndOfTheEnd) {
  Start();
  EXPECT_TRUE(manager_.Hears("READY=1\nSTATUS=Reading 1 sources, answering queries at "));
  manager_.ForgetSayings();
  daemon_->program().Signal(SIGHUP);
  EXPECT_TRUE(manager_.Hears("RELOADING=1\nMONOTONIC_USEC="));
  EXPECT_TRUE(manager_.Hears("READY=1"));
  EXPECT_EQ(daemon_->Stop().status, 0);
  EXPECT_TRUE(manager_.Hears("STOPPING=1"));
}

TEST_F(ServiceTest, StartThatFailsIsNeverReady) {
  place_.Configure("[[capture]]\ninterface = 'none0'\n");
  Program::Arguments arguments = {"/usr/bin/env", manager_.variable()};
  for (const std::string& argument : DaemonCommand({"--config", place_.config()})) {
    arguments.push_back(argument);
  }
  Program program(network_.Inside(arguments));
  EXPECT_NE(program.Wait().status, 0);
  EXPECT_EQ(manager_.Heard("READY=1"), 0u);
}

TEST_F(ServiceTest, WatchdogIsFedOnlyWhileIntakeTurns) {
  Start({.variables = {manager_.variable(), "WATCHDOG_USEC=200000"},
         .descriptors = {},
         .descriptor_names = {}});
  EXPECT_TRUE(manager_.Hears("WATCHDOG=1"));
  daemon_->SignalIntake(SIGSTOP);
  // What was on its way is let pass: of two quiet times in a row, the second is quiet.
  const auto is_quiet = [&] {
    manager_.ForgetSayings();
    poll(nullptr, 0, 300);
    return manager_.Heard("WATCHDOG=1") == 0;
  };
  EXPECT_TRUE(Eventually(is_quiet));
  daemon_->SignalIntake(SIGCONT);
  EXPECT_TRUE(manager_.Hears("WATCHDOG=1")) << "it turns again";
}

// A journal that is full and on a slow disk takes a while to be handed over.
TEST_F(ServiceTest, WatchdogIsFedWhileAReloadWaitsForIntake) {
  Start({.variables = {manager_.variable(), "WATCHDOG_USEC=200000"},
         .descriptors = {},
         .descriptor_names = {}});
  daemon_->SignalIntake(SIGSTOP);
  place_.Configure("[[log_group]]\ngroup = 7\n");
  daemon_->program().Signal(SIGHUP);
  ASSERT_TRUE(manager_.Hears("RELOADING=1"));
  manager_.ForgetSayings();
  EXPECT_TRUE(Eventually([&] { return manager_.Heard("WATCHDOG=1") >= 5; }));
  EXPECT_EQ(manager_.Heard("READY=1"), 0u);
  daemon_->SignalIntake(SIGCONT);
  EXPECT_TRUE(manager_.Hears("READY=1"));
}

TEST_F(ServiceTest, WatchdogIsFedUnderAFlood) {
  Start({.variables = {manager_.variable(), "WATCHDOG_USEC=2000000"},
         .descriptors = {},
         .descriptor_names = {}});
  const auto sending = network_.StartSending(kLoggedPort, 300000, 0);
  EXPECT_EQ(sending->Wait().status, 0);
  manager_.ForgetSayings();
  EXPECT_TRUE(manager_.Hears("WATCHDOG=1"));
}

TEST_F(ServiceTest, SocketForQueriesIsTakenOver) {
  const TemporaryDirectory elsewhere;
  const std::string path = elsewhere.Path("activated");
  const SocketDescriptor listening(NewStreamSocket(0));
  const SocketAddress address(path);
  ASSERT_EQ(bind(listening.get(), address.Get(), address.Size()), 0);
  ASSERT_EQ(listen(listening.get(), 8), 0);
  const auto early = Connect(path);  // who comes before the daemon waits for it
  Start({.variables = {manager_.variable()},
         .descriptors = {listening.get()},
         .descriptor_names = {"query"}});
  EXPECT_EQ(Ask(*early, QueryOf("none")).status, -3);
  EXPECT_NE(access(place_.socket().c_str(), F_OK), 0) << "it made none itself";
  EXPECT_EQ(daemon_->Stop().status, 0);
  EXPECT_EQ(access(path.c_str(), F_OK), 0) << "it is the service manager's";
}

TEST_F(ServiceTest, LogGroupsAreKeptAndForgotten) {
  Start();
  ASSERT_TRUE(manager_.Hears("READY=1"));
  EXPECT_THAT(manager_.stored(), Contains(Key("nflog-5")));
  place_.Configure("[[log_group]]\ngroup = 7\n");
  daemon_->program().Signal(SIGHUP);
  EXPECT_TRUE(manager_.Hears("FDSTOREREMOVE=1\nFDNAME=nflog-5"));
  EXPECT_THAT(manager_.stored(), Contains(Key("nflog-7")));
  EXPECT_THAT(manager_.stored(), Not(Contains(Key("nflog-5"))));
}

TEST_F(ServiceTest, LogGroupThatIsReadNoLongerIsForgottenAtTheStart) {
  Start();
  ASSERT_TRUE(manager_.Hears("READY=1"));
  EXPECT_EQ(daemon_->Stop().status, 0);
  place_.Configure("[[log_group]]\ngroup = 7\n");
  Start(manager_.OptionsWithStored());
  EXPECT_TRUE(manager_.Hears("FDSTOREREMOVE=1\nFDNAME=nflog-5"));
  EXPECT_TRUE(daemon_->LogSays("log group 5 was kept for us and is read no longer"));
}

TEST_F(ServiceTest, PacketsWaitForTheNextDaemon) {
  Start();
  ASSERT_TRUE(manager_.Hears("READY=1"));
  const auto sending = network_.StartSending(kLoggedPort, 4 * BearableRate(), BearableRate());
  for (int restart = 0; restart < 3; ++restart) {
    EXPECT_EQ(daemon_->Stop().status, 0);
    Start(manager_.OptionsWithStored());
    EXPECT_TRUE(daemon_->LogSays("log group 5 was kept for us"));
  }
  EXPECT_EQ(sending->Wait().status, 0);
  EXPECT_TRUE(EverythingIsJournaled(network_, place_)) << daemon_->Log();
}

TEST_F(ServiceTest, PacketsWaitForTheNextDaemonAlsoWhenOneIsKilled) {
  Start();
  ASSERT_TRUE(manager_.Hears("READY=1"));
  network_.Send(kLoggedPort, 100);
  ASSERT_TRUE(EverythingIsJournaled(network_, place_));
  const pid_t intake = daemon_->Intake();
  daemon_->SignalIntake(SIGSTOP);
  daemon_->program().Signal(SIGKILL);
  daemon_->program().Wait();
  ASSERT_EQ(kill(intake, SIGKILL), 0);
  network_.Send(kLoggedPort, 100);
  Start(manager_.OptionsWithStored());
  EXPECT_TRUE(EverythingIsJournaled(network_, place_)) << daemon_->Log();
}

}  // namespace
}  // namespace packetdb::host::test
