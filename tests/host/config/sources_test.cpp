// What is read: [[log_group]] and [[capture]].
#include <gmock/gmock.h>

#include "tests/host/config/support.h"

namespace packetdb::host::test {
namespace {

TEST(LogGroups, GroupFiveIsReadWhereNothingIsGiven) {
  const Configuration configuration = Read("");
  ASSERT_EQ(configuration.log_groups.size(), 1U);
  EXPECT_EQ(configuration.log_groups[0].group, 5);
  EXPECT_EQ(configuration.log_groups[0].receive_buffer, 32U << 20U);
  EXPECT_TRUE(configuration.captures.empty());
}

TEST(LogGroups, TakeEveryKey) {
  const Configuration configuration = Read(R"(
[[log_group]]
group = 7
copy_range = "96B"
queue_threshold = 10
flush_after = "50ms"
receive_buffer = "64MiB"
[[log_group]]
group = 0
)");
  ASSERT_EQ(configuration.log_groups.size(), 2U);
  const LogGroupSettings& first = configuration.log_groups[0];
  EXPECT_EQ(first.group, 7);
  EXPECT_EQ(first.copy_range, 96U);
  EXPECT_EQ(first.queue_threshold, 10U);
  EXPECT_EQ(first.flush_after, std::chrono::milliseconds(50));
  EXPECT_EQ(first.receive_buffer, 64U << 20U);
  EXPECT_EQ(configuration.log_groups[1].group, 0);
  EXPECT_EQ(configuration.log_groups[1].copy_range, 128U);
}

TEST(LogGroups, GroupHasToBeGiven) {
  EXPECT_EQ(ProblemOf("[[log_group]]\ncopy_range = \"96B\"\n"),
            "c.toml:1:1: [[log_group]] has no 'group': give a whole number from 0 to 65535, such "
            "as 5");
}

TEST(LogGroups, NumbersOutOfRangeAreRefused) {
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = 65536\n"),
            "c.toml:2:9: group = 65536: that is too large; give a whole number from 0 to 65535, "
            "such as 5");
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = -1\n"),
            "c.toml:2:9: group = -1: that is too small; give a whole number from 0 to 65535, such "
            "as 5");
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = 5\nqueue_threshold = 0\n"),
            "c.toml:3:19: queue_threshold = 0: that is too small; give a whole number from 1 to "
            "65535, such as 400");
}

TEST(LogGroups, SizesNeedAUnit) {
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = 5\nreceive_buffer = 33554432\n"),
            "c.toml:3:18: receive_buffer = 33554432: a unit is missing; give a size from "
            "\"64KiB\" to \"512MiB\", such as \"32MiB\"");
  EXPECT_EQ(
      ProblemOf("[[log_group]]\ngroup = 5\nreceive_buffer = \"32MB\"\n"),
      "c.toml:3:18: receive_buffer = \"32MB\": give a size from \"64KiB\" to \"512MiB\", such "
      "as \"32MiB\"");
}

TEST(LogGroups, SizesAndTimesHaveLimits) {
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = 5\ncopy_range = \"19B\"\n"),
            "c.toml:3:14: copy_range = \"19B\": that is too small; give a size from \"20B\" to "
            "\"32KiB\", such as \"128B\"");
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = 5\nreceive_buffer = \"1GiB\"\n"),
            "c.toml:3:18: receive_buffer = \"1GiB\": that is too large; give a size from \"64KiB\" "
            "to \"512MiB\", such as \"32MiB\"");
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = 5\nflush_after = \"15ms\"\n"),
            "c.toml:3:15: flush_after = \"15ms\": that is between two steps; give a duration from "
            "\"10ms\" to \"10s\" in steps of \"10ms\", such as \"10ms\"");
}

TEST(LogGroups, OneIsReadOnceOnly) {
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = 5\n[[log_group]]\ngroup = 5\n"),
            "c.toml:4:9: group = 5 is there already, at c.toml:2:9");
}

TEST(LogGroups, OneWithAFaultIsThereAllTheSame) {
  EXPECT_EQ(ProblemOf("[[log_group]]\ngroup = 7\nsize = 1\n[[journal]]\nname = \"a\"\n"
                      "log_groups = [7]\n"),
            "c.toml:3:1: unknown key 'size' in [[log_group]]; there are group, copy_range, "
            "queue_threshold, flush_after, receive_buffer");
}

TEST(LogGroups, SingleBracketsAreRefused) {
  EXPECT_EQ(ProblemOf("[log_group]\ngroup = 5\n"),
            "c.toml:1:1: there may be several of 'log_group': write [[log_group]]");
  EXPECT_EQ(ProblemOf("log_group = [5]\n"), "c.toml:1:14: 'log_group' is a list of tables");
}

