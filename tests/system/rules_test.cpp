// `packetdb rules`: what it prints is loaded for real, and what it finds is there.
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "host/bus/socket_descriptor.h"
#include "tests/system/support/live_daemon.h"
#include "tests/system/support/live_network.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;

// A program that only an administrator's search path knows.
constexpr const char* kIptablesRestore = "/usr/sbin/iptables-nft-restore";

std::string Printed(const std::string& filter) {
  const Outcome outcome = RunCommand({"rules", "print", "--for", filter});
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return outcome.out;
}

// Its last argument is looked at as a shell would give it to the program.
Outcome RunInside(const LiveNetwork& network, const Program::Arguments& command) {
  return Program(network.Inside(command)).Wait();
}

class RulesTest : public testing::Test {
 protected:
  Outcome Lint(const Program::Arguments& more = {}) const {
    Program::Arguments command = Command({"rules", "lint", "--config", daemon_.config()});
    command.insert(command.end(), more.begin(), more.end());
    return RunInside(network_, command);
  }
  // An interface of this network from which packets go nowhere.
  void AddWayOut() const {
    network_.Run(
        {"/bin/sh", "-c",
         "ip link add out0 type veth peer name out1 && ip addr add 192.0.2.1/24 dev out0 && "
         "ip link set out0 up && ip link set out1 up"});
  }

  LiveNetwork network_;
  DaemonPlace daemon_;
  TemporaryDirectory place_;
};

TEST_F(RulesTest, ThePrintedRulesOfNftablesLoadAndReplaceThemselves) {
  const std::string file = place_.File("rules.nft", Printed("nftables"));
  network_.Run({"/usr/sbin/nft", "-c", "-f", file});
  network_.Run({"/usr/sbin/nft", "-f", file});
  const std::string once = network_.Run({"/usr/sbin/nft", "list", "ruleset"});
  network_.Run({"/usr/sbin/nft", "-f", file});
  EXPECT_EQ(network_.Run({"/usr/sbin/nft", "list", "ruleset"}), once);
  EXPECT_THAT(once, HasSubstr("group 5 snaplen 128"));
}

TEST_F(RulesTest, WithTheDaemonThePrintedRulesOfNftablesAreInOrder) {
  network_.Filter(Printed("nftables"));
  const LiveDaemon running(network_, daemon_);
  const Outcome outcome = Lint();
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "");
  // The daemon hides its descriptors from users, in a network that is theirs too.
  EXPECT_THAT(outcome.err,
              testing::AnyOf("", HasSubstr("who holds log group 5 cannot be seen from here")));
}

TEST_F(RulesTest, WhatThePrintedRulesLogIsJournaled) {
  AddWayOut();
  network_.Filter(Printed("nftables"));
  const LiveDaemon running(network_, daemon_);
  network_.Run({"/bin/bash", "-c", "for i in 1 2 3; do echo x >/dev/udp/192.0.2.9/$i; done"});
  EXPECT_TRUE(EverythingIsJournaled(network_, daemon_)) << running.Log();
  EXPECT_EQ(Journaled(daemon_).packets, 3U);
  const auto rows = AskByCommand(daemon_.socket(), {"all", "--event", "40"});
  EXPECT_EQ(SumsOf(rows).packets, 3U);
}

TEST_F(RulesTest, ThePrintedRulesOfIptablesLoadAndAreInOrder) {
  const std::string file = place_.File("rules", Printed("iptables"));
  network_.Run({kIptablesRestore, "--noflush", "--test", file});
  network_.Run({kIptablesRestore, "--noflush", file});
  const Outcome outcome = Lint({"--ignore", "unread-group"});
  EXPECT_EQ(outcome.status, 0) << outcome.out;
}

TEST_F(RulesTest, ThePrintedRulesOfUfwLoadBehindItsOwn) {
  const std::string own =
      place_.File("own", "*filter\n:ufw-after-input - [0:0]\n:ufw-after-forward - [0:0]\nCOMMIT\n");
  const std::string file = place_.File("rules", Printed("ufw"));
  network_.Run({kIptablesRestore, "--noflush", own});
  network_.Run({kIptablesRestore, "--noflush", file});
  EXPECT_THAT(network_.Run({"/usr/sbin/nft", "list", "ruleset"}),
              HasSubstr("pdb:ufw-input:default:drop"));
}

TEST_F(RulesTest, ThePrintedCommandsForFirewalldAreAShellScript) {
  const std::string file = place_.File("rules.sh", Printed("firewalld"));
  network_.Run({"/bin/sh", "-n", file});
  // In the place of firewalld's own command: one that says what it is given.
  const std::string said = place_.Path("said");
  const std::string command =
      place_.File("firewall-cmd", "#!/bin/sh\nprintf '%s\\n' \"$@\" >>'" + said + "'\n");
  chmod(command.c_str(), 0700);
  network_.Run({"/usr/bin/env", "PATH=" + place_.path() + ":/usr/bin:/bin", "/bin/sh", file});
  EXPECT_THAT(ReadFile(said),
              HasSubstr("--add-rich-rule=rule priority=\"32767\" family=\"ipv4\" protocol "
                        "value=\"tcp\" nflog group=\"5\" prefix=\"pdb:public:rest-tcp:reject\"\n"));
}

TEST_F(RulesTest, AGroupThatTheConfigurationHasNotIsToldOf) {
  network_.LogUdp(7, kLoggedPort, "pdb:input:flood:drop");
  const Outcome outcome = Lint();
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, testing::StartsWith("unread-group: "));
  EXPECT_THAT(outcome.out, HasSubstr("  at  ip t7 c handle 2\n"));
}

