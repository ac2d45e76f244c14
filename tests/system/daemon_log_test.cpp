// What the daemon's log shows, and how to change that.
#include <csignal>
#include <gmock/gmock.h>
#include <sstream>

#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

// A line of level 4 that is written before the answer is.
constexpr char kDetail[] = "Query version: ";
// One of level 2.
constexpr char kNotice[] = " is queried";

class DaemonLogTest : public testing::Test {
 protected:
  void Serve(const Program::Arguments& options) {
    Journal(journals_.path(), "edge", {EventAt(0)});
    daemon_.emplace(journals_.path(), options);
  }
  void AskOnce() { EXPECT_EQ(Ask(daemon_->socket(), QueryOf("edge")).rows.size(), 1u); }
  void Raise(const char* line) {
    daemon_->program().Signal(SIGUSR1);
    ASSERT_TRUE(daemon_->LogSays(line));
  }

  TemporaryDirectory journals_;
  std::optional<Daemon> daemon_;
};

TEST_F(DaemonLogTest, ShowsNoticesAndNoDetailsByDefault) {
  Serve({});
  AskOnce();
  EXPECT_EQ(daemon_->CountInLog(kNotice), 1u);
  EXPECT_EQ(daemon_->CountInLog(kDetail), 0u);
}

TEST_F(DaemonLogTest, LevelGivenDecidesWhatIsShown) {
  Serve({"--log-level", "4"});
  AskOnce();
  EXPECT_EQ(daemon_->CountInLog(kDetail), 1u);
}

TEST_F(DaemonLogTest, SignalRaisesTheLevelOfConnectionsFromThenOn) {
  Serve({});
  Raise("log level 3");
  Raise("log level 4");
  AskOnce();
  EXPECT_EQ(daemon_->CountInLog(kDetail), 1u);
}

TEST_F(DaemonLogTest, SignalLowersTheLevelOfConnectionsFromThenOn) {
  Serve({"--log-level", "4"});
  for (const char* line : {"log level 3", "log level 2", "log level 1"}) {
    daemon_->program().Signal(SIGUSR2);
    ASSERT_TRUE(daemon_->LogSays(line));
  }
  AskOnce();
  EXPECT_EQ(daemon_->CountInLog(kNotice), 0u);
  EXPECT_EQ(daemon_->CountInLog(kDetail), 0u);
}

TEST_F(DaemonLogTest, LevelStaysInItsRange) {
  Serve({"--log-level", "4"});
  Raise("log level 5");
  daemon_->program().Signal(SIGUSR1);
  daemon_->program().Signal(SIGUSR2);
  EXPECT_TRUE(daemon_->LogSays("log level 4"));
  EXPECT_EQ(daemon_->CountInLog("log level 6"), 0u);
}

TEST_F(DaemonLogTest, LinesForTheJournalStartWithTheirPriority) {
  Serve({"--log-target", "journal", "--log-level", "5"});
  AskOnce();
  ASSERT_TRUE(daemon_->BecomesIdle());
  std::istringstream lines(daemon_->Log());
  std::string all_priorities;
  for (std::string line; std::getline(lines, line);) {
    EXPECT_THAT(line, testing::MatchesRegex("<[367]>[^<].*"));
    all_priorities += line.substr(0, 3);
  }
  EXPECT_THAT(all_priorities, testing::HasSubstr("<6><7>")) << "notices and details";
}

TEST_F(DaemonLogTest, NameInAQueryCannotForgeALine) {
  Serve({});
  EXPECT_EQ(Ask(daemon_->socket(), QueryOf("a\nb")).status, -3);
  EXPECT_EQ(daemon_->CountInLog("a\\x0ab"), 2u) << daemon_->Log();
}

}  // namespace
}  // namespace packetdb::host::test