TEST(Captures, TakeEveryKey) {
  const Configuration configuration = Read(R"(
[[capture]]
interface = "eth0"
snap_length = "96B"
promiscuous = true
filter = "tcp port 443"
buffer = "32MiB"
)");
  ASSERT_EQ(configuration.captures.size(), 1U);
  const CaptureSettings& capture = configuration.captures[0];
  EXPECT_EQ(capture.interface, "eth0");
  EXPECT_EQ(capture.snap_length, 96U);
  EXPECT_TRUE(capture.promiscuous);
  EXPECT_EQ(capture.filter, "tcp port 443");
  EXPECT_EQ(capture.buffer_bytes, 32U << 20U);
  EXPECT_TRUE(configuration.log_groups.empty()) << "a capture takes the place of group 5";
}

TEST(Captures, InterfaceHasToBeAName) {
  constexpr const char* kEnd =
      "give the name of an interface, 1 to 31 bytes without blanks and '/', such as \"eth0\"";
  const auto problem = [](const std::string& name) {
    return ProblemOf("[[capture]]\ninterface = \"" + name + "\"\n");
  };
  EXPECT_EQ(problem(""), std::string("c.toml:2:13: interface = \"\": ") + kEnd);
  EXPECT_EQ(problem("a b"), std::string("c.toml:2:13: interface = \"a b\": ") + kEnd);
  EXPECT_EQ(problem("a/b"), std::string("c.toml:2:13: interface = \"a/b\": ") + kEnd);
  EXPECT_EQ(
      problem(R"(a\u0000b)"),
      std::string("c.toml:2:13: interface = \"a\\u0000b\": there is a control character in it; ") +
          kEnd);
  const std::string long_name(32, 'a');
  EXPECT_EQ(problem(long_name),
            "c.toml:2:13: interface = \"" + long_name + "\": it has 32 bytes; " + kEnd);
  EXPECT_EQ(problem(std::string(31, 'a')), "");
}

TEST(Captures, OneInterfaceIsCapturedOnce) {
  EXPECT_EQ(ProblemOf("[[capture]]\ninterface = \"lo\"\n[[capture]]\ninterface = \"lo\"\n"),
            "c.toml:4:13: interface = \"lo\" is there already, at c.toml:2:13");
}

TEST(Captures, FlagsAreTrueOrFalse) {
  EXPECT_EQ(ProblemOf("[[capture]]\ninterface = \"lo\"\npromiscuous = \"yes\"\n"),
            "c.toml:3:15: promiscuous = \"yes\": give true or false, such as true");
}

TEST(Captures, FilterHasALimit) {
  const auto filter = [](std::size_t size) {
    return ProblemOf("[[capture]]\ninterface = \"lo\"\nfilter = \"" + std::string(size, 'f') +
                     "\"\n");
  };
  EXPECT_EQ(filter(2000), "");
  EXPECT_EQ(filter(2001), "c.toml:3:10: filter = \"" + std::string(64, 'f') +
                              "\"… (2001 bytes): it has 2001 bytes; give a filter as in "
                              "pcap-filter(7) of at most 2000 bytes, or \"\" for none, such as "
                              "\"tcp port 443\"");
}

TEST(Captures, FilterHasToBeOne) {
  const std::string capture = "[[capture]]\ninterface = \"lo\"\nfilter = ";
  EXPECT_EQ(ProblemOf(capture + "\"\"\n"), "");
  EXPECT_EQ(ProblemOf(capture + "\"tcp and\"\n"),
            "c.toml:3:10: filter = \"tcp and\": syntax error; give a filter as in pcap-filter(7) "
            "of at most 2000 bytes, or \"\" for none, such as \"tcp port 443\"");
}

TEST(Sources, NothingIsReadWhereThatIsWanted) {
  const Configuration configuration =
      Read("intake = false\n[[log_group]]\ngroup = 7\n[[capture]]\ninterface = \"lo\"\n");
  EXPECT_FALSE(configuration.intake);
  EXPECT_TRUE(configuration.log_groups.empty());
  EXPECT_TRUE(configuration.captures.empty());
  EXPECT_TRUE(Read("intake = false\n").log_groups.empty());
  EXPECT_TRUE(Read("log_group = []\n").log_groups.empty());
}

TEST(Sources, AreCheckedEvenWhereNothingIsRead) {
  EXPECT_EQ(ProblemOf("intake = false\n[[log_group]]\ngroup = 70000\n"),
            "c.toml:3:9: group = 70000: that is too large; give a whole number from 0 to 65535, "
            "such as 5");
}

std::string Groups(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += "[[log_group]]\ngroup = " + std::to_string(i) + "\n";
  return text;
}

TEST(Sources, AreAtMost64) {
  EXPECT_EQ(ProblemOf(Groups(64)), "");
  EXPECT_EQ(ProblemOf(Groups(66)), "c.toml:129:1: there are more than 64 of [[log_group]]");
  EXPECT_EQ(
      ProblemOf(Groups(63) + "[[capture]]\ninterface = \"a\"\n[[capture]]\ninterface = \"b\"\n"),
      "c.toml:129:1: there are 65 log groups and captures, more than 64");
}

}  // namespace
}  // namespace packetdb::host::test
