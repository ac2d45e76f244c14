// A netfilter log group, for real: rules, packets, and what comes of them.
#include "host/sources/log_group.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <poll.h>
#include <unistd.h>
#include <vector>

#include "tests/host/sources/collector.h"
#include "tests/host/sources/live/child.h"
#include "tests/host/sources/live/network.h"
#include "tests/host/sources/live/receive.h"

namespace packetdb::host::test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class LogGroupTest : public OwnNetwork {};

TEST_F(LogGroupTest, EveryLoggedPacketIsAnEventAndSumsAreThoseOfTheRule) {
  const auto group = LogGroup::Open({.group = 5});
  SetRules(LogRules("input", "log prefix \"in: \" group 5"));
  SendPackets(12345);
  Totals totals;
  ASSERT_TRUE(ReceiveAll(*group, totals, 12345));
  const RuleCounter counter = ReadRuleCounter();
  EXPECT_EQ(totals.events, counter.packets);
  EXPECT_EQ(totals.bytes, counter.bytes);
  EXPECT_EQ(group->counters().lost_overrun, 0U);
  EXPECT_EQ(group->counters().malformed, 0U);
  EXPECT_EQ(group->counters().next_sequence, 12345U);
}

TEST_F(LogGroupTest, AnIncomingPacketTellsInterfacePrefixAndTime) {
  const auto group = LogGroup::Open({.group = 5});
  SetRules(LogRules("input", "log prefix \"in: \" group 5"));
  const std::int64_t before = time(nullptr);
  SendPackets(1);
  Collector events;
  ASSERT_TRUE(ReceiveAll(*group, events, 1));
  EXPECT_THAT(events.events().front(),
              MatchesRegex("lo 127\\.0\\.0\\.1:[0-9]+ > 127\\.0\\.0\\.1:9 proto 17 flags 0x1 "
                           "code 0 size 32 at [0-9]+ prefix 'in: ' group 5"));
  EXPECT_GE(events.last().time, before);
  EXPECT_LE(events.last().time, time(nullptr));
  EXPECT_GT(events.last().nanoseconds, 0U);
}

TEST_F(LogGroupTest, AnOutgoingPacketTellsMarkAndUser) {
  const auto group = LogGroup::Open({.group = 7});
  SetRules(LogRules("output", "meta mark set 0x77 log group 7"));
  SendPackets(1);
  Collector events;
  ASSERT_TRUE(ReceiveAll(*group, events, 1));
  EXPECT_THAT(events.events().front(), HasSubstr("lo 127.0.0.1:"));
  EXPECT_THAT(events.events().front(), HasSubstr(" flags 0x2 "));
  EXPECT_THAT(events.events().front(), testing::EndsWith(" group 7 mark 119 uid 0"));
}

TEST_F(LogGroupTest, GroupsAreApart) {
  const auto first = LogGroup::Open({.group = 1});
  const auto last = LogGroup::Open({.group = 65535});
  EXPECT_EQ(first->name(), "nflog:1");
  SetRules(LogRules("input", "log group 65535"));
  SendPackets(10);
  Totals totals;
  ASSERT_TRUE(ReceiveAll(*last, totals, 10));
  EXPECT_FALSE(first->Receive(totals));
  EXPECT_EQ(totals.events, 10U);
}

TEST_F(LogGroupTest, NothingWaitsUntilSomethingIsLogged) {
  const auto group = LogGroup::Open({.group = 5});
  pollfd waits = {group->fd(), POLLIN, 0};
  EXPECT_EQ(poll(&waits, 1, 0), 0);
  Totals totals;
  EXPECT_FALSE(group->Receive(totals));
  EXPECT_EQ(group->counters().batches, 0U);
}

