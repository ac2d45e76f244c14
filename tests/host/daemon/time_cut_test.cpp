// What two readers of one capture journal, who run side by side for a moment.
#include "host/daemon/time_cut.h"

#include <gtest/gtest.h>
#include <vector>

namespace packetdb::host {
namespace {

class SeenSeconds : public EventSink {
 public:
  void Take(const LiveEvent& event) override { seen.push_back(event.event.time); }
  std::vector<std::int64_t> seen;
};

void Send(EventSink& sink, const std::vector<std::int64_t>& times) {
  LiveEvent event;
  for (const std::int64_t second : times) {
    event.event.time = second;
    sink.Take(event);
  }
}

constexpr Moment kCut{10, 0};

TEST(TimeCutTest, EachPacketBelongsToExactlyOneOfTwoReaders) {
  const std::vector<std::int64_t> packets = {8, 9, 10, 11, 12};
  SeenSeconds before;
  UntilSink until(before, kCut, UntilSink::Later::kDrop);
  Send(until, packets);
  EXPECT_EQ(before.seen, (std::vector<std::int64_t>{8, 9, 10}));
  SeenSeconds after;
  SinceSink since(after, kCut);
  Send(since, packets);
  EXPECT_EQ(after.seen, (std::vector<std::int64_t>{11, 12}));
}

TEST(TimeCutTest, MomentsAreAddedToOverTheFullSecond) {
  EXPECT_EQ((Moment{10, 900000000} + std::chrono::milliseconds(200)), (Moment{11, 100000000}));
  EXPECT_EQ((Moment{10, 100} + std::chrono::milliseconds(2000)), (Moment{12, 100}));
}

TEST(TimeCutTest, NanosecondsCount) {
  SeenSeconds before;
  UntilSink until(before, {10, 5}, UntilSink::Later::kDrop);
  LiveEvent event;
  event.event.time = 10;
  event.event.nanoseconds = 5;
  until.Take(event);
  EXPECT_FALSE(until.passed());
  event.event.nanoseconds = 6;
  until.Take(event);
  EXPECT_TRUE(until.passed());
  EXPECT_EQ(before.seen.size(), 1u);
}

TEST(TimeCutTest, WhoDrainsKeepsWhatIsLaterAndNoticesIt) {
  SeenSeconds all;
  UntilSink until(all, kCut, UntilSink::Later::kPassOn);
  Send(until, {9});
  EXPECT_FALSE(until.passed());
  Send(until, {11});
  EXPECT_TRUE(until.passed());
  EXPECT_EQ(all.seen, (std::vector<std::int64_t>{9, 11}));
}

TEST(TimeCutTest, ClockThatIsSetBackLaterStopsNothing) {
  SeenSeconds after;
  SinceSink since(after, kCut);
  Send(since, {9, 11, 5, 6});
  EXPECT_EQ(after.seen, (std::vector<std::int64_t>{11, 5, 6}));
}

}  // namespace
}  // namespace packetdb::host
