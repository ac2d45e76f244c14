// `packetdb query` as people use it: words, order, files, following.
#include <csignal>
#include <gmock/gmock.h>

#include "host/cli/exit_code.h"
#include "tests/system/support/ask.h"
#include "tests/system/support/daemon.h"
#include "tests/system/support/eventually.h"
#include "tests/system/support/records.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

SeenEvent Packet(std::uint32_t second, std::uint16_t port, std::uint32_t count,
                 const std::string& interface = "eth0") {
  SeenEvent seen = EventAt(second);
  seen.event.m_Protocol = 6;
  seen.event.m_DstPort = port;
  seen.event.m_Count = count;
  seen.interface = interface;
  return seen;
}

class AskingTest : public testing::Test {
 protected:
  AskingTest() {
    Journal(journals_.path(), "all",
            {Packet(1, 22, 1), Packet(2, 80, 2, "eth1"), Packet(3, 22, 3), Packet(4, 443, 4)});
    daemon_ = std::make_unique<Daemon>(journals_.path());
  }

  Program::Arguments Asking(const Program::Arguments& more) const {
    Program::Arguments all = {
        "query", "-s", daemon_->socket(), "-o", "template={dst_port} {count}", "--numeric"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }
  std::string Out(const Program::Arguments& more) const {
    const Outcome outcome = RunCommand(Asking(more));
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return outcome.out;
  }

  const TemporaryDirectory journals_;
  std::unique_ptr<Daemon> daemon_;
};

TEST_F(AskingTest, EverythingComesOldestFirst) {
  EXPECT_EQ(Out({}), "22 1\n80 2\n22 3\n443 4\n");
  EXPECT_EQ(Out({"-r"}), "443 4\n22 3\n80 2\n22 1\n");
}

TEST_F(AskingTest, NewestAreTheLastOfThem) {
  EXPECT_EQ(Out({"-n", "2"}), "22 3\n443 4\n");
  EXPECT_EQ(Out({"-n", "2", "-r"}), "443 4\n22 3\n");
}

TEST_F(AskingTest, ExpressionChooses) {
  EXPECT_EQ(Out({"dst", "port", "22"}), "22 1\n22 3\n");
  EXPECT_EQ(Out({"tcp and not port 22 and count > 2"}), "443 4\n");
  EXPECT_EQ(Out({"eth1", "count > 1"}), "80 2\n");
  EXPECT_EQ(Out({"-n", "1", "count < 4"}), "22 3\n") << "the newest of those that match";
}

TEST_F(AskingTest, OptionsAndAnExpressionBothHold) {
  EXPECT_EQ(Out({"--dst-port", "22", "count > 1"}), "22 3\n");
  EXPECT_EQ(Out({"-i", "eth1"}), "80 2\n");
  EXPECT_EQ(Out({"-i", "eth*", "--dst-port", "80"}), "80 2\n");
}

TEST_F(AskingTest, FileAnswersAsTheDaemonDoes) {
  const std::string file = journals_.Path("all.journal");
  const Outcome outcome = RunCommand({"query", "--file", file, "-o", "csv", "--fields",
                                      "dst_port,iface", "port 22 or iface eth1"});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(outcome.out, "dst_port,iface\r\n22,eth0\r\n80,eth1\r\n22,eth0\r\n");
}

TEST_F(AskingTest, MistakeIsShownInItsPlace) {
  const Outcome outcome = RunCommand(Asking({"dst prt 22"}));
  EXPECT_EQ(outcome.status, kExitUsage);
  EXPECT_EQ(outcome.out, "");
  EXPECT_THAT(outcome.err, HasSubstr("\n  dst prt 22\n      ^~~ "));
}

TEST_F(AskingTest, NothingIsToldApartOnRequest) {
  const Outcome nothing = RunCommand(Asking({"port 1"}));
  EXPECT_EQ(nothing.status, 0);
  EXPECT_EQ(nothing.err, "packetdb: nothing matched in 'all'\n");
  EXPECT_EQ(RunCommand(Asking({"port 1", "--exit-status"})).status, kExitNoMatch);
  EXPECT_EQ(RunCommand(Asking({"port 22", "--exit-status"})).status, 0);
}

TEST_F(AskingTest, TableOfNothingHasNoHead) {
  EXPECT_EQ(RunCommand({"query", "-s", daemon_->socket(), "port 1"}).out, "");
  EXPECT_EQ(RunCommand({"query", "-s", daemon_->socket(), "port 1", "-o", "json"}).out, "[]\n");
}

TEST_F(AskingTest, ExplanationSaysWhoTestsWhat) {
  const Outcome outcome = RunCommand(Asking({"port 22 and count > 2", "--explain"}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, MatchesRegex("daemon .*\nclient .*count >= 3\n"));
}

TEST_F(AskingTest, UsualSocketIsAskedUnlessOneIsGiven) {
  const Outcome outcome = RunCommand({"query", "--timeout", "1"});
  if (outcome.status == kExitUnreachable) {
    EXPECT_THAT(outcome.err, HasSubstr("/run/packetdb/socket"));
  }
  EXPECT_NE(outcome.status, kExitUsage);
}

TEST_F(AskingTest, FollowerGoesOnUntilItIsInterrupted) {
  Program follower(Command(Asking({"-f", "-n", "1"})));
  EXPECT_TRUE(Eventually([&] { return follower.Out() == "443 4\n"; })) << follower.Err();
  Journal(journals_.path(), "all", {Packet(5, 25, 5)});
  EXPECT_TRUE(Eventually([&] { return follower.Out() == "443 4\n25 5\n"; })) << follower.Err();
  follower.Signal(SIGINT);
  EXPECT_EQ(follower.Wait().status, 0);
}

}  // namespace
}  // namespace packetdb::host::test