TEST_F(LogGroupTest, TheKernelCopiesWhatItIsTold) {
  const auto group = LogGroup::Open({.group = 5, .copy_range = 24});
  SetRules(LogRules("input", "log group 5"));
  SendPackets(1);
  Collector events;
  ASSERT_TRUE(ReceiveAll(*group, events, 1));
  EXPECT_EQ(group->packets().noted(Remark::kPortsNotCaptured), 0U);
  const auto shorter = LogGroup::Open({.group = 6, .copy_range = 20});
  SetRules(LogRules("input", "log group 6"));
  SendPackets(1);
  ASSERT_TRUE(ReceiveAll(*shorter, events, 1));
  EXPECT_EQ(shorter->packets().noted(Remark::kPortsNotCaptured), 1U);
}

TEST_F(LogGroupTest, TheKernelGathersAsManyRecordsAsItIsTold) {
  // A timer that would not run out within the test.
  const auto group =
      LogGroup::Open({.group = 5, .queue_threshold = 400, .flush_after = std::chrono::hours(1)});
  SetRules(LogRules("input", "log prefix \"pdb:input:1:drop\" group 5"));
  Totals totals;
  SendPackets(399);
  EXPECT_FALSE(group->Receive(totals));
  SendPackets(1);
  EXPECT_TRUE(group->Receive(totals));
  EXPECT_EQ(totals.events, 400U);
  EXPECT_EQ(group->counters().batches, 1U);
}

TEST_F(LogGroupTest, TheKernelKnowsModeRangeAndTimer) {
  const auto group =
      LogGroup::Open({.group = 5, .copy_range = 77, .flush_after = std::chrono::milliseconds(15)});
  std::ifstream list("/proc/self/net/netfilter/nfnetlink_log");
  // Columns: group, port, what is gathered, copy mode and range, hundredths of a second.
  std::vector<unsigned int> row(6);
  for (unsigned int& column : row) list >> column;
  row[1] = 0;
  EXPECT_THAT(row, testing::ElementsAre(5, 0, 0, 2, 77, 2));
}

TEST_F(LogGroupTest, OneCallTakesABatchAndNoMore) {
  const auto group = LogGroup::Open({.group = 5, .queue_threshold = 1});
  SetRules(LogRules("input", "log group 5"));
  SendPackets(100);
  Totals totals;
  EXPECT_TRUE(group->Receive(totals));
  EXPECT_EQ(totals.events, 64U);
  EXPECT_TRUE(group->Receive(totals));
  EXPECT_EQ(totals.events, 100U);
  EXPECT_FALSE(group->Receive(totals));
}

TEST_F(LogGroupTest, TheBufferIsWhatTheKernelGave) {
  constexpr std::uint32_t kAsked = 32U << 20U;
  const auto group = LogGroup::Open({.group = 5, .receive_buffer = kAsked});
  std::ifstream limit("/proc/sys/net/core/rmem_max");
  std::uint32_t most = 0;
  const bool has_limit = static_cast<bool>(limit >> most) && !MayForce();
  EXPECT_EQ(group->counters().buffer_bytes, 2 * (has_limit ? std::min(most, kAsked) : kAsked));
}

TEST_F(LogGroupTest, AProcessThatCanOpenNothingReads) {
  const auto group = LogGroup::Open({.group = 5});
  SetRules(LogRules("input", "log group 5"));
  SendPackets(100);
  EXPECT_EQ(InChild([&]() -> std::string {
              OpenNothingMore();
              GiveUpCapabilities();
              Collector events;
              if (open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0) return "it can";
              if (!ReceiveAll(*group, events, 100)) return "nothing came";
              return events.last().interface;
            }),
            "lo");
}

TEST_F(LogGroupTest, ASourceWhoseSocketIsNoMoreIsOfNoUse) {
  const auto group = LogGroup::Open({.group = 5});
  EXPECT_EQ(InChild([&]() -> std::string {
              Totals totals;
              close(group->fd());
              try {
                group->Receive(totals);
              } catch (const std::system_error& error) {
                return error.what();
              }
              return "no exception";
            }),
            "nflog:5: Bad file descriptor");
}

}  // namespace
}  // namespace packetdb::host::test
