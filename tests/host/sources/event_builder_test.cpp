#include "host/sources/event_builder.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <limits>
#include <string>

#include "host/sources/raw_ip.h"
#include "tests/host/sources/decode.h"

namespace packetdb::host::test {
namespace {

// Journal time, with a star when it was clamped.
std::string TimeOf(std::int64_t unix_seconds) {
  CaptureCounters counters;
  const std::uint32_t time = JournalTime(unix_seconds, counters);
  return std::to_string(time) + (counters.noted(Remark::kTimeClamped) != 0 ? "*" : "");
}

TEST(EventBuilder, TimesCountFrom1980) {
  EXPECT_EQ(TimeOf(315532800), "0");
  EXPECT_EQ(TimeOf(1000000000), "684467200");
  EXPECT_EQ(TimeOf(kLatestTime), "1831950847");
}

TEST(EventBuilder, TakesTimesBefore1980AsTheFirstThereIs) {
  EXPECT_EQ(TimeOf(315532799), "0*");
  EXPECT_EQ(TimeOf(0), "0*");
  EXPECT_EQ(TimeOf(std::numeric_limits<std::int64_t>::min()), "0*");
}

TEST(EventBuilder, KeepsThePacketsOwnTimeBesideTheClampedOne) {
  CaptureCounters counters;
  const Bytes packet = Udp();
  const auto event =
      BuildEvent(ParseRawIp, {ByteView(packet), packet.size()}, {-5, 999999999}, {}, counters);
  ASSERT_TRUE(event);
  EXPECT_EQ(event->time, -5);
  EXPECT_EQ(event->nanoseconds, 999999999U);
  EXPECT_EQ(+event->item.m_FirstTime, 0U);
}

TEST(EventBuilder, SkipsPacketsLaterThanAnyQueryCanAskFor) {
  CaptureCounters counters;
  const Bytes packet = Udp();
  const Frame frame = {ByteView(packet), packet.size()};
  EXPECT_TRUE(BuildEvent(ParseRawIp, frame, {kLatestTime, 999999999}, {}, counters));
  EXPECT_FALSE(BuildEvent(ParseRawIp, frame, {kLatestTime + 1, 0}, {}, counters));
  EXPECT_EQ(counters.skipped(SkipReason::kTooLate), 1U);
}

TEST(EventBuilder, DefaultInterfaceComesFromTheOptions) {
  CaptureOptions options;
  options.interfaces.default_name = "dmz";
  EXPECT_EQ(Decode(ParseRawIp, Udp(), options),
            "dmz 10.0.0.1:1000 > 10.0.0.2:53 proto 17 flags 0x0 code 60 size 32 at 5");
}

TEST(EventBuilder, CountsEveryPacketOnce) {
  CaptureCounters counters;
  for (const Bytes& packet : {Udp(), Bytes{0x60}, Bytes{}, Udp()}) {
    BuildEvent(ParseRawIp, {ByteView(packet), packet.size()}, {}, {}, counters);
  }
  EXPECT_EQ(counters.packets(), 4U);
  EXPECT_EQ(counters.events(), 2U);
  EXPECT_EQ(counters.skipped(), 2U);
  EXPECT_EQ(counters.skipped(SkipReason::kIpv6), 1U);
  EXPECT_EQ(counters.skipped(SkipReason::kTruncatedIpv4), 1U);
}

TEST(CaptureCounters, AddUp) {
  CaptureCounters a;
  a.CountPacket();
  a.CountEvent();
  CaptureCounters b;
  b.CountPacket();
  b.Skip(SkipReason::kArp);
  b.Note(Remark::kTimeClamped);
  a += b;
  a += b;
  EXPECT_EQ(a.packets(), 3U);
  EXPECT_EQ(a.events(), 1U);
  EXPECT_EQ(a.skipped(SkipReason::kArp), 2U);
  EXPECT_EQ(a.noted(Remark::kTimeClamped), 2U);
}

}  // namespace
}  // namespace packetdb::host::test
