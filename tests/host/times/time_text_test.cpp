#include "host/times/time_text.h"

#include <gmock/gmock.h>

#include "host/times/parse_time.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {
namespace {

// Rules of their zones as they stand, spelled out so that no zone database is needed.
constexpr char kBerlinRules[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr std::int64_t kMidnight = 1'795'132'800;  // 2026-11-20 in UTC
constexpr std::int64_t kBackward = 1'792'890'000;  // the end of summer time, 2026-10-25 01:00 UTC
constexpr std::int64_t kForward = 1'774'746'000;   // its beginning, 2026-03-29 01:00 UTC

TEST(TimeTexts, AreLocal) {
  const TimeZone zone("EST5EDT,M3.2.0,M11.1.0");
  EXPECT_EQ(LocalTime(kMidnight), "2026-11-19 19:00:00");
  EXPECT_EQ(Rfc3339Time(kMidnight), "2026-11-19T19:00:00-05:00");
}

TEST(TimeTexts, MayBeInUtc) {
  const TimeZone zone(kBerlinRules);
  EXPECT_EQ(UtcTime(kMidnight + 3661), "2026-11-20 01:01:01Z");
  TimeWriter writer(true);
  std::string text;
  writer.Append(kMidnight, &text);
  writer.AppendRfc3339(kMidnight, &text);
  EXPECT_EQ(text, "2026-11-20 00:00:00Z2026-11-20T00:00:00Z");
}

TEST(TimeTexts, HaveTheirOffsetOnlyWhenTheyComeForTheSecondTime) {
  const TimeZone zone(kBerlinRules);
  EXPECT_EQ(LocalTime(kBackward - 3600), "2026-10-25 02:00:00");
  EXPECT_EQ(LocalTime(kBackward - 1), "2026-10-25 02:59:59");
  EXPECT_EQ(LocalTime(kBackward), "2026-10-25 02:00:00+01:00");
  EXPECT_EQ(LocalTime(kBackward + 3599), "2026-10-25 02:59:59+01:00");
  EXPECT_EQ(LocalTime(kBackward + 3600), "2026-10-25 03:00:00");
}

TEST(TimeTexts, LeaveOutWhatSummerTimeSkips) {
  const TimeZone zone(kBerlinRules);
  EXPECT_EQ(LocalTime(kForward - 1), "2026-03-29 01:59:59");
  EXPECT_EQ(LocalTime(kForward), "2026-03-29 03:00:00");
  EXPECT_EQ(Rfc3339Time(kForward), "2026-03-29T03:00:00+02:00");
}

TEST(TimeTexts, ReachToTheLastSecondOfAJournal) {
  const TimeZone zone("UTC0");
  EXPECT_EQ(Rfc3339Time(kLastTime), "2116-02-07T06:28:15+00:00");
  EXPECT_EQ(LocalTime(kLastTime), "2116-02-07 06:28:15");
  EXPECT_EQ(RecordTime(0xFFFFFFFF), "2116-02-07 06:28:15");
  EXPECT_EQ(RecordTime(0), "1980-01-01 00:00:00");
}

TEST(TimeTexts, AreTheSameWhateverWasWrittenBefore) {
  const TimeZone zone(kBerlinRules);
  TimeWriter writer(false);
  constexpr std::int64_t kStep = 7777;
  for (std::int64_t time = kBackward + 90000; time > kBackward - 90000; time -= kStep) {
    std::string text;
    writer.Append(time, &text);
    writer.Append(time, &text);
    EXPECT_EQ(text, LocalTime(time) + LocalTime(time));
  }
}

TEST(Duration, ShowsTheTwoLargestUnits) {
  EXPECT_EQ(DurationText(0), "0 s");
  EXPECT_EQ(DurationText(59), "59 s");
  EXPECT_EQ(DurationText(60), "1 min 0 s");
  EXPECT_EQ(DurationText(3599), "59 min 59 s");
  EXPECT_EQ(DurationText(3600), "1 h 0 min");
  EXPECT_EQ(DurationText(86399), "23 h 59 min");
  EXPECT_EQ(DurationText(86400 * 400 + 3600 * 5), "400 d 5 h");
}

}  // namespace
}  // namespace packetdb::host::test
