#include "host/cli/times.h"

#include <gtest/gtest.h>

#include "host/cli/usage_error.h"
#include "packetdb/storage.h"
#include "tests/host/cli/time_zone.h"
#include "tests/host/journals/support.h"

namespace packetdb::host::test {
namespace {

// Rules of their zones as they stand, spelled out so that no zone database is needed.
constexpr char kBerlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr char kNewYork[] = "EST5EDT,M3.2.0,M11.1.0";
constexpr char kKathmandu[] = "<+0545>-5:45";
constexpr char kUtc[] = "UTC0";

constexpr std::int64_t kNow = 1'000'000'000;
constexpr std::int64_t k20261120 = 1'795'132'800;  // midnight UTC

std::int64_t Parsed(std::string_view text) { return ParseTime(text, kNow); }

std::string ErrorOf(std::string_view text) {
  return WhatOf<UsageError>([&] { Parsed(text); });
}

class TimesInUtc : public testing::Test {
  const TimeZone zone_{kUtc};
};

class TimesInBerlin : public testing::Test {
  const TimeZone zone_{kBerlin};
};

class TimesInNewYork : public testing::Test {
  const TimeZone zone_{kNewYork};
};

TEST_F(TimesInUtc, AreDaysMinutesAndSeconds) {
  EXPECT_EQ(Parsed("2026-11-20"), k20261120);
  EXPECT_EQ(Parsed("2026-11-20 14:05"), k20261120 + 14 * 3600L + 5 * 60L);
  EXPECT_EQ(Parsed("2026-11-20 14:05:09"), k20261120 + 14 * 3600L + 5 * 60L + 9);
}

TEST_F(TimesInUtc, MayHaveATForTheBlank) {
  EXPECT_EQ(Parsed("2026-11-20T14:05"), Parsed("2026-11-20 14:05"));
  EXPECT_EQ(Parsed("2026-11-20T14:05:09"), Parsed("2026-11-20 14:05:09"));
}

TEST_F(TimesInUtc, MayBeUnixSeconds) {
  EXPECT_EQ(Parsed("@0"), 0);
  EXPECT_EQ(Parsed("@1763643909"), 1763643909);
  EXPECT_EQ(Parsed("@2147483647"), 2147483647);
}

TEST_F(TimesInUtc, MayBeNow) { EXPECT_EQ(Parsed("now"), kNow); }

TEST_F(TimesInUtc, MayBeSomeTimeAgo) {
  EXPECT_EQ(Parsed("-0s"), kNow);
  EXPECT_EQ(Parsed("-90s"), kNow - 90);
  EXPECT_EQ(Parsed("-2m"), kNow - 120);
  EXPECT_EQ(Parsed("-2h"), kNow - 7200);
  EXPECT_EQ(Parsed("-3d"), kNow - 3 * 86400L);
}

TEST_F(TimesInUtc, AreOfTheZoneBehindThem) {
  const std::int64_t local = Parsed("2026-11-20 14:05:09");
  EXPECT_EQ(Parsed("2026-11-20 14:05:09Z"), local);
  EXPECT_EQ(Parsed("2026-11-20 14:05:09z"), local);
  EXPECT_EQ(Parsed("2026-11-20 14:05:09+01:00"), local - 3600);
  EXPECT_EQ(Parsed("2026-11-20T14:05:09+0100"), local - 3600);
  EXPECT_EQ(Parsed("2026-11-20 14:05:09-03:30"), local + 12600);
  EXPECT_EQ(Parsed("2026-11-20 14:05+01:00"), local - 9 - 3600);
  EXPECT_EQ(Parsed("2026-11-20Z"), k20261120);
  EXPECT_EQ(Parsed("2026-11-20+01:00"), k20261120 - 3600);
}

TEST_F(TimesInUtc, AreRefusedWithAllThatCouldBeGiven) {
  EXPECT_EQ(ErrorOf("yesterday"),
            "'yesterday' is not a time: give 2026-11-20, '2026-11-20 14:05[:09]', with Z or +01:00 "
            "for another zone, @UNIXSECONDS, -2h (s, m, h, d) or now");
}

TEST_F(TimesInUtc, AreRefusedWhenTheyAreNone) {
  for (const char* text : {"",
                           "@",
                           "@-1",
                           "@x",
                           "@1.5",
                           "-",
                           "-h",
                           "-2",
                           "-2w",
                           "--2h",
                           "-2hh",
                           "2h",
                           "2026",
                           "2026-11",
                           "20.11.2026",
                           "2026-11-20 14",
                           "2026-11-20 24:00",
                           "2026-11-20 14:60",
                           "2026-11-20 14:05:09.5",
                           "2026-11-20 14:05:09 Z",
                           "2026-11-20 14:05:09+1",
                           "2026-11-20 14:05:09+01",
                           "2026-11-20 14:05:09+24:00",
                           "2026-11-20 14:05:09+01:60",
                           "2026-11-20 14:05:09*01:00",
                           "2026-11-20 14:05:09CET",
                           "now ",
                           "NOW"}) {
    EXPECT_TRUE(ErrorOf(text).find("is not a time") != std::string::npos) << text;
  }
}

TEST_F(TimesInUtc, AreRefusedOnDaysThatDoNotExist) {
  for (const char* text : {"2026-02-29", "2026-02-30 10:00", "2026-04-31", "2026-00-01",
                           "2026-13-01", "2026-01-00", "2026-01-32", "2026-02-29 10:00Z"}) {
    EXPECT_TRUE(ErrorOf(text).find("is not a time") != std::string::npos) << text;
  }
  EXPECT_EQ(Parsed("2028-02-29"), Parsed("2028-02-28") + 86400);
}

TEST_F(TimesInUtc, ReachFrom1970ToTheLastSecondOfAQuery) {
  EXPECT_EQ(Parsed("1970-01-01"), 0);
  EXPECT_EQ(Parsed("2038-01-19 03:14:07"), 2147483647);
  EXPECT_EQ(ErrorOf("2038-01-19 03:14:08"),
            "'2038-01-19 03:14:08' is out of range: a query carries times from 1970-01-01 to "
            "2038-01-19 03:14:07 UTC");
  for (const char* text : {"1969-12-31 23:59:59", "1970-01-01 00:00+00:01", "@2147483648",
                           "-1000000001s", "-2147483647d", "9999-12-31"}) {
    EXPECT_TRUE(ErrorOf(text).find("is out of range") != std::string::npos) << text;
  }
}

TEST_F(TimesInUtc, ArePrintedWithTheirOffset) {
  EXPECT_EQ(Rfc3339Time(0), "1970-01-01T00:00:00+00:00");
  EXPECT_EQ(Rfc3339Time(k20261120 + 3661), "2026-11-20T01:01:01+00:00");
  EXPECT_EQ(LocalTime(k20261120 + 3661), "2026-11-20 01:01:01");
}

TEST_F(TimesInUtc, ArePrintedToTheLastSecondOfAJournal) {
  constexpr std::int64_t kLast = std::int64_t{0xFFFFFFFF} + TIME_1980_OFFSET;
  EXPECT_EQ(Rfc3339Time(kLast), "2116-02-07T06:28:15+00:00");
  EXPECT_EQ(LocalTime(kLast), "2116-02-07 06:28:15");
}

TEST_F(TimesInBerlin, AreLocalWithoutAZone) {
  EXPECT_EQ(Parsed("2026-11-20"), k20261120 - 3600);
  EXPECT_EQ(Parsed("2026-07-01 12:00"), Parsed("2026-07-01 10:00Z"));
}

TEST_F(TimesInBerlin, KeepTheZoneThatIsGiven) {
  EXPECT_EQ(Parsed("2026-11-20Z"), k20261120);
  EXPECT_EQ(Parsed("2026-07-01 12:00-05:00"), Parsed("2026-07-01 17:00Z"));
}

TEST_F(TimesInBerlin, FollowTheChangeToSummerTime) {
  const std::int64_t change = Parsed("2026-03-29 01:00Z");
  EXPECT_EQ(Parsed("2026-03-29 01:59:59"), change - 1);
  EXPECT_EQ(Parsed("2026-03-29 03:00:00"), change);
  EXPECT_EQ(LocalTime(change - 1), "2026-03-29 01:59:59");
  EXPECT_EQ(LocalTime(change), "2026-03-29 03:00:00");
  EXPECT_EQ(Rfc3339Time(change), "2026-03-29T03:00:00+02:00");
}

TEST_F(TimesInBerlin, FollowTheChangeFromSummerTime) {
  const std::int64_t change = Parsed("2026-10-25 01:00Z");
  EXPECT_EQ(Parsed("2026-10-25 01:59:59"), change - 3601);
  EXPECT_EQ(Parsed("2026-10-25 03:00:00"), change + 3600);
  EXPECT_EQ(Rfc3339Time(change - 1), "2026-10-25T02:59:59+02:00");
  EXPECT_EQ(Rfc3339Time(change), "2026-10-25T02:00:00+01:00");
}

TEST_F(TimesInNewYork, ArePrintedWithAnOffsetToTheWest) {
  EXPECT_EQ(Rfc3339Time(k20261120), "2026-11-19T19:00:00-05:00");
  EXPECT_EQ(LocalTime(k20261120), "2026-11-19 19:00:00");
  EXPECT_EQ(Parsed("2026-11-20"), k20261120 + 5 * 3600L);
}

TEST(TimesOfAYear, AreReadBackAsTheyWerePrinted) {
  constexpr std::int64_t kYear = 365 * 86400L;
  constexpr std::int64_t kStep = 1801;
  for (const char* name : {kUtc, kBerlin, kNewYork, kKathmandu}) {
    const TimeZone zone(name);
    for (std::int64_t time = k20261120; time < k20261120 + kYear; time += kStep) {
      ASSERT_EQ(Parsed(Rfc3339Time(time)), time) << Rfc3339Time(time);
    }
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