TEST_F(RulesTest, FindingsComeAsJsonToo) {
  network_.LogUdp(7, kLoggedPort, "pdb:input:flood:reject");
  const Outcome outcome = Lint({"-o", "json"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.err, "");
  const auto object = nlohmann::json::parse(outcome.out);
  const auto& findings = object.at("findings");
  ASSERT_EQ(findings.size(), 2U);
  EXPECT_EQ(findings[0].at("kind"), "unread-group");
  EXPECT_EQ(findings[1].at("kind"), "wrong-verdict");
  const nlohmann::json place = {{"family", "ip"}, {"table", "t7"}, {"chain", "c"}, {"handle", 2}};
  EXPECT_EQ(findings[1].at("where"), nlohmann::json::array({place}));
  EXPECT_EQ(findings[1].at("what"),
            "the prefix 'pdb:input:flood:reject' says reject, but the rule's verdict is drop");
  EXPECT_EQ(findings[1].at("advice"), "end the prefix in :drop; the journal believes the prefix");
  EXPECT_THAT(object.at("notes"), testing::Contains("no rule logs to group 5"));
}

TEST_F(RulesTest, GroupsOfTheConfigurationAreThoseThatCount) {
  network_.LogUdp(7, kLoggedPort, "pdb:input:flood");
  daemon_.Configure("[[log_group]]\ngroup = 7\n[[rule]]\nprefix = 'pdb:*'\ncode = 60\n");
  const Outcome outcome = Lint({"--ignore", "unread-group"});
  EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
}

TEST_F(RulesTest, ASavedRulesetIsLookedAtFromAFileAndFromStandardInput) {
  network_.LogUdp(kLogGroup, kLoggedPort, "pdb:input:flood");
  const std::string saved = network_.Run({"/usr/sbin/nft", "-j", "list", "ruleset"});
  const std::string file = place_.File("saved.json", saved);
  const Outcome from_file = Lint({"--ruleset", file});
  EXPECT_EQ(from_file.status, 1);
  EXPECT_THAT(from_file.out, testing::StartsWith("malformed-prefix: "));
  const SocketDescriptor input(open(file.c_str(), O_RDONLY | O_CLOEXEC));
  ProgramOptions options;
  options.input = input.get();
  const Outcome from_input =
      RunCommand({"rules", "lint", "--config", daemon_.config(), "--ruleset", "-"}, options);
  EXPECT_EQ(from_input.out, from_file.out);
}

TEST_F(RulesTest, WhatCannotBeReadIsAFailureInOneLine) {
  const auto fails = [&](const Program::Arguments& more, int status, const std::string& why) {
    const Outcome outcome = Lint(more);
    EXPECT_EQ(outcome.status, status) << why;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, "packetdb: " + why + "\n");
  };
  const std::string missing = place_.Path("missing");
  fails({"--ruleset", missing}, 7, "cannot read " + missing + ": No such file or directory");
  fails({"--ruleset", place_.path()}, 7, "cannot read " + place_.path() + ": Is a directory");
  const std::string other = place_.File("other", "{}");
  fails({"--ruleset", other}, 7, other + ": no ruleset of nft: it has no list 'nftables'");
  fails({"-o", "xml"}, 2, "'xml' is not an output format: give text or json");
  fails({"--ignore", "all"}, 2,
        "'all' is not a kind of finding: give taken-group, unread-group, short-snaplen, "
        "long-prefix, malformed-prefix, wrong-verdict, same-prefix, no-prefix, logs-established, "
        "kernel-log, no-snaplen");
}

TEST_F(RulesTest, AConfigurationThatIsWrongIsToldOf) {
  daemon_.Configure("[[log_group]]\ngruop = 7\n");
  const Outcome outcome = Lint();
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.err, HasSubstr("unknown key 'gruop'"));
}

TEST_F(RulesTest, AnNftThatFailsIsAFailure) {
  const std::string nft = place_.File("nft", "#!/bin/sh\necho 'no netlink' >&2\nexit 1\n");
  chmod(nft.c_str(), 0700);
  Program::Arguments command = {"/usr/bin/env", "PATH=" + place_.path()};
  for (const std::string& argument : Command({"rules", "lint", "--config", daemon_.config()})) {
    command.push_back(argument);
  }
  const Outcome outcome = RunInside(network_, command);
  EXPECT_EQ(outcome.status, 7);
  EXPECT_EQ(outcome.err, "packetdb: nft ended with status 1: no netlink\n");
}

TEST(RulesOptionsTest, WhatMakesNoSenseIsRefused) {
  const auto refused = [](const Program::Arguments& arguments) {
    const Outcome outcome = RunCommand(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    return outcome.err;
  };
  EXPECT_EQ(refused({"rules", "print", "--for", "pf"}),
            "packetdb: 'pf' is not a packet filter that there is a snippet for: give nftables, "
            "iptables, firewalld, ufw\n");
  EXPECT_THAT(refused({"rules", "print", "--group", "65536"}), HasSubstr("--group"));
  EXPECT_THAT(refused({"rules"}), HasSubstr("packetdb: "));
}

TEST(RulesOptionsTest, TheGroupCanBeChosen) {
  const Outcome outcome = RunCommand({"rules", "print", "--group", "0"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("group 0 snaplen 128"));
}

}  // namespace
}  // namespace packetdb::host::test
