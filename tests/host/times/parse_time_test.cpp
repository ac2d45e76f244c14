#include "host/times/parse_time.h"

#include <gmock/gmock.h>

#include "host/times/time_error.h"
#include "tests/host/journals/support.h"
#include "tests/host/times/time_zone.h"

namespace packetdb::host::test {
namespace {

// Rules of their zones as they stand, spelled out so that no zone database is needed.
constexpr char kBerlin[] = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr char kNewYork[] = "EST5EDT,M3.2.0,M11.1.0";
constexpr char kUtc[] = "UTC0";

constexpr std::int64_t kNow = 1'000'000'000;
constexpr std::int64_t k20261120 = 1'795'132'800;  // midnight UTC

std::int64_t Parsed(std::string_view text) { return ParseTime(text, kNow); }

std::string ErrorOf(std::string_view text) {
  return WhatOf<TimeError>([&] { Parsed(text); });
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
  EXPECT_EQ(Parsed("2026-11-20 14:05 UTC"), local - 9);
  EXPECT_EQ(Parsed("2026-11-20 UTC"), k20261120);
}

TEST_F(TimesInUtc, MayBeSomeTimeAgoInWords) {
  EXPECT_EQ(Parsed("2 hours ago"), kNow - 7200);
  EXPECT_EQ(Parsed("10 min ago"), kNow - 600);
  EXPECT_EQ(Parsed("1d 2h ago"), kNow - 86400 - 7200);
  EXPECT_EQ(Parsed("1w2d ago"), kNow - 9 * 86400L);
}

TEST_F(TimesInUtc, MayBeInTheFuture) {
  EXPECT_EQ(Parsed("+5min"), kNow + 300);
  EXPECT_EQ(Parsed("+1 day 1 hour"), kNow + 90000);
}

TEST_F(TimesInUtc, MayBeDaysAroundToday) {
  const std::int64_t midnight = Parsed("2001-09-09");
  EXPECT_EQ(Parsed("today"), midnight);
  EXPECT_EQ(Parsed("yesterday"), midnight - 86400);
  EXPECT_EQ(Parsed("tomorrow"), midnight + 86400);
}

TEST_F(TimesInUtc, MayBeOfToday) {
  EXPECT_EQ(Parsed("01:46:40"), kNow);
  EXPECT_EQ(Parsed("14:05"), Parsed("2001-09-09 14:05"));
  EXPECT_EQ(Parsed("4:05"), Parsed("2001-09-09 04:05"));
}

TEST_F(TimesInUtc, AreRefusedWithAllThatCouldBeGiven) {
  EXPECT_EQ(ErrorOf("monday"),
            "'monday' is not a time: it has none of the forms of one; give now, today, yesterday, "
            "14:05, 2026-11-20, '2026-11-20 14:05[:09]', with Z or +01:00 for another zone, -2h, "
            "'10 min ago' or @UNIXSECONDS");
}

TEST_F(TimesInUtc, AreRefusedWithWhatWasNotUnderstood) {
  const auto expect = [](const char* text, const char* reason) {
    EXPECT_THAT(ErrorOf(text), testing::StartsWith(std::string("'") + text +
                                                   "' is not a time: " + reason + "; give "));
  };
  expect("", "it is empty");
  expect("2026-02-30", "there is no such day");
  expect("2026-11", "days are read as 2026-11-20");
  expect("2026-11-20 25:00", "clocks go from 00:00:00 to 23:59:59");
  expect("2026-11-20 14", "clocks are read as 14:05 or 14:05:09");
  expect("2026-11-20 14:05 CET", "' CET' is no zone: Z, UTC and +01:00 are");
  expect("14:05Z", "'Z' cannot stand behind a clock without a day");
  expect("@1.5", "behind @ stands a whole number of seconds since 1970");
  expect("2 fortnights ago",
         "'2 fortnights' has the unit 'fortnights', which is none: units are s, min, h, d, w, M "
         "for months, y");
}

TEST_F(TimesInUtc, AreRefusedWhenTheyAreNone) {
  for (const char* text : {"@",
                           "@-1",
                           "@x",
                           "-",
                           "-h",
                           "-2",
                           "--2h",
                           "-2hh",
                           "+",
                           "2h",
                           "ago",
                           " ago",
                           "h ago",
                           "2026",
                           "20.11.2026",
                           "2026-11-20 24:00",
                           "2026-11-20 14:60",
                           "2026-11-20 14:05:60",
                           "2026-11-20 14:05:09.5",
                           "2026-11-20 14:05:09 Z",
                           "2026-11-20 14:05:09+1",
                           "2026-11-20 14:05:09+01",
                           "2026-11-20 14:05:09+24:00",
                           "2026-11-20 14:05:09+01:60",
                           "2026-11-20 14:05:09*01:00",
                           "2026-11-20 14:05:09+01.00",
                           "2026-11-20 14:05:09CET",
                           "14:5",
                           "24:00",
                           "now ",
                           "NOW",
                           "Today",
                           "-99999999999999999999s"}) {
    EXPECT_THAT(ErrorOf(text), testing::HasSubstr("is not a time")) << text;
  }
}

TEST_F(TimesInUtc, AreRefusedOnDaysThatDoNotExist) {
  for (const char* text : {"2026-02-29", "2026-02-30 10:00", "2026-04-31", "2026-00-01",
                           "2026-13-01", "2026-01-00", "2026-01-32", "2026-02-29 10:00Z"}) {
    EXPECT_THAT(ErrorOf(text), testing::HasSubstr("there is no such day")) << text;
  }
  EXPECT_EQ(Parsed("2028-02-29"), Parsed("2028-02-28") + 86400);
}

TEST_F(TimesInUtc, ReachFrom1970ToTheLastSecondOfAJournal) {
  EXPECT_EQ(Parsed("1970-01-01"), 0);
  EXPECT_EQ(Parsed("2116-02-07 06:28:15"), kLastTime);
  EXPECT_EQ(ErrorOf("2116-02-07 06:28:16"),
            "'2116-02-07 06:28:16' is out of range: journals hold times up to 2116-02-07 06:28:15 "
            "UTC, and none is older than 1970-01-01");
  for (const char* text : {"1969-12-31 23:59:59", "1970-01-01 00:00+00:01", "@4610500096",
                           "@99999999999999999999", "-1000000001s", "+4000000000s", "9999-12-31"}) {
    EXPECT_THAT(ErrorOf(text), testing::HasSubstr("is out of range")) << text;
  }
}

TEST_F(TimesInUtc, OfQueriesReachToTheLastSecondThatOneCarries) {
  EXPECT_EQ(ParseQueryTime("2038-01-19 03:14:07", kNow), 2147483647);
  EXPECT_EQ(WhatOf<TimeError>([] { ParseQueryTime("2038-01-19 03:14:08", kNow); }),
            "'2038-01-19 03:14:08' is out of range: a query carries times from 1970-01-01 to "
            "2038-01-19 03:14:07 UTC");
}

TEST_F(TimesInBerlin, AreLocalWithoutAZone) {
  EXPECT_EQ(Parsed("2026-11-20"), k20261120 - 3600);
  EXPECT_EQ(Parsed("2026-07-01 12:00"), Parsed("2026-07-01 10:00Z"));
}

TEST_F(TimesInBerlin, KeepTheZoneThatIsGiven) {
  EXPECT_EQ(Parsed("2026-11-20Z"), k20261120);
  EXPECT_EQ(Parsed("2026-07-01 12:00-05:00"), Parsed("2026-07-01 17:00Z"));
}

TEST_F(TimesInBerlin, AreTheFirstOfTwoWhenSummerTimeEnds) {
  const std::int64_t change = Parsed("2026-10-25 01:00Z");
  EXPECT_EQ(Parsed("2026-10-25 01:59:59"), change - 3601);
  EXPECT_EQ(Parsed("2026-10-25 02:00"), change - 3600);
  EXPECT_EQ(Parsed("2026-10-25 02:59:59"), change - 1);
  EXPECT_EQ(Parsed("2026-10-25 03:00:00"), change + 3600);
}

TEST_F(TimesInBerlin, AreTheChangeWhenSummerTimeSkipsThem) {
  const std::int64_t change = Parsed("2026-03-29 01:00Z");
  EXPECT_EQ(Parsed("2026-03-29 01:59:59"), change - 1);
  for (const char* text :
       {"2026-03-29 02:00", "2026-03-29 02:30:30", "2026-03-29 02:59:59", "2026-03-29 03:00"}) {
    EXPECT_EQ(Parsed(text), change) << text;
  }
  EXPECT_EQ(Parsed("2026-03-29 03:00:01"), change + 1);
}

TEST_F(TimesInBerlin, AreOfTheLocalDay) {
  const std::int64_t late = Parsed("2026-03-29 22:30Z");  // past midnight in Berlin
  EXPECT_EQ(ParseTime("today", late), Parsed("2026-03-30 00:00"));
  EXPECT_EQ(ParseTime("yesterday", late), Parsed("2026-03-29 00:00")) << "a day of 23 hours";
  EXPECT_EQ(ParseTime("12:00", late), Parsed("2026-03-30 12:00"));
}

TEST_F(TimesInNewYork, AreLocalToTheWest) {
  EXPECT_EQ(Parsed("2026-11-20"), k20261120 + 5 * 3600L);
}

}  // namespace
}  // namespace packetdb::host::test
