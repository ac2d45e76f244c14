// More packets than the reader takes: each is received or counted as lost.
#include <atomic>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/sources/log_group.h"
#include "tests/host/sources/live/child.h"
#include "tests/host/sources/live/network.h"
#include "tests/host/sources/live/receive.h"

namespace packetdb::host::test {
namespace {

constexpr std::uint32_t kTinyBuffer = 1;  // the kernel has a least one

class LogGroupLoss : public OwnNetwork {
 protected:
  // A loss shows in the number of the next record.
  static void SendOneMoreAndReceiveAll(LogGroup& group, EventSink& sink) {
    while (group.Receive(sink)) {
    }
    SendPackets(1);
    EXPECT_TRUE(ReceiveAll(group, sink, ReadRuleCounter().packets));
  }
};

TEST_F(LogGroupLoss, WhatDidNotFitTheBufferIsCountedToThePacket) {
  const auto group =
      LogGroup::Open({.group = 5, .queue_threshold = 1, .receive_buffer = kTinyBuffer});
  SetRules(LogRules("input", "log group 5"));
  SendPackets(10000);
  Totals totals;
  while (group->Receive(totals)) {
  }
  EXPECT_LT(totals.events, 10000U);
  EXPECT_EQ(group->counters().overruns, 1U);
  SendOneMoreAndReceiveAll(*group, totals);
  EXPECT_EQ(totals.events + group->counters().lost_overrun, 10001U);
  EXPECT_EQ(ReadRuleCounter().packets, 10001U);
}

TEST_F(LogGroupLoss, ItGoesOnAfterAnyNumberOfOverruns) {
  const auto group =
      LogGroup::Open({.group = 5, .queue_threshold = 1, .receive_buffer = kTinyBuffer});
  SetRules(LogRules("input", "log group 5"));
  Totals totals;
  for (int i = 0; i < 20; ++i) {
    SendPackets(1000);
    while (group->Receive(totals)) {
    }
  }
  EXPECT_EQ(group->counters().overruns, 20U);
  SendOneMoreAndReceiveAll(*group, totals);
  EXPECT_EQ(totals.events + group->counters().lost_overrun, 20001U);
}

TEST_F(LogGroupLoss, LossesBeforeTheFirstRecordCount) {
  const auto group =
      LogGroup::Open({.group = 5, .queue_threshold = 1, .receive_buffer = kTinyBuffer});
  SetRules(LogRules("input", "log group 5"));
  SendPackets(5000);
  // Another reader took what came first, and told how far it got.
  const auto told = InChild([&] {
    Totals totals;
    while (group->Receive(totals)) {
    }
    return std::to_string(group->counters().next_sequence);
  });
  const std::uint64_t next = std::stoull(told);
  group->ExpectSequence(next);
  SendPackets(1);
  Totals totals;
  ASSERT_TRUE(ReceiveUntil(*group, totals, [&] { return totals.events == 1; }));
  EXPECT_EQ(next + group->counters().lost_overrun + 1, 5001U);
}

// A consumer that needs 20 microseconds for each event, under a flood.
class SlowSink final : public EventSink {
 public:
  void Take(const LiveEvent& event) override {
    totals.Take(event);
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(20);
    while (std::chrono::steady_clock::now() < end) {
    }
  }
  Totals totals;
};

TEST_F(LogGroupLoss, ASlowReaderLosesNothingUncounted) {
  const auto group = LogGroup::Open({.group = 5, .receive_buffer = 200U << 10U});
  SetRules(LogRules("input", "log group 5"));
  SlowSink sink;
  Child sender([] { SendPackets(200'000); });
  while (sender.IsRunning()) group->Receive(sink);
  SendOneMoreAndReceiveAll(*group, sink);
  EXPECT_EQ(Accounted(*group), 200'001U);
  EXPECT_EQ(sink.totals.events, group->packets().events());
}

// Written by a reader in a process of its own.
struct Shared {
  std::atomic<std::uint64_t> received{0};
  std::atomic<std::uint64_t> lost{0};
};

class SharedPage {
 public:
  SharedPage()
      : page_(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1,
                   0)) {}
  ~SharedPage() { munmap(page_, sizeof(Shared)); }
  SharedPage(const SharedPage&) = delete;
  SharedPage& operator=(const SharedPage&) = delete;
  Shared* operator->() const { return static_cast<Shared*>(page_); }

 private:
  void* page_;
};

void WaitUntilStopped(const Child& child) { waitpid(child.pid(), nullptr, WUNTRACED); }

// The next packet shows what was lost, once it fits into the buffer.
bool ShowsEverything(const SharedPage& shared) {
  for (int packets = 0; packets < 1000; ++packets) {
    SendPackets(1);
    const std::uint64_t sent = ReadRuleCounter().packets;
    for (int checks = 0; checks < 50; ++checks) {
      if (shared->received + shared->lost == sent) return true;
      usleep(1000);
    }
  }
  return false;
}

TEST_F(LogGroupLoss, AStoppedReaderGoesOnAndAccountsForEverything) {
  const auto group = LogGroup::Open({.group = 5, .receive_buffer = 100U << 10U});
  SetRules(LogRules("input", "log group 5"));
  const SharedPage shared;
  const Child reader([&] {
    Totals totals;
    ReceiveUntil(*group, totals, [&] {
      shared->lost = group->counters().lost_overrun;
      shared->received = totals.events;
      return false;
    });
  });
  SendPackets(1);
  reader.Signal(SIGSTOP);
  WaitUntilStopped(reader);
  SendPackets(60'000);
  reader.Signal(SIGCONT);
  EXPECT_TRUE(ShowsEverything(shared));
  EXPECT_GT(shared->lost, 0U);
}

}  // namespace
}  // namespace packetdb::host::test
