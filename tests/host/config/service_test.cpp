// What concerns the daemon as a whole, who is served, and what that may cost.
#include <gmock/gmock.h>

#include "tests/host/config/support.h"

namespace packetdb::host::test {
namespace {

using testing::ElementsAre;

TEST(Top, TakesEveryKey) {
  const Configuration configuration = Read(
      "directory = \"/srv/journals\"\nuser = \"packetdb\"\nintake = false\n"
      "nodes_file = \"/n.toml\"\n");
  EXPECT_EQ(configuration.directory, "/srv/journals");
  EXPECT_EQ(configuration.user, "packetdb");
  EXPECT_FALSE(configuration.intake);
  EXPECT_EQ(configuration.nodes_file, "/n.toml");
}

TEST(Top, PathsAreAbsolute) {
  EXPECT_EQ(ProblemOf("directory = \"journals\"\n"),
            "c.toml:1:13: directory = \"journals\": it does not begin with '/'; give an absolute "
            "path of at most 4000 bytes, such as \"/var/lib/packetdb\"");
  EXPECT_EQ(ProblemOf("directory = \"\"\n"),
            "c.toml:1:13: directory = \"\": it is empty; give an absolute path of at most 4000 "
            "bytes, such as \"/var/lib/packetdb\"");
  EXPECT_EQ(ProblemOf("directory = \"/a\\u0000b\"\n"),
            "c.toml:1:13: directory = \"/a\\u0000b\": there is a control character in it; give an "
            "absolute path of at most 4000 bytes, such as \"/var/lib/packetdb\"");
  EXPECT_EQ(ProblemOf("nodes_file = \"n.toml\"\n"),
            "c.toml:1:14: nodes_file = \"n.toml\": it does not begin with '/'; give an absolute "
            "path of at most 4095 bytes, or \"\" for none, such as \"/etc/packetdb/nodes.toml\"");
}

TEST(Top, UserIsOneThatThereIs) {
  EXPECT_EQ(ProblemOf("user = \"nobdy\"\n"),
            "c.toml:1:8: user = \"nobdy\": there is no such user; give the name of a user of this "
            "system, or \"\", such as \"packetdb\"");
  EXPECT_EQ(ProblemOf("user = \"root\\u0000x\"\n"),
            "c.toml:1:8: user = \"root\\u0000x\": there is no such user; give the name of a user "
            "of this system, or \"\", such as \"packetdb\"");
  EXPECT_EQ(ProblemOf("user = 0\n"),
            "c.toml:1:8: user = 0: give the name of a user of this system, or \"\", such as "
            "\"packetdb\"");
}

TEST(Socket, TakesEveryKey) {
  const Configuration configuration = Read(R"(
[socket]
path = "/run/other"
mode = "0600"
group = "packetdb"
allowed_users = ["root", "packetdb"]
)");
  EXPECT_EQ(configuration.socket.path, "/run/other");
  EXPECT_EQ(configuration.socket.mode, 0600U);
  EXPECT_EQ(configuration.socket.group, "packetdb");
  EXPECT_THAT(configuration.socket.allowed_users, ElementsAre("root", "packetdb"));
}

TEST(Socket, PathHasRoomInAnAddress) {
  EXPECT_EQ(ProblemOf("[socket]\npath = \"/" + std::string(106, 's') + "\"\n"), "");
  EXPECT_EQ(ProblemOf("[socket]\npath = \"/" + std::string(107, 's') + "\"\n"),
            "c.toml:2:8: path = \"/" + std::string(63, 's') +
                "\"… (108 bytes): it has 108 bytes; give an absolute path of at most 107 bytes, "
                "such as \"/run/packetdb/socket\"");
}

TEST(Socket, ModeIsOctalDigitsInAText) {
  constexpr const char* kEnd =
      "give the octal digits of a mode up to 0777, as a text, such as \"0660\"";
  for (const char* mode : {"\"0800\"", "\"\"", "\"1777\"", "\"rw\"", "\"0660 \"", "\"-1\""}) {
    EXPECT_EQ(ProblemOf(std::string("[socket]\nmode = ") + mode + "\n"),
              std::string("c.toml:2:8: mode = ") + mode + ": " + kEnd);
  }
  EXPECT_EQ(ProblemOf("[socket]\nmode = 0o660\n"), std::string("c.toml:2:8: mode = 432: ") + kEnd);
}

TEST(Socket, GroupAndUsersAreOnesThatThereAre) {
  EXPECT_EQ(
      ProblemOf("[socket]\ngroup = \"staf\"\n"),
      "c.toml:2:9: group = \"staf\": there is no such group; give the name of a group of this "
      "system, or \"\", such as \"packetdb\"");
  EXPECT_EQ(ProblemOf("[socket]\nallowed_users = [\"root\", \"nobdy\"]\n"),
            "c.toml:2:26: allowed_users = \"nobdy\": there is no such user; give a list of names "
            "of users of this system, such as [\"root\"]");
  EXPECT_EQ(ProblemOf("[socket]\nallowed_users = [\"\"]\n"),
            "c.toml:2:18: allowed_users = \"\": there is no such user; give a list of names of "
            "users of this system, such as [\"root\"]");
}

TEST(Socket, DoubleBracketsAreRefused) {
  EXPECT_EQ(ProblemOf("[[socket]]\npath = \"/a\"\n"),
            "c.toml:1:1: 'socket' is there once: write [socket]");
}

TEST(Metrics, TakeEveryKey) {
  const Configuration configuration = Read("[metrics]\nsocket = \"\"\nloopback_port = 9469\n");
  EXPECT_EQ(configuration.metrics.socket, "");
  EXPECT_EQ(configuration.metrics.loopback_port, 9469);
}

TEST(Metrics, PortHasALimit) {
  EXPECT_EQ(ProblemOf("[metrics]\nloopback_port = 65536\n"),
            "c.toml:2:17: loopback_port = 65536: that is too large; give a whole number from 0 to "
            "65535, such as 9469");
}

TEST(Metrics, HaveASocketOfTheirOwn) {
  EXPECT_EQ(ProblemOf("[socket]\npath = \"/run/packetdb/metrics\"\n"),
            "c.toml:2:8: [socket] path and [metrics] socket are the same path");
  EXPECT_EQ(ProblemOf("[metrics]\nsocket = \"/run/packetdb/socket\"\n"),
            "c.toml:2:10: [socket] path and [metrics] socket are the same path");
}

TEST(Limits, TakeEveryKey) {
  const LimitSettings limits = Read(R"(
[limits]
connections = 10
connections_per_user = 2
message_size = "64KiB"
columns = 20
idle_time = "5min"
message_time = "5s"
stalled_time = "6s"
query_time = "7s"
memory = "512MiB"
rows = 5000
)")
                                   .limits;
  EXPECT_EQ(limits, (LimitSettings{10, 2, 64, 20, 300, 5, 6, 7, 512, 5000}));
}

TEST(Limits, MayBeLiftedFromMemoryAndRows) {
  const LimitSettings limits = Read("[limits]\nmemory = \"0B\"\nrows = 0\n").limits;
  EXPECT_EQ(limits.memory_mib, 0);
  EXPECT_EQ(limits.rows, 0);
}

TEST(Limits, HaveLimitsThemselves) {
  const auto problem = [](const std::string& text) {
    return ProblemOf("[limits]\n" + text + "\n");
  };
  EXPECT_EQ(problem("connections = 0"),
            "c.toml:2:15: connections = 0: that is too small; give a whole number from 1 to 4096, "
            "such as 2048");
  EXPECT_EQ(problem("columns = 65"),
            "c.toml:2:11: columns = 65: that is too large; give a whole number from 1 to 64, such "
            "as 32");
  EXPECT_EQ(problem("message_size = \"32KiB\""),
            "c.toml:2:16: message_size = \"32KiB\": that is too small; give a size from \"64KiB\" "
            "to \"16MiB\" in steps of \"1KiB\", such as \"1MiB\"");
  EXPECT_EQ(problem("idle_time = \"25h\""),
            "c.toml:2:13: idle_time = \"25h\": that is too large; give a duration from \"1s\" to "
            "\"24h\" in steps of \"1s\", such as \"30s\"");
  EXPECT_EQ(problem("memory = \"100KiB\""),
            "c.toml:2:10: memory = \"100KiB\": that is between two steps; give a size from \"0B\" "
            "to \"1TiB\" in steps of \"1MiB\", such as \"1GiB\"");
  EXPECT_EQ(problem("rows = 2147483648"),
            "c.toml:2:8: rows = 2147483648: that is too large; give a whole number from 0 to "
            "2147483647, such as 1000000");
}

TEST(Sync, TakesEveryKey) {
  const SyncSettings sync = Read("[sync]\ninterval = \"100ms\"\nbytes = \"16MiB\"\n").sync;
  EXPECT_EQ(sync.interval, std::chrono::milliseconds(100));
  EXPECT_EQ(sync.bytes, 16U << 20U);
  EXPECT_EQ(ProblemOf("[sync]\ninterval = \"1ms\"\n"),
            "c.toml:2:12: interval = \"1ms\": that is too small; give a duration from \"10ms\" to "
            "\"1h\", such as \"1s\"");
}

TEST(Log, TakesEveryKey) {
  const LogOptions log = Read("[log]\ntarget = \"syslog\"\nlevel = 4\n").log;
  EXPECT_EQ(log.target, LogTarget::kSyslog);
  EXPECT_EQ(log.level, 4);
  EXPECT_EQ(log.program, "packetdbd");
}

TEST(Log, RefusesOtherTargetsAndLevels) {
  EXPECT_EQ(ProblemOf("[log]\ntarget = \"file\"\n"),
            "c.toml:2:10: target = \"file\": give one of \"stderr\", \"journal\", \"syslog\", such "
            "as \"stderr\"");
  EXPECT_EQ(ProblemOf("[log]\nlevel = 6\n"),
            "c.toml:2:9: level = 6: that is too large; give a whole number from 0 to 5, such as 3");
}

TEST(UnknownKeys, AreNamedWithWhatMayBeMeant) {
  EXPECT_EQ(ProblemOf("[log]\nlevl = 3\n"),
            "c.toml:2:1: unknown key 'levl' in [log]; did you mean 'level'?");
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = 5\nrecieve_bufer = \"32MiB\"\n"),
            "c.toml:3:1: unknown key 'recieve_bufer' in [[log_group]]; did you mean "
            "'receive_buffer'?");
  EXPECT_EQ(ProblemOf("drectory = \"/a\"\n"),
            "c.toml:1:1: unknown key 'drectory'; did you mean 'directory'?");
  EXPECT_EQ(ProblemOf("[limit]\nrows = 5\n"),
            "c.toml:1:2: unknown key 'limit'; did you mean 'limits'?");
}

TEST(UnknownKeys, AreNamedWithTheTableThatTheyBelongTo) {
  EXPECT_EQ(ProblemOf("promiscuous = true\n"),
            "c.toml:1:1: unknown key 'promiscuous'; it belongs into [[capture]]");
  EXPECT_EQ(ProblemOf("[log]\nnodes_file = \"/n\"\n"),
            "c.toml:2:1: unknown key 'nodes_file' in [log]; it belongs before the first table");
}

TEST(UnknownKeys, AreNamedWithWhatThereIsOtherwise) {
  EXPECT_EQ(ProblemOf("[log]\ncolour = true\n"),
            "c.toml:2:1: unknown key 'colour' in [log]; there are target, level");
  EXPECT_EQ(ProblemOf("[log]\n\"a\\nb\" = true\n"),
            "c.toml:2:1: unknown key 'a\\u000Ab' in [log]; there are target, level");
  EXPECT_EQ(ProblemOf("[log]\n" + std::string(65, 'k') + " = true\n"),
            "c.toml:2:1: unknown key with a name of 65 bytes in [log]; there are target, level");
}

}  // namespace
}  // namespace packetdb::host::test
